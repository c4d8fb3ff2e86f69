#include "simulator/classic/FrameSender.h"

#include <algorithm>

#include "simulator/classic/ClassicMessages.h"

namespace {

constexpr tuint32 LENGTH_LIE = 1000000;
constexpr tint32 HUGE_LENGTH = 0x7FFFFFF0;
constexpr LINK_FRAME_HEAD GARBAGE_HEAD = {0x21626167, 0x65676162};

}  // namespace

bool CFrameSender::IsTurn(SIM_FAULT_KIND kind, tuint32 count) {
    const auto every = m_state.faults.Peek(kind, m_phase);
    if (!every || *every <= 0 || count % *every != 0) return false;
    m_state.faults.Take(kind, m_phase);
    m_state.Tell({SIM_EVENT_KIND::FAULT, m_link.Id(), 0, 0, 0, 0, FaultName(kind)});
    return true;
}

void CFrameSender::Send(const CLASSIC_FRAME& frame, SIM_PHASE phase) {
    m_phase = phase;
    ++m_frames;
    m_state.NoteFrame(m_link.Id(), frame);
    FRAME_INFO info = frame.info;
    if (IsTurn(SIM_FAULT_KIND::FRAME_LENGTH, m_frames)) info.length += LENGTH_LIE;

    const PACKCMD head = MakeCommandHead(CMD_REPLY_DATA_STREAM, sizeof(info) + frame.data.size());
    if (sizeof(head) + head.dataLen <= m_state.config.packLimit) {
        m_link.SendMessage({RecordBytes(head), RecordBytes(info), frame.data});
    } else {
        m_message.clear();
        Append(m_message, RecordBytes(head));
        Append(m_message, RecordBytes(info));
        Append(m_message, frame.data);
        SendPieces();
    }
    SendDisturbance();
}

void CFrameSender::SendTalk(const CLASSIC_FRAME& frame) {
    const PACKCMD head = MakeCommandHead(CMD_REPLY_DATA_STREAM, sizeof(frame.info) + frame.data.size());
    m_link.SendMessage({RecordBytes(head), RecordBytes(frame.info), frame.data});
}

void CFrameSender::SendPieces() {
    const size_t limit = m_state.config.packLimit;
    const size_t count = (m_message.size() + limit - 1) / limit;
    ++m_packed;
    m_pieces.clear();
    for (SIM_BYTE_VIEW rest = m_message; !rest.empty();) {
        const auto data = rest.first(std::min(rest.size(), limit));
        rest = rest.subspan(data.size());
        const PACKED_HEAD head = {m_packed,
                                  static_cast<tuint32>(count),
                                  static_cast<tuint32>(m_message.size()),
                                  static_cast<tuint32>(m_pieces.size() + 1),
                                  static_cast<tint32>(data.size()),
                                  0};
        m_pieces.push_back({head, data});
    }
    SpoilPieces();
    for (const PIECE& piece : m_pieces) {
        // The length only has to be negative; what follows is counted by the piece's head.
        const auto length = -static_cast<tint32>(sizeof(PACKED_HEAD) + piece.data.size());
        m_link.SendRaw(RecordBytes(LINK_FRAME_HEAD{LINK_FRAME_MARKER, length}));
        m_link.SendRaw(RecordBytes(piece.head));
        m_link.SendRaw(piece.data);
    }
}

void CFrameSender::SpoilPieces() {
    if (IsTurn(SIM_FAULT_KIND::PIECE_SWAPPED, m_packed)) std::swap(m_pieces.back(), m_pieces[m_pieces.size() - 2]);
    if (IsTurn(SIM_FAULT_KIND::PIECE_TOTALS, m_packed)) {
        ++m_pieces.back().head.dwTotalPack;
        ++m_pieces.back().head.dwTotalLen;
    }
    if (IsTurn(SIM_FAULT_KIND::PIECE_LOST, m_packed)) m_pieces.erase(m_pieces.begin() + 1);
}

void CFrameSender::SendDisturbance() {
    if (IsTurn(SIM_FAULT_KIND::GARBAGE, m_frames)) m_link.SendRaw(RecordBytes(GARBAGE_HEAD));
    if (IsTurn(SIM_FAULT_KIND::LINK_LENGTH, m_frames)) {
        m_link.SendRaw(RecordBytes(LINK_FRAME_HEAD{LINK_FRAME_MARKER, HUGE_LENGTH}));
        m_link.CutWhenSent(SIM_CUT::SILENT);
    }
}

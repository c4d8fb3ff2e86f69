#include "simulator/classic/FrameSender.h"

#include <algorithm>

#include "simulator/classic/ClassicMessages.h"

namespace {

constexpr tuint32 LENGTH_LIE = 1000000;
constexpr tint32 HUGE_LENGTH = 0x7FFFFFF0;
constexpr LINK_FRAME_HEAD GARBAGE_HEAD = {0x21626167, 0x65676162};

}  // namespace

bool CFrameSender::IsTurn(SIM_FAULT_KIND kind, tuint32 count) {
    const auto every = m_state.faults.Peek(kind, SIM_PHASE::STREAM);
    if (!every || *every <= 0 || count % *every != 0) return false;
    m_state.faults.Take(kind, SIM_PHASE::STREAM);
    m_state.Tell({SIM_EVENT_KIND::FAULT, m_link.Id(), 0, 0, 0, 0, FaultName(kind)});
    return true;
}

void CFrameSender::Send(const CLASSIC_FRAME& frame) {
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

void CFrameSender::SendPieces() {
    const size_t limit = m_state.config.packLimit;
    const size_t count = (m_message.size() + limit - 1) / limit;
    ++m_packed;
    std::vector<PIECE> pieces;
    pieces.reserve(count);
    for (SIM_BYTE_VIEW rest = m_message; !rest.empty();) {
        const auto data = rest.first(std::min(rest.size(), limit));
        rest = rest.subspan(data.size());
        const PACKED_HEAD head = {m_packed,
                                  static_cast<tuint32>(count),
                                  static_cast<tuint32>(m_message.size()),
                                  static_cast<tuint32>(pieces.size() + 1),
                                  static_cast<tint32>(data.size()),
                                  0};
        pieces.push_back({head, data});
    }
    SpoilPieces(pieces);
    for (const PIECE& piece : pieces) {
        // The length only has to be negative; what follows is counted by the piece's head.
        const auto length = -static_cast<tint32>(sizeof(PACKED_HEAD) + piece.data.size());
        m_link.SendRaw(RecordBytes(LINK_FRAME_HEAD{LINK_FRAME_MARKER, length}));
        m_link.SendRaw(RecordBytes(piece.head));
        m_link.SendRaw(piece.data);
    }
}

void CFrameSender::SpoilPieces(std::vector<PIECE>& pieces) {
    if (IsTurn(SIM_FAULT_KIND::PIECE_SWAPPED, m_packed)) std::swap(pieces.back(), pieces[pieces.size() - 2]);
    if (IsTurn(SIM_FAULT_KIND::PIECE_TOTALS, m_packed)) {
        ++pieces.back().head.dwTotalPack;
        ++pieces.back().head.dwTotalLen;
    }
    if (IsTurn(SIM_FAULT_KIND::PIECE_LOST, m_packed)) pieces.erase(pieces.begin() + 1);
}

void CFrameSender::SendDisturbance() {
    if (IsTurn(SIM_FAULT_KIND::GARBAGE, m_frames)) m_link.SendRaw(RecordBytes(GARBAGE_HEAD));
    if (IsTurn(SIM_FAULT_KIND::LINK_LENGTH, m_frames)) {
        m_link.SendRaw(RecordBytes(LINK_FRAME_HEAD{LINK_FRAME_MARKER, HUGE_LENGTH}));
        m_link.CutWhenSent(SIM_CUT::SILENT);
    }
}

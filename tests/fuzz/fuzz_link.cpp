// Any bytes as a link's stream, in pieces of any size: the reader must give what a plain decoder gives that has the whole
// stream at once. The first two bytes of the input choose the pieces.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "netservice/LinkReader.h"

namespace {

void NoteMessage(std::string& log, const std::string& message) {
    log += "M" + std::to_string(message.size()) + ":" + message;
}

class CPlainDecoder {
public:
    explicit CPlainDecoder(const std::string& stream) : m_stream(stream) {}

    std::string Decode() {
        while (m_stream.size() - m_at >= sizeof(LINK_FRAME_HEAD) && DecodeFrame()) continue;
        return m_log;
    }

private:
    bool DecodeFrame() {
        LINK_FRAME_HEAD head;
        std::memcpy(&head, m_stream.data() + m_at, sizeof(head));
        m_at += sizeof(head);
        if (head.marker != LINK_FRAME_MARKER) return true;
        if (head.length < 0) return DecodePacked();
        if (head.length > 0) return Message("", static_cast<size_t>(head.length));
        m_log += 'H';
        return true;
    }

    bool DecodePacked() {
        if (m_stream.size() - m_at < sizeof(PACKED_HEAD)) return false;
        PACKED_HEAD head;
        std::memcpy(&head, m_stream.data() + m_at, sizeof(head));
        if (head.dwLen >= 0 && head.dwLen <= INT_MAX - 28) return Message("PACK", 24 + static_cast<size_t>(head.dwLen));
        m_log += 'B';
        return false;
    }

    bool Message(const std::string& prefix, size_t length) {
        if (m_stream.size() - m_at < length) return false;
        NoteMessage(m_log, prefix + m_stream.substr(m_at, length));
        m_at += length;
        return true;
    }

    const std::string& m_stream;
    size_t m_at = 0;
    std::string m_log;
};

class CPiecewiseReader {
public:
    CPiecewiseReader(const std::string& stream, tuint32 seed) : m_stream(stream), m_random(seed) {}

    std::string Read() {
        while (m_at < m_stream.size() && !m_bBroken) {
            GivePiece();
            TakeMessages();
        }
        return m_log;
    }

private:
    size_t PieceSize(size_t most) {
        m_random = m_random * 1664525 + 1013904223;
        const size_t scale = m_random >> 30 ? 16 : 100000;
        return std::min(1 + (m_random >> 8) % scale, most);
    }

    void GivePiece() {
        const auto room = m_reader.Room();
        const size_t left = m_stream.size() - m_at;
        const size_t size = PieceSize(room.empty() ? left : std::min(left, room.size()));
        if (room.empty()) {
            m_piece = m_stream.substr(m_at, size);
            m_reader.GiveAhead(m_piece);
        } else {
            std::copy_n(m_stream.begin() + static_cast<std::ptrdiff_t>(m_at), size, room.begin());
            m_reader.Added(static_cast<int>(size));
        }
        m_at += size;
    }

    void TakeMessages() {
        for (;;) {
            switch (m_reader.Next()) {
                case CLinkReader::NEED_BYTES:
                    return;
                case CLinkReader::HEARTBEAT:
                    m_log += 'H';
                    break;
                case CLinkReader::BROKEN:
                    m_log += 'B';
                    m_bBroken = true;
                    return;
                case CLinkReader::MESSAGE:
                    NoteMessage(m_log, {m_reader.Message().data(), m_reader.Message().size()});
                    break;
            }
        }
    }

    const std::string& m_stream;
    tuint32 m_random;
    size_t m_at = 0;
    bool m_bBroken = false;
    std::string m_piece;
    std::string m_log;
    RECV_DATA_BUFFER m_partial;
    CLinkReader m_reader{m_partial};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const tuint8* pData, size_t size) {
    if (size < 2) return 0;
    const std::string stream(reinterpret_cast<const char*>(pData) + 2, size - 2);
    const tuint32 seed = pData[0] + 256u * pData[1] + 1;
    if (CPiecewiseReader(stream, seed).Read() != CPlainDecoder(stream).Decode()) std::abort();
    return 0;
}

#include "simulator/SimLink.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "protocol/LinkFrame.h"

namespace {

/// No request of a client is longer; a longer one is taken for garbage.
constexpr tint32 MAX_REQUEST_LENGTH = 4 << 20;
/// A client that reads nothing and goes on asking loses its link here.
constexpr size_t MAX_QUEUE = 64u << 20;
constexpr size_t COMPACT_FROM = 256u << 10;
constexpr size_t READ_SIZE = 64u << 10;

void DropFront(SIM_BYTES& buffer, size_t& at) {
    if (at == buffer.size()) {
        buffer.clear();
        at = 0;
    } else if (at >= COMPACT_FROM) {
        buffer.erase(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(at));
        at = 0;
    }
}

}  // namespace

CSimLink::CSimLink(int sock, unsigned id, SIM_LINK_WAY way) : m_sock(sock), m_id(id), m_way(way) {
    const int on = 1;
    setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

CSimLink::~CSimLink() { close(m_sock); }

void CSimLink::SendRaw(SIM_BYTE_VIEW bytes) {
    if (!IsUsable()) return;
    if (Queued() + bytes.size() > MAX_QUEUE) {
        Cut(SIM_CUT::RESET);
        return;
    }
    Append(m_out, bytes);
}

void CSimLink::SendMessage(std::initializer_list<SIM_BYTE_VIEW> parts) {
    size_t length = 0;
    for (const auto part : parts) length += part.size();
    SendRaw(RecordBytes(LINK_FRAME_HEAD{LINK_FRAME_MARKER, static_cast<tint32>(length)}));
    for (const auto part : parts) SendRaw(part);
}

void CSimLink::Cut(SIM_CUT how) {
    m_out.clear();
    m_outAt = 0;
    if (how == SIM_CUT::SILENT) {
        m_bSilent = true;
        return;
    }
    if (how == SIM_CUT::RESET) {
        const linger hard{1, 0};
        setsockopt(m_sock, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    }
    m_bOver = true;
}

void CSimLink::CutAfter(std::uint64_t bytes, SIM_CUT how) {
    m_cutAt = std::max(bytes, m_bytesSent);
    m_cutHow = how;
}

void CSimLink::CutWhenSent(SIM_CUT how) {
    CutAfter(m_bytesSent + Queued(), how);
    m_bEnding = true;
    if (Queued() == 0) Cut(how);
}

void CSimLink::Flush() {
    while (!m_bOver && !m_bSilent && Queued() > 0) {
        const size_t allowed = static_cast<size_t>(std::min<std::uint64_t>(Queued(), m_cutAt - m_bytesSent));
        const ssize_t sent = send(m_sock, m_out.data() + m_outAt, allowed, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno != EAGAIN && errno != EINTR) m_bOver = true;
            break;
        }
        m_outAt += static_cast<size_t>(sent);
        m_bytesSent += static_cast<std::uint64_t>(sent);
        if (m_bytesSent >= m_cutAt) Cut(m_cutHow);
    }
    DropFront(m_out, m_outAt);
}

void CSimLink::Receive() {
    std::byte chunk[READ_SIZE];
    const ssize_t got = recv(m_sock, chunk, sizeof(chunk), MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) m_bOver = true;
    if (got <= 0) return;
    m_bSpoken = true;
    if (!IsUsable()) return;
    DropFront(m_in, m_inAt);
    Append(m_in, SIM_BYTE_VIEW(chunk, static_cast<size_t>(got)));
}

SIM_INPUT CSimLink::NextMessage(SIM_BYTE_VIEW& message) {
    if (!IsUsable()) return SIM_INPUT::NONE;
    const auto waiting = SIM_BYTE_VIEW(m_in).subspan(m_inAt);
    const auto head = ReadRecord<LINK_FRAME_HEAD>(waiting);
    if (!head) return SIM_INPUT::NONE;
    if (head->marker != LINK_FRAME_MARKER || head->length < 0 || head->length > MAX_REQUEST_LENGTH)
        return SIM_INPUT::BAD;
    const auto length = static_cast<size_t>(head->length);
    if (waiting.size() - sizeof(*head) < length) return SIM_INPUT::NONE;
    message = waiting.subspan(sizeof(*head), length);
    m_inAt += sizeof(*head) + length;
    return length == 0 ? SIM_INPUT::HEARTBEAT : SIM_INPUT::MESSAGE;
}

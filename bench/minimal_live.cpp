#include "bench/minimal_live.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "protocol/ClassicProtocol.h"
#include "protocol/LinkFrame.h"

namespace {

constexpr size_t RING_BYTES = 2 << 20;
constexpr size_t READ_BYTES = 256 << 10;
constexpr size_t STREAM_HEAD = sizeof(PACKCMD) + sizeof(FRAME_INFO);

/// Frames one behind the other; one that does not fit before the end begins at the start.
class CFrameRing {
public:
    CFrameRing() : m_block(RING_BYTES) {}

    void Push(const unsigned char* pData, size_t length) {
        std::unique_lock guard(m_lock);
        m_came.wait(guard, [&] { return m_waiting + length + sizeof(length) <= m_block.size() / 2; });
        if (m_write + sizeof(length) + length > m_block.size()) {
            m_end = m_write;
            m_write = 0;
        }
        std::memcpy(&m_block[m_write], &length, sizeof(length));
        std::memcpy(&m_block[m_write + sizeof(length)], pData, length);
        m_write += sizeof(length) + length;
        m_waiting += sizeof(length) + length;
        m_came.notify_all();
    }
    /// The oldest frame, which stays until Release; waits for one.
    const unsigned char* Take(size_t& length) {
        std::unique_lock guard(m_lock);
        m_came.wait(guard, [&] { return m_waiting > 0; });
        if (m_read == m_end) m_read = 0;
        std::memcpy(&length, &m_block[m_read], sizeof(length));
        return &m_block[m_read + sizeof(length)];
    }
    void Release(size_t length) {
        const std::scoped_lock guard(m_lock);
        m_read += sizeof(length) + length;
        m_waiting -= sizeof(length) + length;
        m_came.notify_all();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_came;
    std::vector<unsigned char> m_block;
    size_t m_write = 0;
    size_t m_read = 0;
    size_t m_end = RING_BYTES;  // of the data before the writer went back to the start
    size_t m_waiting = 0;       // bytes
};

int Connect(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int sock = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(sock, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) std::abort();
    return sock;
}

/// Puts the whole link frames at the start of `bytes` into the ring; how many bytes they were.
size_t TakeFrames(const std::vector<unsigned char>& bytes, size_t filled, CFrameRing& ring) {
    size_t at = 0;
    for (LINK_FRAME_HEAD head{}; filled - at >= sizeof(head);) {
        std::memcpy(&head, &bytes[at], sizeof(head));
        const size_t length = static_cast<size_t>(head.length);
        if (filled - at - sizeof(head) < length) break;
        ring.Push(&bytes[at + sizeof(head) + STREAM_HEAD], length - STREAM_HEAD);
        at += sizeof(head) + length;
    }
    return at;
}

void Receive(int sock, CFrameRing& ring) {
    std::vector<unsigned char> bytes(READ_BYTES);
    size_t filled = 0;
    for (;;) {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(sock, &readable);
        if (select(sock + 1, &readable, nullptr, nullptr, nullptr) <= 0) continue;
        const ssize_t count = recv(sock, &bytes[filled], bytes.size() - filled, 0);
        if (count <= 0) return;
        filled += static_cast<size_t>(count);
        const size_t taken = TakeFrames(bytes, filled, ring);
        std::memmove(&bytes[0], &bytes[taken], filled - taken);
        filled -= taken;
    }
}

}  // namespace

void RunMinimalLive(std::uint16_t port, const MINIMAL_CALLBACK& callback) {
    CFrameRing ring;
    std::thread([&] {
        for (;;) {
            size_t length = 0;
            callback(ring.Take(length), length);
            ring.Release(length);
        }
    }).detach();
    Receive(Connect(port), ring);
    _exit(0);  // the thread still waits
}

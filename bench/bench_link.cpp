// Messages through the link engine, beside the limit: the same bytes through a bare recv over the same kind of connection. One
// iteration is BATCH bytes sent by another thread and received here. The argument is the size of a message.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <semaphore>
#include <string>
#include <thread>

#include "netservice/MultiNetComm.h"

namespace {

constexpr tint64 BATCH = 64 << 20;

/// Two ends of a TCP connection over loopback; a thread of its own sends one batch of frames per Start().
class CSender {
public:
    explicit CSender(tint64 messageSize) : m_count(BATCH / (messageSize + 8)) {
        Connect();
        const LINK_FRAME_HEAD head{LINK_FRAME_MARKER, static_cast<tint32>(messageSize)};
        m_frame.assign(reinterpret_cast<const char*>(&head), sizeof(head));
        m_frame.append(static_cast<size_t>(messageSize), 'x');
        m_thread = std::thread([this] { Run(); });
    }
    ~CSender() {
        m_bStop = true;
        m_start.release();
        m_thread.join();
        close(m_sender);
    }

    void Start() { m_start.release(); }
    tint64 Count() const { return m_count; }
    tint64 Bytes() const { return m_count * static_cast<tint64>(m_frame.size()); }
    int Receiver() const { return m_receiver; }

private:
    void Connect() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof(address);
        auto* pAddress = reinterpret_cast<sockaddr*>(&address);
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        m_sender = socket(AF_INET, SOCK_STREAM, 0);
        if (bind(listener, pAddress, len) || listen(listener, 1) || getsockname(listener, pAddress, &len) ||
            connect(m_sender, pAddress, len)) {
            std::abort();
        }
        m_receiver = accept(listener, nullptr, nullptr);
        close(listener);
    }
    void Run() {
        for (m_start.acquire(); !m_bStop; m_start.acquire()) {
            for (tint64 i = 0; i < m_count; ++i) SendAll();
        }
    }
    void SendAll() {
        for (size_t done = 0; done < m_frame.size();) {
            const ssize_t count = send(m_sender, m_frame.data() + done, m_frame.size() - done, MSG_NOSIGNAL);
            if (count <= 0) return;
            done += static_cast<size_t>(count);
        }
    }

    const tint64 m_count;
    std::string m_frame;
    int m_sender = -1;
    int m_receiver = -1;
    std::atomic<bool> m_bStop{false};
    std::counting_semaphore<> m_start{0};
    std::thread m_thread;
};

struct RECEIVED {
    tint64 wanted = 0;
    std::atomic<tint64> count{0};
    static int OnData(int, void* pParam, const char*, int) {
        auto& self = *static_cast<RECEIVED*>(pParam);
        if (++self.count == self.wanted) self.count.notify_one();
        return 0;
    }
};

void LinkEngine(benchmark::State& state) {
    CSender sender(state.range(0));
    CSWL_MultiNetComm engine;
    RECEIVED received;
    received.wanted = sender.Count();
    if (!engine.Init(262144) || engine.AddNewComm(1, SWL_socket_t{sender.Receiver()}) != 0) std::abort();
    engine.SetAutoRecvCallback(1, RECEIVED::OnData, &received);
    engine.SetRecvMode(1, true);
    for (auto _ : state) {
        received.count = 0;
        sender.Start();
        for (tint64 count = 0; count < received.wanted; count = received.count) received.count.wait(count);
    }
    state.SetBytesProcessed(state.iterations() * sender.Bytes());
    engine.Destroy();
}

void BareRecv(benchmark::State& state) {
    CSender sender(state.range(0));
    std::string buffer(256 * 1024, '\0');
    for (auto _ : state) {
        sender.Start();
        for (tint64 left = sender.Bytes(); left > 0;) {
            const ssize_t count = recv(sender.Receiver(), buffer.data(), buffer.size(), 0);
            if (count <= 0) std::abort();
            left -= count;
        }
    }
    state.SetBytesProcessed(state.iterations() * sender.Bytes());
    close(sender.Receiver());
}

}  // namespace

BENCHMARK(LinkEngine)->Arg(300)->Arg(8000)->Arg(100000)->UseRealTime();
BENCHMARK(BareRecv)->Arg(300)->Arg(8000)->Arg(100000)->UseRealTime();

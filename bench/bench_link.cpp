// Messages through the link engine, beside a plain loop over the same kind of connection: reads of 256 KiB that look at
// nothing, or for each message one read of its head and one of its payload. One iteration sends BATCH bytes to each
// from another thread. The argument is the size of a message.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <semaphore>
#include <string>
#include <thread>

#include "bench/Pairs.h"
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
        // Several small frames go into one write, as a busy device's would.
        while (m_frame.size() * m_perWrite < 64 * 1024) ++m_perWrite;
        const std::string one = m_frame;
        for (tint64 i = 1; i < m_perWrite; ++i) m_frame += one;
        m_count = m_count / m_perWrite * m_perWrite;
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
    tint64 Bytes() const { return m_count / m_perWrite * static_cast<tint64>(m_frame.size()); }
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
            for (tint64 i = 0; i < m_count; i += m_perWrite) SendAll();
        }
    }
    void SendAll() {
        for (size_t done = 0; done < m_frame.size();) {
            const ssize_t count = send(m_sender, m_frame.data() + done, m_frame.size() - done, MSG_NOSIGNAL);
            if (count <= 0) return;
            done += static_cast<size_t>(count);
        }
    }

    tint64 m_count;
    tint64 m_perWrite = 1;
    std::string m_frame;  // of one write
    int m_sender = -1;
    int m_receiver = -1;
    std::atomic<bool> m_bStop{false};
    std::counting_semaphore<> m_start{0};
    std::thread m_thread;
};

/// Reads exactly `size` bytes.
void ReadAll(int sock, char* pTarget, size_t size) {
    for (size_t done = 0; done < size;) {
        const ssize_t count = recv(sock, pTarget + done, size - done, 0);
        if (count <= 0) std::abort();
        done += static_cast<size_t>(count);
    }
}

struct RECEIVED {
    tint64 wanted = 0;
    std::atomic<tint64> count{0};
    static int OnData(int, void* pParam, const char*, int) {
        auto& self = *static_cast<RECEIVED*>(pParam);
        if (++self.count == self.wanted) self.count.notify_one();
        return 0;
    }
};

/// The engine with one link, fed by a sender of its own.
class CEngineSide {
public:
    explicit CEngineSide(tint64 messageSize) : m_sender(messageSize) {
        m_received.wanted = m_sender.Count();
        if (!m_engine.Init(262144) || m_engine.AddNewComm(1, SWL_socket_t{m_sender.Receiver()}) != 0) std::abort();
        m_engine.SetAutoRecvCallback(1, RECEIVED::OnData, &m_received);
        m_engine.SetRecvMode(1, true);
    }
    ~CEngineSide() { m_engine.Destroy(); }

    double Bytes() const { return static_cast<double>(m_sender.Bytes()); }
    void RunBatch() {
        m_received.count = 0;
        m_sender.Start();
        for (tint64 count = 0; count < m_received.wanted; count = m_received.count) m_received.count.wait(count);
    }

private:
    CSender m_sender;
    RECEIVED m_received;
    CSWL_MultiNetComm m_engine;
};

class CPlainSide {
public:
    explicit CPlainSide(tint64 messageSize) : m_sender(messageSize), m_buffer(256 * 1024, '\0') {}
    ~CPlainSide() { close(m_sender.Receiver()); }

    void RunRaw() {
        m_sender.Start();
        for (tint64 left = m_sender.Bytes(); left > 0;) {
            const ssize_t count = recv(m_sender.Receiver(), m_buffer.data(), m_buffer.size(), 0);
            if (count <= 0) std::abort();
            left -= count;
        }
    }
    void RunTwoReads() {
        m_sender.Start();
        for (tint64 left = m_sender.Count(); left > 0; --left) {
            LINK_FRAME_HEAD head{};
            ReadAll(m_sender.Receiver(), reinterpret_cast<char*>(&head), sizeof(head));
            ReadAll(m_sender.Receiver(), m_buffer.data(), static_cast<size_t>(head.length));
        }
    }

private:
    CSender m_sender;
    std::string m_buffer;
};

void LinkBesideRawRecv(benchmark::State& state) {
    CEngineSide engine(state.range(0));
    CPlainSide plain(state.range(0));
    const TARGET target = state.range(0) == 20000 ? AtLeast(0.8) : TARGET{};
    CompareRates(
        state, engine.Bytes(), target, [&] { engine.RunBatch(); }, [&] { plain.RunRaw(); });
}

void LinkBesideTwoReads(benchmark::State& state) {
    CEngineSide engine(state.range(0));
    CPlainSide plain(state.range(0));
    const TARGET target = state.range(0) == 1400 ? AtLeast(1.0) : TARGET{};
    CompareRates(
        state, engine.Bytes(), target, [&] { engine.RunBatch(); }, [&] { plain.RunTwoReads(); });
}

}  // namespace

BENCHMARK(LinkBesideRawRecv)->Arg(8000)->Arg(20000)->Arg(100000)->Iterations(21);
BENCHMARK(LinkBesideTwoReads)->Arg(300)->Arg(1400)->Arg(20000)->Iterations(21);

// What waiting costs: links on which nothing happens, and streams. Each beside the most that it may cost.
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/Child.h"
#include "bench/Pairs.h"
#include "HLX.h"
#include "netservice/MultiNetComm.h"
#include "simulator/classic/ClassicRecorder.h"

namespace {

constexpr double KIB = 1024;
constexpr double MIB = 1024 * KIB;
constexpr double HEARTBEAT = 7.5;  // seconds between those of a peer, as of this side
constexpr double IDLE_WINDOW = 2 * HEARTBEAT;

struct STEPS {
    std::atomic<int> wanted{0};  // what the child has been asked to have done
    std::atomic<int> done{0};
    void Next(const char* pWhat) {
        const int step = ++wanted;
        Await([&] { return done >= step; }, pWhat);
    }
    /// In the child: does a step when it is asked for.
    template <class Work>
    void Do(int step, Work&& work) {
        Await([&] { return wanted >= step; }, "the next step");
        work();
        done = step;
    }
};

/// An engine with idle links in a process of its own; this process plays the peers, whose heartbeats are spread evenly
/// over time.
class CIdleLinks {
public:
    explicit CIdleLinks(int count) {
        rlimit files{};
        getrlimit(RLIMIT_NOFILE, &files);
        files.rlim_cur = std::min<rlim_t>(files.rlim_max, static_cast<rlim_t>(2 * count + 200));
        setrlimit(RLIMIT_NOFILE, &files);
        for (int i = 0; i < count; ++i) {
            int pair[2] = {-1, -1};
            if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) std::abort();
            m_ours.push_back(pair[0]);
            m_peers.push_back(pair[1]);
        }
        m_child = std::make_unique<CChild>([this] { Hold(); });
        for (const int sock : m_ours) close(sock);
        m_steps.Next("an empty engine");
        m_emptyBytes = m_child->ResidentBytes();
        m_emptyThreads = m_child->Threads();
        m_steps.Next("the links");
    }
    ~CIdleLinks() {
        m_child.reset();
        for (const int sock : m_peers) close(sock);
    }

    /// Plays the peers for so many seconds.
    void Live(double seconds) {
        const double step = HEARTBEAT / static_cast<double>(m_peers.size());
        const LINK_FRAME_HEAD heartbeat{LINK_FRAME_MARKER, 0};
        char taken[256];
        for (double passed = 0; passed < seconds; passed += SecondsOf([&] { Pause(step); })) {
            const int sock = m_peers[m_next++ % m_peers.size()];
            if (send(sock, &heartbeat, sizeof(heartbeat), MSG_NOSIGNAL) < 0) std::abort();  // the link has broken
            while (recv(sock, taken, sizeof(taken), MSG_DONTWAIT) > 0) {
            }
        }
    }

    const CChild& Process() const { return *m_child; }
    double BytesPerLink() const {
        return (m_child->ResidentBytes() - m_emptyBytes) / static_cast<double>(m_peers.size());
    }
    int MoreThreads() const { return m_child->Threads() - m_emptyThreads; }

private:
    static int OnData(int, void*, const char*, int) { return 0; }
    void Hold() {
        for (const int sock : m_peers) close(sock);
        CSWL_MultiNetComm engine;
        m_steps.Do(1, [&] {
            if (!engine.Init(SEND_BUFFER)) std::abort();
        });
        m_steps.Do(2, [&] { AddLinks(engine); });
        for (;;) pause();
    }
    void AddLinks(CSWL_MultiNetComm& engine) {
        for (size_t i = 0; i < m_ours.size(); ++i) {
            const int id = static_cast<int>(i) + 1;
            if (engine.AddNewComm(id, SWL_socket_t{m_ours[i]}) != 0) std::abort();
            engine.SetAutoRecvCallback(id, OnData, nullptr);
            engine.SetRecvMode(id, true);
        }
    }

    static constexpr int SEND_BUFFER = 262144;
    STEPS& m_steps = Shared<STEPS>();
    std::vector<int> m_ours;
    std::vector<int> m_peers;
    std::unique_ptr<CChild> m_child;
    double m_emptyBytes = 0;
    int m_emptyThreads = 0;
    size_t m_next = 0;
};

struct IDLE_FIGURES {
    double share = 0;  // of one processor, percent
    double wakeUps = 0;
    double bytesPerLink = 0;
    double moreThreads = 0;
};

const IDLE_FIGURES& MeasuredIdle(int count) {
    static std::map<int, IDLE_FIGURES> all;
    const auto found = all.find(count);
    if (found != all.end()) return found->second;
    CIdleLinks links(count);
    links.Live(HEARTBEAT + 0.5);  // until each has sent and received
    const double time = links.Process().ProcessorSeconds();
    const double woken = links.Process().WakeUps();
    const double seconds = SecondsOf([&] { links.Live(IDLE_WINDOW); });
    return all[count] = {(links.Process().ProcessorSeconds() - time) / seconds * 100,
                         (links.Process().WakeUps() - woken) / seconds, links.BytesPerLink(),
                         double(links.MoreThreads())};
}

void Beside(benchmark::State& state, double ours, double limit, const char* pUnit) {
    CPairs pairs;
    pairs.Add(ours, limit);
    pairs.Report(state, pUnit, AtMost(1));
}

void IdleProcessorShare(benchmark::State& state) {
    for (auto _ : state) Beside(state, MeasuredIdle(int(state.range(0))).share, double(state.range(0)) / 100, "%");
}
void IdleWakeUps(benchmark::State& state) {
    const auto links = double(state.range(0));
    for (auto _ : state) Beside(state, MeasuredIdle(int(links)).wakeUps, links / 5, "/s");
}
void IdleMemory(benchmark::State& state) {
    for (auto _ : state) Beside(state, MeasuredIdle(int(state.range(0))).bytesPerLink / KIB, 16, "KiB/link");
}
void IdleThreads(benchmark::State& state) {
    for (auto _ : state) Beside(state, MeasuredIdle(int(state.range(0))).moreThreads, 1, "threads");
}

// ---- Streams ----

constexpr int STREAMS = 8;

struct STREAM_SHARED {
    std::atomic<std::uint16_t> port{0};
    std::atomic<unsigned> frames{0};
    std::atomic<bool> bHold{false};  // callbacks do not return
    STEPS steps;
};

void RunRecorder(STREAM_SHARED& shared) {
    CLASSIC_RECORDER_CONFIG config;
    config.speed = 2;
    CClassicRecorder recorder(config);
    std::string sError;
    if (!recorder.Start(sError)) _exit(1);
    shared.port = recorder.Port();
    for (;;) pause();
}

void OnFrame(POINTERHANDLE, HLX_FRAME_INFO, BYTE*, void* pUser) {
    auto& shared = *static_cast<STREAM_SHARED*>(pUser);
    ++shared.frames;
    while (shared.bHold) Pause(0.01);
}

void PlayAll(LONG lUserID, STREAM_SHARED& shared) {
    for (int channel = 0; channel < STREAMS; ++channel) {
        HLX_CLIENTINFO info{};
        info.lChannel = channel;
        info.streamType = HLX_MAIN_STREAM;
        if (HLX_LivePlay(lUserID, &info, OnFrame, &shared) <= 0) _exit(1);
    }
}

void RunStreams(STREAM_SHARED& shared) {
    Await([&] { return shared.port != 0; }, "the recorder");
    HLX_Init();
    HLX_DEVICEINFO device{};
    LONG id = 0;
    shared.steps.Do(1, [&] { id = HLX_Login("127.0.0.1", static_cast<WORD>(shared.port), "admin", "", &device); });
    shared.steps.Do(2, [&] { PlayAll(id, shared); });
    for (;;) pause();
}

struct STREAM_FIGURES {
    double threads = 0;  // each of a stream
    double readingBytes = 0;
    double standingBytes = 0;
};

const STREAM_FIGURES& MeasuredStreams() {
    static const STREAM_FIGURES figures = [] {
        auto& shared = Shared<STREAM_SHARED>();
        const CChild recorder([&] { RunRecorder(shared); });
        const CChild library([&] { RunStreams(shared); });
        STREAM_FIGURES result;
        shared.steps.Next("the login");
        Pause(1);  // what only a login needs is gone
        const double bytes = library.ResidentBytes();
        const int threads = library.Threads();
        shared.steps.Next("the streams");
        Await([&] { return shared.frames > 100 * STREAMS; }, "frames");
        result.threads = double(library.Threads() - threads) / STREAMS;
        result.readingBytes = (library.ResidentBytes() - bytes) / STREAMS;
        shared.bHold = true;
        // The rings are full when nothing grows any more.
        for (double before = 0; library.ResidentBytes() > before + 64 * KIB;) {
            before = library.ResidentBytes();
            Pause(5);
        }
        result.standingBytes = (library.ResidentBytes() - bytes) / STREAMS;
        return result;
    }();
    return figures;
}

void StreamThreads(benchmark::State& state) {
    for (auto _ : state) Beside(state, MeasuredStreams().threads, 1, "threads");
}
void StreamMemoryReaderStands(benchmark::State& state) {
    for (auto _ : state) Beside(state, MeasuredStreams().standingBytes / MIB, 2.2, "MiB");
}
void StreamMemoryReaderKeepsUp(benchmark::State& state) {
    const STREAM_FIGURES& figures = MeasuredStreams();
    for (auto _ : state) Beside(state, figures.readingBytes / MIB, figures.standingBytes / MIB, "MiB");
}

}  // namespace

BENCHMARK(IdleProcessorShare)->Arg(100)->Arg(1000)->Iterations(1);
BENCHMARK(IdleWakeUps)->Arg(100)->Iterations(1);
BENCHMARK(IdleMemory)->Arg(100)->Arg(1000)->Iterations(1);
BENCHMARK(IdleThreads)->Arg(100)->Arg(1000)->Iterations(1);
BENCHMARK(StreamThreads)->Iterations(1);
BENCHMARK(StreamMemoryReaderKeepsUp)->Iterations(1);
BENCHMARK(StreamMemoryReaderStands)->Iterations(1);

#include "tests/soak/Mutations.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "support/TestSupport.h"
#include "tests/soak/Receiver.h"
#include "tests/soak/TracedSession.h"
#include "tests/soak/Viewers.h"

namespace {

constexpr unsigned WORKERS = 6;
constexpr int CLOCK_RATE = 1000;
constexpr double GROWTH = 1 << 20;
constexpr std::chrono::seconds LONGEST_SESSION{60};

/// What the process holds.
struct HOLDINGS {
    int threads = ThreadCount(), descriptors = OpenDescriptorCount();
    double bytes = ResidentBytes();
};

class CMutations {
public:
    explicit CMutations(const REPLAY_CONFIG& config) : m_config(config) {}

    /// Runs the sessions up to number `last`. Behind it nobody is in one.
    void RunTo(unsigned last) {
        std::atomic<unsigned> working{WORKERS};
        std::vector<std::thread> workers;
        for (unsigned i = 0; i < WORKERS; ++i) {
            workers.emplace_back([&] {
                for (unsigned seed = ++m_seed; seed <= last; seed = ++m_seed) RunOne(seed);
                --working;
            });
        }
        for (unsigned before = m_ended; !WaitUntil([&] { return working == 0; }, LONGEST_SESSION); before = m_ended) {
            if (m_ended != before) continue;
            std::fprintf(stderr, "soak: no session ended for a minute, the last begun is %u\n", m_seed.load());
            std::abort();
        }
        for (std::thread& worker : workers) worker.join();
        m_seed = last;
    }

    std::atomic<unsigned> m_ended{0};
    std::atomic<unsigned> m_whole{0};  // that nothing was wrong with
    std::atomic<unsigned> m_refused{0}, m_pictures{0};

private:
    void RunOne(unsigned seed) {
        const TRACED_OUTCOME outcome = RunMutated(m_config, seed);
        const bool bLogin = !outcome.calls.empty() && outcome.calls.front().bDone;
        m_refused += !bLogin;
        m_whole += bLogin && outcome.AllDone();
        m_pictures += static_cast<unsigned>(outcome.pictures.size());
        ++m_ended;
    }

    const REPLAY_CONFIG& m_config;
    std::atomic<unsigned> m_seed{0};
};

}  // namespace

bool RunMutations(unsigned count) {
    CFastTime::Clock();
    HLX_Init();
    const TRACED_RECORD record = RecordTraced({});
    if (!record.sError.empty() || !record.outcome.AllDone()) return std::puts("soak: no record"), false;
    const CFastTime fast(CLOCK_RATE);
    CMutations mutations(record.config);
    mutations.RunTo(count / 10);
    const HOLDINGS before;
    mutations.RunTo(count);
    const bool bClean =
        WaitUntil([&] { return ThreadCount() <= before.threads && OpenDescriptorCount() <= before.descriptors; });
    const double grown = ResidentBytes() - before.bytes;
    std::printf("%u mutated sessions: %u logins failed, %u went through as if nothing was, %u pictures came\n",
                mutations.m_ended.load(), mutations.m_refused.load(), mutations.m_whole.load(),
                mutations.m_pictures.load());
    std::printf("memory since session %u, grown by %.0f KiB%s\n", count / 10, grown / 1024,
                bClean ? "" : "; threads or descriptors are left");
    HLX_Cleanup();
#ifdef __SANITIZE_ADDRESS__
    return bClean;  // what was freed stays in the process for a while
#else
    return bClean && grown <= GROWTH;
#endif
}

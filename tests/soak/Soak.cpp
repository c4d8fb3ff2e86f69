#include "tests/soak/Soak.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <thread>

#include "tests/soak/Viewers.h"
#include "tests/support/TestSupport.h"

namespace {

constexpr unsigned RECORDERS = 4;
constexpr unsigned CHANNELS = 4;
constexpr unsigned IDLE_LINKS = 100;
constexpr auto HEALING_TIME =
    std::chrono::minutes(3);  // a silent link costs 30 s, and a hundred of them come back one by one
constexpr std::uint64_t UNDER_WAY_LIMIT = RECORDERS * CHANNELS * 100;  // two seconds of each stream

CLASSIC_RECORDER_CONFIG Config(unsigned channels) {
    CLASSIC_RECORDER_CONFIG config;
    config.channels = channels;
    config.sPassword = "secret";
    config.maxSessions = 2 * IDLE_LINKS;
    return config;
}

class CSoak {
public:
    explicit CSoak(const SOAK_ORDER& order)
        : m_order(order), m_random(order.seed), m_viewers(RECORDERS, Config(CHANNELS)), m_idle(Config(1)) {}

    bool Run();

private:
    bool Start();
    void RunFaults();
    bool AwaitHealing();
    void Table(const LEDGER_TOTALS& totals) const;
    std::string Verdict(const LEDGER_TOTALS& totals) const;
    void Misbehave();
    unsigned Draw(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(m_random); }

    const SOAK_ORDER m_order;
    CTempDir m_logFolder;
    std::mt19937 m_random;
    CViewers m_viewers;
    CClassicRecorder m_idle;
    std::map<std::string, unsigned> m_faults;  // how often each was made
    std::atomic<unsigned> m_breaks{0};         // told by the library
    std::atomic<unsigned> m_returns{0};
    std::uint64_t m_dropped = 0;
    double m_startBytes = 0, m_endBytes = 0;
    bool m_bHealed = false, m_bClean = false;
};

bool CSoak::Start() {
    std::string sError;
    HLX_SetLogToFile(1, m_logFolder.Path().c_str(), 1, YLOG_WARN);
    HLX_SetSDKMessageCallBack(
        0, nullptr,
        [](DWORD type, LONG, LONG, void* pUser) {
            auto& self = *static_cast<CSoak*>(pUser);
            ++(type == NETWORK_DISCONNECT ? self.m_breaks : self.m_returns);
        },
        this);
    if (!m_idle.Start(sError) || !m_viewers.Start()) return false;
    for (unsigned i = 0; i < IDLE_LINKS; ++i) {
        if (HLX_Login("127.0.0.1", m_idle.Port(), "admin", "secret", nullptr) <= 0) return false;
    }
    return WaitUntil([&] { return m_viewers.AllRun(25); }, std::chrono::seconds(30));
}

/// One fault of a kind and at a place that the seed chooses. Those that act at the login come with a cut.
void CSoak::Misbehave() {
    struct KIND {
        const char* pName;
        const char* pFault;  // for the fault plan; null for none
        int cut;             // a SIM_CUT, -1 for none
    };
    static constexpr KIND KINDS[] = {
        {"cut close", nullptr, int(SIM_CUT::CLOSE)},
        {"cut reset", nullptr, int(SIM_CUT::RESET)},
        {"silence", nullptr, int(SIM_CUT::SILENT)},
        {"slow login", "reply-delay@login=1500*2", int(SIM_CUT::CLOSE)},
        {"refused login", "refuse=2*2", int(SIM_CUT::RESET)},
        {"late first block", "head-late=800*2", int(SIM_CUT::CLOSE)},
        {"stream stop", "stream-stop=", -1},
        {"link length", "link-length=50*1", -1},
        {"idle links cut", nullptr, int(SIM_CUT::CLOSE)},
    };
    const size_t kind = Draw(std::size(KINDS));
    const bool bIdle = kind + 1 == std::size(KINDS);
    CClassicRecorder& recorder = bIdle ? m_idle : m_viewers.Recorder(Draw(RECORDERS));
    if (KINDS[kind].pFault) {
        std::string sFault = KINDS[kind].pFault;
        if (sFault.back() == '=') sFault += std::to_string(Draw(CHANNELS)) + "*1";
        std::string sError;
        if (const auto fault = ParseFault(sFault, sError)) recorder.SetFaults({*fault});
    }
    if (KINDS[kind].cut >= 0) recorder.CutLinks(static_cast<SIM_CUT>(KINDS[kind].cut));
    ++m_faults[KINDS[kind].pName];
}

void CSoak::RunFaults() {
    using CLOCK = std::chrono::steady_clock;
    const auto end =
        CLOCK::now() + std::chrono::duration_cast<CLOCK::duration>(std::chrono::duration<double>(m_order.minutes * 60));
    for (auto next = CLOCK::now(); CLOCK::now() < end;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        m_viewers.Settle();
        if (CLOCK::now() < next) continue;
        Misbehave();
        next = CLOCK::now() + std::chrono::milliseconds(2000 + Draw(6000));
    }
    for (unsigned i = 0; i < RECORDERS; ++i) m_viewers.Recorder(i).SetFaults({});
}

bool CSoak::AwaitHealing() {
    m_viewers.Mark();
    return WaitUntil(
        [&] {
            m_viewers.Settle();
            return m_viewers.AllRun(50) && m_returns >= m_breaks;
        },
        HEALING_TIME);
}

void CSoak::Table(const LEDGER_TOTALS& totals) const {
    const auto row = [](const char* pWhat, std::uint64_t count) {
        std::printf("%-46s %12llu\n", pWhat, static_cast<unsigned long long>(count));
    };
    std::printf("\nseed %u, %.1f minutes, %u streams, %u idle links\n", m_order.seed, m_order.minutes,
                RECORDERS * CHANNELS, IDLE_LINKS);
    for (const auto& [sName, count] : m_faults) row(("fault: " + sName).c_str(), count);
    row("sessions told as broken", m_breaks);
    row("sessions told as back", m_returns);
    row("frames whole, once and in order", totals.delivered);
    row("frames under way when their link fell", totals.withLink);
    row("frames before a stream's start on a link", totals.atStart);
    row("frames missing on links that stayed", totals.missing);
    row("frames dropped as the log tells", m_dropped);
    row("frames wrong", totals.wrong);
    row("frames under way at the end", totals.underWay);
    std::printf("%-46s %8.1f MiB\n", "memory, grown by", (m_endBytes - m_startBytes) / 1048576);
}

std::string CSoak::Verdict(const LEDGER_TOTALS& totals) const {
    if (totals.wrong > 0) return "frames arrived damaged, twice or out of order";
    if (totals.missing + totals.atStart > m_dropped) return "frames are lost of which nothing was told";
    if (totals.underWay > UNDER_WAY_LIMIT) return "frames are late without an end";
    if (!m_bHealed) return "not every stream and session came back";
    return m_bClean ? "" : "threads or descriptors are left";
}

bool CSoak::Run() {
    HLX_Init();
    HLX_Cleanup();  // what lives as long as the process is there from now on
    const int threads = ThreadCount(), descriptors = OpenDescriptorCount();
    HLX_Init();
    if (!Start()) {
        std::fprintf(stderr, "soak: no start, number %u\n", unsigned{HLX_GetLastError()});
        HLX_Cleanup();
        return false;
    }
    m_startBytes = ResidentBytes();
    RunFaults();
    m_bHealed = AwaitHealing();
    m_endBytes = ResidentBytes();
    m_viewers.Stop();
    m_idle.Stop();
    HLX_SetSDKMessageCallBack(0, nullptr, nullptr, nullptr);
    HLX_Cleanup();
    m_dropped = DroppedAsLogged(m_logFolder.Path());
    m_bClean = WaitUntil([&] { return ThreadCount() <= threads && OpenDescriptorCount() <= descriptors; });
    const LEDGER_TOTALS totals = m_viewers.Ledger().Totals();
    Table(totals);
    for (const std::string& sFinding : m_viewers.Ledger().Findings()) std::printf("  %s\n", sFinding.c_str());
    const std::string sVerdict = Verdict(totals);
    std::printf("%s\n", sVerdict.empty() ? "every frame is accounted for" : sVerdict.c_str());
    return sVerdict.empty();
}

}  // namespace

bool RunSoak(const SOAK_ORDER& order) { return CSoak(order).Run(); }

#include "tests/soak/LoadProofs.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <thread>

#include "tests/soak/Viewers.h"
#include "tests/support/TestSupport.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

constexpr double KIB = 1024;
constexpr double GROWTH = 256 * KIB;  // of many rounds after the first of them
// Of a long run after its first quarter. A ring takes a page when its reader is later than ever before, and so do the simulators'
// queues, which lie in the same process.
constexpr double LIVE_GROWTH = 256 * KIB;
constexpr double LIVE_GROWTH_OF_STREAM = 16 * KIB;

std::string Text(const char* pFormat, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    return text;
}

void Sleep(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

CLASSIC_RECORDER_CONFIG Config(unsigned channels, double speed) {
    CLASSIC_RECORDER_CONFIG config;
    config.channels = channels;
    config.speed = speed;
    config.sPassword = "secret";
    return config;
}

/// Runs `round` `count` times and compares what the process holds with what it held after the first tenth.
std::string ProveRounds(int count, bool bMemory, const std::function<bool()>& round, std::string& sFigures) {
    int threads = 0, descriptors = 0;
    double bytes = 0;
    for (int i = 0; i < count; ++i) {
        if (!round()) return Text("round %d failed, number %u", i + 1, unsigned{HLX_GetLastError()});
        if (i + 1 != std::max(1, count / 10)) continue;
        threads = ThreadCount();
        descriptors = OpenDescriptorCount();
        bytes = ResidentBytes();
    }
    const double grown = ResidentBytes() - bytes;
    sFigures = Text("%d rounds, %.0f KiB more in memory since round %d", count, grown / KIB, std::max(1, count / 10));
    if (!WaitUntil([&] { return ThreadCount() <= threads; }))
        return Text("%d threads, were %d", ThreadCount(), threads);
    if (!WaitUntil([&] { return OpenDescriptorCount() <= descriptors; }))
        return Text("%d descriptors, were %d", OpenDescriptorCount(), descriptors);
    return bMemory && grown > GROWTH ? "memory grows" : "";
}

std::string Judge(const LEDGER_TOTALS& totals, std::string& sFigures) {
    sFigures = Text("%llu frames arrived, %llu missing, %llu wrong", static_cast<unsigned long long>(totals.delivered),
                    static_cast<unsigned long long>(totals.missing + totals.atStart + totals.withLink),
                    static_cast<unsigned long long>(totals.wrong));
    return totals.missing + totals.atStart + totals.withLink + totals.wrong > 0 ? "frames were lost" : "";
}

/// Opens descriptors up to `count`; how many could not be.
int OpenMany(int count, std::vector<int>& opened) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlim_t wanted = static_cast<rlim_t>(count + 200);
    if (files.rlim_cur < wanted) files.rlim_cur = std::min(files.rlim_max, wanted);
    setrlimit(RLIMIT_NOFILE, &files);
    while (static_cast<int>(opened.size()) < count) {
        const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (fd < 0) break;
        opened.push_back(fd);
    }
    return count - static_cast<int>(opened.size());
}

}  // namespace

std::string ProveLive(unsigned recorders, unsigned channels, double speed, int seconds, std::string& sFigures) {
    if (!HLX_Init()) return "no HLX_Init";
    CViewers viewers(recorders, Config(channels, speed));
    std::string sProblem = viewers.Start() ? "" : Text("no start, number %u", unsigned{HLX_GetLastError()});
    double bytes = 0;
    for (int second = 0; second < seconds && sProblem.empty(); ++second) {
        Sleep(1);
        viewers.Settle();
        if (second == seconds / 4) bytes = ResidentBytes();
    }
    const auto enough = static_cast<std::uint64_t>(seconds * speed * 20);  // pictures, and as many units of sound
    if (sProblem.empty() && !WaitUntil([&] { return viewers.AllRun(enough); }, std::chrono::seconds(20)))
        sProblem = "a stream is behind";
    const double grown = ResidentBytes() - bytes;
    viewers.Stop();
    HLX_Cleanup();
    if (!sProblem.empty()) return sProblem;
    sProblem = Judge(viewers.Ledger().Totals(), sFigures);
    if (seconds < 20) return sProblem;
    sFigures += Text(", %.0f KiB more in memory since second %d", grown / KIB, seconds / 4);
    return sProblem.empty() && grown > LIVE_GROWTH + recorders * channels * LIVE_GROWTH_OF_STREAM ? "memory grows"
                                                                                                  : sProblem;
}

std::string ProveLogins(int count, bool bMemory, std::string& sFigures) {
    if (!HLX_Init()) return "no HLX_Init";
    CClassicRecorder recorder(Config(16, 1));
    std::string sProblem;
    if (!recorder.Start(sProblem)) return sProblem;
    const auto round = [&] {
        HLX_DEVICEINFO info{};
        const LONG id = HLX_Login("127.0.0.1", recorder.Port(), "admin", "secret", &info);
        return id > 0 && HLX_Logout(id);
    };
    sProblem = ProveRounds(count, bMemory, round, sFigures);
    HLX_Cleanup();
    return sProblem;
}

std::string ProveLives(int count, bool bMemory, std::string& sFigures) {
    return ProveRounds(
        count, bMemory, [] { return HLX_Init() && HLX_Cleanup(); }, sFigures);
}

std::string ProveLoads(int count, bool bMemory, const std::string& sLibrary, std::string& sFigures) {
    CClassicRecorder recorder(Config(1, 1));
    std::string sProblem;
    if (!recorder.Start(sProblem)) return sProblem;
    const auto round = [&] {
#ifdef __SANITIZE_ADDRESS__
        // What lives as long as the process, a few hundred bytes, stays behind when the library is unloaded.
        const __lsan::ScopedDisabler ofTheLibrary;
#endif
        void* pLibrary = dlopen(sLibrary.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!pLibrary) return false;
        const auto init = reinterpret_cast<decltype(&HLX_Init)>(dlsym(pLibrary, "HLX_Init"));
        const auto cleanup = reinterpret_cast<decltype(&HLX_Cleanup)>(dlsym(pLibrary, "HLX_Cleanup"));
        const auto login = reinterpret_cast<decltype(&HLX_Login)>(dlsym(pLibrary, "HLX_Login"));
        HLX_DEVICEINFO info{};
        bool bGood = init && cleanup && login && init();
        bGood = bGood && login("127.0.0.1", recorder.Port(), "admin", "secret", &info) > 0;
        return cleanup && cleanup() && dlclose(pLibrary) == 0 && bGood;
    };
    return ProveRounds(count, bMemory, round, sFigures);
}

std::string ProveHighDescriptors(int count, std::string& sFigures) {
    std::vector<int> opened;
    const int missing = OpenMany(count, opened);
    std::string sProblem;
    if (missing > 0) {
        sFigures = Text("left out: %d descriptors cannot be opened here", count);
    } else {
        std::string sLive;
        sProblem = ProveLive(1, 1, 10, 1, sLive);
        sFigures = Text("behind %d descriptors: ", count) + sLive;
    }
    for (const int fd : opened) close(fd);
    return sProblem;
}

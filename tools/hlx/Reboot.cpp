#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// How long to wait between two tries to log in again.
constexpr DWORD TRY_EVERY_MILLISECONDS = 500;

// EXIT_OK for a yes. A signal ends the process here, since nothing is open yet.
EXIT_CODE AskFirst(const OPTIONS& options) {
    if (options.reboot.bYes) return EXIT_OK;
    if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO)) {
        return Fail(options.connect.bJson, "nobody can be asked here: say --yes to restart the device", EXIT_USAGE);
    }
    PrintNote(fmt::format("Restart {}? Streams and recordings stop meanwhile. [y/N]",
                          EndpointText(options.connect.endpoint)));
    char answer[64] = "";
    const ssize_t nRead = read(STDIN_FILENO, answer, sizeof answer);
    if (nRead > 0 && (answer[0] == 'y' || answer[0] == 'Y')) return EXIT_OK;
    return Fail(options.connect.bJson, "not restarted", EXIT_FAILED);
}

// What the library's threads tell of the session's link.
struct LINK_WATCH {
    explicit LINK_WATCH(CInterrupt& waiter) : interrupt(waiter) {}

    static void OnException(DWORD dwType, LONG, LONG, void* pUser) {
        auto& watch = *static_cast<LINK_WATCH*>(pUser);
        if (dwType == NETWORK_DISCONNECT) watch.bDown = true;
        if (dwType == NETWORK_RECONNECT) watch.bBack = true;
        watch.interrupt.Wake();
    }

    CInterrupt& interrupt;
    std::atomic<bool> bDown{false};
    std::atomic<bool> bBack{false};  // and logged in
};

std::string SecondsText(Clock::duration time) {
    return fmt::format("{:.1f} s", std::chrono::duration<double>(time).count());
}

int Print(const OPTIONS& options, const char* sHow, const char* sWords) {
    const std::string strHost = EndpointText(options.connect.endpoint);
    if (!options.connect.bJson) return PrintData(fmt::format("{} restarts: {}\n", strHost, sWords));
    return PrintJson({{"event", "reboot"}, {"host", strHost}, {"seen", sHow}});
}

int PrintBack(const OPTIONS& options, Clock::duration after) {
    if (!options.connect.bJson) return PrintData(fmt::format("back after {}, login works\n", SecondsText(after)));
    return PrintJson({{"event", "back"}, {"seconds", std::chrono::duration<double>(after).count()}});
}

// Waits till the flag is set, till a signal, or till the end; the flag.
bool Await(const std::atomic<bool>& bFlag, CInterrupt& interrupt, Clock::time_point start, Clock::time_point end) {
    while (!bFlag && interrupt.Signal() == 0 && Clock::now() < end) {
        const auto waited = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
        PrintFigures(fmt::format("waiting for the device, {} s", waited.count()));
        const auto wake = std::min(end, Clock::now() + Clock::duration(1s));
        interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(wake - Clock::now()));
    }
    ClearFigures();
    return bFlag;
}

EXIT_CODE AwaitReturn(const OPTIONS& options, CInterrupt& interrupt, const LINK_WATCH& watch) {
    const auto start = Clock::now();
    const auto end = start + options.reboot.limit;
    const bool bDown = Await(watch.bDown, interrupt, start, end);
    const bool bBack = bDown && Await(watch.bBack, interrupt, start, end);
    if (bBack) return PrintedExit(PrintBack(options, Clock::now() - start));
    if (interrupt.Signal() != 0) return EXIT_OK;
    return Fail(options.connect.bJson,
                fmt::format("{} after {}", bDown ? "the device is not back" : "the device still has not gone down",
                            SecondsText(Clock::now() - start)),
                EXIT_TIMED_OUT);
}

EXIT_CODE Restart(const OPTIONS& options, CInterrupt& interrupt, const LINK_WATCH& watch, LONG lUserID) {
    const bool bConfirmed = HLX_RebootDVR(lUserID) != 0;
    const bool bDropped = !bConfirmed && (HLX_GetLastError() == HLX_NETWORK_NOT_CONNECT || watch.bDown);
    if (!bConfirmed && !bDropped) return FailLast(options.connect.bJson, "the restart");
    const int nErrno =
        bConfirmed ? Print(options, "reply", "it said so") : Print(options, "link", "its link fell without a reply");
    if (!options.reboot.bWait || nErrno != 0) return PrintedExit(nErrno);
    return AwaitReturn(options, interrupt, watch);
}

}  // namespace

EXIT_CODE RunReboot(const OPTIONS& options, CInterrupt& interrupt) {
    if (const EXIT_CODE eExit = AskFirst(options); eExit != EXIT_OK) return eExit;
    LINK_WATCH watch(interrupt);  // outlives the session, whose end ends the callbacks
    CSession session(interrupt);
    if (const EXIT_CODE eExit = session.Open(options.connect); eExit != EXIT_OK) return eExit;
    SilenceLibrary();  // it prints that the link broke, which is what we want
    HLX_SetSDKMessageCallBack(0, nullptr, LINK_WATCH::OnException, &watch);
    HLX_SetReconnect(TRY_EVERY_MILLISECONDS, options.reboot.bWait);
    EXIT_CODE eExit = EXIT_OK;
    if (interrupt.Signal() == 0) eExit = Restart(options, interrupt, watch, session.UserID());
    return interrupt.Signal() != 0 ? SignalExitCode(interrupt.Signal()) : eExit;
}

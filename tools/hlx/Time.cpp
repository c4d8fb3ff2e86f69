#include <fmt/format.h>

#include <ctime>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "DateText.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using WallClock = std::chrono::system_clock;

constexpr auto LONGEST_READ = 5s;  // for a first answer
constexpr auto LONGEST_TICK = 2s;  // from there to the next second

// A stream that nobody looks at: classic recorders tell their time with frames only.
class CQuietStream {
public:
    CQuietStream(const CSession& session, int64_t lChannel)
        : m_lLive(StartLive(
              session, lChannel, HLX_SUB_STREAM, [](POINTERHANDLE, HLX_FRAME_INFO, BYTE*, void*) {}, nullptr)) {}
    ~CQuietStream() {
        if (IsOpen()) HLX_StopLivePlay(m_lLive);
    }
    CQuietStream(const CQuietStream&) = delete;
    CQuietStream& operator=(const CQuietStream&) = delete;
    bool IsOpen() const { return m_lLive != 0 && m_lLive != -1; }

private:
    const POINTERHANDLE m_lLive;
};

// What the device's clock shows, in seconds since 1970. The library tells it in this machine's local time.
std::optional<int64_t> ReadOnce(LONG lUserID) {
    DD_TIME told{};
    if (!HLX_GetDeviceTime(lUserID, &told)) return {};
    return SecondsOf(told);
}

struct READING {
    int64_t nSeconds;
    std::chrono::milliseconds ahead;  // of this machine's clock
};

std::optional<int64_t> ReadWithin(LONG lUserID, std::chrono::milliseconds longest, const CInterrupt& interrupt,
                                  std::optional<int64_t> other = {}) {
    const auto end = Clock::now() + longest;
    do {
        const auto seconds = ReadOnce(lUserID);
        if (seconds && seconds != other) return seconds;
        if (!seconds && HLX_GetLastError() != HLX_NETWORK_RECV_TIMEOUT) return {};
    } while (Clock::now() < end && interrupt.Signal() == 0);
    return {};
}

// Whole seconds are told, so the moment when the next one begins gives the difference of the clocks.
std::optional<READING> ReadClock(LONG lUserID, const CInterrupt& interrupt) {
    const auto first = ReadWithin(lUserID, LONGEST_READ, interrupt);
    if (!first) return {};
    const int64_t nSeconds = ReadWithin(lUserID, LONGEST_TICK, interrupt, first).value_or(*first);
    const auto ahead = std::chrono::seconds(nSeconds) - WallClock::now().time_since_epoch();
    return READING{nSeconds, std::chrono::round<std::chrono::milliseconds>(ahead)};
}

int Print(const OPTIONS& options, const READING& reading) {
    if (options.connect.bJson) {
        return PrintJson({{"event", "time"},
                          {"host", EndpointText(options.connect.endpoint)},
                          {"local", LocalIsoText(reading.nSeconds)},
                          {"utc", UtcIsoText(reading.nSeconds)},
                          {"secondsAhead", static_cast<double>(reading.ahead.count()) / 1000.0}});
    }
    return PrintData(fmt::format("Device clock  {} (local time here)\nin UTC        {}\nDifference    {}\n",
                                 LocalDateText(reading.nSeconds), UtcIsoText(reading.nSeconds),
                                 DifferenceText(reading.ahead)));
}

EXIT_CODE Show(const OPTIONS& options, const CInterrupt& interrupt, const CSession& session) {
    const bool bJson = options.connect.bJson;
    const CQuietStream stream(session, options.time.lChannel);
    if (!stream.IsOpen()) return FailLast(bJson, fmt::format("cannot open channel {}", options.time.lChannel));
    const auto reading = ReadClock(session.UserID(), interrupt);
    if (interrupt.Signal() != 0) return EXIT_OK;
    if (!reading) return FailLast(bJson, "the device's clock");
    return PrintedExit(Print(options, *reading));
}

// This machine's clock at its next full second, up to one second from now.
int64_t AwaitFullSecond(CInterrupt& interrupt) {
    const auto next = std::chrono::ceil<std::chrono::seconds>(WallClock::now());
    while (WallClock::now() < next && interrupt.Signal() == 0) {
        interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(next - WallClock::now()));
    }
    return next.time_since_epoch().count();
}

EXIT_CODE Set(const OPTIONS& options, CInterrupt& interrupt, const CSession& session) {
    const int64_t nSeconds = options.time.bSetNow ? AwaitFullSecond(interrupt) : *options.time.toSeconds;
    if (interrupt.Signal() != 0) return EXIT_OK;
    if (!HLX_ChangTime(session.UserID(), static_cast<UINT>(nSeconds)))
        return FailLast(options.connect.bJson, "the device's clock is not set");
    if (options.connect.bJson) {
        return PrintedExit(PrintJson({{"event", "time-set"},
                                      {"host", EndpointText(options.connect.endpoint)},
                                      {"local", LocalIsoText(nSeconds)},
                                      {"utc", UtcIsoText(nSeconds)}}));
    }
    return PrintedExit(
        PrintData(fmt::format("set to {} (local time here), {}\n", LocalDateText(nSeconds), UtcIsoText(nSeconds))));
}

}  // namespace

EXIT_CODE RunTime(const OPTIONS& options, CInterrupt& interrupt) {
    const bool bSet = options.time.bSetNow || options.time.toSeconds;
    return RunInSession(options.connect, interrupt, bSet ? -1 : options.time.lChannel, [&](const CSession& session) {
        return bSet ? Set(options, interrupt, session) : Show(options, interrupt, session);
    });
}

#include "sdk_common/PubTime.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <string_view>
#include <tuple>

#include "sdk_common/Console.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr tint64 SECOND = 1000000;  // microseconds

/// Seconds as DVR time, held inside its range.
LONGLONG ToDVRTime(tint64 seconds) {
    constexpr tint64 LIMIT = std::numeric_limits<tint64>::max() / SECOND;
    return std::clamp(seconds, -LIMIT, LIMIT) * SECOND;
}

bool SleepSlice(tint64 microseconds) {
    if (microseconds == 0) return true;
    const timespec wait{microseconds / SECOND, microseconds % SECOND * 1000};
    return nanosleep(&wait, nullptr) == 0;
}

void SleepRest(tint64 microseconds) {
    int error = 0;
    WaitOnClock(microseconds, [&](tint64 slice) {
        error = SleepSlice(slice) ? 0 : errno;
        return error != 0;
    });
    if (error == EINTR) PrintConsoleF("the usleep Interrupted by a signal. pid = %d\n", getpid());
    if (error == EINVAL) PrintConsole("the usleep param is not smaller than 1000000");
}

/// localtime_r alone does not see a changed time zone. Looking for one asks the system about a file, so it is done when
/// the environment names another one, and once a second.
void SeeTimeZone() {
    static std::atomic<time_t> s_second{-1};
    static std::atomic<size_t> s_zone{0};
    const char* pZone = std::getenv("TZ");
    const size_t zone = pZone ? std::hash<std::string_view>()(pZone) : 1;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec == s_second && zone == s_zone) return;
    tzset();
    s_zone = zone;
    s_second = now.tv_sec;
}

tm LocalTime(time_t seconds) {
    tm local{};
    SeeTimeZone();
    localtime_r(&seconds, &local);
    return local;
}

void CopyFields(const tm& local, DD_TIME& date) {
    date.second = static_cast<tuint8>(local.tm_sec);
    date.minute = static_cast<tuint8>(local.tm_min);
    date.hour = static_cast<tuint8>(local.tm_hour);
    date.mday = static_cast<tuint8>(local.tm_mday);
    date.month = static_cast<tuint8>(local.tm_mon);
    date.year = static_cast<tuint16>(local.tm_year);
}

bool SameFields(const DD_TIME& left, const DD_TIME& right) {
    const auto fields = [](const DD_TIME& time) {
        return std::tie(time.second, time.minute, time.hour, time.mday, time.month, time.year);
    };
    return fields(left) == fields(right);
}

bool SameDay(const tm& left, const tm& right) {
    return left.tm_mday == right.tm_mday && left.tm_mon == right.tm_mon && left.tm_year == right.tm_year;
}

/// Calls `use` with every second that reads hour:minute:second on the local day of `seconds`. Around a change of the
/// clocks a reading may come twice, or only the reading by the other of the two clocks lies on that day.
template <class Use>
void OnDayOf(time_t seconds, int hour, int minute, int second, Use&& use) {
    const tm day = LocalTime(seconds);
    for (const int isdst : {-1, 0, 1}) {
        tm moment = day;
        moment.tm_hour = hour;
        moment.tm_min = minute;
        moment.tm_sec = second;
        moment.tm_isdst = isdst;
        const time_t candidate = mktime(&moment);
        if (SameDay(LocalTime(candidate), day)) use(candidate);
    }
}

time_t ZeroOfDay(time_t seconds) {
    time_t first = seconds;
    OnDayOf(seconds, 0, 0, 0, [&](time_t candidate) { first = std::min(first, candidate); });
    return first;
}

time_t EndOfDay(time_t seconds) {
    time_t last = seconds;
    OnDayOf(seconds, 23, 59, 59, [&](time_t candidate) { last = std::max(last, candidate); });
    return last;
}

}  // namespace

void PUB_Sleep(unsigned int ms) {
    CTimeSource& source = TimeSource();
    const tint64 end = source.MonotonicMicroseconds() + ms * 1000LL;
    if (ms >= 1000) {
        WaitOnClock(ms / 1000 * SECOND, [](tint64 slice) {
            SleepSlice(slice);  // a signal does not end this part
            return false;
        });
    }
    if (ms % 1000 == 0) return;
    if (const tint64 rest = end - source.MonotonicMicroseconds(); rest > 0) SleepRest(rest);
}

void PUB_PrintError(const char* pFile, int iLine) {
    char text[128] = {};
    PrintConsoleF("%s %d %s\n", pFile ? pFile : "", iLine, strerror_r(errno, text, sizeof(text)));
}

tuint32 GetTickCount() { return static_cast<tuint32>(TimeSource().MonotonicMicroseconds() / 1000); }

time_t GetWallSeconds() { return static_cast<time_t>(TimeSource().WallMicroseconds() / SECOND); }

LONGLONG GetCurrTime() { return TimeSource().WallMicroseconds(); }

unsigned int GetCurrTime32() { return static_cast<unsigned int>(GetWallSeconds()); }

LONGLONG TimeToDVRTime(const timeval& time) { return ToDVRTime(time.tv_sec) + time.tv_usec; }

unsigned int TimeToDVRTime32(const timeval& time) { return static_cast<unsigned int>(TimeToDVRTime(time) / SECOND); }

LONGLONG TmToDVRTime(const tm& time) {
    tm copy = time;
    return ToDVRTime(mktime(&copy));
}

unsigned int TmToDVRTime32(const tm& time) {
    tm copy = time;
    copy.tm_isdst = -1;
    return static_cast<unsigned int>(mktime(&copy));
}

tm DVRTimeToTm(LONGLONG time) { return LocalTime(static_cast<time_t>(time / SECOND)); }

tm DVRTime32ToTm(unsigned int time) { return LocalTime(static_cast<time_t>(time)); }

LONGLONG GetZeroTimeOfDate(LONGLONG time) { return ToDVRTime(ZeroOfDay(time / SECOND)); }

LONGLONG GetEndTimeOfDate(LONGLONG time) { return ToDVRTime(EndOfDay(time / SECOND)); }

unsigned int GetZeroTimeOfDate32(unsigned int time) { return static_cast<unsigned int>(ZeroOfDay(time)); }

unsigned int GetEndTimeOfDate32(unsigned int time) { return static_cast<unsigned int>(EndOfDay(time)); }

void DVRTimeToDDTime(LONGLONG time, DD_TIME& date) { CopyFields(DVRTimeToTm(time), date); }

DD_TIME DVRTime32ToDDTime(unsigned int time) {
    const tm local = DVRTime32ToTm(time);
    DD_TIME date = {};
    CopyFields(local, date);
    date.wday = static_cast<tuint8>(local.tm_wday);
    date.nTotalseconds = static_cast<int>(time);
    return date;
}

unsigned int DDTimeToDVRTime32(const DD_TIME& date) {
    const auto told = static_cast<unsigned int>(date.nTotalseconds);
    if (SameFields(DVRTime32ToDDTime(told), date)) return told;
    tm local = {};
    local.tm_sec = date.second;
    local.tm_min = date.minute;
    local.tm_hour = date.hour;
    local.tm_mday = date.mday;
    local.tm_mon = date.month;
    local.tm_year = date.year;
    local.tm_isdst = -1;
    constexpr time_t LAST = std::numeric_limits<tuint32>::max();
    return static_cast<unsigned int>(std::clamp<time_t>(mktime(&local), 0, LAST));
}

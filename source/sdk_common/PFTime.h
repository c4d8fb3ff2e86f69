// A moment with parts of 100 nanoseconds, and its reading as file time.
#pragma once

#include <ctime>

#include "protocol/WireTypes.h"

/// Units of 100 ns since 1601-01-01 UTC.
using FILETIME = tuint64;

/// The file time of 1970-01-01 UTC.
constexpr FILETIME FILETIME_OF_1970 = 0x19DB1DED53E8000;

class CPFTime {
public:
    /// The wall clock in force, to the microsecond.
    CPFTime();

    /// Calendar fields (full year, month and day from 1), by UTC or by local time.
    CPFTime(int year, int month, int day, int hour, int minute, int second, bool bUTC);

    /// Fields by local time: full year, month and day from 1, day of the week from 0 for Sunday.
    int GetYear() const { return Local().tm_year + 1900; }
    int GetMonth() const { return Local().tm_mon + 1; }
    int GetDay() const { return Local().tm_mday; }
    int GetHour() const { return Local().tm_hour; }
    int GetMinute() const { return Local().tm_min; }
    int GetSecond() const { return Local().tm_sec; }
    int GetDayOfWeek() const { return Local().tm_wday; }

    /// The same by UTC.
    int GetUTCYear() const { return UTC().tm_year + 1900; }
    int GetUTCMonth() const { return UTC().tm_mon + 1; }
    int GetUTCDay() const { return UTC().tm_mday; }
    int GetUTCHour() const { return UTC().tm_hour; }
    int GetUTCMinute() const { return UTC().tm_min; }
    int GetUTCSecond() const { return UTC().tm_sec; }
    int GetUTCDayOfWeek() const { return UTC().tm_wday; }

    FILETIME GetFileTime() const;

    /// File time plus the seconds by which the time zone's standard time lies west of UTC, daylight saving not
    /// regarded.
    FILETIME GetLocalTime_100ns() const;

private:
    tm Local() const;
    tm UTC() const;

    time_t m_time;
    tuint32 m_mmTime = 0;  // units of 100 ns inside the second
};

#include "sdk_common/PFTime.h"

#include "sdk_common/TimeSource.h"

namespace {
constexpr tint64 UNITS_IN_SECOND = 10000000;
}

CPFTime::CPFTime() {
    const tint64 microseconds = TimeSource().WallMicroseconds();
    m_time = static_cast<time_t>(microseconds / 1000000);
    m_mmTime = static_cast<tuint32>(microseconds % 1000000 * 10);
}

CPFTime::CPFTime(int year, int month, int day, int hour, int minute, int second, bool bUTC) {
    tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    m_time = bUTC ? timegm(&fields) : mktime(&fields);
}

FILETIME CPFTime::GetFileTime() const {
    return FILETIME_OF_1970 + static_cast<FILETIME>(tint64{m_time} * UNITS_IN_SECOND) + m_mmTime;
}

FILETIME CPFTime::GetLocalTime_100ns() const {
    tzset();
    return GetFileTime() + static_cast<FILETIME>(tint64{timezone} * UNITS_IN_SECOND);
}

tm CPFTime::Local() const {
    tm fields{};
    tzset();
    localtime_r(&m_time, &fields);
    return fields;
}

tm CPFTime::UTC() const {
    tm fields{};
    gmtime_r(&m_time, &fields);
    return fields;
}

// Sleeping, ticks and calendar time on the clock in force.
#pragma once

#include <sys/time.h>
#include <ctime>

#include "HLX.h"
#include "protocol/WireTypes.h"

/// Sleeps `ms` milliseconds of the clock in force.
void PUB_Sleep(unsigned int ms);

/// Prints "file line" and the text of errno to standard error.
void PUB_PrintError(const char* pFile, int iLine);

/// Milliseconds of the monotonic clock, cut to 32 bits; compare by unsigned differences.
tuint32 GetTickCount();

/// Seconds since 1970 by the wall clock in force, as time() gives.
time_t GetWallSeconds();

/// Wall clock as DVR time: microseconds since 1970.
LONGLONG GetCurrTime();
/// Wall clock as DVR time 32: seconds since 1970.
unsigned int GetCurrTime32();

LONGLONG TimeToDVRTime(const timeval& time);
unsigned int TimeToDVRTime32(const timeval& time);
LONGLONG TmToDVRTime(const tm& time);
unsigned int TmToDVRTime32(const tm& time);

/// Broken-down local time, thread-safe in all forms.
tm DVRTimeToTm(LONGLONG time);
tm DVRTime32ToTm(unsigned int time);

/// First and last moment of the local day that holds `time`.
LONGLONG GetZeroTimeOfDate(LONGLONG time);
LONGLONG GetEndTimeOfDate(LONGLONG time);
unsigned int GetZeroTimeOfDate32(unsigned int time);
unsigned int GetEndTimeOfDate32(unsigned int time);

/// Copies the local broken-down time of `time` (microseconds since 1970) to second, minute, hour, mday, month and year
/// of `date`, raw as in struct tm; the other members stay as they are.
void DVRTimeToDDTime(LONGLONG time, DD_TIME& date);

/// The same from seconds, every member: weekday and nTotalseconds too, no microseconds.
DD_TIME DVRTime32ToDDTime(unsigned int time);

/// Seconds since 1970 of a local time, held inside 32 bits. Members beyond their range are carried as mktime does. In
/// the hour that a clock shows twice nTotalseconds decides, where it tells the same time.
unsigned int DDTimeToDVRTime32(const DD_TIME& date);

#include <limits>

#include "HLX.h"
#include "sdk_common/PFTime.h"
#include "sdk_common/PubTime.h"
#include "support/MovedTime.h"
#include "support/Test.h"

namespace {

constexpr LONGLONG SECOND = 1000000;
// Zones by rule, so that no zone files are needed: changes of an hour, of half an hour, and of an hour at midnight.
constexpr const char* BERLIN = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* LORD_HOWE = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";
constexpr const char* HAVANA = "CST5CDT,M3.2.0/0,M11.1.0/1";

class Calendar : public testing::Test {
protected:
    Calendar() { setenv("TZ", BERLIN, 1); }
    ~Calendar() override { unsetenv("TZ"); }
};

TEST_F(Calendar, DayBeginsAndEndsWhereTheLocalDayDoes) {
    const std::tuple<const char*, tint64, tint64> rows[] = {
        {BERLIN, 1719784800, 1719871199},     // an ordinary day of summer
        {BERLIN, 1711839600, 1711922399},     // 23 hours
        {BERLIN, 1729980000, 1730069999},     // 25 hours
        {LORD_HOWE, 1728135000, 1728219599},  // 23.5 hours
        {LORD_HOWE, 1712408400, 1712496599},  // 24.5 hours
        {HAVANA, 1710046800, 1710129599},     // begins at 01:00
        {HAVANA, 1730606400, 1730696399},     // has its first hour twice
    };
    for (const auto& [pZone, first, last] : rows) {
        setenv("TZ", pZone, 1);
        for (int part = 0; part <= 20; ++part) {
            const tint64 time = first + (last - first) * part / 20;
            EXPECT_EQ(GetZeroTimeOfDate(time * SECOND + 999999), first * SECOND) << pZone << time;
            EXPECT_EQ(GetEndTimeOfDate(time * SECOND + 999999), last * SECOND) << pZone << time;
        }
    }
}

TEST_F(Calendar, FieldsAndBack) {
    const LONGLONG time = 1709290805 * SECOND + 250000;  // 2024-03-01 12:00:05 in winter
    tm fields = DVRTimeToTm(time);
    EXPECT_EQ(fields.tm_hour, 12);
    EXPECT_EQ(DVRTime32ToTm(1719828000).tm_hour, 12);  // 2024-07-01, summer
    fields.tm_isdst = 1;                               // wrong: one form goes by it, the other finds out by itself
    EXPECT_EQ(TmToDVRTime(fields), (1709290805 - 3600) * SECOND);
    EXPECT_EQ(TmToDVRTime32(fields), 1709290805u);
    EXPECT_EQ(TimeToDVRTime({1709290805, 250000}), time);
    EXPECT_EQ(TimeToDVRTime32({1709290805, 999999}), 1709290805u);

    DD_TIME date{.wday = 99, .nTotalseconds = 98};  // neither is touched
    DVRTimeToDDTime(time, date);
    const DD_TIME expected{5, 0, 12, 99, 1, 2, 124, 98, 0};
    EXPECT_EQ(memcmp(&date, &expected, sizeof(date)), 0);
}

TEST_F(Calendar, AnyNumberIsATime) {
    using LIMITS = std::numeric_limits<LONGLONG>;
    for (const LONGLONG time : {LIMITS::min(), -SECOND, LONGLONG{-1}, LONGLONG{0}, LIMITS::max()}) {
        EXPECT_LE(GetZeroTimeOfDate(time) / SECOND, time / SECOND);
        EXPECT_GE(GetEndTimeOfDate(time) / SECOND, time / SECOND - 2);
    }
    TmToDVRTime(tm{.tm_year = std::numeric_limits<int>::max()});
}

TEST(Clock, TicksAndWallTimeFollowTheClockInForce) {
    CMovedTime clock;
    clock.SetRate(0);
    const tuint32 tick = GetTickCount();
    const LONGLONG wall = GetCurrTime();
    EXPECT_LT(std::abs(wall / SECOND - time(nullptr)), 5);
    clock.Advance((1LL << 32) + 5);
    clock.JumpWall(-7000);
    EXPECT_EQ(GetTickCount() - tick, 5u);
    const LONGLONG expected = wall + (1LL << 32) * 1000 + 5000 - 7 * SECOND;
    EXPECT_EQ(GetCurrTime(), expected);
    EXPECT_EQ(GetCurrTime32(), static_cast<unsigned>(expected / SECOND));
    EXPECT_EQ(CPFTime().GetFileTime(), 116444736000000000u + static_cast<FILETIME>(expected) * 10);
    clock.SetRate(1000);
    EXPECT_TRUE(WaitUntil([&] { return GetTickCount() - tick > 50000; }, std::chrono::seconds(1)));
}

TEST_F(Calendar, DateTimeCarriesAndBorrows) {
    const std::tuple<ZEQ_DATE_TIME, LONGLONG, ZEQ_DATE_TIME> rows[] = {
        {{10, 400000}, -1500000, {8, 900000}}, {{10, 400000}, 599999, {10, 999999}}, {{10, 400000}, 600000, {11, 0}},
        {{10, 400000}, -400000, {10, 0}},      {{10, 400000}, -400001, {9, 999999}}, {{10, 999999}, 3000001, {14, 0}},
    };
    for (const auto& [start, add, expected] : rows) {
        ZEQ_DATE_TIME sum = start, difference = start;
        sum += add;
        difference -= -add;
        EXPECT_TRUE(sum == expected && difference == expected) << add << " " << sum.seconds << "." << sum.microsecond;
        EXPECT_TRUE(sum.Dec(start) == add && (sum < start) == (add < 0)) << add;
    }
}

}  // namespace

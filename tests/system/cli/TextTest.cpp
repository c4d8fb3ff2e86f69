#include "hlx/Text.h"

#include <ctime>

#include "hlx/Calendar.h"
#include "hlx/DateText.h"
#include "hlx/Picture.h"
#include "hlx/TimeText.h"
#include "support/Test.h"

namespace {

using namespace std::chrono_literals;

TEST(Text, EndpointForms) {
    struct ROW {
        const char* sText;
        const char* sHost;
        int nPort;
        const char* sShown;
    };
    const ROW rows[] = {{"recorder", "recorder", 5000, "recorder:5000"},
                        {"192.0.2.7:81", "192.0.2.7", 81, "192.0.2.7:81"},
                        {"h:65535", "h", 65535, "h:65535"},
                        {"::1", "::1", 5000, "[::1]:5000"},
                        {"[::1]", "::1", 5000, "[::1]:5000"},
                        {"[fe80::1%eth0]:9000", "fe80::1%eth0", 9000, "[fe80::1%eth0]:9000"}};
    for (const ROW& row : rows) {
        SCOPED_TRACE(row.sText);
        const auto endpoint = ParseEndpoint(row.sText);
        ASSERT_TRUE(endpoint);
        EXPECT_EQ(endpoint->strHost, row.sHost);
        EXPECT_EQ(endpoint->wPort, row.nPort);
        EXPECT_EQ(EndpointText(*endpoint), row.sShown);
    }
    for (const char* sWrong : {"", ":80", "h:", "h:0", "h:65536", "h:8x", "[::1", "[]:80", "[::1]80", "[::1]:"})
        EXPECT_FALSE(ParseEndpoint(sWrong)) << sWrong;
}

TEST(Text, DurationForms) {
    // 0: refused
    const std::pair<const char*, int64_t> rows[] = {{"10s", 10'000},   {"1m", 60'000}, {"1.5m", 90'000}, {"500ms", 500},
                                                    {"2h", 7'200'000}, {"7", 7'000},   {"0", 0},         {"-1s", 0},
                                                    {"s", 0},          {"", 0},        {"1d", 0},        {"1 s", 0},
                                                    {"nan", 0},        {"inf", 0},     {"99999999h", 0}};
    for (const auto& [sText, nMilliseconds] : rows)
        EXPECT_EQ(ParseDuration(sText).value_or(0ms).count(), nMilliseconds) << sText;
}

TEST(Text, FieldThatDoesNotEndOrHidesControls) {
    const char field[] = {'a', '\033', '[', '\n', 'b'};
    EXPECT_EQ(FieldText(field, sizeof field), "a.[.b");
    EXPECT_EQ(FieldText("ab\0cd", 5), "ab");
}

// The time zone of a scope, with summer time as in central Europe.
class CZone {
public:
    CZone() {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
    ~CZone() {
        unsetenv("TZ");
        tzset();
    }
};

TEST(DateText, DatesInAndOut) {
    const CZone zone;
    const std::pair<const char*, int64_t> rows[] = {
        {"2026-11-21T10:00", 1795251600},    {"2026-11-21 10:00:07", 1795251607},
        {"2026-07-01T12:00", 1782900000},  // summer time
        {"2026-11-21T10:00Z", 1795255200},   {"2026-11-21T10:00:00-02:30", 1795264200},
        {"2106-02-07T06:28:15Z", 0xFFFFFFFF}};
    for (const auto& [sText, nSeconds] : rows) EXPECT_EQ(ParseDate(sText), nSeconds) << sText;
    // The first is in the hour that is left out.
    for (const char* sWrong :
         {"2026-03-29T02:30", "2026-02-29T10:00", "2026-11-21T24:01", "2026-11-21", "2026-11-21T10:00 Z",
          "2026-11-21T10:00+1", "2026-11-21T10:00:00x", "1969-01-01T00:00Z", "2106-02-07T06:28:16Z", ""})
        EXPECT_FALSE(ParseDate(sWrong)) << sWrong;
    EXPECT_EQ(LocalDateText(1795251607), "2026-11-21 10:00:07 +0100");
    EXPECT_EQ(LocalIsoText(1782900000), "2026-07-01T12:00:00+02:00");
    EXPECT_EQ(UtcIsoText(1782900000), "2026-07-01T10:00:00Z");
}

TEST(TimeText, AsPeopleWriteThem) {
    const CZone zone;
    // On 29 March the clock goes from 2 to 3, on 25 October from 3 to 2. The last is meant where a day's end is; null: refused.
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"2026-11-21T00:30:05", "now", "2026-11-20T23:30:05Z", ""},
        {"2026-11-21T00:30:05", "-1.5m", "2026-11-21T00:28:35", ""},
        {"2026-11-21T00:30:05", "-3d", "2026-11-18T00:30:05", ""},
        {"2026-11-21T00:30:05", "14:00", "2026-11-21T14:00", ""},
        {"2026-11-21T00:30:05", "14:00Z", "2026-11-20T14:00Z", ""},  // there it is the day before still
        {"2026-11-21T00:30:05", "yesterday 02:30:05+03:00", "2026-11-20T02:30:05+03:00", ""},
        {"2026-11-21T00:30:05", "2026-11-21 10:00:05", "2026-11-21T10:00:05", ""},
        {"2026-11-21T00:30:05", "2026-12-31", "2026-12-31T00:00", "2027-01-01T00:00"},
        {"2026-03-29T12:00", "today", "2026-03-28T23:00Z", "2026-03-29T22:00Z"},
        {"2026-03-29T12:00", "02:30", "", ""},
        {"2026-03-29T12:00", "yesterday 02:30", "2026-03-28T01:30Z", ""},
        {"2026-10-25T12:00", "yesterday", "2026-10-23T22:00Z", "2026-10-24T22:00Z"},
        {"2026-10-25T12:00", "02:30", "2026-10-25T00:30Z", ""}};
    for (const auto& [sNow, sText, sMeant, sEnd] : rows) {
        EXPECT_EQ(ParseTime(sText, *ParseDate(sNow)), ParseDate(sMeant)) << sText;
        EXPECT_EQ(ParseTime(sText, *ParseDate(sNow), DAY_EDGE::END), ParseDate(*sEnd ? sEnd : sMeant)) << sText;
    }
    for (const char* sWrong :
         {"", "-", "-500ms", "-x", "-40000d", "24:00x", "9:00", "today ", "todayT14:00", "2026-02-30"})
        EXPECT_FALSE(ParseTime(sWrong, 1'795'251'600)) << sWrong;
    EXPECT_EQ(SecondsOf(LibraryTime(1795251607)), 1795251607);
}

TEST(Calendar, MonthsAndTheirPages) {
    const CZone zone;
    const int64_t nNow = ParseDate("2026-11-21T00:30").value();
    const std::pair<const char*, const char*> rows[] = {
        {"this", "2026-11"}, {"2026-02", "2026-02"}, {"11", "2026-11"},
        {"12", "2025-12"},   {"NOV", "2026-11"},     {"may 2031", "2031-05"},
        {"13", ""},          {"2026-13", ""},        {"ma", ""},
        {"may ", ""},        {"2026-1x", ""}};
    for (const auto& [sText, sMeant] : rows) {
        const auto month = ParseMonth(sText, nNow);
        EXPECT_EQ(month ? MonthText(*month) : "", sMeant) << sText;
    }
    EXPECT_EQ(CalendarText({2024, 2}, 1u << 1 | 1u << 4 | 1u << 29),
              "       February 2024\n"
              " Mo  Tu  We  Th  Fr  Sa  Su\n"
              "             [1]  2   3  [4]\n"
              "  5   6   7   8   9  10  11\n"
              " 12  13  14  15  16  17  18\n"
              " 19  20  21  22  23  24  25\n"
              " 26  27  28 [29]\n");
}

TEST(Picture, WholeJpegsOnly) {
    using namespace std::string_literals;
    const std::string strWhole = "\xFF\xD8\xFF\xE0 body \xFF\xD9";
    EXPECT_EQ(JpegOf(strWhole), strWhole);
    EXPECT_EQ(JpegOf(strWhole + std::string(3, '\0')), strWhole);
    for (const std::string& strWrong : {""s, "\0\0"s, "\xFF\xD9"s, strWhole + "x", strWhole.substr(1),
                                        strWhole.substr(0, strWhole.size() - 1), "\xFF\xD8\xFF\xD9"s}) {
        EXPECT_EQ(JpegOf(strWrong), "") << strWrong.size();
    }
}

}  // namespace

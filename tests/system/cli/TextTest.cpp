#include "hlx/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <tuple>

#include "hlx/DateText.h"
#include "hlx/Picture.h"

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

TEST(Text, StationForms) {
    const std::tuple<const char*, uint32_t, unsigned> rows[] = {{"3", 3, 5}, {"0:1m", 0, 60}, {"255:10s", 255, 10}};
    for (const auto& [sText, nPreset, nSeconds] : rows) {
        const auto station = ParseStation(sText);
        ASSERT_TRUE(station) << sText;
        EXPECT_EQ(station->nPreset, nPreset) << sText;
        EXPECT_EQ(station->nSeconds, nSeconds) << sText;
    }
    for (const char* sWrong : {"256", "", ":5s", "3:", "3x", "3:500ms", "-1", "3:0"})
        EXPECT_FALSE(ParseStation(sWrong)) << sWrong;
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

TEST(DateText, Differences) {
    const std::pair<int64_t, const char*> rows[] = {{0, "none (below 0.2 s)"},
                                                    {-199, "none (below 0.2 s)"},
                                                    {-1234, "1.2 s behind this machine"},
                                                    {59'960, "1 min 0.0 s ahead of this machine"},
                                                    {3'603'200, "1 h 0 min 3.2 s ahead of this machine"},
                                                    {90'000'000, "1 d 1 h 0 min 0.0 s ahead of this machine"}};
    for (const auto& [nMilliseconds, sText] : rows) {
        EXPECT_EQ(DifferenceText(std::chrono::milliseconds(nMilliseconds)), sText);
    }
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

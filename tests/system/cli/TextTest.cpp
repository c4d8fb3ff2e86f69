#include "hlx/Text.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

TEST(Text, EndpointForms) {
    struct ROW {
        const char* sText;
        const char* sHost;  // null: refused
        int nPort;
        const char* sShown;
    };
    const ROW rows[] = {{"recorder", "recorder", 5000, "recorder:5000"},
                        {"192.0.2.7:81", "192.0.2.7", 81, "192.0.2.7:81"},
                        {"h:65535", "h", 65535, "h:65535"},
                        {"::1", "::1", 5000, "[::1]:5000"},
                        {"[::1]", "::1", 5000, "[::1]:5000"},
                        {"[fe80::1%eth0]:9000", "fe80::1%eth0", 9000, "[fe80::1%eth0]:9000"},
                        {"", nullptr, 0, nullptr},
                        {":80", nullptr, 0, nullptr},
                        {"h:", nullptr, 0, nullptr},
                        {"h:0", nullptr, 0, nullptr},
                        {"h:65536", nullptr, 0, nullptr},
                        {"h:8x", nullptr, 0, nullptr},
                        {"[::1", nullptr, 0, nullptr},
                        {"[]:80", nullptr, 0, nullptr},
                        {"[::1]80", nullptr, 0, nullptr},
                        {"[::1]:", nullptr, 0, nullptr}};
    for (const ROW& row : rows) {
        SCOPED_TRACE(row.sText);
        const auto endpoint = ParseEndpoint(row.sText);
        ASSERT_EQ(endpoint.has_value(), row.sHost != nullptr);
        if (!endpoint) continue;
        EXPECT_EQ(endpoint->strHost, row.sHost);
        EXPECT_EQ(endpoint->wPort, row.nPort);
        EXPECT_EQ(EndpointText(*endpoint), row.sShown);
    }
}

TEST(Text, DurationForms) {
    struct ROW {
        const char* sText;
        int64_t nMilliseconds;  // 0: refused
    };
    const ROW rows[] = {{"10s", 10'000}, {"1m", 60'000}, {"1.5m", 90'000}, {"500ms", 500}, {"2h", 7'200'000},
                        {"7", 7'000},    {"0", 0},       {"-1s", 0},       {"s", 0},       {"", 0},
                        {"1d", 0},       {"1 s", 0},     {"nan", 0},       {"inf", 0},     {"99999999h", 0}};
    for (const ROW& row : rows) {
        const auto duration = ParseDuration(row.sText);
        EXPECT_EQ(duration.value_or(0ms).count(), row.nMilliseconds) << row.sText;
    }
}

TEST(Text, FieldThatDoesNotEndOrHidesControls) {
    const char field[] = {'a', '\033', '[', '\n', 'b'};
    EXPECT_EQ(FieldText(field, sizeof field), "a.[.b");
    EXPECT_EQ(FieldText("ab\0cd", 5), "ab");
}

}  // namespace

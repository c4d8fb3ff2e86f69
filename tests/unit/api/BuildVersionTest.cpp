#include "main_utility/api/BuildVersion.h"
#include "support/Test.h"

namespace {

TEST(BuildVersion, FollowsTheDate) {
    const std::pair<const char*, DWORD> rows[] = {
        {"Sep 26 2021", 40926}, {"Jan  1 2017", 101}, {"Dec 31 2030", 131231}, {"anF  1 2021", 0}, {"Sep 26 21", 0},
    };
    for (const auto& [pDate, version] : rows) EXPECT_EQ(BuildVersion(pDate), version) << pDate;
    EXPECT_GT(BuildVersion(BUILD_DATE), 40926u);
}

}  // namespace

// Short forms of the heavy runs of scripts/soak --load.

#include "support/Test.h"
#include "tests/soak/LoadProofs.h"

namespace {

struct SHORT_PROOF {
    const char* pName;
    std::function<std::string(std::string&)> run;
};

void PrintTo(const SHORT_PROOF& proof, std::ostream* pOut) { *pOut << proof.pName; }

class Load : public testing::TestWithParam<SHORT_PROOF> {};

TEST_P(Load, LosesAndKeepsNothing) {
    std::string sFigures;
    EXPECT_EQ("", GetParam().run(sFigures)) << sFigures;
}

// Memory is told of in the long forms only: few rounds say little, and sanitizers keep what was freed.
INSTANTIATE_TEST_SUITE_P(
    Short, Load,
    testing::Values(SHORT_PROOF{"OneRecorder", [](std::string& s) { return ProveLive(1, 32, 1, 1, s); }},
                    SHORT_PROOF{"ManyRecorders", [](std::string& s) { return ProveLive(10, 1, 2, 1, s); }},
                    SHORT_PROOF{"Logins", [](std::string& s) { return ProveLogins(30, false, s); }},
                    SHORT_PROOF{"Lives", [](std::string& s) { return ProveLives(8, false, s); }},
                    SHORT_PROOF{"Loads", [](std::string& s) { return ProveLoads(5, false, HLX_SHARED_LIBRARY, s); }},
                    SHORT_PROOF{"Descriptors", [](std::string& s) { return ProveHighDescriptors(4000, s); }}),
    [](const auto& row) { return row.param.pName; });

}  // namespace

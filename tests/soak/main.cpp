// hlx_soak: the long and the heavy runs that are too much for every change.
#include <getopt.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>

#include "tests/soak/LoadProofs.h"
#include "tests/soak/Mutations.h"
#include "tests/soak/Soak.h"

namespace {

constexpr const char* USAGE =
    "usage: hlx_soak [--minutes N] [--seed N]   streams and idle links under faults\n"
    "       hlx_soak --load [--minutes N]       full loads, N minutes (1) for each of the live ones\n"
    "       hlx_soak --mutations N              N recorded sessions with wrong bytes\n";

bool RunLoad(int seconds) {
    struct PROOF {
        const char* pName;
        std::function<std::string(std::string&)> run;
    };
    const PROOF proofs[] = {
        {"64 channels of one recorder", [&](std::string& s) { return ProveLive(1, 64, 1, seconds, s); }},
        {"100 recorders with one channel", [&](std::string& s) { return ProveLive(100, 1, 1, seconds, s); }},
        {"10,000 logins and logouts", [](std::string& s) { return ProveLogins(10000, true, s); }},
        {"HLX_Init and HLX_Cleanup 200 times", [](std::string& s) { return ProveLives(200, true, s); }},
        {"dlopen and dlclose 50 times", [](std::string& s) { return ProveLoads(50, true, HLX_SHARED_LIBRARY, s); }},
        {"4,000 open descriptors", [](std::string& s) { return ProveHighDescriptors(4000, s); }},
    };
    bool bGood = true;
    for (const PROOF& proof : proofs) {
        std::string sFigures;
        const std::string sProblem = proof.run(sFigures);
        std::printf("%-36s %-7s %s%s%s\n", proof.pName, sProblem.empty() ? "ok" : "FAILED", sFigures.c_str(),
                    sProblem.empty() ? "" : "; ", sProblem.c_str());
        std::fflush(stdout);
        bGood = bGood && sProblem.empty();
    }
    return bGood;
}

}  // namespace

int main(int argc, char** argv) {
    static constexpr option OPTIONS[] = {{"minutes", required_argument, nullptr, 'm'},
                                         {"seed", required_argument, nullptr, 's'},
                                         {"load", no_argument, nullptr, 'l'},
                                         {"mutations", required_argument, nullptr, 'x'},
                                         {}};
    SOAK_ORDER order;
    order.seed = static_cast<std::uint32_t>(time(nullptr));
    double minutes = 0;
    bool bLoad = false;
    for (int word = 0; (word = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) {
        if (word == 'm') minutes = std::atof(optarg);
        if (word == 's') order.seed = static_cast<std::uint32_t>(std::strtoul(optarg, nullptr, 10));
        if (word == 'l') bLoad = true;
        if (word == 'x') return RunMutations(static_cast<unsigned>(std::strtoul(optarg, nullptr, 10))) ? 0 : 1;
        if (word == '?') return std::fputs(USAGE, stderr), 2;
    }
    if (bLoad) return RunLoad(static_cast<int>((minutes > 0 ? minutes : 1) * 60)) ? 0 : 1;
    if (minutes > 0) order.minutes = minutes;
    return RunSoak(order) ? 0 : 1;
}

#include "simulator/ReplayCommand.h"

#include <fstream>

#include "simulator/ClassicCommand.h"
#include "simulator/ControlLoop.h"
#include "simulator/SimPrint.h"

int RunReplay(REPLAY_COMMAND_OPTIONS options) {
    REPLAY_CONFIG& config = options.config;
    std::ifstream file(options.sFile);
    if (!file) return Fail(SIM_EXIT_USAGE, options.sFile + " cannot be read.");
    std::string sError;
    auto links = ReadTrace(file, sError);
    if (!links) return Fail(SIM_EXIT_USAGE, options.sFile + ": " + sError);
    config.links = std::move(*links);
    if (options.bFast) config.speed = 0;

    CControlLoop loop;
    CReplayServer server(config);
    if (!server.Start(sError)) return Fail(SIM_EXIT_FAILURE, sError);
    PrintLine({{"event", "ready"},
               {"family", "replay"},
               {"address", config.sBind},
               {"port", server.Port()},
               {"links", config.links.size()}});
    loop.Run(EndOf(options.seconds));
    return SIM_EXIT_OK;
}

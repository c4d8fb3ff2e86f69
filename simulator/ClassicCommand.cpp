#include "simulator/ClassicCommand.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "simulator/ClassicDirector.h"
#include "simulator/ControlLoop.h"
#include "simulator/SimPrint.h"

namespace {

std::mutex g_readyLock;  // held until the line that tells that the recorder is ready is printed, which is the first one

void PrintEvent(const SIM_EVENT& event) {
    const std::lock_guard guard(g_readyLock);
    nlohmann::ordered_json line{{"event", EventName(event.kind)}, {"link", event.link}};
    switch (event.kind) {
        case SIM_EVENT_KIND::LOGIN:
            line["user"] = event.sText;
            break;
        case SIM_EVENT_KIND::REFUSED:
            line["reason"] = event.value;
            break;
        case SIM_EVENT_KIND::COMMAND:
            line["id"] = event.value;
            break;
        case SIM_EVENT_KIND::STREAMS:
            line["first"] = event.firstMask;
            line["second"] = event.secondMask;
            line["sound"] = event.soundMask;
            break;
        case SIM_EVENT_KIND::TALK:
            line["on"] = event.value != 0;
            break;
        case SIM_EVENT_KIND::RECORDING:
            line["what"] = event.sText;
            line["stream"] = event.value;
            if (event.firstMask != 0) line["channels"] = event.firstMask;
            break;
        case SIM_EVENT_KIND::VAIN_CALL:
        case SIM_EVENT_KIND::FAULT:
        case SIM_EVENT_KIND::BAD_DATA:
            line["what"] = event.sText;
            break;
        case SIM_EVENT_KIND::CLOSED:
            line["bytes"] = event.value;
            break;
        case SIM_EVENT_KIND::ACCEPTED:
        case SIM_EVENT_KIND::CALLED:
        case SIM_EVENT_KIND::LOGOUT:
            break;
    }
    PrintLine(line);
}

bool TakeFaults(CLASSIC_COMMAND_OPTIONS& options, std::string& sError) {
    for (const std::string& sText : options.faults) {
        const auto fault = ParseFault(sText, sError);
        if (!fault) return false;
        options.config.faults.push_back(*fault);
    }
    return true;
}

/// Adds what texts like motion=2 say; false, with a sentence, when one says nothing.
bool TakeStatus(const CLASSIC_COMMAND_OPTIONS& options, CLASSIC_STATUS& status, std::string& sError) {
    for (const std::string& sText : options.status) {
        const size_t at = std::min(sText.find('='), sText.size());
        const auto pKind = FindStatusKind(sText.substr(0, at));
        sError = sText + " is no status, as motion=2 is.";
        if (!pKind || at == sText.size()) return false;
        const auto number = ParseChannel(sText.substr(at + 1), options.config.channels, sError);
        if (!number) return false;
        status.*pKind |= tuint64{1} << *number;
    }
    return true;
}

nlohmann::ordered_json ReadyLine(const CClassicRecorder& recorder, const CLASSIC_RECORDER_CONFIG& config) {
    nlohmann::ordered_json line{{"event", "ready"},
                                {"family", "classic"},
                                {"address", config.sBind},
                                {"port", recorder.Port()},
                                {"channels", config.channels},
                                {"user", config.sUser},
                                {"media", recorder.MediaFolder()}};
    if (!config.sCallIn.empty()) line.update({{"callIn", config.sCallIn}, {"registerId", config.registerID}});
    return line;
}

/// The recorder from its start to its end.
int RunRecorder(CClassicRecorder& recorder, CControlLoop& loop, const CLASSIC_COMMAND_OPTIONS& options) {
    std::string sError;
    CClassicDirector director(recorder, loop.Schedule(), options.config.channels, options.bEvents);
    if (!options.sScript.empty() && !director.LoadScript(options.sScript, sError)) return Fail(SIM_EXIT_USAGE, sError);
    {
        const std::lock_guard guard(g_readyLock);
        if (!recorder.Start(sError)) return Fail(SIM_EXIT_FAILURE, sError);
        PrintLine(ReadyLine(recorder, options.config));
    }
    director.StartScript();
    if (!options.sControl.empty()) loop.TakeLines([&](const std::string& sText) { director.TakeControlLine(sText); });
    loop.Run(EndOf(options.seconds));
    recorder.Stop();
    if (options.bEvents) PrintLine({{"event", "stopped"}, {"frames", recorder.FramesSent()}});
    return SIM_EXIT_OK;
}

}  // namespace

void PrintLine(const nlohmann::ordered_json& line) {
    std::puts(line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    std::fflush(stdout);
}

int Fail(int exitCode, const std::string& sSentence) {
    std::fprintf(stderr, "hlx-simulator: %s\n", sSentence.c_str());
    return exitCode;
}

SIM_TIME EndOf(double seconds) {
    if (seconds <= 0) return SIM_TIME::max();
    const auto wait = std::chrono::duration<double>(std::min(seconds, 1e9));
    return SIM_CLOCK::now() + std::chrono::duration_cast<SIM_CLOCK::duration>(wait);
}

int RunClassic(CLASSIC_COMMAND_OPTIONS options) {
    std::string sError;
    const char* pPassword = std::getenv("HLX_PASSWORD");
    if (!pPassword) return Fail(SIM_EXIT_USAGE, "Set HLX_PASSWORD to the password that clients must give.");
    CLASSIC_STATUS status;
    if (!TakeFaults(options, sError) || !TakeStatus(options, status, sError)) return Fail(SIM_EXIT_USAGE, sError);

    CLASSIC_RECORDER_CONFIG& config = options.config;
    config.sPassword = pPassword;
    if (options.bFast) config.speed = 0;
    if (options.bEvents) config.observer = PrintEvent;

    CControlLoop loop;
    CClassicRecorder recorder(config);
    if (!recorder.CheckConfig(sError)) return Fail(SIM_EXIT_USAGE, sError);
    if (!options.status.empty()) recorder.SetStatus(status);
    return RunRecorder(recorder, loop, options);
}

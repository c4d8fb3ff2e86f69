#include "simulator/ClassicCommand.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string_view>

#include "simulator/classic/ClassicRecorder.h"

namespace {

void PrintLine(const nlohmann::ordered_json& line) {
    std::puts(line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    std::fflush(stdout);
}

void PrintEvent(const SIM_EVENT& event) {
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
        case SIM_EVENT_KIND::FAULT:
        case SIM_EVENT_KIND::BAD_DATA:
            line["what"] = event.sText;
            break;
        case SIM_EVENT_KIND::CLOSED:
            line["bytes"] = event.value;
            break;
        case SIM_EVENT_KIND::ACCEPTED:
        case SIM_EVENT_KIND::LOGOUT:
            break;
    }
    PrintLine(line);
}

int Fail(int exitCode, const std::string& sSentence) {
    std::fprintf(stderr, "hlx-simulator: %s\n", sSentence.c_str());
    return exitCode;
}

/// The signals that end the program, kept from killing it; they are waited for instead.
sigset_t BlockSignals() {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void WaitForEnd(const sigset_t& signals, double seconds) {
    if (seconds <= 0) {
        int received = 0;
        sigwait(&signals, &received);
        return;
    }
    const auto whole = static_cast<time_t>(seconds);
    const timespec timeout{whole, static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    sigtimedwait(&signals, nullptr, &timeout);
}

bool TakeFaults(CLASSIC_COMMAND_OPTIONS& options, std::string& sError) {
    for (const std::string& sText : options.faults) {
        const auto fault = ParseFault(sText, sError);
        if (!fault) return false;
        options.config.faults.push_back(*fault);
    }
    return true;
}

struct STATUS_ROW {
    std::string_view name;
    tuint64 CLASSIC_STATUS::*pMask;
};

constexpr STATUS_ROW STATUS_TABLE[] = {
    {"motion", &CLASSIC_STATUS::motion},
    {"sensor", &CLASSIC_STATUS::sensor},
    {"video-loss", &CLASSIC_STATUS::videoLoss},
    {"manual-record", &CLASSIC_STATUS::manualRec},
    {"schedule-record", &CLASSIC_STATUS::scheduleRec},
    {"motion-record", &CLASSIC_STATUS::motionRec},
    {"sensor-record", &CLASSIC_STATUS::sensorRec},
};

/// Adds what a text like motion=2 says; false when it says nothing.
bool TakeStatus(const std::string& sText, CLASSIC_STATUS& status) {
    const size_t at = std::min(sText.find('='), sText.size());
    const std::string_view name = std::string_view(sText).substr(0, at);
    unsigned bit = 64;
    const char* pEnd = sText.data() + sText.size();
    const char* pNumber = sText.data() + std::min(at + 1, sText.size());
    const auto [pRest, error] = std::from_chars(pNumber, pEnd, bit);
    const auto* pRow = std::ranges::find(STATUS_TABLE, name, &STATUS_ROW::name);
    if (error != std::errc() || pRest != pEnd || bit > 63 || pRow == std::end(STATUS_TABLE)) return false;
    status.*pRow->pMask |= tuint64{1} << bit;
    return true;
}

}  // namespace

int RunClassic(CLASSIC_COMMAND_OPTIONS options) {
    std::string sError;
    const char* pPassword = std::getenv("HLX_PASSWORD");
    if (!pPassword) return Fail(SIM_EXIT_USAGE, "Set HLX_PASSWORD to the password that clients must give.");
    if (!TakeFaults(options, sError)) return Fail(SIM_EXIT_USAGE, sError);
    CLASSIC_STATUS status;
    for (const std::string& sText : options.status) {
        if (!TakeStatus(sText, status)) return Fail(SIM_EXIT_USAGE, sText + " is no status, as motion=2 is.");
    }

    CLASSIC_RECORDER_CONFIG& config = options.config;
    config.sPassword = pPassword;
    if (options.bFast) config.speed = 0;
    if (options.bEvents) config.observer = PrintEvent;

    const sigset_t signals = BlockSignals();
    CClassicRecorder recorder(config);
    if (!recorder.CheckConfig(sError)) return Fail(SIM_EXIT_USAGE, sError);
    if (!options.status.empty()) recorder.SetStatus(status);
    if (!recorder.Start(sError)) return Fail(SIM_EXIT_FAILURE, sError);
    PrintLine({{"event", "ready"},
               {"family", "classic"},
               {"address", config.sBind},
               {"port", recorder.Port()},
               {"channels", config.channels},
               {"user", config.sUser},
               {"media", recorder.MediaFolder()}});
    WaitForEnd(signals, options.seconds);
    recorder.Stop();
    if (options.bEvents) PrintLine({{"event", "stopped"}, {"frames", recorder.FramesSent()}});
    return SIM_EXIT_OK;
}

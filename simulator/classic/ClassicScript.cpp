#include "simulator/classic/ClassicScript.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace {

using WORDS = std::span<const std::string>;

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

constexpr std::pair<std::string_view, SIM_CUT> CUTS[] = {
    {"close", SIM_CUT::CLOSE}, {"reset", SIM_CUT::RESET}, {"silent", SIM_CUT::SILENT}};

/// N on|off, of the kind of status.
CLASSIC_ACTION StatusAction(const std::string& sKind, WORDS arguments, unsigned channels, std::string& sError) {
    const auto pKind = FindStatusKind(sKind);
    const bool bForm = pKind && arguments.size() == 2 && (arguments[1] == "on" || arguments[1] == "off");
    const auto number = bForm ? ParseChannel(arguments[0], channels, sError) : std::nullopt;
    if (!number) return {};
    const bool bOn = arguments[1] == "on";
    return [=](CClassicRecorder& recorder) { recorder.ChangeStatus(pKind, *number, bOn); };
}

CLASSIC_ACTION ParseStatus(WORDS words, unsigned channels, std::string& sError) {
    return StatusAction(words[0], words.subspan(1), channels, sError);
}

CLASSIC_ACTION ParseRecord(WORDS words, unsigned channels, std::string& sError) {
    if (words.size() != 4) return {};
    return StatusAction(words[1] + "-record", words.subspan(2), channels, sError);
}

CLASSIC_ACTION ParseCut(WORDS words, unsigned, std::string&) {
    if (words.size() != 2) return {};
    const auto* pRow = std::ranges::find(CUTS, words[1], &std::pair<std::string_view, SIM_CUT>::first);
    if (pRow == std::end(CUTS)) return {};
    return [how = pRow->second](CClassicRecorder& recorder) { recorder.CutLinks(how); };
}

CLASSIC_ACTION ParseStreamStop(WORDS words, unsigned channels, std::string& sError) {
    const auto channel = words.size() == 2 ? ParseChannel(words[1], channels, sError) : std::nullopt;
    if (!channel) return {};
    return [=](CClassicRecorder& recorder) { recorder.StopStreams(*channel); };
}

CLASSIC_ACTION ParseFaultWord(WORDS words, unsigned, std::string& sError) {
    if (words.size() != 2) return {};
    if (words[1] == "off") return [](CClassicRecorder& recorder) { recorder.SetFaults({}); };
    const auto fault = ParseFault(words[1], sError);
    if (!fault) return {};
    return [fault = *fault](CClassicRecorder& recorder) { recorder.AddFault(fault); };
}

CLASSIC_ACTION ParseRecordingsStop(WORDS words, unsigned, std::string&) {
    if (words.size() != 1) return {};
    return [](CClassicRecorder& recorder) { recorder.StopRecordings(); };
}

CLASSIC_ACTION ParseReboot(WORDS words, unsigned, std::string&) {
    if (words.size() != 1) return {};
    return [](CClassicRecorder& recorder) { recorder.Reboot(); };
}

constexpr CLASSIC_WORD_ROW WORD_TABLE[] = {
    {"motion", "N on|off", "motion on channel N", ParseStatus},
    {"sensor", "N on|off", "alarm input N", ParseStatus},
    {"video-loss", "N on|off", "no picture on channel N", ParseStatus},
    {"record", "CAUSE N on|off", "channel N records; CAUSE is manual, schedule, motion or sensor", ParseRecord},
    {"cut", "close|reset|silent", "end all links, or send nothing more on them", ParseCut},
    {"stream-stop", "N", "stop the streams of channel N until streams are asked for anew", ParseStreamStop},
    {"recordings-stop", "", "stop playbacks and downloads in the middle until they start anew", ParseRecordingsStop},
    {"reboot", "", "restart", ParseReboot},
    {"fault", "FAULT|off", "add a fault to those in force, or take all back", ParseFaultWord},
};

}  // namespace

std::span<const CLASSIC_WORD_ROW> ClassicWords() { return WORD_TABLE; }

tuint64 CLASSIC_STATUS::*FindStatusKind(std::string_view name) {
    const auto* pRow = std::ranges::find(STATUS_TABLE, name, &STATUS_ROW::name);
    return pRow == std::end(STATUS_TABLE) ? nullptr : pRow->pMask;
}

std::optional<unsigned> ParseChannel(std::string_view sText, unsigned channels, std::string& sError) {
    unsigned number = 0;
    const char* pEnd = sText.data() + sText.size();
    const auto [pRest, error] = std::from_chars(sText.data(), pEnd, number);
    if (error == std::errc() && pRest == pEnd && number < channels) return number;
    sError = "'" + std::string(sText) + "' is no channel or sensor of this recorder, 0 to " +
             std::to_string(channels - 1) + ".";
    return std::nullopt;
}

CLASSIC_ACTION ParseClassicAction(WORDS words, unsigned channels, std::string& sError) {
    const std::string_view name = words.empty() ? std::string_view() : words.front();
    const auto* pRow = std::ranges::find(WORD_TABLE, name, &CLASSIC_WORD_ROW::pName);
    sError.clear();
    if (pRow == std::end(WORD_TABLE)) {
        sError = "There is no word '" + std::string(name) + "'; there are";
        for (const CLASSIC_WORD_ROW& row : WORD_TABLE)
            sError += std::string(&row == WORD_TABLE ? " " : ", ") + row.pName;
        sError += ".";
        return {};
    }
    CLASSIC_ACTION action = pRow->pfnParse(words, channels, sError);
    if (!action && sError.empty()) {
        const std::string sBlank = *pRow->pArguments ? " " : "";
        sError = "It is written: " + std::string(pRow->pName) + sBlank + pRow->pArguments;
    }
    return action;
}

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Session.h"

namespace {

using Effects = std::array<HLX_IMAGE_EFFECT_T, COLOR_NAMES.size()>;
using Values = std::array<DWORD, COLOR_NAMES.size()>;

BOOL Read(LONG lUserID, LONG lChannel, Effects& effects) {
    return HLX_GetVideoEffect_Ex(lUserID, lChannel, &effects[0], &effects[1], &effects[2], &effects[3]);
}

bool IsChange(const COLOR_OPTIONS& color) {
    bool bGiven = color.bDefault || color.bSave;
    for (const auto& value : color.values) bGiven = bGiven || value.has_value();
    return bGiven;
}

Values Wanted(const COLOR_OPTIONS& color, const Effects& effects) {
    Values values{};
    for (size_t i = 0; i < values.size(); ++i) {
        const DWORD dwElse = color.bDefault ? effects[i].defaultValue : effects[i].curValue;
        values[i] = color.values[i].value_or(dwElse);
    }
    return values;
}

// EXIT_OK when all given values stand within the ranges that the device told.
EXIT_CODE CheckRanges(const OPTIONS& options, const Effects& effects) {
    for (size_t i = 0; i < effects.size(); ++i) {
        const auto& value = options.color.values[i];
        if (!value || (*value >= effects[i].minValue && *value <= effects[i].maxValue)) continue;
        return Fail(options.connect.bJson,
                    fmt::format("{} {}: the device takes {} to {}", COLOR_NAMES[i], *value, effects[i].minValue,
                                effects[i].maxValue),
                    EXIT_USAGE);
    }
    return EXIT_OK;
}

// Sets the values and reads them back, for a classic recorder does not answer when they are set.
EXIT_CODE Change(const OPTIONS& options, const CSession& session, Effects& effects) {
    const bool bJson = options.connect.bJson;
    if (const EXIT_CODE eExit = CheckRanges(options, effects); eExit != EXIT_OK) return eExit;
    const LONG lChannel = static_cast<LONG>(options.color.lChannel);
    const Values values = Wanted(options.color, effects);
    const auto pfnSet = options.color.bSave ? HLX_SaveVideoEffect : HLX_SetVideoEffect_Ex;
    if (!pfnSet(session.UserID(), lChannel, values[0], values[1], values[2], values[3])) {
        return FailLast(bJson, fmt::format("the picture values of channel {} are not {}", lChannel,
                                           options.color.bSave ? "saved" : "set"));
    }
    if (!Read(session.UserID(), lChannel, effects)) return FailLast(bJson, "reading the picture values back");
    for (size_t i = 0; i < effects.size(); ++i) {
        if (effects[i].curValue == values[i]) continue;
        return Fail(bJson, fmt::format("the device did not take {} {}", COLOR_NAMES[i], values[i]), EXIT_FAILED);
    }
    return EXIT_OK;
}

int Print(const OPTIONS& options, const Effects& effects) {
    if (options.connect.bJson) {
        nlohmann::ordered_json record = {{"event", "color"}, {"channel", options.color.lChannel}};
        for (size_t i = 0; i < effects.size(); ++i) {
            record[COLOR_NAMES[i]] = {{"value", effects[i].curValue},
                                      {"min", effects[i].minValue},
                                      {"max", effects[i].maxValue},
                                      {"default", effects[i].defaultValue}};
        }
        return PrintJson(record);
    }
    std::string strText;
    for (size_t i = 0; i < effects.size(); ++i) {
        strText += fmt::format("{:<11}{:>5}   ({} to {}, default {})\n", COLOR_NAMES[i], effects[i].curValue,
                               effects[i].minValue, effects[i].maxValue, effects[i].defaultValue);
    }
    return PrintData(strText);
}

EXIT_CODE ChangeAndShow(const OPTIONS& options, const CSession& session) {
    const int64_t lChannel = options.color.lChannel;
    Effects effects{};
    if (!Read(session.UserID(), static_cast<LONG>(lChannel), effects))
        return FailLast(options.connect.bJson, fmt::format("the picture values of channel {}", lChannel));
    const EXIT_CODE eExit = IsChange(options.color) ? Change(options, session, effects) : EXIT_OK;
    return eExit == EXIT_OK ? PrintedExit(Print(options, effects)) : eExit;
}

}  // namespace

EXIT_CODE RunColor(const OPTIONS& options, CInterrupt& interrupt) {
    return RunInSession(options.connect, interrupt, options.color.lChannel,
                        [&](const CSession& session) { return ChangeAndShow(options, session); });
}

#include "PtzActions.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

constexpr const char* PLACE = "PRESET";
constexpr const char* ROUTE = "ROUTE";
using enum PTZ_FORM;

constexpr PTZ_ACTION ACTIONS[] = {
    {"up", "turn up", MOVE, PTZ_CMD_UP, PTZ_CMD_STOP, nullptr},
    {"down", "turn down", MOVE, PTZ_CMD_DOWN, PTZ_CMD_STOP, nullptr},
    {"left", "turn left", MOVE, PTZ_CMD_LEFT, PTZ_CMD_STOP, nullptr},
    {"right", "turn right", MOVE, PTZ_CMD_RIGHT, PTZ_CMD_STOP, nullptr},
    {"left-up", "turn left and up", MOVE, PTZ_CMD_LEFT_UP, PTZ_CMD_STOP, nullptr},
    {"left-down", "turn left and down", MOVE, PTZ_CMD_LEFT_DOWN, PTZ_CMD_STOP, nullptr},
    {"right-up", "turn right and up", MOVE, PTZ_CMD_RIGHT_UP, PTZ_CMD_STOP, nullptr},
    {"right-down", "turn right and down", MOVE, PTZ_CMD_RIGHT_DOWN, PTZ_CMD_STOP, nullptr},
    {"zoom-in", "zoom in", MOVE, PTZ_CMD_ZOOM_IN, PTZ_CMD_STOP, nullptr},
    {"zoom-out", "zoom out", MOVE, PTZ_CMD_ZOOM_OUT, PTZ_CMD_STOP, nullptr},
    {"focus-near", "focus nearer", MOVE, PTZ_CMD_NEAR, PTZ_CMD_STOP, nullptr},
    {"focus-far", "focus farther", MOVE, PTZ_CMD_FAR, PTZ_CMD_STOP, nullptr},
    {"iris-open", "open the iris", MOVE, PTZ_CMD_IRIS_OPEN, PTZ_CMD_STOP, nullptr},
    {"iris-close", "close the iris", MOVE, PTZ_CMD_IRIS_CLOSE, PTZ_CMD_STOP, nullptr},
    {"stop", "end any of these movements", MOVE, PTZ_CMD_STOP, PTZ_CMD_STOP, nullptr},
    {"preset-go", "go to a preset", PRESET, PTZ_CMD_PRESET_GO, PTZ_CMD_PRESET_GO, PLACE},
    {"preset-set", "keep the place as a preset", PRESET, PTZ_CMD_PRESET_SET, PTZ_CMD_PRESET_SET, PLACE},
    {"preset-clear", "delete a preset", PRESET, PTZ_CMD_PRESET_DEL, PTZ_CMD_PRESET_DEL, PLACE},
    {"cruise-run", "run a cruise", CRUISE, PTZ_CMD_CRUISE_RUN, PTZ_CMD_CRUISE_STOP, ROUTE},
    {"cruise-stop", "end a running cruise", CRUISE, PTZ_CMD_CRUISE_STOP, PTZ_CMD_CRUISE_STOP, nullptr},
    {"cruise-set", "write a cruise of --station", CRUISE_SET, PTZ_CMD_CRUISE_SET, PTZ_CMD_CRUISE_SET, ROUTE},
    {"cruise-clear", "delete a cruise", CRUISE, PTZ_CMD_CRUISE_DEL, PTZ_CMD_CRUISE_DEL, ROUTE},
    {"track-record", "begin to record the track", TRACK, PTZ_CMD_TRACK_START, PTZ_CMD_TRACK_STOP, nullptr},
    {"track-end", "end recording the track", TRACK, PTZ_CMD_TRACK_STOP, PTZ_CMD_TRACK_STOP, nullptr},
    {"track-run", "repeat the recorded track", TRACK, PTZ_CMD_TRACK_RUN, PTZ_CMD_TRACK_STOP_RUN, nullptr},
    {"track-stop", "end repeating the track", TRACK, PTZ_CMD_TRACK_STOP_RUN, PTZ_CMD_TRACK_STOP_RUN, nullptr},
    {"track-clear", "delete the track", TRACK, PTZ_CMD_TRACK_DEL, PTZ_CMD_TRACK_DEL, nullptr},
    {"scan-start", "turn to and fro", SCAN, PTZ_CMD_AUTO_SCAN_START, PTZ_CMD_AUTO_SCAN_STOP, nullptr},
    {"scan-stop", "end turning to and fro", SCAN, PTZ_CMD_AUTO_SCAN_STOP, PTZ_CMD_AUTO_SCAN_STOP, nullptr},
};
static_assert(std::size(ACTIONS) == PTZ_CMD_AUTO_SCAN_STOP + 1, "a word for each command");

}  // namespace

std::span<const PTZ_ACTION> PtzActions() { return ACTIONS; }

const PTZ_ACTION* FindPtzAction(std::string_view strName) {
    const auto row = std::find_if(std::begin(ACTIONS), std::end(ACTIONS),
                                  [&](const PTZ_ACTION& each) { return each.sName == strName; });
    return row == std::end(ACTIONS) ? nullptr : row;
}

std::string PtzActionNames(std::string_view strBetween) {
    std::string strText;
    for (const PTZ_ACTION& action : ACTIONS)
        strText += fmt::format("{}{}", strText.empty() ? "" : strBetween, action.sName);
    return strText;
}

std::string PtzActionsText() {
    std::string strText = "Actions:\n";
    for (const PTZ_ACTION& action : ACTIONS) {
        const std::string strHead = fmt::format("{} {}", action.sName, action.sValue ? action.sValue : "");
        strText += fmt::format("  {:<22}{}\n", strHead, action.sHelp);
    }
    return strText;
}

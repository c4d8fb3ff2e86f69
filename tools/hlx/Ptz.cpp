#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "Session.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

BOOL WriteCruise(LONG lUserID, const PTZ_OPTIONS& ptz) {
    std::vector<DD_CRUISE_POINT_INFO> points;
    for (const STATION& station : ptz.stations) {
        points.push_back({static_cast<DWORD>(points.size()), station.nPreset, ptz.nSpeed, station.nSeconds});
    }
    return HLX_PTZSetCruise_Other(lUserID, static_cast<LONG>(ptz.lChannel), static_cast<BYTE>(ptz.nValue),
                                  points.data(), static_cast<WORD>(points.size()));
}

// Has the device carry the command out, which belongs to the action that was asked for.
BOOL Send(const CSession& session, const PTZ_OPTIONS& ptz, PTZ_COM_TYPE eCommand) {
    const LONG lUserID = session.UserID();
    const LONG lChannel = static_cast<LONG>(ptz.lChannel);
    switch (ptz.pAction->eForm) {
        case PTZ_FORM::MOVE:
            return HLX_PTZControl_Other(lUserID, lChannel, eCommand, ptz.nSpeed);
        case PTZ_FORM::PRESET:
            return HLX_PTZPreset_Other(lUserID, lChannel, eCommand, ptz.nValue);
        case PTZ_FORM::CRUISE:
            return HLX_PTZCruise_Other(lUserID, lChannel, eCommand, static_cast<BYTE>(ptz.nValue));
        case PTZ_FORM::CRUISE_SET:
            return WriteCruise(lUserID, ptz);
        case PTZ_FORM::TRACK:
            return HLX_PTZTrack_Other(lUserID, lChannel, eCommand);
        case PTZ_FORM::SCAN:
            return HLX_PTZAutoScan_Other(lUserID, lChannel, eCommand, ptz.nSpeed, 1);
    }
    return 0;
}

std::string ActionText(const PTZ_OPTIONS& ptz) {
    return ptz.pAction->sValue ? fmt::format("{} {}", ptz.pAction->sName, ptz.nValue) : ptz.pAction->sName;
}

// The word of the action that ends this one.
const char* EndName(const PTZ_ACTION& action) {
    for (const PTZ_ACTION& other : PtzActions()) {
        if (other.eCommand == action.eEnd) return other.sName;
    }
    return "";
}

int Tell(const OPTIONS& options) {
    const PTZ_OPTIONS& ptz = options.ptz;
    const PTZ_ACTION& action = *ptz.pAction;
    const bool bTimed = ptz.length > 0ms;
    if (options.connect.bJson) {
        nlohmann::ordered_json record = {{"event", "ptz"}, {"channel", ptz.lChannel}, {"action", action.sName}};
        if (action.sValue) record["value"] = ptz.nValue;
        if (action.HasSpeed()) record["speed"] = ptz.nSpeed;
        if (bTimed) record["seconds"] = static_cast<double>(ptz.length.count()) / 1000.0;
        if (action.GoesOn()) record["endedBy"] = EndName(action);
        return PrintJson(record);
    }
    std::string strText = fmt::format("channel {}: {}", ptz.lChannel, ActionText(ptz));
    if (action.HasSpeed()) strText += fmt::format(" at speed {}", ptz.nSpeed);
    if (bTimed) strText += fmt::format(" for {} s", static_cast<double>(ptz.length.count()) / 1000.0);
    if (action.GoesOn() && !bTimed) strText += fmt::format(", until {}", EndName(action));
    return PrintData(strText + "\n");
}

void WaitOut(std::chrono::milliseconds length, CInterrupt& interrupt) {
    const auto end = Clock::now() + length;
    while (interrupt.Signal() == 0 && Clock::now() < end) {
        interrupt.Wait(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()));
    }
}

EXIT_CODE CarryOut(const OPTIONS& options, CInterrupt& interrupt, const CSession& session) {
    const PTZ_OPTIONS& ptz = options.ptz;
    if (interrupt.Signal() != 0) return EXIT_OK;
    const std::string strWhat = fmt::format("{} on channel {}", ActionText(ptz), ptz.lChannel);
    if (!Send(session, ptz, ptz.pAction->eCommand)) return FailLast(options.connect.bJson, strWhat);
    const int nErrno = Tell(options);
    if (ptz.length == 0ms) return PrintedExit(nErrno);
    WaitOut(ptz.length, interrupt);
    if (Send(session, ptz, ptz.pAction->eEnd)) return PrintedExit(nErrno);
    return FailLast(options.connect.bJson, fmt::format("{}, which may go on since it cannot be ended", strWhat));
}

}  // namespace

EXIT_CODE RunPtz(const OPTIONS& options, CInterrupt& interrupt) {
    CSession session(interrupt);
    EXIT_CODE eExit = session.Open(options.connect, options.ptz.lChannel);
    if (eExit == EXIT_OK) eExit = CarryOut(options, interrupt, session);
    const bool bSignal = interrupt.Signal() != 0 && eExit == EXIT_OK;  // a movement that goes on is worse news
    return bSignal ? SignalExitCode(interrupt.Signal()) : eExit;
}

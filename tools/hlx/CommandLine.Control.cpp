#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <CLI/CLI.hpp>

#include "CommandOptions.h"

// The options of the commands that watch, steer and set devices.

namespace {

void AddStations(CLI::App& app, PTZ_OPTIONS& ptz) {
    const auto fnStations = [&ptz](const std::vector<std::string>& texts) {
        for (const std::string& strText : texts) {
            const auto station = ParseStation(strText);
            if (!station) throw CLI::ValidationError(strText + ": not a station like 3 or 3:10s");
            ptz.stations.push_back(*station);
        }
        if (texts.size() > LAST_PTZ_PLACE) throw CLI::ValidationError("a cruise has no more than 255 stations");
    };
    app.add_option_function<std::vector<std::string>>(
           "--station", fnStations,
           "with cruise-set, once for each station in order: a preset and how long the camera stays there (5s)")
        ->type_name("PRESET[:TIME]")
        ->take_all()
        ->expected(1)
        ->allow_extra_args(false);
}

// What the parser's own rules do not say about an action and what stands beside it.
void CheckPtz(const CLI::App& app, const PTZ_OPTIONS& ptz) {
    const PTZ_ACTION& action = *ptz.pAction;
    const auto fnRefuse = [&](bool bWrong, const char* sSentence) {
        if (bWrong) throw CLI::ValidationError(fmt::format("{} {}", action.sName, sSentence));
    };
    const bool bValue = app.count("VALUE") != 0;
    fnRefuse(action.sValue && !bValue, "needs a number behind it");
    fnRefuse(!action.sValue && bValue, "takes no number");
    fnRefuse(!action.GoesOn() && app.count("--for") != 0, "ends by itself and takes no --for");
    fnRefuse(!action.HasSpeed() && app.count("--speed") != 0, "takes no --speed");
    const bool bCruise = action.eForm == PTZ_FORM::CRUISE_SET;
    fnRefuse(bCruise && ptz.stations.empty(), "needs at least one --station");
    fnRefuse(!bCruise && !ptz.stations.empty(), "takes no --station");
}

// ID:USER or ID:USER:FILE.
LISTEN_DEVICE ParseListenDevice(const std::string& strText) {
    LISTEN_DEVICE device;
    const char* pLast = strText.data() + strText.size();
    const auto [pEnd, error] = std::from_chars(strText.data(), pLast, device.dwID);
    const bool bUser = error == std::errc{} && pEnd != pLast && *pEnd == ':';
    const std::string strRest = bUser ? std::string(pEnd + 1, pLast) : std::string();
    const size_t nColon = std::min(strRest.find(':'), strRest.size());
    device.strUser = strRest.substr(0, nColon);
    if (nColon < strRest.size()) device.strPasswordFile = strRest.substr(nColon + 1);
    const bool bFile = nColon == strRest.size() || !device.strPasswordFile.empty();
    if (device.strUser.empty() || !bFile) {
        throw CLI::ValidationError(fmt::format("{}: not a device like 4711:admin or 4711:admin:FILE", strText));
    }
    RefuseLonger("the user name", device.strUser, LONGEST_USER);
    return device;
}

}  // namespace

void DeclareAlarms(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    CLI::Option* pFollow = app.add_flag("--follow", options.alarms.bFollow,
                                        "go on and tell what begins and ends; otherwise what is on now is told once");
    AddDuration(app, "-d,--duration", options.alarms.length, "end this long after the start")->needs(pFollow);
}

void DeclarePtz(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    PTZ_OPTIONS& ptz = options.ptz;
    const auto fnAction = [&ptz](const std::string& strText) {
        ptz.pAction = FindPtzAction(strText);
        if (!ptz.pAction) throw CLI::ValidationError(strText + ": no such action");
    };
    app.add_option_function<std::string>("ACTION", fnAction, "one of the actions below")
        ->required()
        ->type_name("ACTION");
    app.add_option("VALUE", ptz.nValue, "number of the preset or the cruise, for an action that has one")
        ->type_name("VALUE")
        ->check(CLI::Range(0u, LAST_PTZ_PLACE).description(""));
    AddChannel(app, ptz.lChannel);
    app.add_option("--speed", ptz.nSpeed, "speed of a movement, 1 to 8 for most devices (4)")
        ->type_name("S")
        ->check(CLI::Range(1, 255).description(""));
    AddDuration(app, "--for", ptz.length, "end the movement after this time, or at SIGINT; else it goes on");
    AddStations(app, ptz);
    app.footer(PtzActionsText() + "\n" + app.get_footer());
    app.final_callback([&app, &ptz] { CheckPtz(app, ptz); });
}

void DeclareTime(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    TIME_OPTIONS& time = options.time;
    const auto fnSet = [&time](const std::string& strText) {
        time.bSetNow = strText == "now";
        time.toSeconds = ReadTime(strText, DAY_EDGE::BEGIN);
    };
    app.add_option_function<std::string>("--set", fnSet,
                                         "set the clock: now, or a time like 14:00 or 2026-11-21T10:00, which is local "
                                         "time here, or with Z or +01:00 behind it another zone's")
        ->type_name("now|WHEN");
    AddChannel(app, time.lChannel, "channel whose frames tell the time, counted from 0 (0)");
}

void DeclareReboot(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    app.add_flag("-y,--yes", options.reboot.bYes, "do not ask first; needed where there is no terminal");
    CLI::Option* pWait =
        app.add_flag("--wait", options.reboot.bWait, "wait until the device went down and a login works again");
    AddDuration(app, "--limit", options.reboot.limit, "longest time for --wait (3m)")->needs(pWait);
}

void DeclareColor(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    COLOR_OPTIONS& color = options.color;
    AddChannel(app, color.lChannel);
    for (size_t i = 0; i < COLOR_NAMES.size(); ++i) {
        app.add_option(fmt::format("--{}", COLOR_NAMES[i]), color.values[i],
                       fmt::format("set the {}, within the range that the device tells", COLOR_NAMES[i]))
            ->type_name("N")
            ->check(CLI::Range(0u, 0x7FFFFFFFu).description(""));
    }
    app.add_flag("--default", color.bDefault, "set the values that are not given to the device's defaults");
    app.add_flag("--save", color.bSave, "have the device keep the values over a restart");
}

void DeclareListen(CLI::App& app, OPTIONS& options) {
    LISTEN_OPTIONS& listen = options.listen;
    app.add_option("-p,--port", listen.wPort, "TCP port to listen on; 0 for any free one, which is told")
        ->required()
        ->type_name("PORT")
        ->check(CLI::Range(0, 65535).description(""));
    const auto fnDevice = [&listen](const std::string& strText) {
        listen.devices.push_back(ParseListenDevice(strText));
    };
    app.add_option("--device")
        ->each(fnDevice)
        ->type_name("ID:USER[:FILE]")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->description(
            "log in to the device that names itself by ID, with the password in the first line of FILE, - for "
            "standard input, or in HLX_PASSWORD; may be given repeatedly; a device that refuses this login is "
            "not told");
    AddDuration(app, "-d,--duration", listen.length, "end this long after the start");
    app.add_option("-n,--count", listen.nCount, "end after N calls, of known or unknown devices")
        ->type_name("N")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1} << 40).description(""));
    AddJson(app, options.connect);
}

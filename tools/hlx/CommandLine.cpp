#include "CommandLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <CLI/CLI.hpp>
#include <cstring>
#include <ctime>
#include <sstream>

#include "Completion.h"
#include "HLX.h"
#include "Listing.h"
#include "ManPage.h"
#include "Output.h"
#include "TimeText.h"

namespace {

struct COMMAND {
    const char* sName;
    const char* sSummary;
    void (*pfnDeclare)(CLI::App& app, OPTIONS& options);
    EXIT_CODE (*pfnRun)(const OPTIONS& options, CInterrupt& interrupt);
};

CLI::Option* AddDuration(CLI::App& app, const std::string& strName, std::chrono::milliseconds& target,
                         const std::string& strDescription) {
    const auto fnTake = [&target](const std::string& strText) {
        const auto duration = ParseDuration(strText);
        if (!duration) throw CLI::ValidationError(fmt::format("{}: not a time like 500ms, 10s or 1m", strText));
        target = *duration;
    };
    return app.add_option_function<std::string>(strName, fnTake, strDescription)->type_name("TIME");
}

void RefuseLonger(const char* sWhat, const std::string& strText, size_t nLongest) {
    if (strText.size() > nLongest) {
        throw CLI::ValidationError(fmt::format("{} is longer than {} bytes", sWhat, nLongest));
    }
}

void DeclareLog(CLI::App& app, CONNECT_OPTIONS& connect) {
    const auto fnFile = [&connect](const std::string& strText) {
        if (!strText.ends_with(".log")) throw CLI::ValidationError(strText + ": the name of a log ends in .log");
        const size_t nName = strText.rfind('/') + 1;  // 0 without a folder
        RefuseLonger("the log's folder", strText.substr(0, nName), LONGEST_LOG_FOLDER);
        RefuseLonger("the log's name", strText.substr(nName), LONGEST_LOG_NAME + strlen(".log"));
        connect.strLogFile = strText;
    };
    app.add_option_function<std::string>(
           "--log", fnFile,
           "have the library write its log behind what stands in FILE, whose name ends in "
           ".log; never a password")
        ->type_name("FILE");
}

void DeclareConnect(CLI::App& app, OPTIONS& options) {
    CONNECT_OPTIONS& connect = options.connect;
    const auto fnEndpoint = [&connect](const std::string& strText) {
        const auto endpoint = ParseEndpoint(strText);
        if (!endpoint) throw CLI::ValidationError(fmt::format("{}: not a host or host:port", strText));
        RefuseLonger("the host", endpoint->strHost, LONGEST_HOST);
        connect.endpoint = *endpoint;
    };
    app.add_option_function<std::string>(
           "HOST", fnEndpoint,
           fmt::format("name or address of the device, with :PORT if it is not {}; [::1]:9000 for IPv6",
                       DEFAULT_DEVICE_PORT))
        ->required()
        ->type_name("HOST[:PORT]");
    const auto fnUser = [&connect](const std::string& strText) {
        RefuseLonger("the user name", strText, LONGEST_USER);
        connect.strUser = strText;
    };
    app.add_option_function<std::string>("-u,--user", fnUser, "user name (admin)")->type_name("NAME");
    app.add_option("--password-file", connect.strPasswordFile,
                   "read the password from the first line of FILE, - for standard input; "
                   "otherwise it is taken from HLX_PASSWORD or asked for on a terminal")
        ->type_name("FILE");
    AddDuration(app, "--timeout", connect.connectWait, "longest wait for a connection (5s)");
    DeclareLog(app, connect);
    app.add_option("--trace", connect.strTraceFile,
                   "write a new FILE of all that goes over the links, without passwords, for hlx-simulator replay")
        ->type_name("FILE");
    app.add_flag("--json", connect.bJson, "write JSON to standard output, one object a line");
}

void AddChannel(CLI::App& app, int64_t& lTarget, const std::string& strDescription = "channel, counted from 0 (0)") {
    app.add_option("-c,--channel", lTarget, strDescription)
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
}

int64_t ReadTime(const std::string& strText, DAY_EDGE eEdge) {
    static const int64_t nNow = time(nullptr);  // one for all times of a command line
    const auto second = ParseTime(strText, nNow, eEdge);
    if (!second) throw CLI::ValidationError(fmt::format("{}: {}", strText, TIME_FORMS));
    return *second;
}

// --from and --to. A day alone is its begin with the former and its end with the latter.
CLI::Option* AddSpan(CLI::App& app, TIME_SPAN& span, const std::string& strFrom, const std::string& strTo) {
    const auto fnFrom = [&span](const std::string& strText) { span.from = ReadTime(strText, DAY_EDGE::BEGIN); };
    // Read behind --from, wherever it stands.
    const auto fnTo = [&span](const std::string& strText) {
        span.to = ReadTime(strText, DAY_EDGE::END);
        if (span.from && *span.from >= *span.to) throw CLI::ValidationError("--to is not later than --from");
    };
    CLI::Option* pFrom =
        app.add_option_function<std::string>("--from", fnFrom,
                                             strFrom +
                                                 ": 14:00, today, 'yesterday 14:00', 2026-11-21T14:00, -2h or now, "
                                                 "local time here, or with Z or +01:00 behind it another zone's")
            ->type_name("WHEN");
    app.add_option_function<std::string>("--to", fnTo, strTo)->type_name("WHEN");
    return pFrom;
}

// Two kinds of data cannot go to standard output at once.
void RefuseJsonBeside(const CONNECT_OPTIONS& connect, const std::string& strOutput) {
    if (connect.bJson && strOutput == "-")
        throw CLI::ValidationError("--json and a - for the output both need standard output");
}

void AddStream(CLI::App& app, int64_t& lTarget) {
    const auto fnStream = [&lTarget](const std::string& strText) {
        if (strText != "main" && strText != "sub") throw CLI::ValidationError(strText + ": neither main nor sub");
        lTarget = strText == "sub" ? HLX_SUB_STREAM : HLX_MAIN_STREAM;
    };
    app.add_option_function<std::string>("-s,--stream", fnStream, "main or sub stream (main)")->type_name("main|sub");
}

void DeclareLive(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    LIVE_OPTIONS& live = options.live;
    AddChannel(app, live.lChannel);
    AddStream(app, live.lStreamType);
    app.add_option("-o,--output", live.strOutput,
                   "write the video as a raw elementary stream to FILE, - for standard output; "
                   "without it frames are only counted")
        ->type_name("FILE");
    AddDuration(app, "-d,--duration", live.length, "end this long after the first frame");
    app.add_option("-n,--frames", live.nFrames, "end after N video frames")
        ->type_name("N")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1} << 40).description(""));
    AddDuration(app, "--stall", live.stall, "give up when no frame comes for this long (10s)");
    app.final_callback([&options] { RefuseJsonBeside(options.connect, options.live.strOutput); });
}

void DeclareRecord(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    RECORD_OPTIONS& record = options.record;
    const auto fnOutput = [&record](const std::string& strText) {
        RefuseLonger("the file's name", strText, LONGEST_RECORDING);
        record.strOutput = strText;
    };
    AddChannel(app, record.lChannel);
    AddStream(app, record.lStreamType);
    app.add_option_function<std::string>("-o,--output", fnOutput, "AVI file to write; one of that name is replaced")
        ->required()
        ->type_name("FILE");
    AddDuration(app, "-d,--duration", record.length, "end when the file has this length; otherwise at SIGINT");
    AddDuration(app, "--stall", record.stall, "give up when no frame comes for this long (1m)");
}

// What people call the speeds.
constexpr std::array<const char*, HLX_RPB_SPEED_32X> SPEED_NAMES = {"1/32", "1/16", "1/8", "1/4", "1/2", "1",
                                                                    "2",    "4",    "8",   "16",  "32"};

uint32_t ReadSpeed(std::string strText) {
    if (!strText.empty() && (strText.back() == 'x' || strText.back() == 'X')) strText.pop_back();
    const auto pName = std::ranges::find(SPEED_NAMES, strText, [](const char* sName) { return std::string(sName); });
    if (pName == SPEED_NAMES.end()) throw CLI::ValidationError(strText + ": not 1/32, 1/16 and so on to 32");
    return static_cast<uint32_t>(pName - SPEED_NAMES.begin()) + HLX_RPB_SPEED_1_32X;
}

void DeclarePlay(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    PLAY_OPTIONS& play = options.play;
    AddChannel(app, play.lChannel);
    AddStream(app, play.lStreamType);
    app.add_flag_callback(
        "--sub", [&play] { play.lStreamType = HLX_SUB_STREAM; }, "the same as --stream sub");
    AddSpan(app, play.span, "begin of what is played", "end of what is played");
    app.add_option_function<std::string>(
           "--speed", [&play](const std::string& strText) { play.dwSpeed = ReadSpeed(strText); },
           "1/32 to 32 (1); from 8 on key frames alone are shown")
        ->type_name("SPEED");
    app.add_flag("--reverse", play.bReverse,
                 "from the end, to which it is wound first, back to the begin; key frames alone, at 8 or 16");
    app.add_option("-o,--output", play.strOutput,
                   "write the video as a raw elementary stream to FILE, - for standard output; "
                   "without it frames are only counted")
        ->type_name("FILE");
    AddDuration(app, "--stall", play.stall, "give up when no frame comes for this long (10s)");
    app.final_callback([&options, &play] {
        if (!play.span.from || !play.span.to) throw CLI::ValidationError("--from and --to are required");
        RefuseJsonBeside(options.connect, play.strOutput);
    });
}

void DeclareAlarms(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    CLI::Option* pFollow = app.add_flag("--follow", options.alarms.bFollow,
                                        "go on and tell what begins and ends; otherwise what is on now is told once");
    AddDuration(app, "-d,--duration", options.alarms.length, "end this long after the start")->needs(pFollow);
}

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

void DeclarePtz(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    PTZ_OPTIONS& ptz = options.ptz;
    const auto fnAction = [&ptz](const std::string& strText) {
        ptz.pAction = FindPtzAction(strText);
        if (!ptz.pAction) throw CLI::ValidationError(strText + ": no such action; see hlx ptz --help");
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

void DeclareSnapshot(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    AddChannel(app, options.snapshot.lChannel);
    app.add_option("-o,--output", options.snapshot.strOutput, "write the JPEG picture to FILE, - for standard output")
        ->required()
        ->type_name("FILE");
    app.final_callback([&options] { RefuseJsonBeside(options.connect, options.snapshot.strOutput); });
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

void DeclareTalk(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    TALK_OPTIONS& talk = options.talk;
    app.add_option(
           "-f,--file", talk.strFile,
           "speak FILE, a sound file of any kind; -: raw PCM on standard input, 16 bits, 8000 samples a second, "
           "mono")
        ->type_name("FILE");
    app.add_option("--save", talk.strSave, "write what is heard to FILE as WAV; -: raw PCM to standard output")
        ->type_name("FILE");
    AddDuration(app, "-d,--duration", talk.length,
                "end this long after the start; else when FILE was spoken, or at SIGINT");
    AddDuration(app, "--tail", talk.tail, "go on to listen for this long when FILE was spoken (1s)");
    app.final_callback([&options] {
        if (options.talk.strFile.empty() && options.talk.strSave.empty())
            throw CLI::ValidationError("nothing to do: give --file or --save");
        if (options.talk.strFile == "-" && options.connect.strPasswordFile == "-")
            throw CLI::ValidationError("password and sound cannot both come from standard input");
        RefuseJsonBeside(options.connect, options.talk.strSave);
    });
}

// The script is made from the parser, so ReadCommandLine prints it.
void DeclareCompletion(CLI::App& app, OPTIONS&) {
    app.add_option("SHELL")->description("shell to complete for")->required()->type_name(COMPLETION_SHELLS);
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
    app.add_flag("--json", options.connect.bJson, "write JSON to standard output, one object a line");
}

void DeclareRepair(CLI::App& app, OPTIONS& options) {
    app.add_option("FILE", options.repair.files, "recorded AVI files, made whole in place; whole ones are left alone")
        ->required()
        ->type_name("FILE...");
    app.add_flag("--force", options.repair.bForce,
                 "also a file that was completed, if its index does not agree with its frames");
    app.add_flag("--json", options.connect.bJson, "write JSON to standard output, one object a line");
}

constexpr const char* FROM_THE_DAY = "what began or went on then (from the begin of the last day)";
constexpr const char* TO_NOW = "and before then (now); a day stands for its end";

void DeclareRecordings(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    FIND_OPTIONS& find = options.find;
    AddChannel(app, find.lChannel, "spans of this channel, counted from 0 (all)");
    CLI::Option* pFrom =
        AddSpan(app, find.span, "what was recorded from then (the first day)", "up to then (the last day)");
    const auto fnMonth = [&find](const std::string& strText) {
        find.calendar = ParseMonth(strText, time(nullptr));
        if (!find.calendar) throw CLI::ValidationError(strText + ": not a month like 2026-11, 11, november or this");
    };
    app.add_option_function<std::string>("--calendar", fnMonth,
                                         "show the calendar of a month with the days that hold recordings, of any "
                                         "channel, in brackets: 2026-11, 11, november, 'november 2026' or this")
        ->type_name("MONTH")
        ->excludes(pFrom)
        ->excludes(app.get_option("--to"));
}

void DeclareFiles(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    FIND_OPTIONS& find = options.find;
    AddChannel(app, find.lChannel, "channel, counted from 0 (all)");
    CLI::Option* pFrom = AddSpan(app, find.span, FROM_THE_DAY, TO_NOW);
    const auto fnAdd = [&](const char* sName, FILE_ACTION eAction, const char* sHelp) {
        return app
            .add_flag_callback(
                sName, [&find, eAction] { find.eAction = eAction; }, sHelp)
            ->needs(pFrom);
    };
    CLI::Option* pLock = fnAdd("--lock", FILE_ACTION::LOCK, "lock all files that are listed against being overwritten");
    CLI::Option* pUnlock = fnAdd("--unlock", FILE_ACTION::UNLOCK, "take the lock off all files that are listed");
    CLI::Option* pDelete = fnAdd("--delete", FILE_ACTION::REMOVE,
                                 "delete all files that are listed, whole, also where they reach beyond the time");
    pLock->excludes(pUnlock)->excludes(pDelete);
    pUnlock->excludes(pDelete);
    app.add_flag("-y,--yes", find.bYes, "do not ask before deleting; needed where there is no terminal");
}

void DeclareEvents(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    FIND_OPTIONS& find = options.find;
    AddChannel(app, find.lChannel, "channel, counted from 0 (all)");
    AddSpan(app, find.span, FROM_THE_DAY, TO_NOW);
    const auto fnTypes = [&find](const std::string& strText) {
        const auto types = ParseEventTypes(strText);
        if (!types) throw CLI::ValidationError(strText + ": not a list of motion, sensor, video-loss and shelter");
        find.dwTypes = *types;
    };
    CLI::Option* pType = app.add_option_function<std::string>("-t,--type", fnTypes,
                                                              "only events of these types, with commas between them")
                             ->type_name("motion|sensor|video-loss|shelter");
    app.add_flag("--recorded", find.bRecorded, "events that were recorded, by why they were")->excludes(pType);
}

void DeclareLogs(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    AddSpan(app, options.find.span, "entries from then (from the begin of the last day)", TO_NOW);
    app.add_option("-t,--type", options.find.dwTypes, "main type, as the device numbers them (all)")->type_name("N");
}

void DeclareDownload(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    DOWNLOAD_OPTIONS& download = options.download;
    AddChannel(app, download.lChannel);
    AddSpan(app, download.span, "what was recorded from then", "up to then");
    for (const char* sName : {"--from", "--to"}) app.get_option(sName)->required();
    const auto fnOutput = [&download](const std::string& strText) {
        download.bAvi = strText.ends_with(".avi");
        if (!download.bAvi && !strText.ends_with(".hlx"))
            throw CLI::ValidationError(strText + ": the name of the file ends in .avi or .hlx");
        download.strOutput = strText;
    };
    app.add_option_function<std::string>(
           "-o,--output", fnOutput,
           "write to FILE: x.avi, with x-2.avi and so on where the picture's size changes, or x.hlx with all frames as "
           "they came; until it is whole it is x.hlx.part")
        ->required()
        ->type_name("FILE");
    app.add_flag("--sub", download.bSub, "the sub stream of the recording");
    AddDuration(app, "--stall", download.stall, "give up when no frame comes for this long (30s)");
}

void DeclareConvert(CLI::App& app, OPTIONS& options) {
    CONVERT_OPTIONS& convert = options.convert;
    app.add_option("INPUT", convert.strInput, "file that hlx download has written, also a .part")
        ->required()
        ->type_name("FILE");
    app.add_option("OUTPUT", convert.strOutput,
                   "AVI file to make, as x.avi; where the picture's size changes it goes on in x-2.avi and so on")
        ->required()
        ->type_name("FILE");
    app.add_flag("--json", options.connect.bJson, "write JSON to standard output, one object a line");
}

constexpr COMMAND COMMANDS[] = {
    {"info", "log in and print what the device is", DeclareConnect, RunInfo},
    {"live", "receive a channel's live stream, show its figures, write its video", DeclareLive, RunLive},
    {"record", "save a channel's live stream, with its sound, to an AVI file", DeclareRecord, RunRecord},
    {"play", "play a channel's recording, show its figures, write its video", DeclarePlay, RunPlay},
    {"alarms", "tell alarms and records that are on, one a line", DeclareAlarms, RunAlarms},
    {"ptz", "turn, zoom or focus a camera, use its presets, cruises and track", DeclarePtz, RunPtz},
    {"snapshot", "take a JPEG picture that the device makes", DeclareSnapshot, RunSnapshot},
    {"color", "show or set a channel's brightness, contrast, saturation and hue", DeclareColor, RunColor},
    {"time", "show or set the device's clock", DeclareTime, RunTime},
    {"recordings", "tell when there are recordings, or show a month's calendar of them", DeclareRecordings,
     RunRecordings},
    {"files", "list recording files; lock, unlock or delete them", DeclareFiles, RunFiles},
    {"events", "list the events that the device remembers", DeclareEvents, RunEvents},
    {"logs", "list the entries of the device's log", DeclareLogs, RunLogs},
    {"download", "write a channel's recording to a file", DeclareDownload, RunDownload},
    {"convert", "make AVI files out of a file that hlx download has written", DeclareConvert, RunConvert},
    {"reboot", "restart the device", DeclareReboot, RunReboot},
    {"talk", "speak a sound file to the device, keep what it answers", DeclareTalk, RunTalk},
    {"completion", "print a completion script for a shell", DeclareCompletion, nullptr},
    {"listen", "listen for devices that call in by themselves, tell who comes and goes", DeclareListen, RunListen},
    {"repair", "make recorded AVI files whole that were cut off", DeclareRepair, RunRepair},
};

// The parser itself would only say that a command is required.
bool IsUnknownCommand(const std::string& strWord) {
    if (strWord.empty() || strWord.front() == '-') return false;
    return std::none_of(std::begin(COMMANDS), std::end(COMMANDS),
                        [&](const COMMAND& row) { return strWord == row.sName; });
}

std::string VersionText() {
    HLX_Init();
    const DWORD dwVersion = HLX_GetSDKVersion();
    const DWORD dwBuild = HLX_GetSDKBuildVersion();
    HLX_Cleanup();
    return fmt::format("hlx {}\nlibHLX {}.{} (build {})\n", HLX_TOOL_VERSION, dwVersion >> 16 & 0xFFFF,
                       dwVersion & 0xFFFF, dwBuild);
}

std::string ExitCodesText() {
    std::string strText = "Exit codes:\n";
    for (const EXIT_CODE_ROW& row : ExitCodes()) {
        strText += fmt::format("  {:<4}{}\n", static_cast<int>(row.eCode), row.sMeaning);
    }
    return strText;
}

// Declares all commands; the one that is given stores its function in the command line.
void Declare(CLI::App& app, COMMAND_LINE& line) {
    app.name("hlx");
    app.require_subcommand(1);
    app.footer(ExitCodesText());
    app.set_help_flag("-h,--help", "print this help");
    app.add_flag("--version")->description("print the versions of the tool and of its library");
    app.add_flag("--man")->description("print the man page's source")->group("");
    for (const COMMAND& command : COMMANDS) {
        CLI::App* pSub = app.add_subcommand(command.sName, command.sSummary);
        pSub->set_help_flag("-h,--help", "print this help");
        pSub->footer(ExitCodesText());
        command.pfnDeclare(*pSub, line.options);
        pSub->parse_complete_callback([&line, &command] { line.pfnRun = command.pfnRun; });
    }
}

// Help, or the sentence about what is wrong, from the parser.
EXIT_CODE AnswerParseEnd(const CLI::App& app, const CLI::ParseError& error, bool bJson) {
    std::ostringstream out;
    std::ostringstream err;
    if (app.exit(error, out, err) == 0) return PrintedExit(PrintData(out.str()));
    std::string strText = err.str();
    while (!strText.empty() && strText.back() == '\n') strText.pop_back();
    return Fail(bJson, strText, EXIT_USAGE);
}

EXIT_CODE PrintCompletion(const CLI::App& app, bool bJson) {
    const std::string strShell = app.get_subcommand("completion")->get_option("SHELL")->as<std::string>();
    const std::string strScript = CompletionText(app, strShell);
    if (!strScript.empty()) return PrintedExit(PrintData(strScript));
    return Fail(bJson, fmt::format("{}: not one of {}", strShell, COMPLETION_SHELLS), EXIT_USAGE);
}

}  // namespace

std::optional<COMMAND_LINE> ReadCommandLine(int argc, char** argv, EXIT_CODE& eExit) {
    COMMAND_LINE line;
    CLI::App app("Talks to network video recorders and IP cameras.");
    Declare(app, line);
    const std::string strFirst = argc > 1 ? argv[1] : "";
    // The parser may fail before it comes to the flag.
    const bool bJson = std::any_of(argv, argv + argc, [](const char* sWord) { return strcmp(sWord, "--json") == 0; });
    if (strFirst == "--version" || strFirst == "--man") {
        eExit = PrintedExit(PrintData(strFirst == "--man" ? ManPageText(app) : VersionText()));
        return {};
    }
    if (IsUnknownCommand(strFirst)) {
        eExit = Fail(bJson, strFirst + ": no such command; see hlx --help", EXIT_USAGE);
        return {};
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        eExit = AnswerParseEnd(app, error, bJson);
        return {};
    }
    if (app.got_subcommand("completion")) {
        eExit = PrintCompletion(app, bJson);
        return {};
    }
    return line;
}

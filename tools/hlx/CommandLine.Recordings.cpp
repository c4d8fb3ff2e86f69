#include <algorithm>
#include <array>
#include <CLI/CLI.hpp>
#include <ctime>

#include "CommandOptions.h"
#include "Listing.h"

// The options of the commands for what is recorded.

namespace {

constexpr const char* FROM_THE_DAY = "what began or went on then (from the begin of the last day)";
constexpr const char* TO_NOW = "and before then (now); a day stands for its end";

// What people call the speeds.
constexpr std::array<const char*, HLX_RPB_SPEED_32X> SPEED_NAMES = {"1/32", "1/16", "1/8", "1/4", "1/2", "1",
                                                                    "2",    "4",    "8",   "16",  "32"};

uint32_t ReadSpeed(std::string strText) {
    if (!strText.empty() && (strText.back() == 'x' || strText.back() == 'X')) strText.pop_back();
    const auto pName = std::ranges::find(SPEED_NAMES, strText, [](const char* sName) { return std::string(sName); });
    if (pName == SPEED_NAMES.end()) throw CLI::ValidationError(strText + ": not 1/32, 1/16 and so on to 32");
    return static_cast<uint32_t>(pName - SPEED_NAMES.begin()) + HLX_RPB_SPEED_1_32X;
}

}  // namespace

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
    AddVideoOutput(app, play.strOutput);
    AddDuration(app, "--stall", play.stall, "give up when no frame comes for this long (10s)");
    app.final_callback([&options, &play] {
        if (!play.span.from || !play.span.to) throw CLI::ValidationError("--from and --to are required");
        RefuseJsonBeside(options.connect, play.strOutput);
    });
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
    const auto fnOutput = [&convert](const std::string& strText) {
        if (!strText.ends_with(".avi")) throw CLI::ValidationError(strText + ": the name of the AVI file ends in .avi");
        convert.strOutput = strText;
    };
    app.add_option_function<std::string>(
           "OUTPUT", fnOutput,
           "AVI file to make, as x.avi; where the picture's size changes it goes on in x-2.avi and so on")
        ->required()
        ->type_name("FILE");
    AddJson(app, options.connect);
}

void DeclareRepair(CLI::App& app, OPTIONS& options) {
    app.add_option("FILE", options.repair.files, "recorded AVI files, made whole in place; whole ones are left alone")
        ->required()
        ->type_name("FILE...");
    app.add_flag("--force", options.repair.bForce,
                 "also a file that was completed, if its index does not agree with its frames");
    AddJson(app, options.connect);
}

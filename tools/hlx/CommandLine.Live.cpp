#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <CLI/CLI.hpp>

#include "CommandOptions.h"
#include "HLX.h"

// The options of the commands that take or give pictures and sound as they come.

void DeclareLive(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    LIVE_OPTIONS& live = options.live;
    AddChannel(app, live.lChannel);
    AddStream(app, live.lStreamType);
    AddVideoOutput(app, live.strOutput);
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

void DeclareSnapshot(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    AddChannel(app, options.snapshot.lChannel);
    app.add_option("-o,--output", options.snapshot.strOutput, "write the JPEG picture to FILE, - for standard output")
        ->required()
        ->type_name("FILE");
    app.final_callback([&options] { RefuseJsonBeside(options.connect, options.snapshot.strOutput); });
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

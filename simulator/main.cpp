// hlx-simulator: devices that exist on this machine only.
#include <CLI/CLI.hpp>

#include "simulator/archive/ArchiveCalendar.h"
#include "simulator/classic/ClassicScript.h"
#include "simulator/ClassicCommand.h"
#include "simulator/ReplayCommand.h"

namespace {

std::string FaultHelp() {
    std::string sText =
        "Faults, written kind[@phase][=value][*times]; a number in brackets stands when none is given:\n";
    for (const SIM_FAULT_ROW& row : FaultTable()) {
        std::string sName = "  " + std::string(row.pName);
        sName.resize(std::max<size_t>(sName.size() + 1, 18), ' ');
        sText += sName + row.pHelp + (row.value ? " (" + std::to_string(row.value) + ")\n" : "\n");
    }
    return sText + "Phases: connect, head, login, disk, stream, search, playback, download, talk, command, any.\n";
}

std::string WordHelp() {
    std::string sText = "Lines of scripts and control: [TIME | every TIME] WORD, where WORD is one of\n";
    for (const CLASSIC_WORD_ROW& row : ClassicWords()) {
        std::string sName = "  " + std::string(row.pName) + " " + row.pArguments;
        sName.resize(std::max<size_t>(sName.size() + 1, 27), ' ');
        sText += sName + row.pHelp + "\n";
    }
    return sText;
}

/// An option that takes 500ms, 2s, 1.5m, 1h or plain seconds.
void AddTime(CLI::App& command, const std::string& sName, std::chrono::milliseconds& target,
             const std::string& sDescription) {
    const auto take = [&target](const std::string& sText) {
        const auto time = ParseSimTime(sText);
        if (!time) throw CLI::ValidationError(sText + ": not a time like 500ms, 2s or 1.5m");
        target = *time;
    };
    const std::string sDefault = " [" + std::to_string(target.count()) + "ms]";
    command.add_option_function<std::string>(sName, take, sDescription + sDefault)->type_name("TIME");
}

constexpr const char* EXIT_HELP =
    "Exit codes: 0 ended by a signal or by its time; 1 cannot start (port taken, clip missing); 2 wrong usage.\n"
    "Environment: HLX_PASSWORD password that clients must give (must be set); HLX_MEDIA folder with the clips.";

void AddDeviceOptions(CLI::App& command, CLASSIC_RECORDER_CONFIG& config) {
    command.add_option("--bind", config.sBind, "Numeric address to listen on")->capture_default_str();
    command.add_option("--port", config.port, "TCP port; 0 for any free one")->capture_default_str();
    command.add_option("--channels", config.channels, "Video channels")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    command.add_option("--user", config.sUser, "User name that clients must give")->capture_default_str();
    command.add_option("--max-sessions", config.maxSessions, "Logins at a time")->capture_default_str();
    command.add_option("--name", config.sDeviceName, "Device name")->capture_default_str();
    command.add_option("--device-id", config.deviceID, "Product number")->capture_default_str();
    command.add_option("--product-sub-id", config.productSubID, "Custom product sub-id")->capture_default_str();
    command.add_option("--disks", config.diskCount, "Disks")->check(CLI::Range(0, 16))->capture_default_str();
    command.add_option("--cameras", config.cameraCount, "Connected cameras")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
    AddTime(command, "--reboot-delay", config.rebootDelay, "From the reply to a restart to the end of the links");
    AddTime(command, "--reboot-time", config.rebootTime, "How long a restart takes");
}

void AddCallOptions(CLI::App& command, CLASSIC_RECORDER_CONFIG& config) {
    command.add_option("--call-in", config.sCallIn, "Call this client by itself, beside listening")
        ->type_name("HOST:PORT");
    command.add_option("--register-id", config.registerID, "Number that the recorder names itself by when it calls")
        ->capture_default_str();
    AddTime(command, "--call-again", config.callAgain, "From the end of the link, or a vain call, to the next call");
}

void AddMediaOptions(CLI::App& command, CLASSIC_COMMAND_OPTIONS& options) {
    CLASSIC_RECORDER_CONFIG& config = options.config;
    command.add_option("--media", config.sMediaFolder,
                       "Folder with the clips (else HLX_MEDIA, else the installed one)");
    command.add_option("--clips", config.firstClips, "Clips of the first streams; channels take them in turn")
        ->delimiter(',')
        ->capture_default_str();
    command.add_option("--second-clips", config.secondClips, "Clips of the second streams")
        ->delimiter(',')
        ->capture_default_str();
    command.add_option("--sound", config.sSoundClip, "Sound clip, A-law")->capture_default_str();
    command.add_option("--jpeg-clip", config.sJpegClip, "Clip of the JPEG pictures, MJPEG")->capture_default_str();
    command.add_option("--sound-units", config.soundUnits, "Units of 40 ms in a sound frame")
        ->check(CLI::Range(1, 25))
        ->capture_default_str();
    auto* pSpeed = command.add_option("--speed", config.speed, "Pace; 2 streams twice as fast as real time")
                       ->check(CLI::Range(0.01, 1000.0))
                       ->capture_default_str();
    command.add_flag("--fast", options.bFast, "Stream as fast as the client reads")->excludes(pSpeed);
    command.add_option("--pack-limit", config.packLimit, "Send longer messages in pieces of so many bytes")
        ->check(CLI::Range(1024, 1 << 30))
        ->capture_default_str();
    command.add_option("--queue-limit", config.queueLimit, "With more bytes waiting on a link its streams stand still")
        ->check(CLI::Range(1, 1 << 25))
        ->capture_default_str();
}

void AddRecordingOptions(CLI::App& command, ARCHIVE_CONFIG& config) {
    command
        .add_option("--recordings", config.days,
                    "Have recordings of today and so many days before [7]; without this option there are none")
        ->type_name("[DAYS]")
        ->expected(0, 1)
        ->default_str("7")
        ->check(CLI::Range(1, 3650).description(""));
    command.add_option("--recordings-seed", config.seed, "Another seed makes other recordings")->capture_default_str();
    command
        .add_option_function<std::string>(
            "--recordings-end",
            [&config](const std::string& sText) {
                const auto time = ParseLocalTime(sText);
                if (!time || *time <= 0) throw CLI::ValidationError(sText + ": not a time like 2026-11-21T10:00");
                config.end = *time;
            },
            "End of the recordings: local time or seconds since 1970 [now]")
        ->type_name("TIME");
    command.add_option("--recordings-file", config.fileLength, "Seconds in a file of the schedule")
        ->check(CLI::Range(60, 86400))
        ->capture_default_str();
    command.add_option("--recordings-logs", config.logCount, "Entries of the log")
        ->check(CLI::Range(0, 10000000))
        ->capture_default_str();
    command.add_option("--recordings-events", config.eventCount, "Entries of the event list")
        ->check(CLI::Range(0, 10000000))
        ->capture_default_str();
    command.add_option("--recordings-clips", config.firstClips, "Clips of first streams; channels take them in turn")
        ->delimiter(',')
        ->capture_default_str();
    command.add_option("--recordings-second-clips", config.secondClips, "Clips of second streams")
        ->delimiter(',')
        ->capture_default_str();
}

void AddTalkOptions(CLI::App& command, CLASSIC_RECORDER_CONFIG& config) {
    const std::map<std::string, SIM_TALK> talks = {
        {"echo", SIM_TALK::ECHO}, {"clip", SIM_TALK::CLIP}, {"none", SIM_TALK::NONE}};
    command
        .add_option("--talk", config.talk, "What is said in a talk: what was heard, the sound clip, or talks refused")
        ->transform(CLI::CheckedTransformer(talks).description(""))
        ->type_name("echo|clip|none")
        ->default_str("echo");
    AddTime(command, "--talk-delay", config.talkDelay, "From sound that is heard to its echo");
    command.add_flag("--talk-units", config.bTalkUnits, "Talk in units of 324 bytes");
    command.add_option("--talk-file", config.sTalkFile, "Keep what is heard in this WAV file")->type_name("FILE");
}

void AddRunOptions(CLI::App& command, CLASSIC_COMMAND_OPTIONS& options) {
    command
        .add_option_function<std::int64_t>(
            "--heartbeat",
            [&options](std::int64_t value) { options.config.heartbeat = std::chrono::milliseconds(value); },
            "Milliseconds from heartbeat to heartbeat [3000]")
        ->check(CLI::Range(1, 3600000));
    command.add_option("--fault", options.faults, "Misbehave; may be given repeatedly, see below")
        ->type_name("FAULT")
        ->allow_extra_args(false);
    command
        .add_option("--status", options.status,
                    "What goes on, by channel or sensor from 0; may be given repeatedly. KIND is motion, sensor, "
                    "video-loss, manual-record, schedule-record, motion-record or sensor-record")
        ->type_name("KIND=N")
        ->allow_extra_args(false);
    command.add_option("--script", options.sScript, "Do what the lines of this file tell, see below")
        ->type_name("FILE");
    command.add_option("--control", options.sControl, "-: do what the lines on standard input tell, and answer each")
        ->type_name("-")
        ->check(CLI::IsMember({"-"}).description(""));
    command.add_flag("--events", options.bEvents, "Print one JSON line for each event and each script line done");
    command.add_option("--seconds", options.seconds, "End after so many seconds")->check(CLI::NonNegativeNumber);
}

void AddReplayOptions(CLI::App& command, REPLAY_COMMAND_OPTIONS& options) {
    command.add_option("FILE", options.sFile, "Record that hlx --trace or HLX_TRACE made")->required();
    command.add_option("--bind", options.config.sBind, "Numeric address to listen on")->capture_default_str();
    command.add_option("--port", options.config.port, "TCP port; 0 for any free one")->capture_default_str();
    auto* pSpeed = command.add_option("--speed", options.config.speed, "Pace; 2 plays twice as fast as recorded")
                       ->check(CLI::Range(0.01, 1000.0))
                       ->capture_default_str();
    command.add_flag("--fast", options.bFast, "Play without pauses")->excludes(pSpeed);
    command.add_flag("--loop", options.config.bLoop, "Begin anew with the connection behind the last one");
    command.add_option("--piece-size", options.config.pieceSize, "Send at most so many bytes at once; 0 for all")
        ->capture_default_str();
    command.add_option("--cut-link", options.config.cutLink, "Close this connection, counted from 1");
    command.add_option("--cut-after", options.config.cutAfter, "when so many bytes were sent on it");
    command.add_option("--mutate", options.config.mutationSeed, "Send wrong bytes here and there, by this seed");
    command.add_option("--seconds", options.seconds, "End after so many seconds")->check(CLI::NonNegativeNumber);
}

int Run(int argc, char** argv) {
    CLI::App app("Devices that exist on this machine only, for demonstrations and tests without hardware.",
                 "hlx-simulator");
    app.set_version_flag("--version", "hlx-simulator " HLX_SIM_VERSION);
    app.require_subcommand(1);
    app.footer(EXIT_HELP);

    CLASSIC_COMMAND_OPTIONS options;
    CLI::App& classic = *app.add_subcommand("classic", "A recorder of the classic family");
    classic.footer(FaultHelp() + "\n" + WordHelp() + "\n" + EXIT_HELP);
    AddDeviceOptions(classic, options.config);
    AddCallOptions(classic, options.config);
    AddMediaOptions(classic, options);
    AddRecordingOptions(classic, options.config.recordings);
    AddTalkOptions(classic, options.config);
    AddRunOptions(classic, options);
    REPLAY_COMMAND_OPTIONS replayOptions;
    CLI::App& replay = *app.add_subcommand("replay", "The device's side of recorded sessions");
    AddReplayOptions(replay, replayOptions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? SIM_EXIT_OK : SIM_EXIT_USAGE;
    }
    return replay.parsed() ? RunReplay(std::move(replayOptions)) : RunClassic(std::move(options));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "hlx-simulator: %s\n", error.what());
        return SIM_EXIT_FAILURE;
    }
}

#include "CommandLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstring>
#include <sstream>

#include "CommandOptions.h"
#include "Completion.h"
#include "HLX.h"
#include "ManPage.h"
#include "Output.h"

namespace {

struct COMMAND {
    const char* sName;
    const char* sSummary;
    void (*pfnDeclare)(CLI::App& app, OPTIONS& options);
    EXIT_CODE (*pfnRun)(const OPTIONS& options, CInterrupt& interrupt);
};

// The script is made from the parser, so ReadCommandLine prints it.
void DeclareCompletion(CLI::App& app, OPTIONS&) {
    app.add_option("SHELL")->description("shell to complete for")->required()->type_name(COMPLETION_SHELLS);
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

// Only numbers are converted, and the parser says "Could not convert: --type = x".
std::string ErrorText(const CLI::ParseError& error) {
    constexpr std::string_view BEFORE = "Could not convert: ";
    const std::string strText = error.what();
    return strText.starts_with(BEFORE) ? strText.substr(BEFORE.size()) + ": not a number" : strText;
}

// Help, or the sentence about what is wrong, from the parser.
EXIT_CODE AnswerParseEnd(const CLI::App& app, const CLI::ParseError& error, bool bJson) {
    std::ostringstream out;
    std::ostringstream err;
    if (app.exit(error, out, err) == 0) return PrintedExit(PrintData(out.str()));
    const auto commands = app.get_subcommands();
    if (commands.empty()) return Fail(bJson, "no command is given; see hlx --help", EXIT_USAGE);
    return Fail(bJson, fmt::format("{}; see hlx {} --help", ErrorText(error), commands.front()->get_name()),
                EXIT_USAGE);
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

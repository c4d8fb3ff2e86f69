#include "CommandLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <CLI/CLI.hpp>
#include <cstring>
#include <sstream>

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
    app.add_flag("--json", connect.bJson, "write JSON to standard output, one object a line");
}

void DeclareLive(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    LIVE_OPTIONS& live = options.live;
    const auto fnStream = [&live](const std::string& strText) {
        if (strText != "main" && strText != "sub") throw CLI::ValidationError(strText + ": neither main nor sub");
        live.lStreamType = strText == "sub" ? HLX_SUB_STREAM : HLX_MAIN_STREAM;
    };
    app.add_option("-c,--channel", live.lChannel, "channel, counted from 0 (0)")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
    app.add_option_function<std::string>("-s,--stream", fnStream, "main or sub stream (main)")->type_name("main|sub");
    app.add_option("-o,--output", live.strOutput,
                   "write the video as a raw elementary stream to FILE, - for standard output; "
                   "without it frames are only counted")
        ->type_name("FILE");
    AddDuration(app, "-d,--duration", live.length, "end this long after the first frame");
    app.add_option("-n,--frames", live.nFrames, "end after N video frames")
        ->type_name("N")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1} << 40).description(""));
    AddDuration(app, "--stall", live.stall, "give up when no frame comes for this long (10s)");
    app.final_callback([&options] {
        if (options.connect.bJson && options.live.strOutput == "-") {
            throw CLI::ValidationError("--json and -o - both need standard output");
        }
    });
}

void DeclareAlarms(CLI::App& app, OPTIONS& options) {
    DeclareConnect(app, options);
    CLI::Option* pFollow = app.add_flag("--follow", options.alarms.bFollow,
                                        "go on and tell what begins and ends; otherwise what is on now is told once");
    AddDuration(app, "-d,--duration", options.alarms.length, "end this long after the start")->needs(pFollow);
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

constexpr COMMAND COMMANDS[] = {
    {"info", "log in and print what the device is", DeclareConnect, RunInfo},
    {"live", "receive a channel's live stream, show its figures, write its video", DeclareLive, RunLive},
    {"alarms", "tell alarms and records that are on, one a line", DeclareAlarms, RunAlarms},
    {"listen", "listen for devices that call in by themselves, tell who comes and goes", DeclareListen, RunListen},
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
    return line;
}

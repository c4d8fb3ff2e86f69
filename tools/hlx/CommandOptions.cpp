#include "CommandOptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <ctime>

#include "HLX.h"
#include "TimeText.h"

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

namespace {

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

}  // namespace

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
    AddJson(app, connect);
}

void AddChannel(CLI::App& app, int64_t& lTarget, const std::string& strDescription) {
    app.add_option("-c,--channel", lTarget, strDescription)
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
}

void AddStream(CLI::App& app, int64_t& lTarget) {
    const auto fnStream = [&lTarget](const std::string& strText) {
        if (strText != "main" && strText != "sub") throw CLI::ValidationError(strText + ": neither main nor sub");
        lTarget = strText == "sub" ? HLX_SUB_STREAM : HLX_MAIN_STREAM;
    };
    app.add_option_function<std::string>("-s,--stream", fnStream, "main or sub stream (main)")->type_name("main|sub");
}

int64_t ReadTime(const std::string& strText, DAY_EDGE eEdge) {
    static const int64_t nNow = time(nullptr);  // one for all times of a command line
    const auto second = ParseTime(strText, nNow, eEdge);
    if (!second) throw CLI::ValidationError(fmt::format("{}: {}", strText, TIME_FORMS));
    return *second;
}

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

void AddVideoOutput(CLI::App& app, std::string& strTarget) {
    app.add_option("-o,--output", strTarget,
                   "write the video as a raw elementary stream to FILE, - for standard output; "
                   "without it frames are only counted")
        ->type_name("FILE");
}

void AddJson(CLI::App& app, CONNECT_OPTIONS& connect) {
    app.add_flag("--json", connect.bJson, "write JSON to standard output, one object a line");
}

void RefuseJsonBeside(const CONNECT_OPTIONS& connect, const std::string& strOutput) {
    if (connect.bJson && strOutput == "-")
        throw CLI::ValidationError("--json and a - for the output both need standard output");
}

#include "ManPage.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "ExitCodes.h"
#include "PtzActions.h"

namespace {

std::string Troff(const std::string& strText) {
    std::string strResult;
    for (const char c : strText) {
        if (c == '-' || c == '\\') strResult += '\\';
        strResult += c;
    }
    return strResult;
}

// "-u, --user NAME" in bold and italics.
std::string OptionHead(const CLI::Option& option) {
    if (option.get_positional()) return fmt::format("\\fI{}\\fR", Troff(option.get_type_name()));
    std::string strNames;
    for (const std::string& strName : option.get_snames()) strNames += "\\fB\\-" + strName + "\\fR, ";
    for (const std::string& strName : option.get_lnames()) strNames += "\\fB\\-\\-" + Troff(strName) + "\\fR, ";
    strNames.resize(strNames.size() - 2);
    const bool bValue = option.get_items_expected_max() > 0;
    return bValue ? fmt::format("{} \\fI{}\\fR", strNames, Troff(option.get_type_name())) : strNames;
}

std::string OptionsText(const CLI::App& app) {
    std::string strText;
    for (const CLI::Option* pOption : app.get_options()) {
        if (!pOption->get_positional() && pOption->get_group().empty()) continue;
        strText += fmt::format(".TP\n{}\n{}\n", OptionHead(*pOption), Troff(pOption->get_description()));
    }
    return strText;
}

// " HOST[:PORT] ACTION [VALUE]".
std::string PlacesText(const CLI::App& command) {
    std::string strText;
    for (const CLI::Option* pOption : command.get_options()) {
        if (!pOption->get_positional()) continue;
        const std::string strName = fmt::format("\\fI{}\\fR", Troff(pOption->get_type_name()));
        strText += fmt::format(" {}", pOption->get_required() ? strName : "[" + strName + "]");
    }
    return strText;
}

std::string ActionsText() {
    std::string strText = ".SH PTZ ACTIONS\n";
    for (const PTZ_ACTION& action : PtzActions()) {
        const std::string strValue = action.sValue ? fmt::format(" \\fI{}\\fR", action.sValue) : "";
        strText += fmt::format(".TP\n\\fB{}\\fR{}\n{}\n", Troff(action.sName), strValue, Troff(action.sHelp));
    }
    return strText;
}

std::string CommandsText(const CLI::App& app) {
    std::string strText = ".SH COMMANDS\n";
    for (const CLI::App* pCommand : app.get_subcommands(nullptr)) {
        strText += fmt::format(".SS hlx {}{} [\\fIoptions\\fR]\n{}\n{}", pCommand->get_name(), PlacesText(*pCommand),
                               Troff(pCommand->get_description()), OptionsText(*pCommand));
    }
    return strText;
}

std::string ExitText() {
    std::string strText = ".SH EXIT STATUS\n";
    for (const EXIT_CODE_ROW& row : ExitCodes()) {
        strText += fmt::format(".TP\n.B {}\n{}\n", static_cast<int>(row.eCode), Troff(row.sMeaning));
    }
    return strText;
}

constexpr const char* AFTER_COMMANDS = R"(.SH OUTPUT
Data goes to standard output, everything else to standard error.
The line of figures of a stream or a download appears on a terminal only.
With \fB\-\-json\fR each line is one object whose \fIevent\fR tells its kind:
.BR info ,
.BR listening ,
.BR device ,
.BR unknown ,
.BR left ,
.BR format ,
.BR second ,
.BR progress ,
.BR file ,
.BR end ,
.BR day ,
.BR recording ,
.BR calendar ,
.BR event ,
.BR log ,
.BR locked ,
.BR unlocked ,
.BR deleted ,
.BR alarm ,
.BR record ,
.BR ptz ,
.BR snapshot ,
.BR color ,
.BR time ,
.BR time-set ,
.BR reboot ,
.BR back ,
.B repair
or
.BR error .
.PP
The first SIGINT or SIGTERM ends a stream, logs out and closes the file; the second ends the process at once.
During the login already the first one does.
A reader that closes the pipe ends a stream normally.
.SH ENVIRONMENT
.TP
.B HLX_PASSWORD
The password, if \fB\-\-password\-file\fR is not given.
.TP
.B NO_COLOR
If set and not empty, nothing is coloured.
)";

constexpr const char* EXAMPLES = R"(.SH EXAMPLES
.EX
HLX_PASSWORD=secret hlx info 192.0.2.7
hlx live 192.0.2.7:6000 \-c 3 \-o channel3.h264 \-\-duration 1m
hlx live [2001:db8::7] \-s sub \-o \- | ffplay \-
hlx live 192.0.2.7 \-\-json \-\-frames 250
hlx ptz 192.0.2.7 \-c 2 left \-\-for 1.5s
hlx ptz 192.0.2.7 \-c 2 cruise\-set 1 \-\-station 3:10s \-\-station 4
hlx snapshot 192.0.2.7 \-c 2 \-o gate.jpg
hlx color 192.0.2.7 \-c 2 \-\-brightness 140 \-\-save
hlx time 192.0.2.7 \-\-set now
hlx reboot 192.0.2.7 \-\-yes \-\-wait \-\-log reboot.log
hlx completion bash > ~/.local/share/bash\-completion/completions/hlx
hlx recordings 192.0.2.7 \-\-calendar this
hlx files 192.0.2.7 \-\-from yesterday \-\-json
hlx events 192.0.2.7 \-c 2 \-\-from today \-\-type motion,sensor
hlx play 192.0.2.7 \-c 2 \-\-from 'yesterday 14:00' \-\-to 'yesterday 15:00' \-\-speed 4 \-o \- | ffplay \-
hlx download 192.0.2.7 \-c 2 \-\-from 'yesterday 14:00' \-\-to 'yesterday 15:00' \-o gate.avi
hlx convert gate.hlx.part gate.avi
hlx repair gate.avi
hlx listen \-\-port 6040 \-\-device 4711:admin:/etc/hlx/gate.password
.EE
.SH SEE ALSO
.BR hlx\-simulator (1)
)";

}  // namespace

std::string ManPageText(const CLI::App& app) {
    return fmt::format(
               ".TH HLX 1 \"\" \"HLX {}\" \"User Commands\"\n.SH NAME\nhlx \\- talk to network video recorders and IP "
               "cameras\n.SH SYNOPSIS\n.B hlx\n.I command\n.RI HOST[: PORT ]\n.RI [ options ]\n.SH OPTIONS\n",
               HLX_TOOL_VERSION) +
           OptionsText(app) + CommandsText(app) + ActionsText() + AFTER_COMMANDS + ExitText() + EXAMPLES;
}

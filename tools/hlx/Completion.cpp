#include "Completion.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <vector>

#include "PtzActions.h"

namespace {

using Options = std::vector<const CLI::Option*>;

Options ShownOptions(const CLI::App& command, bool bPositional) {
    Options options;
    for (const CLI::Option* pOption : command.get_options()) {
        if (pOption->get_positional() != bPositional || pOption->get_group().empty()) continue;
        options.push_back(pOption);
    }
    return options;
}

bool HasValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

// What an option's value can be is told by the name of its type.
bool IsFile(const CLI::Option& option) { return option.get_type_name().starts_with("FILE"); }
bool IsHost(const CLI::Option& option) { return option.get_type_name().starts_with("HOST"); }

// The allowed words with blanks between them; empty where anything goes. A word in capitals stands for others.
std::string WordsOf(const CLI::Option& option) {
    const std::string strType = option.get_type_name();
    if (strType == "ACTION") return PtzActionNames(" ");
    if (strType.find('|') == std::string::npos) return {};
    std::string strWords;
    for (const std::string& strWord : CLI::detail::split(strType, '|')) {
        if (strWord[0] >= 'a') strWords += (strWords.empty() ? "" : " ") + strWord;
    }
    return strWords;
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& strName : option.get_snames()) names.push_back("-" + strName);
    for (const std::string& strName : option.get_lnames()) names.push_back("--" + strName);
    return names;
}

// Each option's names, of all options that the test takes, with fnPrefix before and the separator between them.
std::string JoinNames(const Options& options, std::string_view strPrefix, std::string_view strBetween,
                      const std::function<bool(const CLI::Option&)>& fnTakes) {
    std::string strText;
    for (const CLI::Option* pOption : options) {
        if (!fnTakes(*pOption)) continue;
        for (const std::string& strName : NamesOf(*pOption)) {
            strText += fmt::format("{}{}{}", strText.empty() ? "" : strBetween, strPrefix, strName);
        }
    }
    return strText;
}

bool Any(const CLI::Option&) { return true; }

std::string Replaced(std::string strText, std::string_view strWhat, std::string_view strBy) {
    for (size_t n = 0; (n = strText.find(strWhat, n)) != std::string::npos; n += strBy.size()) {
        strText.replace(n, strWhat.size(), strBy);
    }
    return strText;
}

// A text between single quotes.
std::string Quoted(const std::string& strText) { return "'" + Replaced(strText, "'", "'\\''") + "'"; }

// ---- bash ----

constexpr const char* BASH_BEGIN = R"(# Completion of hlx for bash.
_hlx() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local i place=0 words= action=
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then command=; fi
    case $command,$prev in
)";

// A host with a port comes as three words, for the colon parts them.
constexpr const char* BASH_PLACE = R"(        *)
            for ((i = 2; i < COMP_CWORD; i++)); do
                case $command,${COMP_WORDS[i]} in
                    *,:) ((i++)) ;;
                    {}) ((i++)) ;;
                    *,-?*) ;;
                    *) ((place++)) ;;
                esac
            done
            if [[ $cur == -* ]]; then place=options; fi
            case $command,$place in
)";

constexpr const char* BASH_END = R"(            esac
            ;;
    esac
    mapfile -t COMPREPLY < <(compgen ${action:+-A $action} -W "$words" -- "$cur")
}
complete -F _hlx hlx
)";

std::string BashFill(const CLI::Option& option) {
    if (IsFile(option)) return "compopt -o filenames 2>/dev/null; action=file ;;";
    if (IsHost(option)) return "action=hostname ;;";
    const std::string strWords = WordsOf(option);
    return (strWords.empty() ? "return" : "words=" + Quoted(strWords)) + " ;;";
}

// A row for each option with a value: "live,-s|live,--stream) words='main sub' ;;".
std::string BashValues(const CLI::App& command) {
    std::string strText;
    for (const CLI::Option* pOption : ShownOptions(command, false)) {
        if (!HasValue(*pOption)) continue;
        const std::string strNames = JoinNames({pOption}, command.get_name() + ",", "|", Any);
        strText += fmt::format("        {}) {}\n", strNames, BashFill(*pOption));
    }
    return strText;
}

// A row for each place without an option's name, and one for the names of the options.
std::string BashPlaces(const CLI::App& command) {
    std::string strText;
    size_t nPlace = 0;
    for (const CLI::Option* pOption : ShownOptions(command, true)) {
        strText += fmt::format("                {},{}) {}\n", command.get_name(), nPlace++, BashFill(*pOption));
    }
    const std::string strNames = JoinNames(ShownOptions(command, false), "", " ", Any);
    return strText + fmt::format("                {},options) words={} ;;\n", command.get_name(), Quoted(strNames));
}

std::string BashText(const CLI::App& app) {
    std::string strCommands, strValues, strValued, strPlaces;
    for (const CLI::App* pCommand : app.get_subcommands(nullptr)) {
        strCommands += pCommand->get_name() + " ";
        strValues += BashValues(*pCommand);
        strPlaces += BashPlaces(*pCommand);
        const auto strNames = JoinNames(ShownOptions(*pCommand, false), pCommand->get_name() + ",", "|", HasValue);
        if (!strNames.empty()) strValued += (strValued.empty() ? "" : "|") + strNames;
    }
    strCommands += JoinNames(ShownOptions(app, false), "", " ", Any);
    return BASH_BEGIN + fmt::format("        ,*) words={} ;;\n", Quoted(strCommands)) + strValues +
           Replaced(BASH_PLACE, "{}", strValued) + strPlaces + BASH_END;
}

// ---- zsh ----

// Brackets and colons part the fields of an argument.
std::string ZshField(std::string strText) {
    for (const char* sMark : {"\\", "[", "]", ":"}) strText = Replaced(strText, sMark, std::string("\\") + sMark);
    return strText;
}

std::string ZshFill(const CLI::Option& option) {
    const std::string strHead = ":" + ZshField(option.get_type_name()) + ":";
    if (IsFile(option)) return strHead + "_files";
    if (IsHost(option)) return strHead + "_hosts";
    const std::string strWords = WordsOf(option);
    return strHead + (strWords.empty() ? " " : "(" + strWords + ")");
}

std::string ZshOption(const CLI::Option& option) {
    const auto names = NamesOf(option);
    const std::string strDescription = "[" + ZshField(option.get_description()) + "]";
    std::string strText;
    for (const std::string& strName : names) {
        const std::string strOthers = names.size() > 1 ? fmt::format("({})", fmt::join(names, " ")) : "";
        const std::string strValue = HasValue(option) ? ZshFill(option) : "";
        strText += " \\\n                " + Quoted(strOthers + strName + strDescription + strValue);
    }
    return strText;
}

std::string ZshCommand(const CLI::App& command) {
    std::string strText = fmt::format("        {})\n            _arguments -s", command.get_name());
    for (const CLI::Option* pOption : ShownOptions(command, false)) strText += ZshOption(*pOption);
    size_t nPlace = 0;
    for (const CLI::Option* pOption : ShownOptions(command, true)) {
        strText += " \\\n                " + Quoted(fmt::format("{}{}", ++nPlace, ZshFill(*pOption)));
    }
    return strText + "\n            ;;\n";
}

// Works from a folder of completions and when it is read by hand.
constexpr const char* ZSH_FRAME = R"(#compdef hlx
# Completion of hlx for zsh.
_hlx() {
    local -a commands
    commands=(
%COMMANDS    )
    if ((CURRENT == 2)); then
        _describe command commands
        return
    fi
    shift words
    ((CURRENT--))
    case $words[1] in
%CASES    esac
}
if [[ $funcstack[1] == _hlx ]]; then
    _hlx "$@"
else
    compdef _hlx hlx
fi
)";

std::string ZshText(const CLI::App& app) {
    std::string strCommands, strCases;
    for (const CLI::App* pCommand : app.get_subcommands(nullptr)) {
        strCommands += "        " + Quoted(pCommand->get_name() + ":" + pCommand->get_description()) + "\n";
        strCases += ZshCommand(*pCommand);
    }
    return Replaced(Replaced(ZSH_FRAME, "%COMMANDS", strCommands), "%CASES", strCases);
}

// ---- fish ----

std::string FishFill(const CLI::Option& option) {
    if (IsFile(option)) return "-r -F";
    if (IsHost(option)) return "-x -a '(__fish_print_hostnames)'";
    const std::string strWords = WordsOf(option);
    return strWords.empty() ? "-x" : "-x -a " + Quoted(strWords);
}

std::string FishOption(const std::string& strHead, const CLI::Option& option) {
    std::string strText = strHead;
    for (const std::string& strName : option.get_snames()) strText += " -s " + strName;
    for (const std::string& strName : option.get_lnames()) strText += " -l " + strName;
    if (HasValue(option)) strText += " " + FishFill(option);
    return strText + " -d " + Quoted(option.get_description()) + "\n";
}

std::string FishText(const CLI::App& app) {
    std::string strText = "# Completion of hlx for fish.\ncomplete -c hlx -f\n";
    for (const CLI::App* pCommand : app.get_subcommands(nullptr)) {
        strText += fmt::format("complete -c hlx -n __fish_use_subcommand -a {} -d {}\n", pCommand->get_name(),
                               Quoted(pCommand->get_description()));
        const std::string strHead =
            fmt::format("complete -c hlx -n '__fish_seen_subcommand_from {}'", pCommand->get_name());
        for (const CLI::Option* pOption : ShownOptions(*pCommand, false)) strText += FishOption(strHead, *pOption);
        for (const CLI::Option* pOption : ShownOptions(*pCommand, true)) {
            if (IsHost(*pOption) || !WordsOf(*pOption).empty()) strText += strHead + " " + FishFill(*pOption) + "\n";
        }
    }
    for (const CLI::Option* pOption : ShownOptions(app, false))
        strText += FishOption("complete -c hlx -n __fish_use_subcommand", *pOption);
    return strText;
}

}  // namespace

std::string CompletionText(const CLI::App& app, std::string_view strShell) {
    if (strShell == "bash") return BashText(app);
    if (strShell == "zsh") return ZshText(app);
    if (strShell == "fish") return FishText(app);
    return {};
}

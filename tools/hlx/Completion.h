#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

// The shells that a completion script can be had for, with "|" between them.
inline constexpr const char* COMPLETION_SHELLS = "bash|zsh|fish";

// The script that makes the shell complete the commands, options and words of the parser. Empty for another shell.
std::string CompletionText(const CLI::App& app, std::string_view strShell);

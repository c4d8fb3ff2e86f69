#pragma once

#include <string>

namespace CLI {
class App;
}

// The man page in troff, made from the parser's own commands and options and the table of exit codes.
std::string ManPageText(const CLI::App& app);

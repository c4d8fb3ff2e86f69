// What hlx-simulator prints.
#pragma once

#include <nlohmann/json.hpp>

/// One line of JSON on standard output, from any thread; bytes that are no UTF-8 are replaced.
void PrintLine(const nlohmann::ordered_json& line);

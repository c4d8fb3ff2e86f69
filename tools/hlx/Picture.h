#pragma once

#include <string_view>

// The JPEG picture that the bytes are, from its start to its end mark, without the zeros that a device may fill up
// with. Empty when they are none: no mark where it must be, or other bytes behind the end.
std::string_view JpegOf(std::string_view strBytes);

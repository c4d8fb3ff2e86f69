// A long day: streams and idle links while the recorders do what a seed makes them do.
#pragma once

#include <cstdint>

struct SOAK_ORDER {
    double minutes = 5;
    std::uint32_t seed = 1;
};

/// Runs 16 streams and 100 idle links under faults, prints what became of each frame, and gives true when every frame is accounted
/// for, every stream came back by itself and nothing is left behind. HLX_Init is its own.
bool RunSoak(const SOAK_ORDER& order);

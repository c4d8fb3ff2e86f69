// A clip of H.264 whose frames are larger than those of the clips that come with the simulator.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "simulator/SimClip.h"

/// Writes the main clip to `folder` with each of its first `count` frames filled up to at least `size` bytes by a filler
/// data unit. The name stands for a clip in a recorder's configuration.
inline std::string MakePaddedClip(const std::filesystem::path& folder, size_t size, size_t count = 1000) {
    constexpr char NAME[] = "main-704x576-25.h264";
    constexpr char FILLER[] = {0, 0, 0, 1, 12};
    std::string sError;
    const auto pClip = CSimClip::Load(FindMediaFolder("") / NAME, sError);
    const std::filesystem::path file = folder / NAME;
    std::ofstream out(file, std::ios::binary);
    if (!pClip || !out) std::abort();
    for (const SIM_FRAME& frame : pClip->Frames()) {
        out.write(reinterpret_cast<const char*>(frame.data.data()), static_cast<std::streamsize>(frame.data.size()));
        if (count == 0 || frame.data.size() >= size) continue;
        --count;
        out.write(FILLER, sizeof(FILLER));
        out << std::string(size - frame.data.size(), '\xff') << '\x80';
    }
    return file.string();
}

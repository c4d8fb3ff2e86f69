// Cuts raw elementary streams into frames.
#pragma once

#include <vector>

#include "simulator/SimBytes.h"

enum class SIM_CODEC { H264, H265, MJPEG, ALAW };

/// One frame of a clip; the bytes belong to the clip.
struct SIM_FRAME {
    SIM_BYTE_VIEW data;
    bool bKeyFrame = false;
};

/// Cuts `stream` into frames that together cover it, from the first key frame on:
/// H.264 and H.265 (start codes) into access units, MJPEG into pictures, A-law into units of 320 bytes (40 ms).
/// Gives nothing when there is no key frame. The frames point into `stream`.
std::vector<SIM_FRAME> SplitClip(SIM_CODEC codec, SIM_BYTE_VIEW stream);

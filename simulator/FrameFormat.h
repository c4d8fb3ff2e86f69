// The data of format frames.
#pragma once

#include "protocol/WireTypes.h"
#include "simulator/SimClip.h"

#pragma pack(push, 1)
/// Head of a sound format, as container files have it.
struct SOUND_FORMAT {
    tuint16 wFormatTag;       //  0
    tuint16 nChannels;        //  2
    tuint32 nSamplesPerSec;   //  4
    tuint32 nAvgBytesPerSec;  //  8
    tuint16 nBlockAlign;      // 12
    tuint16 wBitsPerSample;   // 14
    tuint16 cbSize;           // 16
};
#pragma pack(pop)
HLX_WIRE_RECORD(SOUND_FORMAT, 18);

/// A-law of 8000 samples a second, mono.
constexpr SOUND_FORMAT ALawFormat(tuint16 nBlockAlign) { return {6, 1, 8000, 8000, nBlockAlign, 8, 0}; }

/// The 40-byte head of a picture format, as container files have it.
SIM_BYTES PictureFormat(const CSimClip& clip);

/// The 18 bytes that tell the format of sound in units.
SIM_BYTE_VIEW SoundFormat();

/// What stands ahead of the samples in each unit of sound.
SIM_BYTE_VIEW SoundPrefix();

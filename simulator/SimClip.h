// A clip that the simulator streams, and the folder that clips come from.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "simulator/ClipSplitter.h"

/// The frames of one raw elementary stream, with what the file's name tells. Does not change after loading, so that any
/// number of streams and threads may read it.
class CSimClip {
public:
    /// A video clip is named <name>-<width>x<height>-<frames a second>.h264, .h265 or .mjpeg; a sound clip <any>.alaw.
    /// Null with a sentence in `sError` when the file cannot be read, the name does not say these things or there is no
    /// key frame in it.
    static std::shared_ptr<const CSimClip> Load(const std::filesystem::path& file, std::string& sError);

    SIM_CODEC Codec() const { return m_codec; }
    std::uint32_t Width() const { return m_width; }         // 0 for sound
    std::uint32_t Height() const { return m_height; }       // 0 for sound
    std::int64_t FrameTime() const { return m_frameTime; }  // microseconds from frame to frame

    /// Never empty; the first is a key frame.
    const std::vector<SIM_FRAME>& Frames() const { return m_frames; }

    /// Index of the first key frame from `from` on; goes round to the first frame of the clip.
    size_t NextKeyFrame(size_t from) const;

    /// Index of the last key frame at `from`, which is a frame of the clip, or before it.
    size_t KeyFrameAt(size_t from) const;

private:
    CSimClip() = default;
    bool TakeName(const std::filesystem::path& file);

    SIM_BYTES m_bytes;  // m_frames points into it
    std::vector<SIM_FRAME> m_frames;
    SIM_CODEC m_codec = SIM_CODEC::H264;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::int64_t m_frameTime = 40000;
};

/// The folder with the clips: `sChosen` when it is given; else the environment's HLX_MEDIA; else the first that exists
/// of share/hlx/media beside the program's bin folder, the installed one and the one in the source tree.
std::filesystem::path FindMediaFolder(const std::string& sChosen);

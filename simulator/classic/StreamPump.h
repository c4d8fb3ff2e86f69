// Paces the streams of one link: says which frame comes next and when.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "protocol/ClassicProtocol.h"
#include "simulator/SimClip.h"
#include "simulator/SimServer.h"

/// What the channels stream.
struct CLASSIC_SOURCES {
    std::vector<std::shared_ptr<const CSimClip>> first;   // never empty; channel n streams number n modulo the count
    std::vector<std::shared_ptr<const CSimClip>> second;  // likewise
    std::shared_ptr<const CSimClip> pSound;
    std::shared_ptr<const CSimClip> pJpeg;
    unsigned soundUnits = 1;  // units of 324 bytes in a sound frame
};

/// Channels that a client wants; bit n is channel n.
struct CLASSIC_STREAM_MASKS {
    tuint64 first = 0;
    tuint64 second = 0;
    tuint64 sound = 0;
    tuint64 jpeg = 0;
};

/// A frame to be sent; `data` is valid until the pump is used again.
struct CLASSIC_FRAME {
    FRAME_INFO info{};
    SIM_BYTE_VIEW data;
};

/// Each wanted channel and stream is a track that walks round its clip. Tracks share one media clock in microseconds,
/// which follows real time (times the speed) or, at speed 0, the frames taken. Every track begins with a format frame
/// and a key frame; frame numbers go on when a track is stopped and started again. Used by one thread.
class CStreamPump {
public:
    /// `sources` must outlive the pump.
    CStreamPump(const CLASSIC_SOURCES& sources, double speed, SIM_TIME now);

    /// Starts and stops tracks so that exactly the wanted ones run.
    void SetMasks(const CLASSIC_STREAM_MASKS& masks, SIM_TIME now);
    const CLASSIC_STREAM_MASKS& Masks() const { return m_masks; }

    /// Lets the tracks of these channels go on at the next key frame of their clips.
    void RequestKeyFrame(tuint64 first, tuint64 second);

    /// When the next frame is due; SIM_TIME::max() without tracks.
    SIM_TIME NextDue() const;

    /// The frame that is due at `now`, earliest first; false when none is.
    bool NextFrame(SIM_TIME now, CLASSIC_FRAME& frame);

private:
    enum KIND { FIRST, SECOND, SOUND, JPEG, KIND_COUNT };
    struct TRACK {
        unsigned channel = 0;
        KIND kind = FIRST;
        const CSimClip* pClip = nullptr;
        size_t position = 0;      // next frame of the clip
        std::int64_t due = 0;     // media time, microseconds
        bool bTellFormat = true;  // a format frame goes first
    };

    bool IsWanted(const CLASSIC_STREAM_MASKS& masks, unsigned channel, KIND kind) const;
    void StartTrack(unsigned channel, KIND kind, std::int64_t due);
    const CSimClip& ClipOf(unsigned channel, KIND kind) const;
    std::int64_t MediaTime(SIM_TIME now) const;
    SIM_TIME RealTime(std::int64_t mediaTime) const;
    const TRACK* Earliest() const;
    void CatchUp(const TRACK& track, SIM_TIME now);
    void FillInfo(const TRACK& track, CLASSIC_FRAME& frame) const;
    void MakeFormat(const TRACK& track, CLASSIC_FRAME& frame);
    void MakeVideo(TRACK& track, CLASSIC_FRAME& frame);
    void MakeSound(TRACK& track, CLASSIC_FRAME& frame);
    void MakeJpeg(TRACK& track, CLASSIC_FRAME& frame);

    const CLASSIC_SOURCES& m_sources;
    const double m_speed;
    SIM_TIME m_origin;              // real time of media time 0
    std::int64_t m_wallOrigin = 0;  // device clock of media time 0, microseconds since 1970
    std::int64_t m_lastDue = 0;     // media time of the frame taken last
    CLASSIC_STREAM_MASKS m_masks;
    std::vector<TRACK> m_tracks;
    std::array<std::array<tuint32, KIND_COUNT>, 64> m_frameIndex{};
    SIM_BYTES m_buffer;  // data of format and sound frames
};

#include "simulator/classic/StreamPump.h"

#include <algorithm>

#include "simulator/FrameFormat.h"

namespace {

/// A track that is later than this does not run after the clock; the clock waits for it.
constexpr auto MAX_LAG = std::chrono::seconds(1);
constexpr std::int64_t JPEG_TIME = 200000;  // microseconds from picture to picture
constexpr std::int64_t BLOCK_TIME = 40000;  // microseconds of sound in a unit

std::int64_t WallClock() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

constexpr bool HasBit(tuint64 mask, unsigned channel) { return (mask >> channel) & 1; }

}  // namespace

CStreamPump::CStreamPump(const CLASSIC_SOURCES& sources, double speed, SIM_TIME now)
    : m_sources(sources), m_speed(speed), m_origin(now), m_wallOrigin(WallClock()) {}

bool CStreamPump::IsWanted(const CLASSIC_STREAM_MASKS& masks, unsigned channel, KIND kind) const {
    const tuint64 byKind[KIND_COUNT] = {masks.first, masks.second, masks.sound, masks.jpeg};
    return HasBit(byKind[kind], channel);
}

const CSimClip& CStreamPump::ClipOf(unsigned channel, KIND kind) const {
    if (kind == SOUND) return *m_sources.pSound;
    if (kind == JPEG) return *m_sources.pJpeg;
    const auto& clips = kind == FIRST ? m_sources.first : m_sources.second;
    return *clips[channel % clips.size()];
}

void CStreamPump::StartTrack(unsigned channel, KIND kind, std::int64_t due) {
    m_tracks.push_back({channel, kind, &ClipOf(channel, kind), 0, due, kind != JPEG});
    if (kind == SOUND || kind == JPEG) return;
    // A picture that begins anew may have a new viewer, who must hear the sound's format too.
    for (TRACK& track : m_tracks) {
        if (track.channel == channel && track.kind == SOUND) track.bTellFormat = true;
    }
}

void CStreamPump::SetMasks(const CLASSIC_STREAM_MASKS& masks, SIM_TIME now) {
    std::erase_if(m_tracks, [&](const TRACK& track) { return !IsWanted(masks, track.channel, track.kind); });
    const std::int64_t due = m_speed > 0 ? MediaTime(now) : m_lastDue;
    for (unsigned channel = 0; channel < 64; ++channel) {
        for (const KIND kind : {FIRST, SECOND, SOUND, JPEG}) {
            if (IsWanted(masks, channel, kind) && !IsWanted(m_masks, channel, kind)) StartTrack(channel, kind, due);
        }
    }
    m_masks = masks;
}

void CStreamPump::RequestKeyFrame(tuint64 first, tuint64 second) {
    const CLASSIC_STREAM_MASKS wanted{first, second, 0, 0};
    for (TRACK& track : m_tracks) {
        if (IsWanted(wanted, track.channel, track.kind)) track.position = track.pClip->NextKeyFrame(track.position);
    }
}

std::int64_t CStreamPump::MediaTime(SIM_TIME now) const {
    const auto elapsed = std::chrono::duration<double, std::micro>(now - m_origin).count();
    return static_cast<std::int64_t>(elapsed * m_speed);
}

SIM_TIME CStreamPump::RealTime(std::int64_t mediaTime) const {
    if (m_speed <= 0) return m_origin;
    const std::chrono::duration<double, std::micro> elapsed(static_cast<double>(mediaTime) / m_speed);
    return m_origin + std::chrono::duration_cast<SIM_CLOCK::duration>(elapsed);
}

const CStreamPump::TRACK* CStreamPump::Earliest() const {
    const auto found = std::min_element(m_tracks.begin(), m_tracks.end(),
                                        [](const TRACK& left, const TRACK& right) { return left.due < right.due; });
    return found == m_tracks.end() ? nullptr : &*found;
}

SIM_TIME CStreamPump::NextDue() const {
    const TRACK* pTrack = Earliest();
    return pTrack ? RealTime(pTrack->due) : SIM_TIME::max();
}

void CStreamPump::CatchUp(const TRACK& track, SIM_TIME now) {
    const auto lag = now - RealTime(track.due);
    if (m_speed <= 0 || lag <= MAX_LAG) return;
    m_origin += lag;
    m_wallOrigin += std::chrono::duration_cast<std::chrono::microseconds>(lag).count();
}

bool CStreamPump::NextFrame(SIM_TIME now, CLASSIC_FRAME& frame) {
    TRACK* pTrack = const_cast<TRACK*>(Earliest());
    if (!pTrack || RealTime(pTrack->due) > now) return false;
    CatchUp(*pTrack, now);
    m_lastDue = pTrack->due;
    FillInfo(*pTrack, frame);
    if (pTrack->bTellFormat) {
        MakeFormat(*pTrack, frame);
        pTrack->bTellFormat = false;
    } else if (pTrack->kind == JPEG) {
        MakeJpeg(*pTrack, frame);
    } else if (pTrack->kind == SOUND) {
        MakeSound(*pTrack, frame);
    } else {
        MakeVideo(*pTrack, frame);
    }
    frame.info.length = static_cast<tuint32>(frame.data.size());
    return true;
}

void CStreamPump::FillInfo(const TRACK& track, CLASSIC_FRAME& frame) const {
    // Sound belongs to the stream whose picture runs, rather to the first.
    const bool bSecondOnly = HasBit(m_masks.second, track.channel) && !HasBit(m_masks.first, track.channel);
    const bool bFirst = track.kind == FIRST || (track.kind == SOUND && !bSecondOnly);
    frame.info = {};
    frame.info.channel = track.channel;
    frame.info.frameAttrib = bFirst ? LIVE_FRAME_FIRST_STREAM : LIVE_FRAME_SECOND_STREAM;
    frame.info.streamID = LIVE_STREAM_ID;
    frame.info.width = track.pClip->Width();
    frame.info.height = track.pClip->Height();
    frame.info.frameIndex = m_frameIndex[track.channel][track.kind];
    frame.info.time = m_wallOrigin + track.due;
    frame.info.relativeTime = frame.info.time;
}

void CStreamPump::MakeFormat(const TRACK& track, CLASSIC_FRAME& frame) {
    const bool bSound = track.kind == SOUND;
    frame.info.frameType = bSound ? FRAME_TYPE_AUDIO_FORMAT : FRAME_TYPE_VIDEO_FORMAT;
    m_buffer.clear();
    Append(m_buffer, bSound ? SoundFormat() : PictureFormat(*track.pClip));
    frame.data = m_buffer;
}

void CStreamPump::MakeVideo(TRACK& track, CLASSIC_FRAME& frame) {
    const auto& frames = track.pClip->Frames();
    frame.info.frameType = FRAME_TYPE_VIDEO;
    frame.info.keyFrame = frames[track.position].bKeyFrame ? 1 : 0;
    frame.data = frames[track.position].data;
    track.position = (track.position + 1) % frames.size();
    track.due += track.pClip->FrameTime();
    ++m_frameIndex[track.channel][track.kind];
}

void CStreamPump::MakeSound(TRACK& track, CLASSIC_FRAME& frame) {
    const auto& units = track.pClip->Frames();
    frame.info.frameType = FRAME_TYPE_AUDIO;
    m_buffer.clear();
    for (unsigned unit = 0; unit < m_sources.soundUnits; ++unit) {
        Append(m_buffer, SoundPrefix());
        Append(m_buffer, units[track.position].data);
        track.position = (track.position + 1) % units.size();
    }
    frame.data = m_buffer;
    track.due += BLOCK_TIME * m_sources.soundUnits;
    ++m_frameIndex[track.channel][track.kind];
}

void CStreamPump::MakeJpeg(TRACK& track, CLASSIC_FRAME& frame) {
    const auto& pictures = track.pClip->Frames();
    frame.info.frameType = FRAME_TYPE_JPEG;
    frame.info.frameAttrib = LIVE_FRAME_JPEG;
    frame.info.keyFrame = 1;
    frame.data = pictures[track.position].data;
    track.position = (track.position + 1) % pictures.size();
    track.due += JPEG_TIME;
    ++m_frameIndex[track.channel][track.kind];
}

// Talk sound of one recorder between the engine's thread and the talk thread.
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <span>

#include "HLX.h"
#include "protocol/ClassicProtocol.h"
#include "sdk_common/PubLock.h"

/// A bounded queue of talk frames; the oldest go when nobody fetches them. Any thread.
class CTalkFrameQueue {
public:
    static constexpr size_t MAX_TALK_FRAMES = 256;
    /// Longer talk frames are dropped: 64 KiB are eight seconds of telephone sound.
    static constexpr size_t MAX_TALK_FRAME_BYTES = 65536;

    /// Queues a copy of a frame of type FRAME_TYPE_TALK_AUDIO, without the prefixes if its data stands in blocks, or
    /// FRAME_TYPE_TALK_AUDIO_FORMAT, which begins with the wave format.
    void Push(const FRAME_INFO& info, std::span<const std::byte> data);

    /// The oldest frame; false if there is none. The caller owns `frame.pData` and gives it back with Release.
    bool Pop(FRAME_INFO_EX& frame);
    static void Release(const FRAME_INFO_EX& frame);

    /// The format told last; nBlockAlign is 324 once a frame came in blocks.
    WAVEFORMATEX WaveFormat();
    /// Forgets frames and format.
    void Clear();

private:
    using TALK_FRAME = std::pair<FRAME_INFO, std::unique_ptr<unsigned char[]>>;

    CPUB_Lock m_talkFrameLock;  // guards all below
    std::list<TALK_FRAME> m_talkFrameList;
    WAVEFORMATEX m_talkWaveFormat = {};
};

// What both kinds of talk do alike.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

#include "HLX.h"
#include "main_utility/media/AudioCodecMan.h"
#include "protocol/ClassicProtocol.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/ThreadState.h"

constexpr size_t TALK_SEND_FRAME_SIZE = 3200;  // bytes of PCM: 1600 samples, 200 ms

/// Writes the device's format to `pAudioInfo` (18 bytes) once `lookUp()`, which gives it as an optional, has one. Waits
/// at most 100 ms, then fails with HLX_TRY_LATER.
template <class LookUp>
BOOL WaitForTalkFormat(LPVOID pAudioInfo, LookUp lookUp) {
    constexpr int TRIES = 10;
    constexpr tuint32 PAUSE = 10;  // milliseconds
    for (int i = 0; i < TRIES; ++i) {
        const std::optional<WAVEFORMATEX> format = lookUp();
        if (format && format->nAvgBytesPerSec != 0) {
            std::memcpy(pAudioInfo, &*format, sizeof(*format));
            return true;
        }
        PUB_Sleep(PAUSE);
    }
    return Failure(HLX_TRY_LATER);
}

/// The format that a frame of FRAME_TYPE_TALK_AUDIO_FORMAT brings; none for a frame that is too short.
inline std::optional<WAVEFORMATEX> TalkFormatOf(const FRAME_INFO_EX& frame) {
    WAVEFORMATEX format;
    if (frame.length < sizeof(format)) return std::nullopt;
    std::memcpy(&format, frame.pData, sizeof(format));
    return format;
}

/// Decodes a frame of any length, in pieces where it would not fit `room`, and hands each piece to
/// `use(unsigned char*, LONG)`. What is too short to be decoded is dropped.
template <class Use>
void DecodeTalk(CAudioCodecMan& codecs, POINTERHANDLE lCodecHandle, const FRAME_INFO_EX& frame,
                std::span<unsigned char> room, Use use) {
    const auto roomSize = static_cast<LONG>(room.size());
    const LONG needed = codecs.NeededInput(lCodecHandle);
    LONG left = frame.length;
    const LONG whole = codecs.DecodedSize(lCodecHandle, left);
    const LONG fitting = whole > roomSize ? left * roomSize / whole : left;
    const LONG piece = std::max<LONG>(needed > 0 ? needed : fitting, 1);
    for (const unsigned char* pData = frame.pData; left > 0; pData += piece, left -= piece) {
        LONG length = 0;
        {
            const CThreadState::OwnNumber ownNumber;
            if (!codecs.DecodeBounded(lCodecHandle, pData, std::min(left, piece), room.data(), roomSize, &length))
                return;
        }
        if (length > 0) use(room.data(), length);
    }
}

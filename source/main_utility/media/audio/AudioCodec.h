// What all audio codecs have in common.
#pragma once

#include <cstring>

#include "HLX.h"

enum AUDIO_FORMAT_TAG : WORD {
    AUDIO_TAG_PCM = 1,  // needs no codec
    AUDIO_TAG_ALAW = 6,
    AUDIO_TAG_ULAW = 7,
    AUDIO_TAG_ADPCM = 17,
    AUDIO_TAG_G726 = 100,
};

/// Turns sound payloads into PCM of 8000 Hz, 16 bits, mono, and back. One object serves both directions, each with a
/// state of its own. Not locked: CAudioCodecMan's lock is held around every call. No call allocates or throws. Input
/// and output of a call must not overlap, and `inLen` is not negative; output rooms are told by DecodedSize and
/// EncodedSize.
class CAudioCodec {
public:
    virtual ~CAudioCodec() = default;

    /// Clears both states. False for a format that is not of this codec.
    virtual bool Initial(const WAVEFORMATEX* pWfx) = 0;
    virtual void Quit() {}

    /// False, with nothing written, only after a failed Initial.
    virtual bool DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) = 0;
    virtual bool EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) = 0;

    /// The format of decoded sound.
    virtual void GetDecFormat(WAVEFORMATEX* pwfx) const;

    /// Bytes of input that one DecodeBuf reads, where that does not depend on `inLen`; else 0.
    virtual LONG NeededInput() const { return 0; }

    /// Bytes that DecodeBuf and EncodeBuf write for `inLen` bytes of input.
    virtual LONG DecodedSize(LONG inLen) const = 0;
    virtual LONG EncodedSize(LONG inLen) const = 0;
};

/// PCM lies at any address in an application's buffer.
inline short LoadSample(const BYTE* pSample) {
    short sample;
    std::memcpy(&sample, pSample, sizeof(sample));
    return sample;
}
inline void StoreSample(BYTE* pSample, int value) {
    const auto sample = static_cast<short>(value);
    std::memcpy(pSample, &sample, sizeof(sample));
}

// G.711: A-law and u-law.
#pragma once

#include "main_utility/media/audio/AudioCodec.h"

/// A byte for each sample. An odd last byte of PCM is left.
class CG711Codec : public CAudioCodec {
public:
    bool Initial(const WAVEFORMATEX* pWfx) override;
    bool DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    bool EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    LONG DecodedSize(LONG inLen) const override { return inLen * 2; }
    LONG EncodedSize(LONG inLen) const override { return inLen / 2; }

private:
    using SAMPLES_PROC = void (*)(const BYTE* pIn, LONG lSamples,
                                  BYTE* pOut);  // a call for each sample would double the time

    SAMPLES_PROC m_decoder = nullptr;
    SAMPLES_PROC m_encoder = nullptr;
};

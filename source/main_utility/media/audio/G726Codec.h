// G.726 at 16, 24, 32 and 40 kbit/s.
#pragma once

#include "main_utility/media/audio/AudioCodec.h"
#include "main_utility/media/audio/G726Maths.h"

/// Codes of 2 to 5 bits, the first in the upper bits of a byte. A code never crosses into the next byte: with 3 and 5
/// bits only the codes of the first byte are read, the last of them stands for all that follow, and encoding finishes no
/// byte. The interface has it so.
class CG726Codec : public CAudioCodec {
public:
    CG726Codec();
    bool Initial(const WAVEFORMATEX* pWfx) override;
    bool DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    bool EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    LONG DecodedSize(LONG inLen) const override;
    LONG EncodedSize(LONG inLen) const override;

private:
    static constexpr int RATES = 4;
    using SAMPLES_PROC = void (*)(const BYTE* pIn, LONG lSamples, BYTE* pOut, g726_state* pState);

    int Bits() const { return m_codeType + 2; }

    int m_codeType = -1;  // bits of a code less 2; -1 for a format that is none
    SAMPLES_PROC m_DecodeProc[RATES];
    SAMPLES_PROC m_EncodeProc[RATES];
    g726_state m_decodeState;
    g726_state m_encodeState;
};

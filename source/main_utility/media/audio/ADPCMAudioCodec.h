// IMA ADPCM in blocks of 168 bytes.
#pragma once

#include "main_utility/media/audio/AudioCodec.h"
#include "protocol/WireTypes.h"

/// Where a coder or decoder stands.
struct ADPCM_STATE {
    tint16 valprev = 0;  // last value that the decoder made, or will make
    tint8 index = 0;     // into the table of step sizes, 0 to 88
};

/// `lSamples` samples of PCM into 4-bit codes, the first in the upper half of a byte, and back. `lSamples` is even.
void adpcm_coder(const BYTE* pPcm, BYTE* pCodes, LONG lSamples, ADPCM_STATE* pState);
void adpcm_decoder(const BYTE* pCodes, BYTE* pPcm, LONG lSamples, ADPCM_STATE* pState);

#pragma pack(push, 1)
struct ADPCM_BLOCK {
    tuint16 marker;     //  0  256
    tuint16 halfSize;   //  2  half the block's size less 2: 82 in a full block
    tint16 valprev;     //  4  state ahead of this block
    tuint16 index;      //  6
    BYTE samples[160];  //  8  320 samples
};
#pragma pack(pop)
HLX_WIRE_RECORD(ADPCM_BLOCK, 168);

/// A frame to decode is five blocks, 200 ms, and read as such whatever its length says. A block's header counts only
/// while the running value is 0. Encoding makes a block of each 640 bytes of PCM and a shorter one of the rest.
class CADPCMAudioCodec : public CAudioCodec {
public:
    bool Initial(const WAVEFORMATEX* pWfx) override;
    bool DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    bool EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) override;
    LONG NeededInput() const override;
    LONG DecodedSize(LONG inLen) const override;
    LONG EncodedSize(LONG inLen) const override;

private:
    ADPCM_BLOCK EncodeBlock(const BYTE* pPcm, LONG lBytes);

    ADPCM_STATE m_encodeState;
    ADPCM_STATE m_decodeState;
    WAVEFORMATEX m_wfx{};
};

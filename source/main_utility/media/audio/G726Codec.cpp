#include "main_utility/media/audio/G726Codec.h"

namespace {

constexpr int UNIFORM_SHIFT = 2;  // the coding works on 14 bits

template <int BITS>
constexpr bool FITS_BYTES = 8 % BITS == 0;

template <int BITS>
constexpr int PER_BYTE = 8 / BITS;

template <int BITS>
int CodeOf(BYTE byte, LONG place) {
    return byte >> (8 - BITS - BITS * place) & ((1 << BITS) - 1);
}

template <int BITS>
void DecodeSamples(const BYTE* __restrict pIn, LONG lSamples, BYTE* __restrict pOut, g726_state* pState) {
    g726_state state = *pState;
    for (LONG i = 0; i < lSamples; ++i) {
        const LONG lPlace = FITS_BYTES<BITS> ? i : i < PER_BYTE<BITS> ? i : PER_BYTE<BITS> - 1;
        const int code = CodeOf<BITS>(pIn[lPlace / PER_BYTE<BITS>], lPlace % PER_BYTE<BITS>);
        const int sr = g726::CSample<BITS>(state).Reconstruct(code);
        StoreSample(pOut + i * 2, sr * (1 << UNIFORM_SHIFT));
    }
    *pState = state;
}

/// Writes whole bytes only. Codes that find no place still move the state.
template <int BITS>
void EncodeSamples(const BYTE* __restrict pIn, LONG lSamples, BYTE* __restrict pOut, g726_state* pState) {
    g726_state state = *pState;
    unsigned uCodes = 0;
    for (LONG i = 0; i < lSamples; ++i) {
        g726::CSample<BITS> sample(state);
        const int code = sample.Quantize(LoadSample(pIn + i * 2) >> UNIFORM_SHIFT);
        sample.Reconstruct(code);
        uCodes = uCodes << BITS | static_cast<unsigned>(code);
        if (FITS_BYTES<BITS> && i % PER_BYTE<BITS> == PER_BYTE<BITS> - 1)
            pOut[i / PER_BYTE<BITS>] = static_cast<BYTE>(uCodes);
    }
    *pState = state;
}

}  // namespace

CG726Codec::CG726Codec()
    : m_DecodeProc{DecodeSamples<2>, DecodeSamples<3>, DecodeSamples<4>, DecodeSamples<5>},
      m_EncodeProc{EncodeSamples<2>, EncodeSamples<3>, EncodeSamples<4>, EncodeSamples<5>} {}

bool CG726Codec::Initial(const WAVEFORMATEX* pWfx) {
    g726_init_state(&m_decodeState);
    g726_init_state(&m_encodeState);
    const int codeType = pWfx->wBitsPerSample - 2;
    m_codeType = codeType >= 0 && codeType < RATES ? codeType : -1;
    return m_codeType >= 0 && pWfx->wFormatTag == AUDIO_TAG_G726;
}

LONG CG726Codec::DecodedSize(LONG inLen) const { return m_codeType < 0 ? 0 : inLen * 8 / Bits() * 2; }

LONG CG726Codec::EncodedSize(LONG inLen) const {
    const bool bFitsBytes = m_codeType >= 0 && 8 % Bits() == 0;
    return bFitsBytes ? inLen / 2 * Bits() / 8 : 0;
}

bool CG726Codec::DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) {
    if (m_codeType < 0) return false;
    *pOutLen = DecodedSize(inLen);
    m_DecodeProc[m_codeType](pInData, *pOutLen / 2, pOutData, &m_decodeState);
    return true;
}

bool CG726Codec::EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) {
    if (m_codeType < 0) return false;
    *pOutLen = EncodedSize(inLen);
    m_EncodeProc[m_codeType](pInData, inLen / 2, pOutData, &m_encodeState);
    return true;
}

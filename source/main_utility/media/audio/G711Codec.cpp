#include "main_utility/media/audio/G711Codec.h"

#include <array>
#include <bit>

namespace {

constexpr int ALAW_TOGGLE = 0x55;  // every other bit is sent inverted
constexpr int ULAW_BIAS = 33;      // makes all segments of u-law alike

/// The value in the middle of the code's interval, in 16 bits.
constexpr short AlawValue(int code) {
    code ^= ALAW_TOGGLE;
    const int segment = code >> 4 & 7;
    int value = (code & 15) << 4 | 8;
    if (segment > 0) value = (value + 256) << (segment - 1);
    return static_cast<short>(code & 0x80 ? value : -value);
}

constexpr short UlawValue(int code) {
    code = ~code & 0xFF;
    const int value = (((code & 15) * 2 + ULAW_BIAS) << (code >> 4 & 7)) - ULAW_BIAS;
    return static_cast<short>(code & 0x80 ? -value * 4 : value * 4);
}

/// The code whose interval holds `sample`. A negative sample is told by its ones' complement, so that a decision value
/// itself belongs to the interval above it on both sides of 0.
constexpr BYTE AlawCode(int sample) {
    const int sign = sample < 0 ? 0 : 0x80;
    const int value = (sample < 0 ? ~sample : sample) >> 4;  // 11 bits
    const int segment = value < 32 ? value >> 4 : std::bit_width(static_cast<unsigned>(value)) - 4;
    const int step = segment < 2 ? value & 15 : value >> (segment - 1) & 15;
    return static_cast<BYTE>((sign | segment << 4 | step) ^ ALAW_TOGGLE);
}

constexpr BYTE UlawCode(int sample) {
    const int sign = sample < 0 ? 0x80 : 0;
    const int biased = ((sample < 0 ? ~sample : sample) >> 2) + ULAW_BIAS;
    const int value = biased > 0x1FFF ? 0x1FFF : biased;  // 13 bits
    const int segment = std::bit_width(static_cast<unsigned>(value)) - 6;
    return static_cast<BYTE>(~(sign | segment << 4 | (value >> (segment + 1) & 15)));
}

/// Samples of one code by code, and codes by the upper bits of the sample: the lower ones never decide.
template <short (*VALUE)(int)>
constexpr auto MakeValues() {
    std::array<short, 256> values{};
    for (int code = 0; code < 256; ++code) values[static_cast<size_t>(code)] = VALUE(code);
    return values;
}

template <BYTE (*CODE)(int), int SHIFT>
constexpr auto MakeCodes() {
    std::array<BYTE, (0x10000 >> SHIFT)> codes{};
    for (size_t i = 0; i < codes.size(); ++i) codes[i] = CODE(static_cast<short>(i << SHIFT));
    return codes;
}

constexpr int ALAW_SHIFT = 4;
constexpr int ULAW_SHIFT = 2;
constexpr auto ALAW_VALUES = MakeValues<AlawValue>();
constexpr auto ULAW_VALUES = MakeValues<UlawValue>();
constexpr auto ALAW_CODES = MakeCodes<AlawCode, ALAW_SHIFT>();
constexpr auto ULAW_CODES = MakeCodes<UlawCode, ULAW_SHIFT>();

template <const auto& VALUES>
void Decode(const BYTE* __restrict pIn, LONG lSamples, BYTE* __restrict pOut) {
    for (LONG i = 0; i < lSamples; ++i) StoreSample(pOut + i * 2, VALUES[pIn[i]]);
}

template <const auto& CODES, int SHIFT>
void Encode(const BYTE* __restrict pIn, LONG lSamples, BYTE* __restrict pOut) {
    for (LONG i = 0; i < lSamples; ++i) pOut[i] = CODES[static_cast<WORD>(LoadSample(pIn + i * 2)) >> SHIFT];
}

}  // namespace

bool CG711Codec::Initial(const WAVEFORMATEX* pWfx) {
    if (pWfx->wFormatTag == AUDIO_TAG_ALAW) {
        m_decoder = Decode<ALAW_VALUES>;
        m_encoder = Encode<ALAW_CODES, ALAW_SHIFT>;
    } else if (pWfx->wFormatTag == AUDIO_TAG_ULAW) {
        m_decoder = Decode<ULAW_VALUES>;
        m_encoder = Encode<ULAW_CODES, ULAW_SHIFT>;
    } else {
        return false;
    }
    return true;
}

bool CG711Codec::DecodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) {
    if (!m_decoder) return false;
    m_decoder(pInData, inLen, pOutData);
    *pOutLen = DecodedSize(inLen);
    return true;
}

bool CG711Codec::EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) {
    if (!m_encoder) return false;
    m_encoder(pInData, inLen / 2, pOutData);
    *pOutLen = EncodedSize(inLen);
    return true;
}

#include "main_utility/media/audio/ADPCMAudioCodec.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr LONG FRAME_BLOCKS = 5;
constexpr LONG BLOCK_SAMPLES = 320;
constexpr LONG BLOCK_PCM = BLOCK_SAMPLES * 2;
constexpr LONG BLOCK_SIZE = sizeof(ADPCM_BLOCK);
constexpr LONG HEADER_SIZE = BLOCK_SIZE - BLOCK_SAMPLES / 2;
constexpr tuint16 BLOCK_MARKER = 256;

constexpr int MAX_INDEX = 88;
constexpr int STEPS[MAX_INDEX + 1] = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr int INDEX_CHANGES[8] = {-1, -1, -1, -1, 2, 4, 6, 8};

/// How far a code moves the value: the sum of the parts of the step that its bits stand for.
constexpr int Difference(int step, int code) {
    int difference = step >> 3;
    if (code & 4) difference += step;
    if (code & 2) difference += step >> 1;
    if (code & 1) difference += step >> 2;
    return code & 8 ? -difference : difference;
}

constexpr auto DIFFERENCES = [] {
    std::array<std::array<int, 16>, MAX_INDEX + 1> rows{};
    for (size_t index = 0; index < rows.size(); ++index)
        for (size_t code = 0; code < 16; ++code) rows[index][code] = Difference(STEPS[index], static_cast<int>(code));
    return rows;
}();

/// What the decoder does with a code, and the coder with it.
struct PREDICTION {
    int value;
    int index;

    void Follow(int code, int difference) {
        value = std::clamp(value + difference, -32768, 32767);
        index = std::clamp(index + INDEX_CHANGES[code & 7], 0, MAX_INDEX);
    }
    void Follow(int code) { Follow(code, DIFFERENCES[static_cast<size_t>(index)][static_cast<size_t>(code)]); }

    /// The code of `sample`: how many times the halved steps go into the distance, and its sign. All bits at once
    /// without a branch, since they follow no pattern.
    int Code(int sample) {
        const int step = STEPS[index];
        const int sign = (sample - value) >> 31;
        int distance = ((sample - value) ^ sign) - sign;
        const int all = -(distance >= step);
        distance -= step & all;
        const int half = -(distance >= step >> 1);
        distance -= step >> 1 & half;
        const int quarter = -(distance >= step >> 2);
        const int difference = (step >> 3) + (step & all) + (step >> 1 & half) + (step >> 2 & quarter);
        const int code = (sign & 8) | (all & 4) | (half & 2) | (quarter & 1);
        Follow(code, (difference ^ sign) - sign);
        return code;
    }
};

PREDICTION Load(const ADPCM_STATE& state) { return {state.valprev, std::clamp<int>(state.index, 0, MAX_INDEX)}; }

ADPCM_STATE Saved(const PREDICTION& prediction) {
    return {static_cast<tint16>(prediction.value), static_cast<tint8>(prediction.index)};
}

}  // namespace

void adpcm_coder(const BYTE* __restrict pPcm, BYTE* __restrict pCodes, LONG lSamples, ADPCM_STATE* pState) {
    PREDICTION prediction = Load(*pState);
    for (LONG i = 0; i < lSamples; i += 2) {
        const int upper = prediction.Code(LoadSample(pPcm + i * 2));
        const int lower = prediction.Code(LoadSample(pPcm + i * 2 + 2));
        pCodes[i / 2] = static_cast<BYTE>(upper << 4 | lower);
    }
    *pState = Saved(prediction);
}

void adpcm_decoder(const BYTE* __restrict pCodes, BYTE* __restrict pPcm, LONG lSamples, ADPCM_STATE* pState) {
    PREDICTION prediction = Load(*pState);
    for (LONG i = 0; i < lSamples; i += 2) {
        prediction.Follow(pCodes[i / 2] >> 4);
        StoreSample(pPcm + i * 2, prediction.value);
        prediction.Follow(pCodes[i / 2] & 15);
        StoreSample(pPcm + i * 2 + 2, prediction.value);
    }
    *pState = Saved(prediction);
}

bool CADPCMAudioCodec::Initial(const WAVEFORMATEX* pWfx) {
    m_wfx = *pWfx;
    m_encodeState = {};
    m_decodeState = {};
    return pWfx->wFormatTag == AUDIO_TAG_ADPCM;
}

LONG CADPCMAudioCodec::NeededInput() const { return FRAME_BLOCKS * BLOCK_SIZE; }
LONG CADPCMAudioCodec::DecodedSize(LONG) const { return FRAME_BLOCKS * BLOCK_PCM; }

LONG CADPCMAudioCodec::EncodedSize(LONG inLen) const {
    const LONG lRest = inLen % BLOCK_PCM;
    return inLen / BLOCK_PCM * BLOCK_SIZE + (lRest ? lRest / 4 + HEADER_SIZE : 0);
}

bool CADPCMAudioCodec::DecodeBuf(const BYTE* pInData, LONG, BYTE* pOutData, LONG* pOutLen) {
    for (LONG i = 0; i < FRAME_BLOCKS; ++i) {
        ADPCM_BLOCK block;
        std::memcpy(&block, pInData + i * BLOCK_SIZE, sizeof(block));
        if (m_decodeState.valprev == 0)
            m_decodeState = {block.valprev, static_cast<tint8>(std::min<int>(block.index, MAX_INDEX))};
        adpcm_decoder(block.samples, pOutData + i * BLOCK_PCM, BLOCK_SAMPLES, &m_decodeState);
    }
    *pOutLen = FRAME_BLOCKS * BLOCK_PCM;
    return true;
}

bool CADPCMAudioCodec::EncodeBuf(const BYTE* pInData, LONG inLen, BYTE* pOutData, LONG* pOutLen) {
    const LONG lOutLen = EncodedSize(inLen);
    for (LONG lIn = 0, lOut = 0; lIn < inLen; lIn += BLOCK_PCM, lOut += BLOCK_SIZE) {
        const ADPCM_BLOCK block = EncodeBlock(pInData + lIn, std::min(inLen - lIn, BLOCK_PCM));
        std::memcpy(pOutData + lOut, &block, static_cast<size_t>(std::min(lOutLen - lOut, BLOCK_SIZE)));
    }
    *pOutLen = lOutLen;
    return true;
}

/// The coder runs over a whole block in any case; behind the PCM that is there it finds silence.
ADPCM_BLOCK CADPCMAudioCodec::EncodeBlock(const BYTE* pPcm, LONG lBytes) {
    ADPCM_BLOCK block;
    block.marker = BLOCK_MARKER;
    block.halfSize = static_cast<tuint16>((lBytes >> 3) + 2);
    block.valprev = m_encodeState.valprev;
    block.index = static_cast<tuint16>(m_encodeState.index);
    BYTE padded[BLOCK_PCM];
    if (lBytes < BLOCK_PCM) {
        std::memset(padded, 0, sizeof(padded));
        std::memcpy(padded, pPcm, static_cast<size_t>(lBytes & ~LONG{1}));
        pPcm = padded;
    }
    adpcm_coder(pPcm, block.samples, BLOCK_SAMPLES, &m_encodeState);
    return block;
}

// How payloads are cut and packed, and what becomes of calls that make no sense.

#include "main_utility/media/audio/ADPCMAudioCodec.h"
#include "unit/audio/CodecTestSupport.h"

namespace {

constexpr POINTERHANDLE NO_HANDLE = -1;

SAMPLES Ramp(size_t count) {
    SAMPLES pcm(count);
    for (size_t i = 0; i < count; ++i) pcm[i] = static_cast<short>(i * 977);
    return pcm;
}

tint16 Word(const CODE_BYTES& codes, size_t at) {
    tint16 word;
    std::memcpy(&word, codes.data() + at, sizeof(word));
    return word;
}

TEST(Framing, OddBytesAndUnfinishedBytesAreLeft) {
    const struct {
        WORD wTag, wBits;
        LONG lPcm, lCodes;   // bytes to encode, bytes made of them
        LONG lInput, lMade;  // bytes to decode, bytes made of them
    } rows[] = {
        {AUDIO_TAG_ALAW, 8, 7, 3, 3, 6},           {AUDIO_TAG_ULAW, 8, 1, 0, 0, 0},
        {AUDIO_TAG_G726, 2, 15, 1, 3, 24},         {AUDIO_TAG_G726, 4, 11, 2, 3, 12},
        {AUDIO_TAG_G726, 3, 640, 0, 7, 36},        {AUDIO_TAG_G726, 5, 640, 0, 7, 22},
        {AUDIO_TAG_ADPCM, 4, 640, 168, 840, 3200}, {AUDIO_TAG_ADPCM, 4, 643, 176, 841, 3200},
        {AUDIO_TAG_ADPCM, 4, 639, 167, 900, 3200}, {AUDIO_TAG_ADPCM, 4, 0, 0, 840, 3200},
    };
    for (const auto& row : rows) {
        CTestCodec codec(row.wTag, row.wBits);
        CODE_BYTES pcm(static_cast<size_t>(row.lPcm), 3);
        pcm.reserve(1);
        EXPECT_EQ(LONG(codec.Encode(pcm.data(), row.lPcm).size()), row.lCodes) << row.wTag << " from " << row.lPcm;
        CODE_BYTES codes(static_cast<size_t>(row.lInput), 0x5A);
        codes.reserve(1);
        EXPECT_EQ(LONG(codec.Decode(codes).size() * 2), row.lMade) << row.wTag << " from " << row.lInput;
    }
}

TEST(Framing, OfG726WithThreeAndFiveBitsTheLastCodeOfTheFirstByteGoesOn) {
    for (const WORD wBits : {WORD{3}, WORD{5}}) {
        CTestCodec codec(AUDIO_TAG_G726, wBits);
        CTestCodec same(AUDIO_TAG_G726, wBits);
        CTestCodec other(AUDIO_TAG_G726, wBits);
        const SAMPLES pcm = codec.Decode({0x55, 1, 2, 3, 4});
        EXPECT_EQ(same.Decode({0x55, 0xFF, 0xFF, 0xFF, 0xFF}), pcm) << wBits;
        EXPECT_NE(other.Decode({0x55 ^ 0x08, 1, 2, 3, 4}), pcm) << wBits;
    }
}

TEST(Framing, AdpcmBlocksTellTheStateAheadOfThem) {
    CTestCodec codec(AUDIO_TAG_ADPCM);
    const SAMPLES pcm = Ramp(1600 + 50);
    CODE_BYTES codes = codec.Encode(pcm);
    ASSERT_EQ(codes.size(), 5 * 168 + 100 / 4 + 8u);
    ADPCM_STATE state;
    SAMPLES expected(1600);
    for (size_t block = 0; block < 6; ++block) {
        const size_t at = block * 168;
        EXPECT_EQ(Word(codes, at), 256) << block;
        EXPECT_EQ(Word(codes, at + 2), block < 5 ? 82 : 100 / 8 + 2) << block;
        EXPECT_EQ(Word(codes, at + 4), state.valprev) << block;
        EXPECT_EQ(Word(codes, at + 6), state.index) << block;
        if (block < 5) adpcm_decoder(codes.data() + at + 8, CTestCodec::Bytes(expected) + block * 640, 320, &state);
    }
    codes.resize(840);
    EXPECT_EQ(codec.Decode(codes), expected);

    // The running value is not 0 now, so a header counts no more; an index out of the table is none.
    ASSERT_NE(state.valprev, 0);
    std::memset(codes.data(), 0x7F, 8);
    CTestCodec late(AUDIO_TAG_ADPCM);
    EXPECT_EQ(late.Decode(codes).size(), 1600u);
    ADPCM_STATE running = state;
    adpcm_decoder(codes.data() + 8, CTestCodec::Bytes(expected), 320, &running);
    EXPECT_EQ(codec.Decode(codes)[0], expected[0]);
}

TEST(Framing, ACodecWithoutAFormatAndCallsWithoutSenseFail) {
    auto& man = *CAudioCodecMan::Instance();
    const WAVEFORMATEX unknown{85, 1, 8000, 8000, 1, 16, 0};
    EXPECT_EQ(man.OpenAudioCodec(&unknown, sizeof(unknown)), NO_HANDLE);
    EXPECT_EQ(LastNumber(), DWORD{HLX_AUDIO_MODE_ERROR});
    EXPECT_EQ(man.OpenAudioCodec(nullptr, 18), NO_HANDLE);
    EXPECT_EQ(LastNumber(), DWORD{HLX_PARAMETER_ERROR});

    CTestCodec sixBits(AUDIO_TAG_G726, 6);
    CTestCodec alaw(AUDIO_TAG_ALAW);
    CTestCodec adpcm(AUDIO_TAG_ADPCM);
    POINTERHANDLE lClosed = CTestCodec(AUDIO_TAG_ALAW).m_handle;
    BYTE bytes[8] = {};
    LONG lOutLen = 77;
    const struct {
        POINTERHANDLE lHandle;
        const BYTE* pIn;
        LONG inLen;
        BYTE* pOut;
        LONG* pOutLen;
        HLX_ERROR expected;
    } rows[] = {
        {sixBits.m_handle, bytes, 1, bytes, &lOutLen, HLX_AUDIO_MODE_ERROR},
        {lClosed, bytes, 1, bytes, &lOutLen, HLX_PARAMETER_ERROR},
        {alaw.m_handle, nullptr, 1, bytes, &lOutLen, HLX_PARAMETER_ERROR},
        {alaw.m_handle, bytes, -1, bytes, &lOutLen, HLX_PARAMETER_ERROR},
        {alaw.m_handle, bytes, INT64_MAX, bytes, &lOutLen, HLX_PARAMETER_ERROR},
        {alaw.m_handle, bytes, 1, nullptr, &lOutLen, HLX_PARAMETER_ERROR},
        {alaw.m_handle, bytes, 1, bytes, nullptr, HLX_PARAMETER_ERROR},
    };
    for (const auto& row : rows) {
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        EXPECT_FALSE(man.DecodeAudioFrame(row.lHandle, row.pIn, row.inLen, row.pOut, row.pOutLen));
        EXPECT_EQ(LastNumber(), DWORD(row.expected)) << &row - rows;
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        EXPECT_FALSE(man.EncodeAudioFrame(row.lHandle, row.pIn, row.inLen, row.pOut, row.pOutLen));
        EXPECT_EQ(LastNumber(), DWORD(row.expected)) << &row - rows;
    }
    EXPECT_FALSE(man.DecodeBounded(alaw.m_handle, bytes, 3, bytes, 5, &lOutLen));
    EXPECT_FALSE(
        man.DecodeBounded(adpcm.m_handle, CODE_BYTES(839).data(), 839, CODE_BYTES(3200).data(), 3200, &lOutLen));
    EXPECT_FALSE(man.EncodeBounded(alaw.m_handle, bytes, 8, bytes, 3, &lOutLen));
    EXPECT_EQ(lOutLen, 77);
    EXPECT_FALSE(man.CloseAudioCodec(lClosed));
}

TEST(Framing, AClosedCodecIsNotUsedByAnotherThread) {
    auto& man = *CAudioCodecMan::Instance();
    const WAVEFORMATEX format{AUDIO_TAG_G726, 1, 8000, 4000, 1, 4, 0};
    for (int i = 0; i < 20; ++i) {
        const POINTERHANDLE lHandle = man.OpenAudioCodec(&format, sizeof(format));
        std::thread user([&] {
            CODE_BYTES codes(160), pcm(640);
            LONG lOutLen;
            while (man.DecodeAudioFrame(lHandle, codes.data(), 160, pcm.data(), &lOutLen)) {
            }
        });
        EXPECT_TRUE(man.CloseAudioCodec(lHandle));
        user.join();
    }
}

}  // namespace

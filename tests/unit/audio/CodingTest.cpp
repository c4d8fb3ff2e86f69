// What the codings make of sound: against ffmpeg, the recommendations' decision values, and a telephony library.
#include <spandsp.h>

#include <iterator>

#include "main_utility/media/audio/ADPCMAudioCodec.h"
#include "main_utility/media/audio/G726Maths.h"
#include "support/Test.h"
#include "unit/audio/CodecTestSupport.h"

namespace {

template <class Value>
std::vector<Value> ReadFile(const std::string& sName) {
    std::ifstream file(sName, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto* pValues = reinterpret_cast<const Value*>(bytes.data());
    return {pValues, pValues + bytes.size() / sizeof(Value)};
}

/// A minute of speech, then what no voice does: noise at full scale, steps between the extremes, a held value, a tone.
const SAMPLES& Sound() {
    static const SAMPLES sound = [] {
        const SAMPLES clip = CTestCodec(AUDIO_TAG_ALAW).Decode(ReadFile<BYTE>(HLX_MEDIA_FOLDER "/speech-8000.alaw"));
        SAMPLES pcm;
        while (pcm.size() < 60 * 8000) pcm.insert(pcm.end(), clip.begin(), clip.end());
        std::minstd_rand random(7);
        for (int i = 0; i < 80000; ++i) pcm.push_back(static_cast<short>(random() >> 8));
        for (int i = 0; i < 40000; ++i) pcm.push_back(i / (1 + i / 4000) % 2 ? 32767 : -32768);
        for (int i = 0; i < 20000; ++i) pcm.push_back(i < 10000 ? 32767 : -32768);
        for (int i = 0; i < 40000; ++i) pcm.push_back(static_cast<short>(32000 * sin(i * (0.1 + i / 4000 * 0.3))));
        return pcm;
    }();
    return sound;
}

TEST(G711, BothLawsDecodeAsFfmpegDoesAndEncodeByTheDecisionValues) {
    const struct {
        WORD wTag;
        const char* pName;
        int firstDecision;  // the first decision value above 0, in 16 bits
    } laws[] = {{AUDIO_TAG_ALAW, "alaw", 16}, {AUDIO_TAG_ULAW, "mulaw", 4}};
    const CTempDir dir;
    CODE_BYTES codes(256);
    for (size_t i = 0; i < 256; ++i) codes[i] = static_cast<BYTE>(i);
    std::ofstream(dir.File("codes"), std::ios::binary).write(reinterpret_cast<const char*>(codes.data()), 256);
    for (const auto& law : laws) {
        const std::string sCommand = std::string("ffmpeg -v error -f ") + law.pName + " -ar 8000 -i " +
                                     dir.File("codes") + " -y -f s16le " + dir.File("pcm");
        ASSERT_EQ(std::system(sCommand.c_str()), 0);
        CTestCodec codec(law.wTag);
        const SAMPLES values = codec.Decode(codes);
        EXPECT_EQ(values, ReadFile<short>(dir.File("pcm"))) << law.pName;

        // Each value but u-law's 0 stands in the middle between two decision values.
        SAMPLES positive;
        for (const short value : values)
            if (value > 0) positive.push_back(value);
        std::sort(positive.begin(), positive.end());
        std::vector<int> decisions{0, law.firstDecision};
        if (law.wTag == AUDIO_TAG_ULAW) positive.insert(positive.begin(), 0);
        for (size_t i = 1; i < positive.size(); ++i) decisions.push_back(2 * positive[i] - decisions.back());
        SAMPLES all;
        for (int sample = -32768; sample < 32768; ++sample) all.push_back(static_cast<short>(sample));
        const CODE_BYTES encoded = codec.Encode(all);
        int wrong = 0;
        for (int sample = -32768; sample < 32768; ++sample) {
            const BYTE code = encoded[static_cast<size_t>(sample + 32768)];
            const int magnitude = sample < 0 ? ~sample : sample;
            const auto above = std::upper_bound(decisions.begin(), decisions.end() - 1, magnitude);
            const int value = positive[static_cast<size_t>(above - decisions.begin() - 1)];
            wrong += (code & 0x80) != (sample < 0 ? 0 : 0x80) || values[code] != (sample < 0 ? -value : value);
        }
        EXPECT_EQ(wrong, 0) << law.pName;
    }
}

template <int BITS>
void CompareG726() {
    const SAMPLES& sound = Sound();
    const auto init = [] { return g726_init(nullptr, BITS * 8000, G726_ENCODING_LINEAR, G726_PACKING_NONE); };
    auto* pTheirCoder = init();
    CODE_BYTES theirCodes(sound.size());
    ASSERT_EQ(g726_encode(pTheirCoder, theirCodes.data(), sound.data(), int(sound.size())), int(sound.size()));
    auto* pTheirDecoder = init();
    g726_state coder, decoder;
    // What the coder made, then codes that no coder makes.
    CODE_BYTES heard = theirCodes;
    std::minstd_rand random(BITS);
    for (int i = 0; i < 200000; ++i) heard.push_back((i >> 14 & 1 ? random() >> 9 : i >> 9) & ((1 << BITS) - 1));
    SAMPLES theirs(heard.size());
    ASSERT_EQ(g726_decode(pTheirDecoder, theirs.data(), heard.data(), int(heard.size())), int(heard.size()));
    CODE_BYTES codes(sound.size());
    for (size_t i = 0; i < sound.size(); ++i) {
        g726::CSample<BITS> sample(coder);
        codes[i] = static_cast<BYTE>(sample.Quantize(sound[i] >> 2));
        sample.Reconstruct(codes[i]);
    }
    EXPECT_TRUE(codes == theirCodes);
    SAMPLES values(heard.size());
    for (size_t i = 0; i < heard.size(); ++i)
        values[i] = static_cast<short>(g726::CSample<BITS>(decoder).Reconstruct(heard[i]) * 4);
    EXPECT_TRUE(values == theirs);
    g726_free(pTheirCoder);
    g726_free(pTheirDecoder);
}

TEST(G726, TwoBitsFollowTheReferenceArithmetic) { CompareG726<2>(); }
TEST(G726, ThreeBitsFollowTheReferenceArithmetic) { CompareG726<3>(); }
TEST(G726, FourBitsFollowTheReferenceArithmetic) { CompareG726<4>(); }
TEST(G726, FiveBitsFollowTheReferenceArithmetic) { CompareG726<5>(); }

TEST(G726, CodesArePackedFromTheTopOfEachByte) {
    const SAMPLES sound(Sound().end() - 200000, Sound().end());
    for (const WORD wBits : {WORD{2}, WORD{4}}) {
        auto* pTheirs = g726_init(nullptr, wBits * 8000, G726_ENCODING_LINEAR, G726_PACKING_LEFT);
        CODE_BYTES theirs(sound.size() * wBits / 8);
        g726_encode(pTheirs, theirs.data(), sound.data(), int(sound.size()));
        g726_free(pTheirs);
        CTestCodec codec(AUDIO_TAG_G726, wBits);
        EXPECT_EQ(codec.Encode(sound), theirs) << wBits;
        SAMPLES pcm(sound.size());
        auto* pDecoder = g726_init(nullptr, wBits * 8000, G726_ENCODING_LINEAR, G726_PACKING_LEFT);
        g726_decode(pDecoder, pcm.data(), theirs.data(), int(theirs.size()));
        g726_free(pDecoder);
        EXPECT_EQ(codec.Decode(theirs), pcm) << wBits;
    }
}

TEST(Adpcm, IsTheClassicCoder) {
    constexpr size_t HEAD = 4;  // theirs begins with the state, which is 0 here
    const auto init = [] { return ima_adpcm_init(nullptr, IMA_ADPCM_DVI4, 0); };
    CODE_BYTES theirs(Sound().size() / 2 + HEAD);
    auto* pCoder = init();
    ASSERT_EQ(ima_adpcm_encode(pCoder, theirs.data(), Sound().data(), int(Sound().size())), int(theirs.size()));
    ima_adpcm_free(pCoder);
    CODE_BYTES ours(theirs.begin(), theirs.begin() + HEAD);
    ours.resize(theirs.size());
    ADPCM_STATE coder;
    adpcm_coder(reinterpret_cast<const BYTE*>(Sound().data()), ours.data() + HEAD, LONG(Sound().size()), &coder);
    EXPECT_EQ(ours, theirs);

    // Then codes that no coder makes.
    std::minstd_rand random(4);
    for (int i = 0; i < 100000; ++i) theirs.push_back(static_cast<BYTE>(i >> 12 & 1 ? random() >> 9 : i >> 8));
    SAMPLES theirPcm((theirs.size() - HEAD) * 2);
    SAMPLES pcm(theirPcm.size());
    auto* pDecoder = init();
    ASSERT_EQ(ima_adpcm_decode(pDecoder, theirPcm.data(), theirs.data(), int(theirs.size())), int(pcm.size()));
    ima_adpcm_free(pDecoder);
    ADPCM_STATE decoder;
    adpcm_decoder(theirs.data() + HEAD, CTestCodec::Bytes(pcm), LONG(pcm.size()), &decoder);
    EXPECT_EQ(pcm, theirPcm);
}

}  // namespace

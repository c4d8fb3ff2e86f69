// Audio codecs through their manager, beside the limit: a bare table loop for G.711, libavcodec for the adaptive codings.
// Megabytes are those of the PCM. The argument is the number of samples in a frame.
#include <cstring>
#include <fstream>
#include <iterator>

#include "bench/AvStream.h"
#include "bench/Pairs.h"
#include "main_utility/media/AudioCodecMan.h"

namespace {

constexpr int REPEATS = 8;  // of the clip of 12 s in one measurement
using BYTES = std::vector<BYTE>;

/// A stream of ours: the clip as PCM and as codes, in frames of one size.
class COurStream {
public:
    COurStream(WORD wTag, WORD wBits, size_t samples) : m_samples(samples), m_frame(samples * 2) {
        std::ifstream file(HLX_MEDIA_FOLDER "/speech-8000.alaw", std::ios::binary);
        const BYTES clip{std::istreambuf_iterator<char>(file), {}};
        const POINTERHANDLE lClip = Open(AUDIO_TAG_ALAW, 8);
        m_pcm.resize(clip.size());
        LONG lOutLen = 0;
        m_man.DecodeAudioFrame(lClip, clip.data(), LONG(clip.size()), reinterpret_cast<BYTE*>(m_pcm.data()), &lOutLen);
        m_man.CloseAudioCodec(lClip);
        m_pcm.resize(m_pcm.size() / samples * samples);
        m_handle = Open(wTag, wBits);
        m_codeSize = size_t(m_man.EncodedSize(m_handle, LONG(samples * 2)));
        m_codes.resize(m_pcm.size() / samples * m_codeSize);
        Encode();
    }
    ~COurStream() { m_man.CloseAudioCodec(m_handle); }
    COurStream(const COurStream&) = delete;
    COurStream& operator=(const COurStream&) = delete;

    void Encode() {
        LONG lOutLen = 0;
        for (size_t i = 0; i < Frames(); ++i)
            m_man.EncodeAudioFrame(m_handle, Pcm(i), LONG(m_samples * 2), Codes(i), &lOutLen);
    }
    void Decode() {
        LONG lOutLen = 0;
        for (size_t i = 0; i < Frames(); ++i)
            m_man.DecodeAudioFrame(m_handle, Codes(i), LONG(m_codeSize), m_frame.data(), &lOutLen);
    }

    size_t Frames() const { return m_pcm.size() / m_samples; }
    const std::vector<short>& Sound() const { return m_pcm; }
    const BYTE* Pcm(size_t frame) const { return reinterpret_cast<const BYTE*>(m_pcm.data() + frame * m_samples); }
    BYTE* Codes(size_t frame) { return m_codes.data() + frame * m_codeSize; }

private:
    POINTERHANDLE Open(WORD wTag, WORD wBits) {
        const WAVEFORMATEX format{wTag, 1, 8000, 8000, 1, wBits, 0};
        return m_man.OpenAudioCodec(&format, sizeof(format));
    }

    CAudioCodecMan& m_man = *CAudioCodecMan::Instance();
    size_t m_samples;
    size_t m_codeSize = 0;
    POINTERHANDLE m_handle = -1;
    std::vector<short> m_pcm;
    BYTES m_codes;
    BYTES m_frame;
};

template <class Work>
auto Repeated(Work work) {
    return [work] {
        for (int i = 0; i < REPEATS; ++i) work();
    };
}

/// The limit of G.711: nothing but loads and stores, over a table as small as the coding allows.
template <int SHIFT = 0, class In, class Out>
void TableLoop(const In* __restrict pIn, const Out* __restrict pTable, Out* __restrict pOut, size_t count) {
    for (size_t i = 0; i < count; ++i) pOut[i] = pTable[std::make_unsigned_t<In>(pIn[i]) >> SHIFT];
}

void G711Decode(benchmark::State& state) {
    const auto samples = static_cast<size_t>(state.range(0));
    COurStream ours(AUDIO_TAG_ALAW, 8, samples);
    std::vector<short> table(256, 7);
    std::vector<short> pcm(samples);
    const auto limit = [&] {
        for (size_t frame = 0; frame < ours.Frames(); ++frame) {
            TableLoop(ours.Codes(frame), table.data(), pcm.data(), samples);
            benchmark::DoNotOptimize(pcm.data());
            benchmark::ClobberMemory();
        }
    };
    CompareRates(state, double(ours.Sound().size() * 2 * REPEATS), AtLeast(0.8), Repeated([&] { ours.Decode(); }),
                 Repeated(limit));
}

void G711Encode(benchmark::State& state) {
    const auto samples = static_cast<size_t>(state.range(0));
    COurStream ours(AUDIO_TAG_ALAW, 8, samples);
    BYTES table(4096, 7);
    BYTES codes(samples);
    const auto limit = [&] {
        for (size_t frame = 0; frame < ours.Frames(); ++frame) {
            TableLoop<4>(ours.Sound().data() + frame * samples, table.data(), codes.data(), samples);
            benchmark::DoNotOptimize(codes.data());
            benchmark::ClobberMemory();
        }
    };
    CompareRates(state, double(ours.Sound().size() * 2 * REPEATS), AtLeast(0.8), Repeated([&] { ours.Encode(); }),
                 Repeated(limit));
}

/// Libavcodec's stream may end a frame earlier or later, so rates are taken from its own number of samples.
template <class Ours, class Theirs>
void CompareWithAv(benchmark::State& state, size_t ourSamples, size_t theirSamples, Ours ours, Theirs theirs) {
    CPairs pairs;
    ours();
    theirs();
    bool bOursFirst = true;
    for (auto _ : state) {
        double first = bOursFirst ? SecondsOf(ours) : SecondsOf(theirs);
        double second = bOursFirst ? SecondsOf(theirs) : SecondsOf(ours);
        if (!bOursFirst) std::swap(first, second);
        pairs.Add(double(ourSamples * 2) / first / 1e6, double(theirSamples * 2) / second / 1e6);
        bOursFirst = !bOursFirst;
    }
    pairs.Report(state, "MB/s", AtLeast(1.0));
}

struct CODING {
    WORD wTag;
    AVCodecID id;
};
constexpr CODING G726_32{AUDIO_TAG_G726, AV_CODEC_ID_ADPCM_G726};
constexpr CODING IMA_ADPCM{AUDIO_TAG_ADPCM, AV_CODEC_ID_ADPCM_IMA_SSI};  // the same codes without blocks

void AdaptiveDecode(benchmark::State& state, CODING coding) {
    const auto samples = static_cast<size_t>(state.range(0));
    COurStream ours(coding.wTag, 4, samples);
    CAvStream theirs(coding.id, 4, ours.Sound(), int(samples));
    CompareWithAv(
        state, ours.Sound().size(), theirs.Samples(), [&] { ours.Decode(); }, [&] { theirs.Decode(); });
}

void AdaptiveEncode(benchmark::State& state, CODING coding) {
    const auto samples = static_cast<size_t>(state.range(0));
    COurStream ours(coding.wTag, 4, samples);
    CAvStream theirs(coding.id, 4, ours.Sound(), int(samples));
    CompareWithAv(
        state, ours.Sound().size(), theirs.Samples(), [&] { ours.Encode(); }, [&] { theirs.Encode(); });
}

}  // namespace

BENCHMARK(G711Decode)->Arg(320)->Arg(1600)->Iterations(61);
BENCHMARK(G711Encode)->Arg(320)->Arg(1600)->Iterations(61);
BENCHMARK_CAPTURE(AdaptiveDecode, G726_32, G726_32)->Arg(2048)->Iterations(31);
BENCHMARK_CAPTURE(AdaptiveEncode, G726_32, G726_32)->Arg(2048)->Iterations(31);
BENCHMARK_CAPTURE(AdaptiveDecode, IMA_ADPCM, IMA_ADPCM)->Arg(1600)->Iterations(61);
BENCHMARK_CAPTURE(AdaptiveEncode, IMA_ADPCM, IMA_ADPCM)->Arg(1600)->Iterations(61);

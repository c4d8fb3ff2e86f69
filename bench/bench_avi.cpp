// Recording into a file: 4 Mbit/s of video at 25 frames a second, a key frame each second, and 64 kbit/s of sound, beside
// two limits: a plain write of the same pieces, and another muxer. The argument is the length in minutes.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bench/Pairs.h"
#include "main_utility/media/avi/AVIWriter.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

constexpr int FRAMES_A_MINUTE = 1500;
constexpr int KEY_EVERY = 25;
constexpr unsigned KEY_SIZE = 100000;
constexpr unsigned FRAME_SIZE = 16667;  // 20,000 bytes a frame in all
constexpr unsigned SOUND_SIZE = 320;

struct RECORDING {
    int frames;
    std::vector<unsigned char> data = std::vector<unsigned char>(KEY_SIZE, 7);
    std::string ours = "/dev/shm/hlx_bench_ours.avi";
    std::string limit = "/dev/shm/hlx_bench_limit.avi";

    explicit RECORDING(benchmark::State& state) : frames(static_cast<int>(state.range(0)) * FRAMES_A_MINUTE) {}
    ~RECORDING() {
        unlink(ours.c_str());
        unlink(limit.c_str());
    }

    static bool IsKey(int frame) { return frame % KEY_EVERY == 0; }
    static unsigned SizeOf(int frame) { return IsKey(frame) ? KEY_SIZE : FRAME_SIZE; }
    double Bytes() const {
        return static_cast<double>(frames) / KEY_EVERY * (KEY_SIZE + (KEY_EVERY - 1) * FRAME_SIZE) +
               static_cast<double>(frames) * SOUND_SIZE;
    }
};

BITMAPINFOHEADER Picture() {
    BITMAPINFOHEADER bmp{40, 704, 576, 1, 24};
    bmp.biCompression = FourCC("H264");
    return bmp;
}

void WriteOurs(const RECORDING& recording, benchmark::State& state) {
    const WAVEFORMATEX wave{6, 1, 8000, 8000, 1, 8, 0};
    CAVIWriter writer;
    unlink(recording.ours.c_str());
    bool bGood = writer.Open(recording.ours.c_str(), Picture(), &wave, true, AVI_TYPE_STD, 0);
    for (int i = 0; i < recording.frames; ++i) {
        const bool bKey = RECORDING::IsKey(i);
        bGood &= writer.WriteData(recording.data.data(), RECORDING::SizeOf(i), i, true, bKey, false) == 0;
        bGood &= writer.WriteData(recording.data.data(), SOUND_SIZE, i, false, false, false) == 0;
    }
    if (!writer.Close() || !bGood) state.SkipWithError("the file could not be written");
}

void WritePlain(const RECORDING& recording, benchmark::State& state) {
    unlink(recording.limit.c_str());
    const int fd = open(recording.limit.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    bool bGood = fd >= 0;
    for (int i = 0; i < recording.frames; ++i) {
        for (const unsigned size : {RECORDING::SizeOf(i), SOUND_SIZE})
            bGood &= write(fd, recording.data.data(), size) == static_cast<ssize_t>(size);
    }
    if (close(fd) != 0 || !bGood) state.SkipWithError("the limit's file could not be written");
}

void AddStream(AVFormatContext* pContext, AVMediaType type, AVCodecID codec, AVRational timeBase) {
    AVStream* pStream = avformat_new_stream(pContext, nullptr);
    AVCodecParameters& parameters = *pStream->codecpar;
    parameters.codec_type = type;
    parameters.codec_id = codec;
    pStream->time_base = timeBase;
    if (type == AVMEDIA_TYPE_VIDEO) {
        parameters.width = 704;
        parameters.height = 576;
        return;
    }
    parameters.sample_rate = 8000;
    parameters.block_align = 1;
    parameters.bits_per_coded_sample = 8;
    parameters.bit_rate = 64000;
    av_channel_layout_default(&parameters.ch_layout, 1);
}

bool Give(AVFormatContext* pContext, AVPacket* pPacket, const RECORDING& recording, int frame, bool bVideo) {
    pPacket->data = const_cast<unsigned char*>(recording.data.data());
    pPacket->size = static_cast<int>(bVideo ? RECORDING::SizeOf(frame) : SOUND_SIZE);
    pPacket->stream_index = bVideo ? 0 : 1;
    pPacket->pts = pPacket->dts = bVideo ? frame : tint64{frame} * SOUND_SIZE;
    pPacket->flags = !bVideo || RECORDING::IsKey(frame) ? AV_PKT_FLAG_KEY : 0;
    return av_write_frame(pContext, pPacket) >= 0;
}

void WriteOther(const RECORDING& recording, benchmark::State& state) {
    unlink(recording.limit.c_str());
    AVFormatContext* pContext = nullptr;
    avformat_alloc_output_context2(&pContext, nullptr, "avi", recording.limit.c_str());
    // MJPEG, since for H.264 that muxer looks into the frames.
    AddStream(pContext, AVMEDIA_TYPE_VIDEO, AV_CODEC_ID_MJPEG, {1, 25});
    AddStream(pContext, AVMEDIA_TYPE_AUDIO, AV_CODEC_ID_PCM_ALAW, {1, 8000});
    bool bGood = avio_open(&pContext->pb, recording.limit.c_str(), AVIO_FLAG_WRITE) >= 0 &&
                 avformat_write_header(pContext, nullptr) >= 0;
    AVPacket* pPacket = av_packet_alloc();
    for (int i = 0; i < recording.frames && bGood; ++i)
        bGood = Give(pContext, pPacket, recording, i, true) && Give(pContext, pPacket, recording, i, false);
    bGood = bGood && av_write_trailer(pContext) == 0;
    av_packet_free(&pPacket);
    avio_closep(&pContext->pb);
    avformat_free_context(pContext);
    if (!bGood) state.SkipWithError("the other muxer failed");
}

void AviBesideWrite(benchmark::State& state) {
    const RECORDING recording(state);
    CompareRates(
        state, recording.Bytes(), AtLeast(0.75), [&] { WriteOurs(recording, state); },
        [&] { WritePlain(recording, state); });
}

void AviBesideMuxer(benchmark::State& state) {
    const RECORDING recording(state);
    CompareRates(
        state, recording.Bytes(), AtLeast(1.0), [&] { WriteOurs(recording, state); },
        [&] { WriteOther(recording, state); });
}

}  // namespace

BENCHMARK(AviBesideWrite)->Arg(6)->Iterations(15);
BENCHMARK(AviBesideWrite)->Arg(60)->Iterations(3);
BENCHMARK(AviBesideMuxer)->Arg(6)->Iterations(15);
BENCHMARK(AviBesideMuxer)->Arg(60)->Iterations(3);

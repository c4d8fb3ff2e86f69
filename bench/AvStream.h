// The limit of the adaptive codings: libavcodec with the same sound.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <memory>
#include <vector>

/// A stream of 8000 Hz mono, coded by libavcodec and decoded by it. Throws std::runtime_error on whatever goes wrong.
class CAvStream {
public:
    /// `samples` is how long a frame is where the coder has no size of its own.
    CAvStream(AVCodecID id, int bits, const std::vector<short>& pcm, int samples);

    /// All of the sound once, frame by frame.
    void Encode();
    void Decode();

    /// Samples in it: whole frames.
    size_t Samples() const { return m_frames.size() * static_cast<size_t>(m_frames.front()->nb_samples); }

private:
    struct Free {
        void operator()(AVCodecContext* p) const { avcodec_free_context(&p); }
        void operator()(AVPacket* p) const { av_packet_free(&p); }
        void operator()(AVFrame* p) const { av_frame_free(&p); }
    };
    using CONTEXT = std::unique_ptr<AVCodecContext, Free>;
    using PACKET = std::unique_ptr<AVPacket, Free>;
    using FRAME = std::unique_ptr<AVFrame, Free>;

    static CONTEXT Open(const AVCodec* pCodec, int bits);
    FRAME MakeFrame(const short* pPcm, int samples) const;

    CONTEXT m_coder;
    CONTEXT m_decoder;
    std::vector<FRAME> m_frames;
    std::vector<PACKET> m_packets;
    PACKET m_packet;
    FRAME m_frame;
};

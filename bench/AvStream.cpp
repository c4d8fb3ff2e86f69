#include "bench/AvStream.h"

#include <cstring>
#include <stdexcept>

namespace {

void Require(bool bHolds) {
    if (!bHolds) throw std::runtime_error("libavcodec refuses");
}

}  // namespace

CAvStream::CAvStream(AVCodecID id, int bits, const std::vector<short>& pcm, int samples)
    : m_coder(Open(avcodec_find_encoder(id), bits)),
      m_decoder(Open(avcodec_find_decoder(id), bits)),
      m_packet(av_packet_alloc()),
      m_frame(av_frame_alloc()) {
    if (m_coder->frame_size > 0) samples = m_coder->frame_size;
    for (size_t at = 0; at + static_cast<size_t>(samples) <= pcm.size(); at += static_cast<size_t>(samples)) {
        m_frames.push_back(MakeFrame(pcm.data() + at, samples));
        Require(avcodec_send_frame(m_coder.get(), m_frames.back().get()) == 0);
        m_packets.emplace_back(av_packet_alloc());
        Require(avcodec_receive_packet(m_coder.get(), m_packets.back().get()) == 0);
    }
}

CAvStream::CONTEXT CAvStream::Open(const AVCodec* pCodec, int bits) {
    Require(pCodec);
    CONTEXT context(avcodec_alloc_context3(pCodec));
    context->sample_rate = 8000;
    context->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    context->sample_fmt = AV_SAMPLE_FMT_S16;
    context->bit_rate = bits * 8000;
    context->bits_per_coded_sample = bits;
    Require(avcodec_open2(context.get(), pCodec, nullptr) == 0);
    return context;
}

CAvStream::FRAME CAvStream::MakeFrame(const short* pPcm, int samples) const {
    FRAME frame(av_frame_alloc());
    frame->nb_samples = samples;
    frame->format = AV_SAMPLE_FMT_S16;
    frame->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    frame->sample_rate = 8000;
    Require(av_frame_get_buffer(frame.get(), 0) == 0);
    std::memcpy(frame->data[0], pPcm, static_cast<size_t>(samples) * sizeof(short));
    return frame;
}

void CAvStream::Encode() {
    for (const auto& frame : m_frames) {
        Require(avcodec_send_frame(m_coder.get(), frame.get()) == 0);
        Require(avcodec_receive_packet(m_coder.get(), m_packet.get()) == 0);
    }
}

void CAvStream::Decode() {
    for (const auto& packet : m_packets) {
        Require(avcodec_send_packet(m_decoder.get(), packet.get()) == 0);
        Require(avcodec_receive_frame(m_decoder.get(), m_frame.get()) == 0);
    }
}

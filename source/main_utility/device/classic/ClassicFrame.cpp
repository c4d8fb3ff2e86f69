#include "main_utility/device/classic/ClassicFrame.h"

#include <algorithm>

namespace {

struct WIRE_TO_PUBLIC {
    tuint32 wire;
    tuint32 sdk;
};

constexpr WIRE_TO_PUBLIC FRAME_TYPES[] = {
    {FRAME_TYPE_NONE, DD_FRAME_TYPE_NONE},
    {FRAME_TYPE_VIDEO, DD_FRAME_TYPE_VIDEO},
    {FRAME_TYPE_AUDIO, DD_FRAME_TYPE_AUDIO},
    {FRAME_TYPE_VIDEO_FORMAT, DD_FRAME_TYPE_VIDEO_FORMAT},
    {FRAME_TYPE_AUDIO_FORMAT, DD_FRAME_TYPE_AUDIO_FORMAT},
    {FRAME_TYPE_TALK_AUDIO, DD_FRAME_TYPE_TALK_AUDIO},
    {FRAME_TYPE_TALK_AUDIO_FORMAT, DD_FRAME_TYPE_TALK_AUDIO_FORMAT},
    {FRAME_TYPE_END, DD_FRAME_TYPE_END},
    {FRAME_TYPE_JPEG, DD_FRAME_TYPE_JPEG},
};

constexpr WIRE_TO_PUBLIC FRAME_ATTRIBS[] = {
    {PLAY_FRAME_NO_SHOW, DD_PLAY_FRAME_NO_SHOW},
    {PLAY_FRAME_SHOW, DD_PLAY_FRAME_SHOW},
    {PLAY_FRAME_ALL_END, DD_PLAY_FRAME_ALL_END},
    {PLAY_FRAME_SEC_END, DD_PLAY_FRAME_SEC_END},
    {PLAY_FRAME_NO_TIME_STAMP, DD_PLAY_FRAME_NO_TIME_STAMP},
    {LIVE_FRAME_FIRST_STREAM, DD_LIVE_FRAME_FIRST_STREAM},
    {LIVE_FRAME_SECOND_STREAM, DD_LIVE_FRAME_SECOND_STREAM},
    {PLAY_FRAME_FF, DD_PLAY_FRAME_FF},
    {LIVE_FRAME_JPEG, DD_LIVE_FRAME_JPEG},
    {LIVE_FRAME_TALK, DD_LIVE_FRAME_TALK},
};

tuint32 ConvertAttribs(tuint32 wireAttribs) {
    tuint32 sdkAttribs = 0;
    for (const auto& row : FRAME_ATTRIBS) {
        if (wireAttribs & row.wire) sdkAttribs |= row.sdk;
    }
    return sdkAttribs;
}

}  // namespace

bool ConvertFrameInfo(const FRAME_INFO& wire, HLX_FRAME_INFO& frame) {
    const tuint32 wireType = wire.frameType;
    const auto* pRow = std::ranges::find(FRAME_TYPES, wireType, &WIRE_TO_PUBLIC::wire);
    if (pRow == std::end(FRAME_TYPES)) return false;
    frame.channel = wire.channel;
    frame.frameType = pRow->sdk;
    frame.length = wire.length;
    frame.keyFrame = wire.keyFrame;
    frame.width = wire.width;
    frame.height = wire.height;
    frame.frameIndex = wire.frameIndex;
    frame.frameAttrib = ConvertAttribs(wire.frameAttrib);
    frame.streamID = wire.streamID;
    frame.time = wire.time;
    frame.relativeTime = wire.relativeTime;
    return true;
}

size_t UnpackAudio(std::span<const std::byte> blocks, std::span<std::byte> target) {
    const size_t count = std::min(blocks.size() / AUDIO_BLOCK_SIZE, target.size() / AUDIO_BLOCK_DATA);
    for (size_t i = 0; i < count; ++i) {
        const auto samples = blocks.subspan(i * AUDIO_BLOCK_SIZE + AUDIO_BLOCK_PREFIX, AUDIO_BLOCK_DATA);
        std::ranges::copy(samples, target.subspan(i * AUDIO_BLOCK_DATA).begin());
    }
    return count * AUDIO_BLOCK_DATA;
}

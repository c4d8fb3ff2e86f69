// Every frame that a device sends reaches the application whole, once and in order.
#include <cstdlib>
#include <utility>

#include "System.h"

namespace {

/// Checks what one receiver got: all frames as sent, and per frame type with rising indexes without a gap.
void CheckStream(const CReceiver& receiver, const CSentFrames& sent, DWORD channel) {
    std::map<DWORD, DWORD> lastIndex;
    bool bFirstVideo = true;
    for (const RECEIVED_FRAME& frame : receiver.Frames()) {
        ASSERT_EQ(channel, frame.info.channel);
        if (frame.info.frameType != DD_FRAME_TYPE_VIDEO && frame.info.frameType != DD_FRAME_TYPE_AUDIO) continue;
        const CLASSIC_SENT_FRAME* pSent = sent.Find(frame);
        ASSERT_NE(nullptr, pSent) << "frame " << frame.info.frameIndex << " of type " << frame.info.frameType;
        ASSERT_TRUE(IsSame(frame, *pSent)) << "frame " << frame.info.frameIndex << " of type " << frame.info.frameType;
        const auto last = lastIndex.find(frame.info.frameType);
        ASSERT_TRUE(last == lastIndex.end() || last->second + 1 == frame.info.frameIndex) << "a gap or a repeat";
        lastIndex[frame.info.frameType] = frame.info.frameIndex;
        const bool bFirst = frame.info.frameType == DD_FRAME_TYPE_VIDEO && std::exchange(bFirstVideo, false);
        EXPECT_TRUE(!bFirst || frame.info.keyFrame != 0) << "a stream starts on a key frame";
    }
}

struct LOAD {
    unsigned channels;
    LONG streamType;
    double speed;
    unsigned packLimit;
    unsigned soundUnits;
    const char* sFirstClip;
    const char* sSecondClip;
};

std::ostream& operator<<(std::ostream& out, const LOAD& load) {
    return out << load.channels << " channels of stream " << load.streamType << ", " << load.sFirstClip;
}

class LiveFidelity : public CSystemTest, public testing::WithParamInterface<LOAD> {};

TEST_P(LiveFidelity, EveryFrameArrivesAsSent) {
    const LOAD& load = GetParam();
    CLASSIC_RECORDER_CONFIG config = Fast(load.channels, load.speed);
    config.packLimit = load.packLimit;
    config.soundUnits = load.soundUnits;
    config.firstClips = {load.sFirstClip};
    config.secondClips = {load.sSecondClip};
    config.bKeepDigests = true;
    // A longer run at real speed for figures: seconds in the environment.
    const char* pSeconds = std::getenv("HLX_TEST_SECONDS");
    const size_t frames = pSeconds ? std::strtoul(pSeconds, nullptr, 10) * 25 : 25;
    if (pSeconds) config.speed = 1;
    CClassicRecorder& recorder = StartRecorder(config);

    const LONG id = Login();
    ASSERT_GT(id, 0);
    std::vector<CReceiver> receivers(load.channels);
    std::vector<POINTERHANDLE> handles;
    for (unsigned channel = 0; channel < load.channels; ++channel) {
        handles.push_back(receivers[channel].Play(id, channel, load.streamType));
        ASSERT_GT(handles.back(), 0) << HLX_GetLastError();
    }
    if (pSeconds)
        WaitUntil([&] { return receivers.back().Count(DD_FRAME_TYPE_VIDEO) >= frames; }, std::chrono::hours(1));
    for (const CReceiver& receiver : receivers) ASSERT_TRUE(receiver.WaitForFrames(frames));
    for (const POINTERHANDLE handle : handles) EXPECT_TRUE(HLX_StopLivePlay(handle));
    EXPECT_TRUE(HLX_Logout(id));

    CSentFrames sent;
    sent.Take(recorder);
    size_t video = 0;
    size_t sound = 0;
    for (unsigned channel = 0; channel < load.channels; ++channel) {
        CheckStream(receivers[channel], sent, channel);
        EXPECT_GT(receivers[channel].Count(DD_FRAME_TYPE_AUDIO), 0U);
        video += receivers[channel].Count(DD_FRAME_TYPE_VIDEO);
        sound += receivers[channel].Count(DD_FRAME_TYPE_AUDIO);
    }
    RecordProperty("video_frames", static_cast<int>(video));
    if (pSeconds) std::printf("%zu video and %zu sound frames, each as sent, in order, none lost\n", video, sound);
}

INSTANTIATE_TEST_SUITE_P(
    Loads, LiveFidelity,
    testing::Values(LOAD{16, HLX_MAIN_STREAM, 4, 16000, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{64, HLX_SUB_STREAM, 2, 16000, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{2, HLX_MAIN_STREAM, 10, 1024, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{4, HLX_SUB_STREAM, 10, 1 << 20, 25, "main-704x576-25.h264", "sub-352x288-25.h265"},
                    LOAD{4, HLX_MAIN_STREAM, 4, 16000, 1, "sub-352x288-25.mjpeg", "sub-352x288-25.h264"}));

}  // namespace

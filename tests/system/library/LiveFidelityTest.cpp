// Every frame that a device sends reaches the application whole, once and in order.

#include "System.h"

namespace {

struct LOAD {
    unsigned channels;
    LONG streamType;
    double speed;
    unsigned packLimit, soundUnits;
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
    CClassicRecorder& recorder = StartRecorder(config);
    const size_t frames = std::max(25U, 500 / load.channels);  // two channels go round their clip's end

    const LONG id = Login();
    CFrameLedger ledger;
    std::vector<CReceiver> receivers(load.channels);
    for (unsigned channel = 0; channel < load.channels; ++channel) {
        receivers[channel].m_pLedger = &ledger;
        ASSERT_GT(receivers[channel].Play(id, channel, load.streamType), 0) << HLX_GetLastError();
    }
    for (const CReceiver& receiver : receivers) ASSERT_TRUE(receiver.WaitForFrames(frames));
    EXPECT_TRUE(HLX_Logout(id));
    for (const CReceiver& receiver : receivers) EXPECT_GT(receiver.Count(DD_FRAME_TYPE_AUDIO), 0U);
    ledger.Settle(0, recorder);
    const LEDGER_TOTALS totals = ledger.Totals();
    EXPECT_GE(totals.delivered, load.channels * frames);
    EXPECT_EQ(0U, totals.missing + totals.atStart + totals.wrong) << testing::PrintToString(ledger.Findings());
}

INSTANTIATE_TEST_SUITE_P(
    Loads, LiveFidelity,
    testing::Values(LOAD{16, HLX_MAIN_STREAM, 4, 16000, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{64, HLX_SUB_STREAM, 2, 16000, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{2, HLX_MAIN_STREAM, 10, 1024, 1, "main-704x576-25.h264", "sub-352x288-25.h264"},
                    LOAD{4, HLX_SUB_STREAM, 10, 1 << 20, 25, "main-704x576-25.h264", "sub-352x288-25.h265"},
                    LOAD{4, HLX_MAIN_STREAM, 4, 16000, 1, "sub-352x288-25.mjpeg", "sub-352x288-25.h264"}));

/// A device that garbles its stream: the rest is dropped, and nothing breaks.
class StreamFaults : public CSystemTest, public testing::WithParamInterface<const char*> {};

TEST_P(StreamFaults, NoFalseFrameAndNoHang) {
    CLASSIC_RECORDER_CONFIG config = Fast(4, 10);
    config.packLimit = 2048;
    config.bKeepDigests = true;
    config.faults = {Fault(GetParam())};
    CClassicRecorder& recorder = StartRecorder(config);
    const LONG id = Login();
    ASSERT_GT(id, 0);
    CFrameLedger ledger;
    std::vector<CReceiver> receivers(4);
    for (int channel = 0; channel < 4; ++channel) {
        receivers[channel].m_pLedger = &ledger;
        receivers[channel].Play(id, channel);
    }
    EXPECT_TRUE(m_events.WaitFor(SIM_EVENT_KIND::FAULT, 1, std::chrono::seconds(10)));
    WaitUntil([&] { return receivers[0].Count(DD_FRAME_TYPE_VIDEO) >= 40 || !HLX_MakeKeyFrame(id, 0); },
              std::chrono::seconds(1));  // some faults end the frames for good
    HLX_Logout(id);

    ledger.Settle(0, recorder);
    EXPECT_EQ(0U, ledger.Totals().wrong) << testing::PrintToString(ledger.Findings());
    recorder.SetFaults({});
    const LONG again = Login();
    EXPECT_GT(again, 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, StreamFaults,
                         testing::Values("garbage=3", "frame-length=3", "link-length=20", "piece-lost=2",
                                         "piece-swapped=2", "piece-totals=2", "close-after=300000",
                                         "silent-after=300000"));

}  // namespace

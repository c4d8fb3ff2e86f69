// Every frame that a device sends reaches the application whole, once and in order.
#include <algorithm>

#include "System.h"

namespace {

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

}  // namespace

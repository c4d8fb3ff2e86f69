// A device that garbles its stream: what arrives is what was sent, the rest is dropped, and nothing breaks.
#include "System.h"

namespace {

class StreamFaults : public CSystemTest, public testing::WithParamInterface<const char*> {};

TEST_P(StreamFaults, NoFalseFrameAndNoHang) {
    CLASSIC_RECORDER_CONFIG config = Fast(4, 10);
    config.packLimit = 2048;
    config.bKeepDigests = true;
    std::string sError;
    const auto fault = ParseFault(GetParam(), sError);
    ASSERT_TRUE(fault) << sError;
    config.faults = {*fault};
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

// Somebody sets the machine's clock while the library waits: nothing ends early, nothing lasts.

#include "System.h"

using namespace std::chrono_literals;

namespace {

constexpr tint64 HOUR = 3600LL * 1000;
constexpr tint64 TEN_YEARS = 3650 * 24 * HOUR;

tint64 Seconds() { return CFastTime::Clock().MonotonicMicroseconds() / 1000000; }

class WallClock;
struct WAIT_ROW {
    const char* pName;
    std::optional<SIM_FAULT> fault;  // in force when the wait begins
    bool bStream;                    // a stream plays before
    bool (*fWait)(WallClock& test);  // true when it ended as it should
    tint64 least, most;              // seconds that it lasts
    int rate = 20;                   // of the clock; more where nothing need succeed in time
};
std::ostream& operator<<(std::ostream& out, const WAIT_ROW& row) { return out << row.pName; }

class WallClock : public CSystemTest, public testing::WithParamInterface<std::tuple<WAIT_ROW, bool>> {
public:
    bool LoginFails(DWORD number) { return Login() == -1 && HLX_GetLastError() == number; }
    bool PlayStarts() { return m_receiver.Play(m_id, 0) > 0 && m_told->m_breaks == 0; }
    bool BreakIsTold(SIM_CUT cut) {
        m_recorders.back()->CutLinks(cut);
        return WaitUntil([&] { return m_told->m_breaks == 1; }, 20s);
    }
    bool ReturnIsTold() {
        return BreakIsTold(SIM_CUT::CLOSE) && WaitUntil([&] { return m_told->m_returns == 1; }, 20s);
    }
    bool StreamRunsOn(size_t frames) {
        return m_receiver.WaitForFrames(m_receiver.Count(DD_FRAME_TYPE_VIDEO) + frames) && m_told->m_breaks == 0;
    }
    bool TimePasses(tint64 seconds) {
        const tint64 end = Seconds() + seconds;
        return WaitUntil([&] { return Seconds() >= end; }, 20s);
    }

protected:
    void SetUp() override;
    void TearDown() override {
        m_told.reset();
        HLX_SetConnectTime(5000, 3);
        CSystemTest::TearDown();
    }

    CReceiver m_receiver;
    LONG m_id = -1;
    std::optional<CTold> m_told;
};

void WallClock::SetUp() {
    CSystemTest::SetUp();
    CLASSIC_RECORDER_CONFIG config = Fast(2, 4);
    config.heartbeat = 50ms;  // in step with the faster clock
    StartRecorder(config);
    ASSERT_TRUE(HLX_SetConnectTime(8000, 1));
    m_told.emplace(8000);
    ASSERT_GT(m_id = Login(), 0);
}

const WAIT_ROW ROWS[] = {
    {"login", SIM_FAULT{SIM_FAULT_KIND::SILENT, SIM_PHASE::LOGIN}, false,
     [](WallClock& test) { return test.LoginFails(HLX_NETWORK_RECV_TIMEOUT); }, 9, 25},
    {"reply", SIM_FAULT{SIM_FAULT_KIND::SILENT, SIM_PHASE::STREAM}, false,
     [](WallClock& test) { return test.PlayStarts(); }, 9, 25},
    {"silent_link", {}, true, [](WallClock& test) { return test.BreakIsTold(SIM_CUT::SILENT); }, 28, 42, 40},
    {"silent_stream", SIM_FAULT{SIM_FAULT_KIND::STREAM_STOP, SIM_PHASE::ANY, 0, 1}, true,
     [](WallClock& test) { return test.TimePasses(2) && test.StreamRunsOn(3); }, 10, 45},
    {"reconnect", {}, true, [](WallClock& test) { return test.ReturnIsTold(); }, 0, 20},
    {"busy_link", {}, true, [](WallClock& test) { return test.TimePasses(12) && test.StreamRunsOn(3); }, 11, 20},
};

}  // namespace

TEST_P(WallClock, MayBeSetDuringAWait) {
    const auto& [row, bForward] = GetParam();
    if (row.bStream) {
        ASSERT_TRUE(PlayStarts() && StreamRunsOn(3));
    }
    if (row.fault) m_recorders.back()->SetFaults({*row.fault});
    CMovedTime& clock = CFastTime::Clock();
    const CFastTime fast(row.rate);
    const tint64 begin = Seconds();
    std::thread setter([&, &row = row, bForward = bForward] {
        for (const tint64 jump : {HOUR, TEN_YEARS}) {
            TimePasses(std::max<tint64>(row.least / 3, 1));
            clock.JumpWall(bForward ? jump : -jump);
        }
    });
    EXPECT_TRUE(row.fWait(*this));
    const tint64 lasted = Seconds() - begin;
    setter.join();
    EXPECT_GE(lasted, row.least);
    EXPECT_LE(lasted, row.most);
    HLX_Logout(m_id);
    clock.JumpWall(bForward ? -HOUR - TEN_YEARS : HOUR + TEN_YEARS);
}

INSTANTIATE_TEST_SUITE_P(, WallClock, testing::Combine(testing::ValuesIn(ROWS), testing::Bool()), [](const auto& row) {
    return std::string(std::get<0>(row.param).pName) + (std::get<1>(row.param) ? "_forward" : "_back");
});

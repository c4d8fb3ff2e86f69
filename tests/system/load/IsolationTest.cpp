// Whatever one device or one callback does, the others' frames come whole, in order and without a gap.

#include "netservice/MultiNetDataBufferMan.h"
#include "simulator/classic/ClassicSession.h"
#include "tests/soak/Viewers.h"
#include "tests/system/library/System.h"

namespace {

constexpr int ENOUGH = 40;  // frames of each stream

/// A recorder that, once a client is logged in, promises a message of a million bytes and then sends a byte at a time.
class CDribblingSession : public CClassicSession {
public:
    CDribblingSession(CSimLink& link, CLASSIC_STATE& state) : CClassicSession(link, state), m_wire(link) {}

    void OnMessage(SIM_BYTE_VIEW message, SIM_TIME now) override {
        CClassicSession::OnMessage(message, now);
        const auto head = ReadRecord<PACKCMD>(message);
        if (head && head->cmdType == CMD_REQUEST_DISK_START) m_next = now;  // the last that a login asks
    }
    SIM_TIME OnDue(SIM_TIME now) override {
        if (m_next == SIM_TIME::max()) return CClassicSession::OnDue(now);
        if (now < m_next) return m_next;
        const LINK_FRAME_HEAD promise{LINK_FRAME_MARKER, 1000000};
        m_wire.SendRaw(m_bPromised ? SIM_BYTE_VIEW(m_byte) : RecordBytes(promise));
        m_bPromised = true;
        return m_next = now + std::chrono::milliseconds(5);
    }

private:
    CSimLink& m_wire;
    SIM_TIME m_next = SIM_TIME::max();
    bool m_bPromised = false;
    const std::byte m_byte[1] = {};
};

/// Four recorders of one channel that do nothing wrong.
class Isolation : public CSystemTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        StartHealthy();
    }
    void StartHealthy() {
        m_healthy.emplace(4, Fast(1, 8));
        ASSERT_TRUE(m_healthy->Start());
    }
    void TearDown() override {
        ExpectHealthyWhole();
        m_healthy.reset();
        CSystemTest::TearDown();
    }
    void ExpectHealthyWhole() {
        m_healthy->Mark();
        EXPECT_TRUE(WaitUntil([&] { return m_healthy->AllRun(ENOUGH); }, std::chrono::seconds(20)));
        m_healthy->Stop();
        const LEDGER_TOTALS totals = m_healthy->Ledger().Totals();
        EXPECT_GE(totals.delivered, 4U * ENOUGH);
        EXPECT_EQ(0U, totals.missing + totals.atStart + totals.withLink + totals.wrong)
            << testing::PrintToString(m_healthy->Ledger().Findings());
    }

    std::optional<CViewers> m_healthy;
};

TEST_F(Isolation, FiftyLinksThatSendByteByByte) {
    CLASSIC_STATE state;
    state.config = Fast(1);
    state.sPassword = "secret";
    CSimServer server;
    std::string sError;
    const auto maker = [&](CSimLink& link) { return std::make_unique<CDribblingSession>(link, state); };
    ASSERT_TRUE(server.Start("127.0.0.1", 0, maker, sError)) << sError;
    for (int i = 0; i < 50; ++i) ASSERT_GT(HLX_Login("127.0.0.1", server.Port(), "admin", "secret", nullptr), 0);
    ExpectHealthyWhole();
    StartHealthy();  // and streams can be opened as ever
}

/// A viewer whose callbacks wait until they are released, and then note the frames.
struct BLOCKED_VIEWER {
    std::promise<void> release;
    std::shared_future<void> released{release.get_future()};
    CFrameLedger ledger;

    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO frame, BYTE* pData, void* pUser) {
        auto& self = *static_cast<BLOCKED_VIEWER*>(pUser);
        self.released.wait();
        self.ledger.Received(0, frame, pData);
    }
};

TEST_F(Isolation, ACallbackThatBlocksForAMinute) {
    const CTempDir logs;
    HLX_SetLogToFile(1, logs.Path().c_str(), 1, YLOG_WARN);
    const CFastTime fast(10);  // a frame that finds no room holds the engine for a moved 10 ms
    CLASSIC_RECORDER_CONFIG config = Fast(1, 20);
    config.soundUnits = 25;
    config.bKeepDigests = true;
    CClassicRecorder& recorder = StartRecorder(config);
    const LONG id = Login();
    BLOCKED_VIEWER viewer;
    HLX_CLIENTINFO info{};
    const POINTERHANDLE handle = HLX_LivePlay(id, &info, BLOCKED_VIEWER::OnFrame, &viewer);
    EXPECT_GT(handle, 0);
    const auto lost = [&] { return CMultiNetDataBufferMan::Instance()->GetLostFrames(LIVE_BUFFER_ID(id, 0, 0)); };
    EXPECT_TRUE(WaitUntil([&] { return lost() > 0; }, std::chrono::seconds(20)));
    for (int second = 0; second < 60; ++second) {
        m_healthy->Mark();
        EXPECT_TRUE(WaitUntil([&] { return m_healthy->AllRun(1); }, std::chrono::seconds(20)));
        CFastTime::Clock().Advance(1000);
    }
    viewer.release.set_value();
    const auto settled = [&] {
        viewer.ledger.Settle(0, recorder);
        return viewer.ledger.Totals().missing >= lost();
    };
    EXPECT_TRUE(WaitUntil(settled, std::chrono::seconds(20))) << "the stream goes on behind its gap";
    HLX_StopLivePlay(handle);
    HLX_SetLogToFile(0, logs.Path().c_str(), 1, YLOG_WARN);
    settled();
    const LEDGER_TOTALS totals = viewer.ledger.Totals();
    EXPECT_EQ(0U, totals.wrong + totals.atStart + totals.withLink);
    EXPECT_EQ(totals.missing, DroppedAsLogged(logs.Path())) << "each frame that is missing is counted for the user";
}

}  // namespace

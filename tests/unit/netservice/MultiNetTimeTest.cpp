#include <sys/resource.h>

#include "EngineFixture.h"
#include "support/MovedTime.h"

namespace {

class MultiNetTime : public EngineFixture {
protected:
    /// Moves time on in steps that the engine does not take for its own absence.
    void Pass(int milliseconds) {
        for (int left = milliseconds; left > 0; left -= 1000) {
            m_time.Advance(std::min(left, 1000));
            Round();
        }
    }
    /// Waits until the engine has made a whole round: a message to itself has come and gone after the move.
    void Round() {
        for (int i = 0; i < 2; ++i) {
            const size_t before = m_clock.Messages().size();
            Write(m_clockPeer, Framed("tick"));
            ASSERT_TRUE(m_clock.AwaitMessages(before + 1));
        }
    }
    void SetUp() override {
        EngineFixture::SetUp();
        m_clockPeer = AddManual(1000);
        m_engine.SetAutoRecvCallback(1000, CReceiver::OnData, &m_clock);
        m_engine.SetRecvMode(1000, true);
    }

    CMovedTime m_time;
    CReceiver m_clock;
    int m_clockPeer = -1;
};

}  // namespace

TEST_F(MultiNetTime, OwnAbsenceIsNoFaultOfALinkAndHeartbeatsKeepItUntilTheyEnd) {
    const int peer = AddAutomatic();
    for (int i = 0; i < 3; ++i) {
        Pass(20000);
        Write(peer, Framed(""));
        Round();
        m_time.Advance(65000);  // the machine was away
        Round();
        EXPECT_EQ(m_receiver.BrokenCount(), 0u);
    }
    Pass(29000);
    EXPECT_EQ(m_receiver.BrokenCount(), 0u);
    Pass(3000);
    EXPECT_TRUE(m_receiver.AwaitBroken() && m_receiver.Messages().empty());
}

TEST_F(MultiNetTime, HeartbeatGoesOutEverySevenAndAHalfSeconds) {
    const int peer = AddAutomatic();
    Pass(7000);
    EXPECT_EQ(ReadWaiting(peer), "");
    Pass(1000);
    EXPECT_EQ(Read(peer, 8), Framed(""));
    Pass(5000);
    EXPECT_EQ(m_engine.SendData(LINK, "data", 4, false, true), 0);
    EXPECT_EQ(Read(peer, 4), "data");
    Pass(7000);
    EXPECT_EQ(ReadWaiting(peer), "") << "data says as much as a heartbeat";
    m_time.JumpWall(-60000);
    Round();
    EXPECT_EQ(ReadWaiting(peer), "") << "the wall clock says nothing";
    Pass(1000);
    EXPECT_EQ(Read(peer, 8), Framed(""));
    const std::string message = Noise(2000000);
    const int part = m_engine.SendDataSync(LINK, message.data(), 2000000, false);
    ASSERT_LT(part, 2000000);
    EXPECT_TRUE(Read(peer, part) == message.substr(0, part));
    EXPECT_EQ(m_engine.SendData(LINK, "queued", 6, false, false), 0);
    Pass(16000);
    EXPECT_EQ(ReadWaiting(peer), "") << "neither comes inside a message that is partly sent";
}

TEST_F(EngineFixture, IdleEngineSleeps) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's own wake-ups would be counted";
#endif
    for (int link = 0; link < 200; ++link) {
        const int peer = AddAutomatic(link);
        EXPECT_EQ(m_engine.SendData(link, "small", 5, false, false), 0);
        EXPECT_EQ(Read(peer, 13), Framed("small"));
    }
    const auto switches = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_nvcsw;
    };
    const long start = switches();
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    EXPECT_LE(switches() - start, 8) << "wake-ups in 1.2 s";
}

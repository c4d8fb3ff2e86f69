// Talk: what goes out and how sound is cut into messages.

#include <numeric>

#include "support/MovedTime.h"
#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr tuint32 TALK_START = 0xB01, TALK_STREAM = 0xB02, TALK_STOP = 0xB03, START_SUCC = 0xB0001,
                  START_FAIL = 0xB0002;

class TalkTest : public testing::Test {
protected:
    TalkTest() {
        EXPECT_TRUE(m_recorder.LoggedIn());
        m_recorder.m_answers[TALK_START] = Message(START_SUCC);
    }
    /// A talk whose format says how sound is aligned.
    void Start(tuint16 nBlockAlign) {
        ASSERT_TRUE(m_device.StartTalkback());
        TEST_FRAME format;
        format.type = 8;
        format.attrib = 0x200;
        format.data = Number(6, 2) + Number(1, 2) + Word(8000) + Word(8000) + Number(nBlockAlign, 2) + Number(8, 2) +
                      Number(0, 2);
        m_recorder.Receive(format);
        m_recorder.m_sent.clear();
    }
    bool Send(const Bytes& sound) {
        Bytes copy = sound;
        return m_device.SendTalkData(reinterpret_cast<unsigned char*>(copy.data()),
                                     static_cast<unsigned int>(copy.size()));
    }
    /// Bodies of the sound messages that went out since the last call.
    std::vector<Bytes> Bodies() {
        std::vector<Bytes> bodies;
        for (const Bytes& sent : m_recorder.m_sent) {
            EXPECT_EQ(sent.substr(0, 16), Word(TALK_STREAM) + Word(0) + Word(4) + Word(sent.size() - 16));
            bodies.push_back(sent.substr(16));
        }
        m_recorder.m_sent.clear();
        return bodies;
    }

    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
};

Bytes Sound(size_t length, char first = 0) {
    Bytes sound(length, 0);
    std::iota(sound.begin(), sound.end(), first);
    return sound;
}

TEST_F(TalkTest, StartAndStop) {
    CMovedTime clock;
    clock.SetRate(1000);
    EXPECT_TRUE(m_device.StartTalkback() && m_device.StopTalkback());
    EXPECT_EQ(m_recorder.m_sent, (std::vector{Message(TALK_START), Message(TALK_STOP)}));
    m_recorder.m_sent.clear();
    m_recorder.m_answers[TALK_START] = Message(START_FAIL);
    EXPECT_TRUE(FailedWith(HLX_DVR_VOICEOPENED, m_device.StartTalkback()));
    EXPECT_EQ(m_recorder.m_sent.size(), 1u);
    // A recorder that does not answer may have begun to talk.
    m_recorder.m_answers.erase(TALK_START);
    EXPECT_TRUE(FailedWith(HLX_NETWORK_RECV_TIMEOUT, m_device.StartTalkback()));
    EXPECT_EQ(m_recorder.m_sent.back(), Message(TALK_STOP));
    EXPECT_TRUE(FailedWith(HLX_PARAMETER_ERROR, m_device.SendTalkData(nullptr, 1)));
    m_recorder.BreakLink();
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, Send("x")));
    EXPECT_TRUE(FailedWith(HLX_NETWORK_NOT_CONNECT, m_device.StopTalkback()));
}

TEST_F(TalkTest, PlainSoundGoesOutInPiecesOfTheBuffer) {
    Start(1);
    EXPECT_TRUE(Send(Sound(20001)));
    const auto bodies = Bodies();
    ASSERT_EQ(bodies.size(), 3u);
    EXPECT_TRUE(bodies[0].size() == 8000 && bodies[1].size() == 8000);
    EXPECT_EQ(bodies[0] + bodies[1] + bodies[2], Sound(20001));
    m_recorder.m_bSendFails = true;
    EXPECT_TRUE(FailedWith(HLX_NETWORK_SEND_ERROR, Send(Sound(20001))));
    EXPECT_EQ(Bodies().size(), 1u) << "sound behind a piece that found no room goes nowhere";
}

TEST_F(TalkTest, SoundInUnitsOf324Bytes) {
    const Bytes mark("\x00\x01\x50\x00", 4);
    Start(324);
    EXPECT_TRUE(Send(Sound(100)) && Bodies().empty() && Send(Sound(541, 100)));
    EXPECT_EQ(Bodies(), std::vector{mark + Sound(320) + mark + Sound(320, 64)});  // 641 bytes: one is left over
    // 25 units and the one byte: no message is longer than the buffer.
    EXPECT_TRUE(Send(Sound(320 * 25 - 1, -127)));
    const auto bodies = Bodies();
    ASSERT_EQ(bodies.size(), 2u);
    EXPECT_TRUE(bodies[0].size() == 24 * 324 && bodies[1].size() == 324);
    EXPECT_EQ(bodies[0].substr(0, 6), mark + Sound(2, -128));
    // What did not fill a unit is no part of the next talk.
    EXPECT_TRUE(Send("left"));
    Start(324);
    EXPECT_TRUE(Send(Sound(320)));
    EXPECT_EQ(Bodies(), std::vector{mark + Sound(320)});
}

TEST_F(TalkTest, RefusedStartLeavesTheTalkAsItIs) {
    Start(324);
    EXPECT_TRUE(Send("ab"));
    m_recorder.m_answers[TALK_START] = Message(START_FAIL);
    EXPECT_TRUE(FailedWith(HLX_DVR_VOICEOPENED, m_device.StartTalkback()));
    m_recorder.m_sent.clear();
    EXPECT_TRUE(Send(Sound(318)));
    EXPECT_EQ(Bodies(), std::vector{Bytes("\x00\x01\x50\x00", 4) + "ab" + Sound(318)});
}

TEST_F(TalkTest, FramesOfAnEarlierTalkAreForgotten) {
    Start(324);
    TEST_FRAME sound;
    sound.type = 7;
    sound.data = Sound(10);
    m_recorder.Receive(sound);
    ASSERT_TRUE(m_device.StartTalkback());
    FRAME_INFO_EX frame;
    EXPECT_FALSE(m_device.GetTalkFrame(frame));
    EXPECT_EQ(m_device.m_talkFrames.WaveFormat().nBlockAlign, 0u);
    sound.data.clear();
    m_recorder.Receive(sound);
    EXPECT_EQ(m_device.m_talkFrames.WaveFormat().nBlockAlign, 0u) << "no bytes are no units";
}

}  // namespace

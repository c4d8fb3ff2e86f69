// Streams of recordings: what is sent, what each answer means, and which frames reach a ring.

#include "sdk_common/PubTime.h"
#include "support/MovedTime.h"
#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr tuint32 READ = 0x502, PAUSE = 0x503, RESUME = 0x504, FF = 0x505, REW = 0x506, STOP = 0x507, INDEX = 0x50B,
                  AUDIO = 0x50D;
constexpr DWORD FROM = 1'700'000'000, TO = 1'700'003'600;

class PlaybackTest : public testing::Test {
protected:
    PlaybackTest() { EXPECT_TRUE(m_recorder.LoggedIn()); }
    BOOL Start(DWORD streamID = 10, BOOL bFirstStream = false) {
        return m_device.PlaybackByTime(m_channels, 2, m_from, m_to, streamID, bFirstStream);
    }
    BOOL Seek() { return m_device.PlaybackSetTime(m_channels, 2, m_from, m_to, 10); }
    void Send(tuint32 index) { m_recorder.Receive(TEST_FRAME{.attrib = 0, .streamID = 10, .index = index}); }
    std::vector<tuint32> Indices() {
        std::vector<tuint32> indices;
        for (const auto& [frame, data] : m_ring.Drain()) indices.push_back(frame.frameIndex);
        return indices;
    }

    CMovedTime m_time;
    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    CTestRing m_ring{PLAYBACK_BUFFER_ID(CTestRecorder::USER_ID, 0)};
    LONG m_channels[2] = {3, 63};
    const DD_TIME m_from = DVRTime32ToDDTime(FROM), m_to = DVRTime32ToDDTime(TO);
};

TEST_F(PlaybackTest, Requests) {
    const auto read = [](DWORD number, DWORD stream, DWORD first, const Bytes& channels) {
        return Word(number) + Word(stream) + Word(first) + channels + Word(FROM) + Word(TO);
    };
    const Bytes two = Word(2) + Word(3) + Word(63) + Bytes(24, 0), one = Word(1) + Word(5) + Bytes(28, 0);
    const std::tuple<std::function<BOOL()>, tuint32, Bytes> rows[] = {
        // operation; request, 0: none; its body
        {[&] { return Start(); }, READ, read(1, 10, 0, two)},
        {[&] { return Seek(); }, READ, read(2, 10, 0, two)},
        {[&] { return m_device.DownLoadByTime(5, true, m_from, m_to); }, READ, read(3, 100, 1, one)},
        {[&] { return m_device.NotifyPlayIndex(10, 77, -1); }, INDEX, Word(10) + Word(0) + Word(77) + Word(~0u)},
        {[&] { return m_device.NotifyPlayIndex(100, 7, 4); }, INDEX, Word(100) + Word(1) + Word(7) + Word(4)},
        {[&] { return m_device.PlaybackCtrl(10, 0, 9); }, PAUSE, Word(10) + Word(0) + Word(0)},
        {[&] { return m_device.PlaybackCtrl(10, 1, 9); }, FF, Word(10) + Word(0) + Word(9)},
        {[&] { return m_device.PlaybackCtrl(10, 2, 10); }, REW, Word(10) + Word(0) + Word(10)},
        {[&] { return m_device.PlaybackCtrl(10, 3, 6); }, RESUME, Word(10) + Word(0) + Word(0)},
        {[&] { return m_device.PlaybackCtrl(10, 6, 6); }, 0, ""},
        {[&] { return m_device.PlaybackCtrl(10, 7, 0); }, AUDIO, Word(10) + Word(0) + Mask(1ull << 63 | 8)},
        {[&] { return m_device.PlaybackCtrl(10, 8, 0); }, AUDIO, Word(10) + Word(0) + Mask(0)},
        {[&] { return m_device.PlaybackCtrl(10, 12345, 0); }, 0, ""},
        {[&] { return m_device.PlaybackCtrl(10, 4, 6); }, STOP, Word(10) + Word(0) + Word(0)},
        {[&] { return m_device.StopPlayback(10); }, STOP, Word(10) + Word(0) + Word(0)},
        {[&] { return m_device.StopDownLoad(0); }, STOP, Word(100) + Word(1) + Word(0)},
    };
    for (const auto& [operation, request, body] : rows) {
        m_recorder.m_sent.clear();
        EXPECT_TRUE(operation());
        ASSERT_EQ(m_recorder.m_sent.size(), request ? 1u : 0u);
        if (!request) continue;
        EXPECT_EQ(m_recorder.m_sent[0], Message(request, body)) << std::hex << request;
    }
}

TEST_F(PlaybackTest, RefusedBeforeAnythingIsSent) {
    LONG wrong[9] = {0, 1, 2, 3, 4, 5, 6, 7, 70};
    const auto start = [&](LONG* pChannels, LONG count, DWORD stream) {
        return m_device.PlaybackByTime(pChannels, count, m_from, m_to, stream, true);
    };
    EXPECT_TRUE(FailedWith(20, start(nullptr, 1, 10)));
    EXPECT_TRUE(FailedWith(20, start(wrong, 0, 10)) && FailedWith(20, start(wrong, 9, 10)));
    EXPECT_TRUE(FailedWith(20, start(wrong, 1, 9)) && FailedWith(20, start(wrong, 1, 101)));
    EXPECT_TRUE(FailedWith(4, start(wrong + 8, 1, 10)));
    EXPECT_TRUE(FailedWith(20, Seek())) << "nothing runs";
    EXPECT_EQ(m_recorder.SentCount(), 0u);
    m_recorder.BreakLink();
    EXPECT_TRUE(FailedWith(9, Start()) && FailedWith(9, m_device.StopPlayback(10)));
}

TEST_F(PlaybackTest, Answers) {
    const auto info = [](const Bytes& rest) { return [rest](const Bytes& id) { return Message(0x50001, id + rest); }; };
    const auto null = [](const Bytes& rest) { return [rest](const Bytes& id) { return Message(0x50002, id + rest); }; };
    const std::pair<std::function<Bytes(const Bytes&)>, DWORD> rows[] = {
        {null(Word(0)), 86},
        {null(Word(1)), 31},
        {null(Word(2)), 32},
        {null(Word(77)), 32},
        {null(Word(0).substr(1)), 13},
        {info(Word(5) + Word(0) + Word(0)), 13},
        {info(Word(6)), 13},
        {[](const Bytes&) { return Message(0x50001, "abc"); }, 13},
        {nullptr, 12},
        {info(Word(6) + Word(0) + Word(0)), 0},
    };
    for (const auto& [answer, error] : rows) {
        m_recorder.m_streamAnswer = answer;
        m_time.SetRate(answer ? 1 : 2000);
        EXPECT_EQ(Start(), error == 0) << error;
        EXPECT_TRUE(error == 0 || LastError() == error) << error;
        Send(0);
        EXPECT_EQ(Indices().size(), error ? 0u : 1u) << error;
    }
}

TEST_F(PlaybackTest, NoFrameOfTheRunBefore) {
    ASSERT_TRUE(Start());
    Send(0);
    Send(1);
    // Between the question and its answer the run before goes on, and an answer to another question says nothing.
    m_recorder.m_onSend = [&](tuint32) {
        Send(2);
        m_recorder.Receive(Message(0x50001, Word(77) + Word(6) + Word(0) + Word(0)));
        Send(0);
    };
    ASSERT_TRUE(Seek());
    m_recorder.m_onSend = nullptr;
    Send(0);
    EXPECT_EQ(Indices(), std::vector<tuint32>{0}) << "the seek's own first frame alone";

    // The first of two seeks was given up; its late answer does not open the stream for the second.
    Bytes late;
    m_recorder.m_streamAnswer = [&](const Bytes& number) {
        return late = Message(0x50001, number + Word(6) + Word(0) + Word(0)), Bytes(16, 0);
    };
    m_time.SetRate(2000);
    EXPECT_TRUE(FailedWith(12, Seek()));
    const Bytes first = late;
    Send(5);
    EXPECT_TRUE(FailedWith(12, Seek()));
    m_recorder.Receive(first);
    Send(0);
    EXPECT_TRUE(Indices().empty());
    m_recorder.Receive(late);
    Send(0);
    EXPECT_TRUE(Indices().empty()) << "a seek that failed brings nothing";

    EXPECT_TRUE(m_device.StopPlayback(10));
    Send(1);
    m_recorder.Receive(late);
    Send(2);
    EXPECT_TRUE(Indices().empty()) << "stopped";
    EXPECT_TRUE(FailedWith(20, Seek()));
}

TEST_F(PlaybackTest, StoppedWhileASeekWaits) {
    ASSERT_TRUE(Start());
    m_recorder.m_onSend = [&](tuint32 command) {
        if (command == READ) m_device.StopPlayback(10);
    };
    m_recorder.m_sent.clear();
    EXPECT_TRUE(FailedWith(20, Seek()));
    EXPECT_EQ(NumberAt(m_recorder.m_sent.back(), 0), STOP) << "what the seek may have begun is ended";
    Send(0);
    EXPECT_TRUE(Indices().empty());
}

TEST_F(PlaybackTest, FramesCarryTheTimeOfTheRecordingAndTellNoClock) {
    ASSERT_TRUE(Start());
    m_recorder.Receive(TEST_FRAME{.attrib = 0x20, .streamID = 10, .time = 1'600'000'000'000'001});
    const auto frames = m_ring.Drain();
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].first.time, 1'600'000'000'000'001);
    m_time.SetRate(100);
    DD_TIME time = {};
    EXPECT_TRUE(FailedWith(12, m_device.GetDvrCurrentTime("", &time)));
}

}  // namespace

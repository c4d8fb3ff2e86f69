// What becomes of frames and status that arrive.

#include <array>

#include "support/Test.h"
#include "TestRecorder.h"

namespace {

constexpr unsigned int FIRST = 0x401, SECOND = 0x405, OTHER = 0x409;

class FrameTest : public testing::Test {
protected:
    FrameTest() {
        EXPECT_TRUE(m_recorder.LoggedIn() && m_device.StartLiveChannel(0, true, FIRST, 0));
        EXPECT_TRUE(m_device.StartLiveChannel(0, false, SECOND, 1));
        EXPECT_TRUE(m_device.StartLiveChannel(1, true, OTHER, 0));
    }
    CTestRecorder m_recorder;
    CTestRecorder::CDevice& m_device = m_recorder.m_device;
    CTestRing m_first{FIRST}, m_second{SECOND}, m_other{OTHER};
};

TEST_F(FrameTest, EveryFieldOfAFrame) {
    m_recorder.Receive(TEST_FRAME{.attrib = 0x20, .data = "seven.."});
    const auto frames = m_first.Drain();
    ASSERT_EQ(frames.size(), 1u);
    // A ring's record tells the padded length.
    const HLX_FRAME_INFO expected = {7, 0, 1, 8, 1, 704, 576, 7, 0x40, 0, 1'700'000'000'123'456, 5'000'000};
    EXPECT_EQ(std::memcmp(&frames[0].first, &expected, sizeof(expected)), 0);
    EXPECT_EQ(frames[0].second, Bytes("seven..\0", 8));
}

TEST_F(FrameTest, TypesAndAttributes) {
    const std::tuple<tuint32, tuint32, int, tuint32> rows[] = {
        // wire type and bits, public type (-1: dropped) and bits
        {0, 0x00, 0, 0x00}, {1, 0x20, 1, 0x40},    {2, 0x01, 2, 0x01},    {3, 0x3F, 5, 0x5F},
        {4, 0x80, 6, 0x20}, {9, 0x04, 10, 0x04},   {18, 0x100, 4, 0x100}, {0, 0x200, 0, 0x200},
        {0, 0x60, 0, 0xC0}, {0, 0xFFFFFC00, 0, 0}, {5, 0x20, -1, 0},      {6, 0x20, -1, 0},
        {10, 0x20, -1, 0},  {17, 0x20, -1, 0},     {19, 0x20, -1, 0},     {0xFFFFFFFF, 0, -1, 0},
    };
    for (const auto& [wireType, wireAttrib, type, attrib] : rows) {
        m_recorder.Receive(TEST_FRAME{.type = wireType, .attrib = wireAttrib});
        const auto frames = m_first.Drain();
        ASSERT_EQ(frames.size(), type < 0 ? 0u : 1u) << wireType;
        if (type < 0) continue;
        EXPECT_EQ(frames[0].first.frameType, static_cast<tuint32>(type));
        EXPECT_EQ(frames[0].first.frameAttrib, attrib) << wireType;
    }
}

TEST_F(FrameTest, Receivers) {
    using Counts = std::array<size_t, 3>;
    const std::tuple<tuint32, tuint32, tuint32, Counts> rows[] = {
        // type, channel, bits: frames in the three rings
        {1, 0, 0x20, {1, 0, 0}},   {1, 0, 0x40, {0, 1, 0}}, {1, 0, 0x61, {1, 1, 0}}, {1, 0, 0x9F, {0, 0, 0}},
        {3, 0, 0x20, {1, 0, 0}},   {3, 0, 0x40, {0, 1, 0}}, {2, 0, 0x00, {1, 1, 0}}, {4, 0, 0x20, {1, 1, 0}},
        {18, 0, 0x100, {1, 1, 0}}, {1, 1, 0x20, {0, 0, 1}}, {2, 1, 0x00, {0, 0, 1}}, {2, 0xFFFFFFFF, 0x00, {0, 0, 0}}};
    for (const auto& [type, channel, attrib, counts] : rows) {
        m_recorder.Receive(TEST_FRAME{.type = type, .channel = channel, .attrib = attrib});
        EXPECT_EQ((Counts{m_first.Drain().size(), m_second.Drain().size(), m_other.Drain().size()}), counts);
    }
}

TEST_F(FrameTest, StreamIdsOfRecordings) {
    // stream id, its ring; 0: the live viewers
    const std::pair<tuint32, unsigned int> rows[] = {
        {0, 0},     {9, 0},   {10, 7 * 2048 + 120}, {13, 7 * 2048 + 123}, {99, 7 * 2048 + 120 + 9},
        {100, 100}, {101, 0}, {8 * 2048 + 120, 0},  {FIRST, 0},
    };
    for (const auto& [streamID, ring] : rows) {
        CTestRing named(ring ? ring : 0x100000);
        CTestRing ofAnother(8 * 2048 + 120);
        if (ring) {
            m_recorder.Receive(TEST_FRAME{.streamID = streamID});
            EXPECT_EQ(named.Drain().size(), 0u) << "nobody asked for it";
            LONG channel = 0;
            EXPECT_TRUE(m_device.PlaybackByTime(&channel, 1, {}, {}, streamID, true));
        }
        m_recorder.Receive(TEST_FRAME{.streamID = streamID});
        m_recorder.Receive(TEST_FRAME{.type = 2, .streamID = streamID});
        EXPECT_EQ(m_first.Drain().size(), ring ? 0u : 2u) << streamID;
        EXPECT_EQ(named.Drain().size(), ring ? 2u : 0u) << streamID;
        EXPECT_TRUE(ofAnother.Drain().empty()) << streamID;
    }
}

TEST_F(FrameTest, SoundBlocks) {
    const auto repeat = [](size_t count, const Bytes& prefix) {
        Bytes data;
        for (size_t i = 0; i < count; ++i) data += prefix + Bytes(320, static_cast<char>('a' + i));
        return data;
    };
    const auto blocks = [&](size_t count) { return repeat(count, "PREF"); };
    const auto samples = [&](size_t count) { return repeat(count, ""); };
    const std::pair<Bytes, Bytes> rows[] = {
        {blocks(1), samples(1)},           {blocks(2), samples(2)},
        {blocks(25), samples(25)},         {blocks(26), samples(25)},
        {blocks(40), samples(25)},         {blocks(1) + "tail", blocks(1) + "tail"},
        {blocks(1).substr(4), samples(1)}, {"", ""},
    };
    for (const auto& [wire, expected] : rows) {
        m_recorder.Receive(TEST_FRAME{.type = 2, .attrib = 0, .data = wire});
        const auto frames = m_first.Drain();
        ASSERT_EQ(frames.size(), 1u);
        EXPECT_EQ(frames[0].second, expected) << wire.size();
    }
}

TEST_F(FrameTest, LengthsThatLieAndCutMessages) {
    for (const long long length : {5LL, 0x7FFFFFFFLL, 0xFFFFFFFFLL}) m_recorder.Receive(TEST_FRAME{.length = length});
    const Bytes whole = TEST_FRAME{.data = "12345678"}.Message();
    for (size_t cut = 1; cut < whole.size(); ++cut) m_recorder.Receive(whole.substr(0, cut));
    EXPECT_TRUE(m_first.Drain().empty());
    m_recorder.Receive(TEST_FRAME{.data = "12345678", .length = 4});
    m_recorder.Receive(whole);
    const auto frames = m_first.Drain();
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0].second, "1234");
    EXPECT_EQ(frames[1].second, "12345678");
    EXPECT_TRUE(m_device.OnReceiveData(nullptr, 5));
    EXPECT_TRUE(m_device.OnReceiveData("x", -1));
    EXPECT_EQ(m_device.GetDeviceStatus(), NET_DEVICE_STATUS_CONNECTED);
}

TEST_F(FrameTest, TalkFrames) {
    const Bytes format =
        Number(6, 2) + Number(1, 2) + Word(8000) + Word(8000) + Number(1, 2) + Number(8, 2) + Number(0, 2);
    m_recorder.Receive(TEST_FRAME{.type = 8, .data = format.substr(0, 17)});
    m_recorder.Receive(TEST_FRAME{.type = 8, .data = format});
    EXPECT_EQ(m_device.m_talkFrames.WaveFormat().nBlockAlign, 1u);
    m_recorder.Receive(TEST_FRAME{.type = 7, .data = "PREF" + Bytes(320, 's') + "PREF" + Bytes(320, 't')});
    EXPECT_EQ(m_device.m_talkFrames.WaveFormat().nBlockAlign, 324u);
    EXPECT_EQ(m_device.m_talkFrames.WaveFormat().nSamplesPerSec, 8000u);
    m_recorder.Receive(TEST_FRAME{.type = 7, .data = "odd"});
    m_recorder.Receive(TEST_FRAME{.type = 7, .data = Bytes(65537, 'x')});
    const std::pair<tuint32, Bytes> rows[] = {{8, format}, {7, Bytes(320, 's') + Bytes(320, 't')}, {7, "odd"}};
    FRAME_INFO_EX frame;
    for (const auto& [type, data] : rows) {
        ASSERT_TRUE(m_device.GetTalkFrame(frame));
        EXPECT_EQ(static_cast<tuint32>(frame.frameType), type);
        EXPECT_EQ(Bytes(reinterpret_cast<char*>(frame.pData), frame.length), data);
        m_device.ReleaseTalkBuf(frame);
    }
    EXPECT_FALSE(m_device.GetTalkFrame(frame));

    for (tuint32 i = 0; i < 300; ++i) m_recorder.Receive(TEST_FRAME{.type = 7, .index = i});
    ASSERT_TRUE(m_device.GetTalkFrame(frame));
    m_device.ReleaseTalkBuf(frame);
    EXPECT_EQ(static_cast<tuint32>(frame.frameIndex), 44u) << "the oldest went";
}

}  // namespace

#include <deque>

#include "EngineFixture.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "support/HeardLog.h"
#include "support/MovedTime.h"

namespace {

constexpr unsigned int VIDEO = DD_FRAME_TYPE_VIDEO;
constexpr unsigned int AUDIO = DD_FRAME_TYPE_AUDIO;

HLX_FRAME_INFO Frame(unsigned int type, unsigned int length, bool bKey = false, unsigned int index = 0) {
    HLX_FRAME_INFO frame{};
    frame.deviceID = 3;
    frame.channel = 5;
    frame.frameType = type;
    frame.length = length;
    frame.keyFrame = bKey;
    frame.frameIndex = index;
    frame.frameAttrib = DD_LIVE_FRAME_FIRST_STREAM;
    return frame;
}

const unsigned char* Bytes(const std::string& data) { return reinterpret_cast<const unsigned char*>(data.data()); }

bool Push(CNetDataBufferMan& ring, unsigned int length, unsigned int type = AUDIO, bool bKey = false) {
    const std::string data = Noise(length);
    return ring.PushData(Frame(type, length, bKey), Bytes(data));
}

struct RUN {
    unsigned char* pBuffer = nullptr;
    int len = 0;
};

/// A ring beside the list of frames that it must hold.
class CRingAndModel {
public:
    CRingAndModel(int size, unsigned seed) : m_random(seed), m_size(size) { EXPECT_TRUE(m_ring.Initial(size, false)); }

    void Push() {
        const auto length = static_cast<unsigned int>(m_random() % (m_random() % 8 ? 300 : 6000));
        const std::string data = Noise(length, ++m_index);
        const bool bStored = m_ring.PushData(Frame(AUDIO, length, false, m_index), Bytes(data));
        if (bStored) m_frames.push_back(data);
        const bool bMustFit = m_frames.empty() && m_runs.empty() && FrameRecordSize(length) <= m_size;
        EXPECT_TRUE(bStored || !bMustFit) << "an empty ring refused " << length;
    }

    void Take() {
        RUN run;
        const bool bTaken = m_ring.GetDataBuffer(run.pBuffer, run.len);
        ASSERT_EQ(bTaken, !m_frames.empty());
        if (!bTaken) return;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(run.pBuffer) % CNetDataBufferMan::RUN_ALIGNMENT, 0u);
        Walk(run);
        m_runs.emplace_back(run, std::string(reinterpret_cast<char*>(run.pBuffer), run.len));
    }

    void Release() {
        if (m_runs.empty()) return;
        const auto& [run, copy] = m_runs.front();
        EXPECT_EQ(std::string(reinterpret_cast<char*>(run.pBuffer), run.len), copy) << "overwritten";
        EXPECT_TRUE(m_ring.ReleaseDataBuffer(run.pBuffer, run.len));
        m_runs.pop_front();
    }

    void Drop() {
        m_ring.DropData();
        m_frames.clear();
    }

    void Drain() {
        while (!m_frames.empty()) ASSERT_NO_FATAL_FAILURE(Take());
        while (!m_runs.empty()) Release();
    }

    CNetDataBufferMan m_ring;
    std::mt19937 m_random;

private:
    void Walk(const RUN& run) {
        for (int at = 0; at < run.len;) {
            HLX_FRAME_INFO head{};
            ASSERT_LE(at + 56, run.len);
            std::memcpy(&head, run.pBuffer + at, 56);
            ASSERT_FALSE(m_frames.empty());
            std::string expected = m_frames.front();
            expected.resize((expected.size() + 3) / 4 * 4, '\0');
            ASSERT_EQ(head.length, expected.size());
            ASSERT_EQ(std::string(reinterpret_cast<char*>(run.pBuffer) + at + 56, head.length), expected);
            m_frames.pop_front();
            at += 56 + static_cast<int>(head.length);
        }
    }

    int m_size;
    unsigned int m_index = 0;
    std::deque<std::string> m_frames;                // stored and not taken yet
    std::deque<std::pair<RUN, std::string>> m_runs;  // taken and not released yet, and their bytes then
};

}  // namespace

TEST(FrameRing, EqualsAQueueUnderRandomUse) {
    for (const int size : {4096, 9000, 16384, 40961, 65536}) {
        for (unsigned seed = 1; seed <= 8; ++seed) {
            CRingAndModel both(size, seed * 77 + static_cast<unsigned>(size));
            // Phases in which the reader keeps up, falls behind and catches up.
            for (int step = 0; step < 1500 && !testing::Test::HasFailure(); ++step) {
                const unsigned action = both.m_random() % 10, pushes = step / 100 % 3 == 0 ? 7 : 4;
                if (action < pushes) both.Push();
                if (action >= pushes && action % 2 == 0) both.Take();
                if (action >= pushes && action % 2 == 1) both.Release();
                if (both.m_random() % 50 == 0) both.Drop();
            }
            both.Drain();
            ASSERT_FALSE(testing::Test::HasFailure()) << "size " << size << " seed " << seed;
            EXPECT_EQ(both.m_ring.GetFreeBufferSize(), size);
        }
    }
}

TEST(FrameRing, RefusesWhatCannotFitAndStaysUsable) {
    CNetDataBufferMan ring;
    ASSERT_TRUE(ring.Initial(8192, false));
    const std::string data = Noise(9000);
    for (const unsigned int length : {8192u - 55, 8192u, 9000u, 0x7FFFFFFFu, 0xFFFFFFC8u, 0xFFFFFFFFu})
        EXPECT_FALSE(ring.PushData(Frame(AUDIO, length), Bytes(data))) << length;
    EXPECT_EQ(ring.GetFreeBufferSize(), 8192);
    EXPECT_TRUE(Push(ring, 8192 - 56)) << "fills it to the last byte";
    EXPECT_FALSE(Push(ring, 0) || CNetDataBufferMan().Initial(0, true));
    EXPECT_FALSE(CNetDataBufferMan().Initial(-4096, true));
}

// One row: a frame pushed into a live ring, and whether it comes out again.
TEST(FrameRing, VideoStartsAtAKeyFrame) {
    CNetDataBufferMan ring;
    ASSERT_TRUE(ring.Initial(1 << 20, true));
    struct {
        unsigned int type, channel, attrib;
        bool bKey, bOut;
    } const rows[] = {
        {VIDEO, 1, 0x40, false, false},  // nothing known of the stream yet
        {AUDIO, 1, 0x40, false, true},   // only video waits
        {VIDEO, 1, 0x80, true, true},    // another stream of the channel
        {VIDEO, 1, 0x40, false, false}, {VIDEO, 1, 0x40, true, true},
        {VIDEO, 1, 0x44, false, true},   // shares a bit with a started stream
        {VIDEO, 2, 0x40, false, false},  // another channel
        {VIDEO, 1, 0x40, false, true},  {VIDEO, 3, 0, true, true},
        {VIDEO, 3, 0, false, true},  // a stream without attributes
    };
    int row = 0;
    for (const auto& [type, channel, attrib, bKey, bOut] : rows) {
        HLX_FRAME_INFO frame = Frame(type, 8, bKey);
        frame.channel = channel;
        frame.frameAttrib = attrib;
        EXPECT_TRUE(ring.PushData(frame, Bytes("12345678"))) << row;
        RUN run;
        EXPECT_EQ(ring.GetDataBuffer(run.pBuffer, run.len), bOut) << row++;
        if (run.pBuffer) ring.ReleaseDataBuffer(run.pBuffer, run.len);
    }
    ring.SetChannelNeedIFrame(3, 1, 0x40, true);
    HLX_FRAME_INFO frame = Frame(VIDEO, 8);
    frame.channel = 1;
    EXPECT_TRUE(ring.PushData(frame, Bytes("12345678")));
    EXPECT_FALSE(ring.HasData());
}

TEST(FrameRing, TenthTryGivesUpAndClosesTheGate) {
    constexpr unsigned int ID = LIVE_BUFFER_ID(3, 5, 0);
    auto& rings = *CMultiNetDataBufferMan::Instance();
    ASSERT_TRUE(rings.AddBuffer(ID, 4096, true));
    ASSERT_TRUE(rings.AddBuffer(ID, 1, false)) << "exists already";
    const std::string data = Noise(4000);
    ASSERT_TRUE(rings.PushData(ID, Frame(VIDEO, 4000, true), Bytes(data)));
    for (int i = 1; i <= 10; ++i) EXPECT_EQ(rings.PushData(ID, Frame(VIDEO, 400), Bytes(data)), i == 10) << i;
    EXPECT_EQ(rings.GetLostFrames(ID), 1u);
    RUN run;
    ASSERT_TRUE(rings.GetDataBuffer(ID, run.pBuffer, run.len));
    rings.ReleaseDataBuffer(ID, run.pBuffer + 4, run.len);  // not what was taken
    EXPECT_EQ(rings.GetFreeBufferSize(ID), 0);
    rings.ReleaseDataBuffer(ID, run.pBuffer, run.len);
    EXPECT_TRUE(rings.PushData(ID, Frame(VIDEO, 40), Bytes(data)));
    EXPECT_FALSE(rings.GetDataBuffer(ID, run.pBuffer, run.len)) << "waits for a key frame";
    EXPECT_EQ(rings.GetLostFrames(ID), 2u) << "and is lost with the one before it";
    EXPECT_TRUE(rings.PushData(ID, Frame(VIDEO, 40, true), Bytes(data)));
    ASSERT_TRUE(rings.GetDataBuffer(ID, run.pBuffer, run.len));
    EXPECT_EQ(run.len, 96);
    rings.ReleaseDataBuffer(ID, run.pBuffer, run.len);
    rings.LoseFrame(ID);
    EXPECT_EQ(rings.GetLostFrames(ID), 3u);
    EXPECT_TRUE(rings.PushData(ID, Frame(VIDEO, 40), Bytes(data)));
    EXPECT_FALSE(rings.GetDataBuffer(ID, run.pBuffer, run.len)) << "waits again";
    rings.RemoveBuffer(ID);
    EXPECT_TRUE(rings.PushData(ID, Frame(VIDEO, 4000), Bytes(data))) << "unknown rings take everything";
}

TEST(FrameRing, LostEndFrameFollowsWhenThereIsRoom) {
    CNetDataBufferMan ring;
    ASSERT_TRUE(ring.Initial(8192, true) && Push(ring, 8100));
    const HLX_FRAME_INFO end = Frame(DD_FRAME_TYPE_END, 7);
    const std::string data = "the end";
    for (int i = 1; i <= 10; ++i) {
        const bool bStored = ring.PushData(end, Bytes(data));
        EXPECT_EQ(ring.ProcessPushDataFailed(end, bStored, Bytes(data)), i == 10);
    }
    RUN run;
    ASSERT_TRUE(ring.GetDataBuffer(run.pBuffer, run.len) && ring.ReleaseDataBuffer(run.pBuffer, run.len));
    EXPECT_TRUE(ring.HasData()) << "pushed by the release, for nothing else may come";
    ASSERT_TRUE(ring.GetDataBuffer(run.pBuffer, run.len));
    HLX_FRAME_INFO head{};
    std::memcpy(&head, run.pBuffer, sizeof(head));
    EXPECT_EQ(head.frameType, static_cast<unsigned int>(DD_FRAME_TYPE_END));
    EXPECT_EQ(run.len, 56);
}

TEST(FrameRing, RemovalWaitsForTheReaderTurnsItAwayAndGivesTheIdFree) {
    constexpr unsigned int ID = PLAYBACK_BUFFER_ID(9, 1);
    auto& rings = *CMultiNetDataBufferMan::Instance();
    ASSERT_TRUE(rings.AddBuffer(ID, 65536, false) && rings.PushData(ID, Frame(AUDIO, 4), Bytes("1234")));
    RUN old, run;
    ASSERT_TRUE(rings.GetDataBuffer(ID, old.pBuffer, old.len));
    std::atomic<bool> bRemoved{false};
    std::thread remover([&] {
        rings.RemoveBuffer(ID);
        bRemoved = true;
    });
    EXPECT_FALSE(rings.WaitForData(ID, CWaitEvent::WAIT_FOREVER)) << "ended by the removal";
    EXPECT_TRUE(rings.PushData(ID, Frame(AUDIO, 4), Bytes("1234")));
    EXPECT_FALSE(rings.GetDataBuffer(ID, run.pBuffer, run.len));
    EXPECT_TRUE(rings.AddBuffer(ID, 65536, false) && rings.PushData(ID, {}, nullptr));
    EXPECT_TRUE(rings.GetDataBuffer(ID, run.pBuffer, run.len)) << "a new ring";
    rings.ReleaseDataBuffer(ID, run.pBuffer, 65537);  // not the length that was taken
    rings.ReleaseDataBuffer(ID, run.pBuffer, run.len);
    EXPECT_EQ(rings.GetFreeBufferSize(ID), 65536);
    EXPECT_FALSE(bRemoved);
    EXPECT_EQ(old.pBuffer[56], '1') << "still readable";
    rings.Quit();
    remover.join();
}

#include "main_utility/media/PlaybackMan.h"

#include <cstring>
#include <random>
#include <thread>

#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "TestFamily.h"

namespace {

constexpr tint64 SECOND = 1000000;
constexpr unsigned START = 1'700'000'000;  // seconds since 1970

/// Starts and seeks as the test says, and notes what it is sent.
struct CPlayDevice : CTestDevice {
    BOOL PlaybackByTime(LONG*, LONG, const DD_TIME&, const DD_TIME&, DWORD, BOOL) override {
        if (s_onStart) s_onStart();
        return !s_bRefuses || Failure(HLX_DVR_NORESOURCE);
    }
    BOOL PlaybackSetTime(LONG*, LONG, const DD_TIME&, const DD_TIME&, DWORD) override {
        ++s_seeks;
        if (s_onSeek) s_onSeek();
        return WaitUntil([] { return !s_bSilent; });
    }
    BOOL PlaybackCtrl(DWORD, DWORD dwCode, DWORD dwValue) override {
        if (s_onCtrl) s_onCtrl();
        return Note(std::to_string(dwCode) + ":" + std::to_string(dwValue));
    }
    BOOL StopPlayback(DWORD dwStreamID) override { return Note("stop" + std::to_string(dwStreamID)); }
    BOOL NotifyPlayIndex(LONG lStreamID, LONG lFrameIndex, int) override {
        s_told[lStreamID - 10] = lFrameIndex;
        return true;
    }
    void NeedJumpForward() override { Note("jump"); }

    static BOOL Note(const std::string& text) {
        s_notes = s_notes.Get() + text + " ";
        return true;
    }
    int GetMaxPlayBackNum() override { return s_slots; }
    static inline std::atomic<int> s_slots{4};
    static inline std::atomic<bool> s_bRefuses{false}, s_bSilent{false};
    static inline std::atomic<int> s_seeks{0};
    static inline std::atomic<LONG> s_told[4];  // of each slot
    static inline CShared<std::string> s_notes;
    static inline std::function<void()> s_onStart, s_onSeek, s_onCtrl;  // set while no other thread asks
};

class PlaybackMan : public NetDeviceMan {
protected:
    void SetUp() override {
        NetDeviceMan::SetUp();
        CPlayDevice::s_bRefuses = CPlayDevice::s_bSilent = false;
        CPlayDevice::s_seeks = 0;
        for (std::atomic<LONG>& index : CPlayDevice::s_told) index = -1;
        CPlayDevice::s_notes = std::string();
        m_man.SetDeviceMaker([](const PRE_SEND_DATA&, NET_DEVICE_RES& res) {
            res.pNetDevice = std::make_unique<CPlayDevice>();
            res.eDVRVer = s_family;
            return true;
        });
        ASSERT_TRUE(m_play.Initial() && m_play.Start());
        m_lUserID = Login();
        ASSERT_TRUE(m_play.AddDevice(m_lUserID));
    }
    void TearDown() override {
        m_play.Stop();
        m_play.Quit();
        CPlayDevice::s_onStart = CPlayDevice::s_onSeek = CPlayDevice::s_onCtrl = nullptr;
        NetDeviceMan::TearDown();
    }
    POINTERHANDLE Begin(LONG channelNum = 1) {
        const POINTERHANDLE handle =
            m_play.PlayBackByTimeAsync(m_lUserID, CHANNELS, channelNum, &FROM, &TO, nullptr, true);
        if (handle > 0) m_play.SetPlayDataCallBack(handle, OnFrame, this);
        return handle;
    }
    POINTERHANDLE BeginSync(LONG channelNum) {
        return m_play.PlayBackByTimeSync(m_lUserID, CHANNELS, channelNum, &FROM, &TO, nullptr, true);
    }
    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO frame, BYTE* pData, void* pUser) {
        auto& test = *static_cast<PlaybackMan*>(pUser);
        BITMAPINFOHEADER format{};
        if (frame.length >= sizeof(format)) std::memcpy(&format, pData, sizeof(format));
        const std::string size = format.biWidth ? "/" + std::to_string(format.biWidth) : "";
        test.m_log =
            test.m_log.Get() + std::to_string(frame.frameType) + ":" + std::to_string(frame.frameIndex) + size + " ";
    }
    HLX_FRAME_INFO Frame(tuint32 index, DWORD type, tuint32 slot, tint64 second = 0) {
        HLX_FRAME_INFO frame{};
        frame.deviceID = static_cast<DWORD>(m_lUserID);
        frame.channel = 3;
        frame.keyFrame = 1;
        frame.streamID = 10 + slot;
        frame.frameType = type;
        frame.frameIndex = index;
        frame.time = (START + second) * SECOND + index;
        return frame;
    }
    bool Push(HLX_FRAME_INFO frame, const void* pData, size_t length) {
        frame.length = static_cast<DWORD>(length);
        const auto slot = static_cast<LONG>(frame.streamID) - 10;
        return m_rings.PushData(PLAYBACK_BUFFER_ID(m_lUserID, slot), frame, static_cast<const unsigned char*>(pData));
    }
    void Push(tuint32 index, DWORD type = DD_FRAME_TYPE_VIDEO, tuint32 slot = 0, tint64 second = 0) {
        Push(Frame(index, type, slot, second), nullptr, 0);
    }
    bool Heard(const std::string& log) {
        return WaitUntil([&] { return m_log.Get() == log; });
    }

    static constexpr LONG CHANNELS[] = {3, 4, 5};
    const DD_TIME FROM = DVRTime32ToDDTime(START), TO = DVRTime32ToDDTime(START + 3600);
    static inline DEVICE_VERSION s_family = DVR_VER_V3;
    CPlaybackMan m_play;
    CMultiNetDataBufferMan& m_rings = *CMultiNetDataBufferMan::Instance();
    LONG m_lUserID = 0;
    CShared<std::string> m_log;
};

TEST_F(PlaybackMan, SlotsAreTakenAndGivenBack) {
    for (int round = 0; round < 2; ++round) {
        CPlayDevice::s_bRefuses = true;
        EXPECT_EQ(Begin(), -1);
        EXPECT_EQ(LastError(), DWORD{HLX_DVR_NORESOURCE}) << "the device's own number";
        CPlayDevice::s_bRefuses = false;
        std::vector<POINTERHANDLE> handles;
        for (int i = 0; i < 4; ++i) handles.push_back(Begin());
        EXPECT_EQ(Begin(), -1);
        EXPECT_EQ(LastError(), DWORD{HLX_DVR_NORESOURCE});
        for (const POINTERHANDLE handle : handles) EXPECT_TRUE(m_play.StopPlayBack(handle));
        EXPECT_FALSE(m_play.StopPlayBack(handles[0]));
    }
    CPlayDevice::s_slots = 1;
    ASSERT_TRUE(m_play.AddDevice(m_lUserID));  // as for the next device of a refused caller's id
    CPlayDevice::s_slots = 4;
    const POINTERHANDLE left = Begin();
    ASSERT_TRUE(m_play.AddDevice(m_lUserID));
    EXPECT_EQ(Begin(), -1) << "of the only slot";
    m_play.RemoveDevice(m_lUserID);
    EXPECT_FALSE(m_play.StopPlayBack(left));
    EXPECT_EQ(m_rings.GetFreeBufferSize(PLAYBACK_BUFFER_ID(m_lUserID, 0)), 0) << "no ring is left";
    EXPECT_EQ(Begin(), -1);
}

TEST_F(PlaybackMan, FramesFormatsAndTheEnd) {
    const POINTERHANDLE handle = Begin();
    DD_TIME time{};
    EXPECT_FALSE(m_play.GetPlayBackOsdTime(handle, &time));
    Push(5);  // of an earlier run
    Push(0);
    EXPECT_TRUE(Heard("5:0 1:0 ")) << "with a format made up, and waking the thread";
    Push(1, DD_FRAME_TYPE_VIDEO_FORMAT);
    Push(2);
    EXPECT_TRUE(Heard("5:0 1:0 5:1 1:2 "));
    EXPECT_TRUE(m_play.GetPlayBackOsdTime(handle, &time));
    EXPECT_EQ(DDTimeToDVRTime32(time), START);
    Push(3, DD_FRAME_TYPE_END);
    Push(4);
    EXPECT_TRUE(Heard("5:0 1:0 5:1 1:2 10:3 "));
    EXPECT_EQ(CPlayDevice::s_told[0], 3);
    EXPECT_FALSE(m_play.GetPlayBackOsdTime(handle, &time));
    EXPECT_TRUE(m_play.RefreshPlay(handle)) << "the handle stays";
}

TEST_F(PlaybackMan, EachChannelHasItsFormat) {
    const POINTERHANDLE handle = Begin(2);
    BITMAPINFOHEADER format{};
    const auto push = [&](tuint32 index, DWORD type, tuint32 channel) {
        HLX_FRAME_INFO frame = Frame(index, type, 0);
        frame.channel = channel;
        format.biWidth = static_cast<LONG>(100 + channel);
        Push(frame, &format, type == DD_FRAME_TYPE_VIDEO ? 0 : sizeof(format));
    };
    push(0, DD_FRAME_TYPE_VIDEO_FORMAT, 3);
    push(1, DD_FRAME_TYPE_VIDEO_FORMAT, 4);
    EXPECT_TRUE(Heard("5:0/103 5:1/104 "));
    m_play.SetPlayDataCallBack(handle, OnFrame, this);
    push(2, DD_FRAME_TYPE_VIDEO, 3);
    push(3, DD_FRAME_TYPE_VIDEO, 4);
    EXPECT_TRUE(Heard("5:0/103 5:1/104 5:2/103 1:2 5:3/104 1:3 ")) << m_log.Get();
}

TEST_F(PlaybackMan, TheDeviceHearsOfFramesThatTheRingCannotHold) {
    Begin();
    Push(0);
    EXPECT_TRUE(Heard("5:0 1:0 "));
    const std::vector<unsigned char> large(5 << 20);
    EXPECT_TRUE(WaitUntil([&] { return Push(Frame(1, DD_FRAME_TYPE_VIDEO, 0), large.data(), large.size()); }));
    EXPECT_TRUE(WaitUntil([] { return CPlayDevice::s_told[0] == 1; }));
}

TEST_F(PlaybackMan, ControlByFamily) {
    using CODES = std::vector<std::pair<DWORD, DWORD>>;
    const struct {
        DEVICE_VERSION family;
        CODES codes;
        const char* sSent;
    } rows[] = {
        {DVR_VER_V3, {{1, 7}, {1, 8}, {1, 9}, {1, 7}}, "1:9 3:7 1:7 "},
        {DVR_VER_V3, {{0, 0}, {3, 0}, {9, 5}, {5, 0}, {6, 0}}, "3:0 3:0 9:5 6:0 "},
        {DVR_VER_V3, {{2, 0}, {2, 9}, {2, 11}, {2, 12}, {0, 0}}, "2:9 2:9 2:10 2:12 jump 3:0 "},
        {DVR_VER_V3, {{2, 9}, {1, 7}, {4, 1}, {2, 10}}, "2:9 jump 3:7 1:7 4:1 2:10 "},
        {NVR_VER_K7700, {{2, 0}, {2, 5}, {2, 12}}, "2:1 2:5 2:11 "},
        {IPC_VER_V3, {{2, 1}, {2, 1}, {2, 1}, {2, 1}}, "2:9 2:10 3:6 2:9 "},
    };
    for (const auto& row : rows) {
        s_family = row.family;
        m_lUserID = Login();
        ASSERT_TRUE(m_play.AddDevice(m_lUserID));
        const POINTERHANDLE handle = Begin();
        CPlayDevice::s_notes = std::string();
        for (const auto& [code, value] : row.codes) EXPECT_TRUE(m_play.PlayBackControl(handle, code, value, nullptr));
        EXPECT_EQ(CPlayDevice::s_notes.Get(), row.sSent);
    }
    s_family = DVR_VER_V3;
}

TEST_F(PlaybackMan, ControlReachesNoLaterStream) {
    const POINTERHANDLE handle = Begin();
    CPlayDevice::s_notes = std::string();
    std::thread stopper;
    CPlayDevice::s_onCtrl = [&] {
        stopper = std::thread([&] { m_play.StopPlayBack(handle); });
        WaitUntil([] { return !CPlayDevice::s_notes.Get().empty(); }, std::chrono::milliseconds(50));
    };
    EXPECT_TRUE(m_play.PlayBackControl(handle, HLX_PLAYCTRL_FF, HLX_RPB_SPEED_8X, nullptr));
    stopper.join();
    EXPECT_EQ(CPlayDevice::s_notes.Get(), "1:9 stop10 ");
}

TEST_F(PlaybackMan, ASilentSeekHoldsUpNobodyElse) {
    const POINTERHANDLE seeking = Begin(), other = Begin();
    Push(0);
    EXPECT_TRUE(Heard("5:0 1:0 "));
    CPlayDevice::s_bSilent = true;
    BOOL bDone = true;
    std::thread seeker([&] { bDone = m_play.PlayBackControl(seeking, HLX_PLAYCTRL_SETPOS, START + 60, nullptr); });
    EXPECT_TRUE(WaitUntil([] { return CPlayDevice::s_seeks == 1; }));
    Push(0);  // not before the answer
    Push(0, DD_FRAME_TYPE_VIDEO, 1);
    EXPECT_TRUE(Heard("5:0 1:0 5:0 1:0 "));
    EXPECT_TRUE(m_play.PlayBackControl(other, HLX_PLAYCTRL_FF, 7, nullptr));
    EXPECT_TRUE(m_play.StopPlayBack(seeking)) << "does not wait for the seek";
    EXPECT_GT(m_rings.GetFreeBufferSize(PLAYBACK_BUFFER_ID(m_lUserID, 0)), 0) << "the seek keeps the slot";
    EXPECT_TRUE(m_play.StopPlayBack(other));
    POINTERHANDLE mask = 0;
    std::thread starter([&] { mask = BeginSync(1); });
    EXPECT_TRUE(WaitUntil([&] { return m_rings.GetFreeBufferSize(PLAYBACK_BUFFER_ID(m_lUserID, 1)) > 0; }));
    CPlayDevice::s_bSilent = false;
    seeker.join();
    starter.join();
    EXPECT_EQ(mask, 1);
    for (tuint32 index = 0; index < 2; ++index) Push(index, DD_FRAME_TYPE_VIDEO, 1);
    EXPECT_TRUE(WaitUntil([] { return CPlayDevice::s_told[1] == 1; })) << "in step, though not in the first slot";
    m_play.StopPlayBackSync();
    EXPECT_EQ(m_log.Get(), "5:0 1:0 5:0 1:0 ");
    for (int i = 0; i < 3; ++i) EXPECT_NE(Begin(), -1) << "and has given it back";
}

TEST_F(PlaybackMan, WhatEndsAStartInStepLeavesNothing) {
    const std::tuple<const char*, std::function<void(LONG)>, POINTERHANDLE> rows[] = {
        // what happens while the second of three channels is started; the result
        {"stop", [&](LONG) { m_play.StopPlayBackSync(); }, 0},
        {"logout", [&](LONG) { m_play.RemoveDevice(m_lUserID); }, 0},
        {"logout of the device in step before", [&](LONG lBefore) { m_play.RemoveDevice(lBefore); }, 7},
    };
    for (const auto& [sWhat, act, result] : rows) {
        const LONG lBefore = m_lUserID;
        EXPECT_EQ(BeginSync(1), 1) << sWhat;
        m_play.StopPlayBackSync();
        m_lUserID = Login();
        ASSERT_TRUE(m_play.AddDevice(m_lUserID));
        int starts = 0;
        CPlayDevice::s_onStart = [&] {
            if (++starts == 2) act(lBefore);
        };
        EXPECT_EQ(BeginSync(3), result) << sWhat;
        CPlayDevice::s_onStart = nullptr;
        m_play.StopPlayBackSync();
        ASSERT_TRUE(m_play.AddDevice(m_lUserID));
    }
}

TEST_F(PlaybackMan, StaysInStepOverASeek) {
    ASSERT_EQ(BeginSync(2), 3);
    const auto told = [](LONG index) { return CPlayDevice::s_told[0] == index && CPlayDevice::s_told[1] == index; };
    const auto push = [&](tuint32 slot, tint64 second) {
        for (tuint32 index = 0; index < 3; ++index) Push(index, DD_FRAME_TYPE_VIDEO, slot, second);
    };
    for (tuint32 slot = 0; slot < 2; ++slot) push(slot, 100);
    EXPECT_TRUE(WaitUntil([&] { return told(2); }));
    for (tuint32 slot = 0; slot < 2; ++slot) Push(3, DD_FRAME_TYPE_VIDEO, slot, 101);  // not due for a second
    EXPECT_TRUE(WaitUntil([&] { return told(3); }));
    for (std::atomic<LONG>& index : CPlayDevice::s_told) index = -1;
    CPlayDevice::s_onSeek = [&] {
        if (CPlayDevice::s_seeks == 1) return;
        push(0, 50);
        EXPECT_FALSE(WaitUntil([] { return CPlayDevice::s_told[0] == 2; }, std::chrono::milliseconds(50)));
    };
    m_play.PlayBackControlSync(HLX_PLAYCTRL_SETPOS, START + 50, nullptr);
    EXPECT_FALSE(WaitUntil([] { return CPlayDevice::s_told[0] == 2; }, std::chrono::milliseconds(50)));
    m_rings.DropData(PLAYBACK_BUFFER_ID(m_lUserID, 1));  // as a device does with its answer
    push(1, 50);
    EXPECT_TRUE(WaitUntil([&] { return told(2); }));
}

TEST_F(PlaybackMan, PollingHoldsUpNoStream) {
    const POINTERHANDLE busy = Begin(), other = Begin();
    m_play.SetPlayDataCallBack(busy, nullptr, nullptr);
    std::atomic<bool> bEnd{false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (tuint32 index = 0; !bEnd; ++index) Push(index);  // a stream that always catches up
    });
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&] {
            for (DD_TIME time; !bEnd;) m_play.GetPlayBackOsdTime(busy, &time);
        });
    }
    for (tuint32 index = 0; index < 10; ++index) Push(index, DD_FRAME_TYPE_VIDEO, 1);
    EXPECT_TRUE(WaitUntil([&] { return m_log.Get().ends_with("1:9 "); })) << m_log.Get();
    EXPECT_TRUE(m_play.StopPlayBack(other));
    bEnd = true;
    for (std::thread& thread : threads) thread.join();
}

/// Seeks, controls, stops and logouts of several threads while frames pour; HLX_TEST_ROUNDS sets the number of orders.
TEST_F(PlaybackMan, RandomOrdersOfSeveralThreads) {
    const char* sRounds = std::getenv("HLX_TEST_ROUNDS");
    const int rounds = sRounds ? std::atoi(sRounds) : 20;
    std::atomic<bool> bEnd{false};
    std::thread producer([&] {
        for (tuint32 index = 0; !bEnd; index = (index + 1) % 50)
            for (tuint32 slot = 0; slot < 4; ++slot) Push(index, index % 3 ? 1 : 2, slot);
    });
    for (int seed = 0; seed < rounds; ++seed) {
        std::vector<std::thread> threads;
        std::vector<POINTERHANDLE> handles;
        for (int i = 0; i < 4; ++i) handles.push_back(Begin());
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&, t] {
                std::mt19937 random(static_cast<unsigned>(seed * 3 + t));
                for (int step = 0; step < 12; ++step) {
                    const POINTERHANDLE handle = handles[random() % 4];
                    const unsigned action = random() % 16;
                    if (action < 11) m_play.PlayBackControl(handle, action, START + random() % 12, nullptr);
                    if (action == 11) m_play.StopPlayBack(handle);
                    if (action == 12) m_play.SetPlayDataCallBack(handle, nullptr, nullptr);
                    if (action == 13) Begin();
                    if (action == 14 && step == 11) m_play.RemoveDevice(m_lUserID);
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
        const auto before = std::chrono::steady_clock::now();
        m_play.RemoveDevice(m_lUserID);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(1));
        m_log = std::string();
        ASSERT_TRUE(m_play.AddDevice(m_lUserID));
    }
    m_log = std::string();
    std::this_thread::yield();
    EXPECT_EQ(m_log.Get(), "") << "a callback behind the last stop";
    bEnd = true;
    producer.join();
}

}  // namespace

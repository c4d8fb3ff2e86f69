// Callbacks of two kinds that run at the same time, each calling what concerns the other: neither waits for the other for
// ever.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "System.h"

namespace {

enum KIND { LIVE, PLAYBACK, DOWNLOAD, TALK, MESSAGE, KIND_COUNT };
const char* const NAMES[] = {"live", "playback", "download", "talk", "message"};

class Crossing : public CSystemTest {
protected:
    void SetUp() override {
        CSystemTest::SetUp();
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.heartbeat = std::chrono::milliseconds(100);  // in step with the faster clock
        config.talk = SIM_TALK::CLIP;
        config.recordings.days = 1;
        CClassicRecorder& recorder = StartRecorder(config);
        recorder.SetStatus({.motion = 1});
        const auto& files = recorder.Archive().Files();
        const auto last = std::ranges::find(files.rbegin(), files.rend(), 1u, &ARCHIVE_FILE::channel);
        ASSERT_NE(last, files.rend());
        HLX_FormatTime(last->span.start * 1000000, &m_from);
        HLX_FormatTime(last->span.stop * 1000000, &m_to);
    }
    void Begin(KIND kind) {
        const LONG channel = 1;
        HLX_CLIENTINFO client{};
        switch (kind) {
            case LIVE:
                m_handles[LIVE] = HLX_LivePlay(m_id, &client, OnFrame<LIVE>, this);
                break;
            case PLAYBACK:
                m_handles[PLAYBACK] = HLX_PlayBackByTime(m_id, &channel, 1, &m_from, &m_to, nullptr);
                HLX_SetPlayDataCallBack(m_handles[PLAYBACK], OnFrame<PLAYBACK>, this);
                break;
            case DOWNLOAD:
                m_handles[DOWNLOAD] = HLX_GetFileByTimeEx(m_id, channel, &m_from, &m_to, nullptr, 1, 1, OnData, this);
                break;
            case TALK:
                m_handles[TALK] = HLX_StartVoiceCom_MR(m_id, 0, OnSound, this);
                break;
            default:
                HLX_SetDVRMessageCallBack(OnMessage, this);
                m_handles[MESSAGE] = HLX_SetupAlarmChan(m_id);
        }
        EXPECT_GT(m_handles[kind], 0) << NAMES[kind] << ", number " << HLX_GetLastError();
    }
    /// Calls what does not end anything, and waits at most for a moment in an application's eyes.
    void Look(KIND kind) {
        const POINTERHANDLE handle = m_handles[kind];
        DD_TIME time{};
        WAVEFORMATEX format{};
        switch (kind) {
            case LIVE:
                HLX_SetLiveDataCallBack(handle, OnFrame<LIVE>, this);
                HLX_RefreshPlay(handle);
                break;
            case PLAYBACK:
                HLX_GetPlayBackOsdTime(handle, &time);
                HLX_SetPlayDataCallBack(handle, OnFrame<PLAYBACK>, this);
                HLX_StopPlayBackSave(handle, 1);
                HLX_RefreshPlay(handle);
                break;
            case DOWNLOAD:
                HLX_GetDownloadPos(handle);
                break;
            case TALK:
                HLX_VoiceComSendData(handle, "sound", 5);
                HLX_GetAudioInfo(handle, &format, sizeof(format));
                break;
            default:
                HLX_SetDVRMessageCallBack(nullptr, nullptr);
        }
    }
    BOOL Stop(KIND kind) {
        const POINTERHANDLE handle = m_handles[kind];
        if (kind == LIVE) return HLX_StopLivePlay(handle);
        if (kind == PLAYBACK) return HLX_StopPlayBack(handle);
        if (kind == DOWNLOAD) return HLX_StopGetFile(handle);
        if (kind == TALK) return HLX_StopVoiceCom(handle);
        return HLX_CloseAlarmChan(handle);
    }
    /// In a callback: acts once, when the other kind's callback runs, too.
    void Called(KIND kind) {
        if (!m_bArmed || m_in[kind].exchange(true)) return;
        const KIND other = kind == m_pair.first ? m_pair.second : m_pair.first;
        EXPECT_TRUE(WaitUntil([&] { return m_in[other].load(); })) << NAMES[other] << " is not called";
        if (m_bStops) {
            EXPECT_TRUE(Stop(other) || HLX_GetLastError() == HLX_OPER_NOPERMIT) << HLX_GetLastError();
        } else {
            Look(other);
        }
        ++m_done;
    }
    void Cross(KIND first, KIND second, bool bStops) {
        SCOPED_TRACE(std::string(NAMES[first]) + " and " + NAMES[second] + (bStops ? " stop" : " look"));
        m_id = Login();
        m_pair = {first, second};
        m_bStops = bStops;
        m_done = 0;
        for (auto& in : m_in) in = false;
        Begin(first);
        Begin(second);
        m_bArmed = true;
        const bool bDone = WaitUntil([&] { return m_done == 2; });
        EXPECT_TRUE(bDone);
        if (!bDone) std::abort();  // they hang for good, and so would the end of the test
        m_bArmed = false;
        for (const KIND kind : {first, second}) Stop(kind);
        EXPECT_TRUE(HLX_Logout(m_id));
    }

    template <KIND WHICH>
    static void OnFrame(POINTERHANDLE, HLX_FRAME_INFO, BYTE*, void* pUser) {
        static_cast<Crossing*>(pUser)->Called(WHICH);
    }
    static void OnData(POINTERHANDLE, UINT, BYTE*, UINT, void* pUser) {
        static_cast<Crossing*>(pUser)->Called(DOWNLOAD);
    }
    static void OnSound(POINTERHANDLE, char*, DWORD, BYTE, void* pUser) { static_cast<Crossing*>(pUser)->Called(TALK); }
    static BOOL OnMessage(LONG, LONG, char*, DWORD, void* pUser) {
        static_cast<Crossing*>(pUser)->Called(MESSAGE);
        return 1;
    }

    DD_TIME m_from{}, m_to{};
    LONG m_id = 0;
    std::array<POINTERHANDLE, KIND_COUNT> m_handles{};
    std::pair<KIND, KIND> m_pair;
    bool m_bStops = false;
    std::atomic<bool> m_bArmed{false};
    std::array<std::atomic<bool>, KIND_COUNT> m_in{};  // a callback of the kind has begun to act
    std::atomic<int> m_done{0};
};

TEST_F(Crossing, NoTwoCallbacksWaitForEachOther) {
    const CFastTime fast(20);
    for (int first = 0; first < KIND_COUNT; ++first)
        for (int second = first + 1; second < KIND_COUNT; ++second)
            for (const bool bStops : {false, true}) Cross(KIND(first), KIND(second), bStops);
}

}  // namespace

// An application talks with a recorder.
#include <numeric>

#include "protocol/ClassicProtocol.h"
#include "System.h"

namespace {

using Samples = std::vector<short>;

/// What came back of a talk.
class CHeard {
public:
    static void OnSound(POINTERHANDLE lTalk, char* pBuffer, DWORD dwBufSize, BYTE dataFlag, void* pUser) {
        auto& heard = *static_cast<CHeard*>(pUser);
        EXPECT_EQ(dataFlag, 1);
        if (heard.m_inCallback) heard.m_inCallback(lTalk);
        const std::lock_guard guard(heard.m_lock);
        heard.m_bytes.append(pBuffer, dwBufSize);
        heard.m_longest = std::max(heard.m_longest, dwBufSize);
    }
    std::string Bytes() const {
        const std::lock_guard guard(m_lock);
        return m_bytes;
    }
    void Forget() {
        const std::lock_guard guard(m_lock);
        m_bytes.clear();
    }
    DWORD Longest() const {
        const std::lock_guard guard(m_lock);
        return m_longest;
    }
    std::function<void(POINTERHANDLE)> m_inCallback;

private:
    mutable std::mutex m_lock;
    std::string m_bytes;
    DWORD m_longest = 0;
};

class TalkTest : public CSystemTest {
protected:
    /// Logs in to a recorder that echoes at once.
    void LogIn(CLASSIC_RECORDER_CONFIG config = Fast(4)) {
        config.talkDelay = std::chrono::milliseconds(0);
        config.bKeepDigests = true;
        m_pRecorder = &StartRecorder(std::move(config));
        m_user = Login();
        ASSERT_GT(m_user, 0);
    }
    POINTERHANDLE Talk(bool bPcm, LONG lUserID = 0) {
        const POINTERHANDLE talk = HLX_StartVoiceCom_MR(lUserID ? lUserID : m_user, bPcm, CHeard::OnSound, &m_heard);
        WAVEFORMATEX format{};
        const auto told = [&] { return HLX_GetAudioInfo(talk, &format, sizeof(format)); };
        EXPECT_TRUE(talk <= 0 || WaitUntil(told));
        return talk;
    }
    static bool Send(POINTERHANDLE talk, const Samples& samples) {
        return HLX_VoiceComSendData(talk, reinterpret_cast<const char*>(samples.data()),
                                    static_cast<DWORD>(samples.size() * 2));
    }
    bool Hears(size_t bytes) {
        return WaitUntil([&] { return m_heard.Bytes().size() >= bytes; });
    }

    CHeard m_heard;
    CClassicRecorder* m_pRecorder = nullptr;
    LONG m_user = 0;
};

/// Samples that A-law keeps as they are.
Samples Tone(size_t count) {
    Samples samples(count);
    for (size_t i = 0; i < count; ++i) samples[i] = i % 2 ? 1 << (4 + i % 10) : -(1 << (4 + i % 10));
    for (short& sample : samples)
        sample = static_cast<short>(sample + (sample > 0 ? 8 : -8) * (std::abs(sample) < 512));
    return samples;
}

TEST_F(TalkTest, PcmComesBackAsItWasSent) {
    for (const bool bUnits : {false, true}) {
        SCOPED_TRACE(bUnits);
        CLASSIC_RECORDER_CONFIG config = Fast(4);
        config.bTalkUnits = bUnits;
        LogIn(config);
        const POINTERHANDLE talk = Talk(true);
        ASSERT_GT(talk, 0);
        Samples samples(1600 * 3);
        std::iota(samples.begin(), samples.end(), static_cast<short>(-2400));
        EXPECT_TRUE(Send(talk, samples));
        ASSERT_TRUE(Hears(samples.size() * 2));
        EXPECT_EQ(m_pRecorder->TakeTalkHeard().size(), samples.size()) << "A-law, one byte a sample";
        const std::string bytes = m_heard.Bytes();
        Samples heard(bytes.size() / 2);
        memcpy(heard.data(), bytes.data(), heard.size() * 2);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_LE(std::abs(heard[i] - samples[i]), 8 + std::abs(samples[i]) / 32) << i;
        EXPECT_LE(m_heard.Longest(), 3200u);
        EXPECT_TRUE(HLX_StopVoiceCom(talk));
        EXPECT_FALSE(HLX_StopVoiceCom(talk));
        HLX_Logout(m_user);
        m_recorders.clear();
        m_heard.Forget();
    }
}

TEST_F(TalkTest, PcmGoesOutInWholeBlocks) {
    LogIn();
    const POINTERHANDLE talk = Talk(true);
    ASSERT_GT(talk, 0);
    const struct {
        size_t bytes;
        bool bSent;
        size_t blocks;  // in all
    } rows[] = {{3000, false, 0}, {3000, true, 1}, {3200, true, 2}, {6399, true, 3}, {3199, false, 3}, {1, true, 4}};
    for (const auto& row : rows) {
        const std::string sound(row.bytes, 1);
        EXPECT_EQ(HLX_VoiceComSendData(talk, sound.data(), static_cast<DWORD>(row.bytes)), row.bSent) << row.bytes;
        EXPECT_TRUE(Hears(row.blocks * 3200));
        EXPECT_EQ(m_heard.Bytes().size(), row.blocks * 3200);
    }
    HLX_StopVoiceCom(talk);
}

TEST_F(TalkTest, CodedSoundPassesAsItIs) {
    LogIn();
    const POINTERHANDLE talk = Talk(false);
    std::string sound(20001, 0);
    std::iota(sound.begin(), sound.end(), 0);
    EXPECT_TRUE(HLX_VoiceComSendData(talk, sound.data(), static_cast<DWORD>(sound.size())));
    EXPECT_TRUE(Hears(sound.size()));
    EXPECT_EQ(m_heard.Bytes(), sound);
    WAVEFORMATEX format{};
    EXPECT_TRUE(HLX_GetAudioInfo(talk, &format, sizeof(format)) && format.wFormatTag == 6);
    EXPECT_FALSE(HLX_GetAudioInfo(talk, &format, 17));
    HLX_StopVoiceCom(talk);
    EXPECT_TRUE(WaitUntil([&] { return m_pRecorder->CommandCount(CMD_REQUEST_TALK_STOP) == 1; }));
}

TEST_F(TalkTest, RefusalsAndFormatsThatAreNotKnown) {
    LogIn();
    const char block[3200] = {};
    EXPECT_EQ(HLX_StartVoiceCom(m_user, 1, CHeard::OnSound, &m_heard), -1) << "no sound on this platform";
    EXPECT_EQ(HLX_GetLastError(), HLX_SUCCESS);
    EXPECT_EQ(HLX_StartVoiceCom_MR(m_user + 1, 1, CHeard::OnSound, &m_heard), -1);
    EXPECT_EQ(HLX_GetLastError(), HLX_PARAMETER_ERROR);
    m_pRecorder->AddFault({SIM_FAULT_KIND::TALK_FORMAT, SIM_PHASE::ANY, 85, 1});
    const POINTERHANDLE talk = Talk(true);
    EXPECT_FALSE(HLX_VoiceComSendData(talk, block, sizeof(block)));
    EXPECT_EQ(HLX_GetLastError(), HLX_AUDIO_MODE_ERROR);
    const LONG other = Login();
    EXPECT_EQ(HLX_StartVoiceCom_MR(other, 1, CHeard::OnSound, &m_heard), -1);
    EXPECT_EQ(HLX_GetLastError(), HLX_DVR_VOICEOPENED);
    WAVEFORMATEX format{};
    EXPECT_FALSE(HLX_VoiceComSendData(talk + 1, block, sizeof(block)));
    EXPECT_FALSE(HLX_GetAudioInfo(talk + 1, &format, sizeof(format)));
    EXPECT_EQ(HLX_GetLastError(), HLX_TRY_LATER);
    EXPECT_FALSE(HLX_SetVoiceComClientVolume(talk, 3) || HLX_StopVoiceCom(talk + 1));
    EXPECT_TRUE(HLX_StopVoiceCom(talk));
    EXPECT_EQ(HLX_GetLastError(), HLX_SUCCESS);
    EXPECT_GT(Talk(false, other), 0) << "the recorder is free again";
}

TEST_F(TalkTest, TalksOutliveTheirSessionWithoutSound) {
    LogIn();
    std::atomic<int> refused{0};
    m_heard.m_inCallback = [&](POINTERHANDLE talk) {
        if (!HLX_StopVoiceCom(talk) && HLX_GetLastError() == HLX_OPER_NOPERMIT && !HLX_Cleanup()) ++refused;
    };
    const POINTERHANDLE talk = Talk(true);
    EXPECT_TRUE(Send(talk, Tone(1600)) && Hears(3200));
    EXPECT_GT(refused, 0);
    m_pRecorder->CutLinks(SIM_CUT::RESET);
    EXPECT_TRUE(WaitUntil([&] { return !Send(talk, Tone(1600)) && HLX_GetLastError() == HLX_NETWORK_NOT_CONNECT; }));
    HLX_Logout(m_user);
    EXPECT_FALSE(Send(talk, Tone(1600)));
    EXPECT_FALSE(HLX_StopVoiceCom(talk)) << "freed, but the device could not be told";
    EXPECT_FALSE(HLX_StopVoiceCom(talk));
}

TEST_F(TalkTest, StopAndLogoutWhileSoundPours) {
    CLASSIC_RECORDER_CONFIG config = Fast(4);
    config.talk = SIM_TALK::CLIP;
    LogIn(config);
    for (int round = 0; round < Rounds(20); ++round) {
        const LONG user = Login();
        std::atomic<bool> bStopped{false};
        std::atomic<int> late{0};
        m_heard.m_inCallback = [&](POINTERHANDLE) { late += bStopped; };
        const POINTERHANDLE talk = HLX_StartVoiceCom_MR(user, round % 2, CHeard::OnSound, &m_heard);
        ASSERT_GT(talk, 0);
        std::thread sender([&] {
            const std::string sound(6400, 0);
            for (int i = 0; i < 20; ++i) HLX_VoiceComSendData(talk, sound.data(), 6400);
        });
        std::thread leaver([&] {
            if (round % 4 == 1) HLX_Logout(user);
        });
        HLX_StopVoiceCom(talk);
        bStopped = true;
        sender.join();
        leaver.join();
        EXPECT_EQ(late, 0);
        HLX_Logout(user);
    }
    m_heard.m_inCallback = nullptr;
}

}  // namespace

// Two-way audio through this machine's own sound.
#pragma once

#include <list>
#include <memory>

#include "HLX.h"
#include "main_utility/media/LinuxAudio.h"
#include "protocol/ClassicProtocol.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"

class CAudioCodecMan;
class CNetDeviceMan;

/// One talk. Its address is the handle.
struct TALK_BACK_INFO {
    using Buffer = std::unique_ptr<unsigned char[]>;

    LONG lDeviceID = 0;
    POINTERHANDLE lVoiceComHandle = 0;
    TALK_DATA_CALLBACK pTalkDataCallBack = nullptr;
    void* pTalkDataCBParam = nullptr;
    bool bNeedCBNoEncData = false;  // the callback wants PCM
    WAVEFORMATEX waveformatex{};    // the device's; bytes a second 0: not known yet
    Buffer pDecodeBuf;              // from the moment the format is known, as are the next two
    Buffer pEncodeBuf;
    std::unique_ptr<CLinuxAudioOut> pWaveOut;
    POINTERHANDLE lAudioHandle = -1;
    DWORD dwVolume = 0xFFFFFFFF;
};

/// Talks that the library itself captures and plays. Where the machine has no sound input every start fails.
///
/// Callbacks run on the talk thread and on the capture's thread, with m_talkbackLock held, so they must not wait for
/// another thread that starts or stops a talk; StopTalk inside one is refused. m_talkbackLock comes before the locks of
/// the device manager and is not held while a talk starts or ends at the device.
class CTalkbackMan {
public:
    CTalkbackMan();
    virtual ~CTalkbackMan() { Quit(); }
    CTalkbackMan(const CTalkbackMan&) = delete;
    CTalkbackMan& operator=(const CTalkbackMan&) = delete;

    /// Starts the talk thread. False with HLX_PROGRAM_EXCEPTION.
    bool Initial();
    /// Ends thread, talks and capture. Not inside a callback. Safe on a manager that was never initialised.
    void Quit();

    /// The talk handle, or -1: with the number of the device, or without one where there is no sound. Waits for the
    /// device.
    POINTERHANDLE StartTalk(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack, void* pUser);
    /// False for an unknown handle and when the device could not be told; HLX_OPER_NOPERMIT inside a callback.
    BOOL StopTalk(POINTERHANDLE lVoiceComHandle);
    bool Knows(POINTERHANDLE lVoiceComHandle);
    /// As CTalkTransMan::GetAudioInfo.
    BOOL GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);
    /// Sets the volume of both channels; false in any case.
    BOOL SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume);

    /// True on a thread that is inside the application's callback.
    static bool InTalkCallback();

protected:
    /// This machine's sound.
    virtual std::unique_ptr<CLinuxAudioIn> MakeAudioIn() { return std::make_unique<CLinuxAudioIn>(); }
    virtual std::unique_ptr<CLinuxAudioOut> MakeAudioOut() { return std::make_unique<CLinuxAudioOut>(); }

private:
    using TalkList = std::list<TALK_BACK_INFO>;

    static void* PlayTalkThread(void* pParam);
    void PlayTalkProc();
    bool MoveFrames();
    void TakeFrame(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame);
    bool InitialAudioCodec(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame);
    void QuitAudioCodec(TALK_BACK_INFO& talk);
    void TalkDecPlay(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame);
    static void TalkDataCallBack(unsigned char* pData, DWORD length, void* pUser);
    void TalkDataProcess(unsigned char* pData, DWORD length);
    static void Call(const TALK_BACK_INFO& talk, unsigned char* pData, size_t length);
    void StopCaptureIfUnused();
    TALK_BACK_INFO* Find(POINTERHANDLE lVoiceComHandle);  // m_talkbackLock held
    TalkList Take(POINTERHANDLE lVoiceComHandle);
    BOOL End(TALK_BACK_INFO& talk);

    CNetDeviceMan* m_pNetDeviceMan = nullptr;
    CAudioCodecMan* m_pAudioCodecMan = nullptr;
    bool m_bTalking = false;  // run flag of the thread
    PUB_thread_t m_hTalkThread = 0;
    CPUB_Lock m_captureLock;  // starts and stops of the capture, one at a time; before m_talkbackLock
    std::unique_ptr<CLinuxAudioIn> m_WaveIn;
    CPUB_Lock m_talkbackLock;
    TalkList m_talkbackList;  // m_talkbackLock
};

// Two-way audio with the application's own sound.
#pragma once

#include <atomic>
#include <list>
#include <memory>

#include "HLX.h"
#include "protocol/ClassicProtocol.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"

class CAudioCodecMan;
class CNetDeviceMan;

/// One talk. Its address is the handle.
struct TALK_TRANS_INFO {
    using Buffer = std::unique_ptr<unsigned char[]>;

    TALK_TRANS_INFO() = default;
    ~TALK_TRANS_INFO();  // closes the codec
    TALK_TRANS_INFO(const TALK_TRANS_INFO&) = delete;
    TALK_TRANS_INFO& operator=(const TALK_TRANS_INFO&) = delete;

    LONG deviceID = 0;
    POINTERHANDLE talkHandle = 0;
    std::atomic<POINTERHANDLE> audioCodecHandle{0};  // 0 until the format is known
    TALK_DATA_CALLBACK pfCallbackFunc = nullptr;
    void* pCallbackParams = nullptr;
    CPUB_Lock sendLock;                   // held for a whole send; guards the next three
    Buffer pEncodeBuffer;                 // TALK_SEND_FRAME_SIZE bytes each, from the moment the format is known
    Buffer pSendBuffer;                   // sound that does not fill a block yet
    size_t buffedLen = 0;                 // bytes waiting in it
    Buffer pDecodeBuffer;                 // the talk thread's
    std::atomic<bool> bNeedFormat{true};  // nothing can be sent yet; the buffers are there once it is false
    std::atomic<bool> bUnknownFormat{false};
    std::atomic<bool> bEnded{false};  // stopped: no callback begins, and nothing is sent
    BOOL bNeedNoEncodeData = 0;       // the application deals in PCM
    WAVEFORMATEX wfx{};               // the device's; m_listLock
};

/// Talks whose sound the application takes and gives.
///
/// The callback runs on the talk thread with m_callLock held, which only a stop waits for: the callback must not wait for
/// another thread that stops a talk. Inside it any function of talk may be called but Stop. A session that ends, by a
/// logout or a broken link, does not end its talks: nothing comes any more, and the application stops them. Locks:
/// m_callLock, which comes before those of streams; a talk's sendLock, which comes before those of the device manager;
/// m_listLock, which is held for moments. None of them is held while a device is asked, but the sendLock.
class CTalkTransMan {
public:
    CTalkTransMan() = default;
    ~CTalkTransMan() { Quit(); }
    CTalkTransMan(const CTalkTransMan&) = delete;
    CTalkTransMan& operator=(const CTalkTransMan&) = delete;

    /// Starts the talk thread. False with HLX_PROGRAM_EXCEPTION.
    bool Initial();
    /// Ends the thread, once its callback in progress is back, and all talks. Not inside a callback. Safe on a manager
    /// that was never initialised.
    void Quit();

    /// The talk handle, or -1 with the number of the device. Waits for the device.
    POINTERHANDLE Start(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack, void* pUser);
    /// False for an unknown handle and when the device could not be told; HLX_OPER_NOPERMIT inside a callback. Waits
    /// for a callback in progress; none comes after the return. Without `bMayWait`, for threads that a talk callback may
    /// be waiting for, a callback in progress is the last.
    BOOL Stop(POINTERHANDLE lVoiceComHandle, bool bMayWait);
    bool Knows(POINTERHANDLE lVoiceComHandle);
    /// Waits at most 100 ms for the device's format. HLX_TRY_LATER if it has not come, or the handle is unknown.
    BOOL GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);
    /// Coded sound goes out as it is. PCM is gathered to blocks of TALK_SEND_FRAME_SIZE bytes; a rest behind a whole
    /// block is dropped. True if a block was sent. Fails without a number for an unknown handle and while nothing can be
    /// sent yet, with HLX_AUDIO_MODE_ERROR when the device codes its sound in a way that is not known here.
    BOOL SendTalkData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize);

    /// True on the talk thread while the application's callback runs.
    static bool InTalkCallback();

private:
    using Talk = std::shared_ptr<TALK_TRANS_INFO>;

    static void* TalkTransThread(void* pParam);
    void TalkTransProc();
    bool MoveFrames();
    void TakeFrame(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame);
    void TakeFormat(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame);
    void Decode(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame);
    static void Call(const TALK_TRANS_INFO& talk, unsigned char* pData, size_t length);
    Talk Find(POINTERHANDLE lVoiceComHandle);
    Talk At(size_t place);
    std::list<Talk> Take(POINTERHANDLE lVoiceComHandle);
    BOOL End(TALK_TRANS_INFO& talk);
    bool SendBlock(TALK_TRANS_INFO& talk);

    CNetDeviceMan* m_deviceMan = nullptr;
    CAudioCodecMan* m_pAudioCodecMan = nullptr;
    bool m_isTrans = false;  // run flag of the thread
    PUB_thread_t m_talkTransThread = 0;
    CPUB_Lock m_callLock;  // no data: held around callbacks
    CPUB_Lock m_listLock;
    std::list<Talk> m_talkTransList;  // m_listLock
};

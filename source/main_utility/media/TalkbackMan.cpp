#include "main_utility/media/TalkbackMan.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "device_base/TalkArrival.h"
#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/AudioCodecMan.h"
#include "main_utility/media/TalkFormat.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/RunFlag.h"

namespace {

constexpr DWORD CAPTURE_BUFFERS = 4;
constexpr size_t CODEC_BUFFER_SIZE = 16000;  // bytes
constexpr int FRAMES_IN_A_ROW = 64;          // of one talk, before others get their turn
constexpr tuint32 TURN_PAUSE = 1;            // milliseconds in which others get the lock
constexpr POINTERHANDLE NO_TALK = -1;
constexpr POINTERHANDLE NO_CODEC = -1;

/// What is captured and what every codec takes.
constexpr WAVEFORMATEX CAPTURE_FORMAT = {1, 1, 8000, 16000, 2, 16, 0};

using InCallback = CInCallback<CTalkbackMan>;

}  // namespace

CTalkbackMan::CTalkbackMan() = default;

bool CTalkbackMan::InTalkCallback() { return InCallback::OnThisThread(); }

bool CTalkbackMan::Initial() {
    m_pNetDeviceMan = CNetDeviceMan::Instance();
    m_pAudioCodecMan = CAudioCodecMan::Instance();
    m_WaveIn = MakeAudioIn();
    m_WaveIn->SetBuffSize(TALK_SEND_FRAME_SIZE);
    m_WaveIn->SetBuffNum(CAPTURE_BUFFERS);
    m_hTalkThread = PUB_CreateThread(PlayTalkThread, this, &m_bTalking);
    return m_hTalkThread || Failure(HLX_PROGRAM_EXCEPTION);
}

void CTalkbackMan::Quit() {
    SetRunFlag(m_bTalking, false);
    CTalkArrival::Instance().Tell();
    PUB_ExitThread(&m_hTalkThread, &m_bTalking);
    TalkList talks;
    {
        std::lock_guard guard(m_talkbackLock);
        talks.swap(m_talkbackList);
    }
    for (TALK_BACK_INFO& talk : talks) End(talk);
    StopCaptureIfUnused();
    m_WaveIn.reset();
}

POINTERHANDLE CTalkbackMan::StartTalk(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                      void* pUser) {
    std::lock_guard captureGuard(m_captureLock);
    if (!m_WaveIn || !m_WaveIn->CheckAudioDevice()) return NO_TALK;
    TalkList made(1);  // nothing is to be made once the device talks
    TALK_BACK_INFO& talk = made.front();
    const auto handle = reinterpret_cast<POINTERHANDLE>(&talk);
    talk.lDeviceID = lUserID;
    talk.lVoiceComHandle = handle;
    talk.pTalkDataCallBack = fVoiceDataCallBack;
    talk.pTalkDataCBParam = pUser;
    talk.bNeedCBNoEncData = bNeedCBNoEncData;
    if (!m_pNetDeviceMan->StartTalk(lUserID)) return NO_TALK;
    bool bFirst = false;
    {
        std::lock_guard guard(m_talkbackLock);
        bFirst = m_talkbackList.empty();
        m_talkbackList.splice(m_talkbackList.end(), made);
    }
    CTalkArrival::Instance().Tell();
    // The others' capture serves this talk too.
    if (!bFirst || m_WaveIn->Start(CAPTURE_FORMAT, TalkDataCallBack, this)) return handle;
    TalkList taken = Take(handle);
    End(taken.front());
    return NO_TALK;
}

TALK_BACK_INFO* CTalkbackMan::Find(POINTERHANDLE lVoiceComHandle) {
    const auto found = std::ranges::find(m_talkbackList, lVoiceComHandle, &TALK_BACK_INFO::lVoiceComHandle);
    return found == m_talkbackList.end() ? nullptr : &*found;
}

CTalkbackMan::TalkList CTalkbackMan::Take(POINTERHANDLE lVoiceComHandle) {
    TalkList taken;
    std::lock_guard guard(m_talkbackLock);
    const auto found = std::ranges::find(m_talkbackList, lVoiceComHandle, &TALK_BACK_INFO::lVoiceComHandle);
    if (found != m_talkbackList.end()) taken.splice(taken.end(), m_talkbackList, found);
    return taken;
}

bool CTalkbackMan::Knows(POINTERHANDLE lVoiceComHandle) {
    std::lock_guard guard(m_talkbackLock);
    return Find(lVoiceComHandle) != nullptr;
}

BOOL CTalkbackMan::StopTalk(POINTERHANDLE lVoiceComHandle) {
    if (InCallback::OnThisThread()) return Failure(HLX_OPER_NOPERMIT);
    TalkList talk = Take(lVoiceComHandle);
    if (talk.empty()) return false;
    const BOOL bStopped = End(talk.front());
    StopCaptureIfUnused();
    return bStopped;
}

/// Of a talk that nobody finds any more.
BOOL CTalkbackMan::End(TALK_BACK_INFO& talk) {
    QuitAudioCodec(talk);
    return m_pNetDeviceMan->StopTalk(talk.lDeviceID);
}

void CTalkbackMan::StopCaptureIfUnused() {
    std::lock_guard captureGuard(m_captureLock);
    {
        std::lock_guard guard(m_talkbackLock);
        if (!m_talkbackList.empty()) return;
    }
    if (m_WaveIn) m_WaveIn->Stop();  // its callback may be waiting for m_talkbackLock
}

BOOL CTalkbackMan::GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG) {
    return WaitForTalkFormat(pAudioInfo, [&]() -> std::optional<WAVEFORMATEX> {
        std::lock_guard guard(m_talkbackLock);
        const TALK_BACK_INFO* pTalk = Find(lVoiceComHandle);
        return pTalk ? std::optional(pTalk->waveformatex) : std::nullopt;
    });
}

BOOL CTalkbackMan::SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume) {
    std::lock_guard guard(m_talkbackLock);
    TALK_BACK_INFO* pTalk = Find(lVoiceComHandle);
    if (!pTalk) return false;
    pTalk->dwVolume = DWORD{wVolume} << 16 | wVolume;
    if (pTalk->pWaveOut) pTalk->pWaveOut->SetVolume(pTalk->dwVolume);
    return false;
}

// ---- From the device ----

void* CTalkbackMan::PlayTalkThread(void* pParam) {
    static_cast<CTalkbackMan*>(pParam)->PlayTalkProc();
    return nullptr;
}

void CTalkbackMan::PlayTalkProc() {
    while (RunFlagSet(m_bTalking)) {
        const tuint64 seen = CTalkArrival::Instance().Count();
        if (MoveFrames()) {
            PUB_Sleep(TURN_PAUSE);
        } else if (RunFlagSet(m_bTalking)) {
            CTalkArrival::Instance().WaitBeyond(seen);
        }
    }
}

/// Plays what waits. True if more may wait.
bool CTalkbackMan::MoveFrames() {
    std::lock_guard guard(m_talkbackLock);
    bool bMore = false;
    for (TALK_BACK_INFO& talk : m_talkbackList) {
        FRAME_INFO_EX frame;
        int count = 0;
        while (count < FRAMES_IN_A_ROW && m_pNetDeviceMan->GetTalkFrame(talk.lDeviceID, frame)) {
            ++count;
            TakeFrame(talk, frame);
            m_pNetDeviceMan->ReleaseTalkBuf(talk.lDeviceID, frame);
        }
        bMore = bMore || count == FRAMES_IN_A_ROW;
    }
    return bMore;
}

void CTalkbackMan::TakeFrame(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame) {
    const bool bKnown = talk.waveformatex.nAvgBytesPerSec != 0;
    if (frame.frameType == FRAME_TYPE_TALK_AUDIO_FORMAT && !bKnown) {
        const auto format = TalkFormatOf(frame);
        if (!format) return;
        talk.waveformatex = *format;
        if (!InitialAudioCodec(talk, frame)) QuitAudioCodec(talk);
    } else if (frame.frameType == FRAME_TYPE_TALK_AUDIO && talk.lAudioHandle > 0) {
        TalkDecPlay(talk, frame);
    }
}

bool CTalkbackMan::InitialAudioCodec(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame) {
    const CThreadState::OwnNumber ownNumber;
    talk.lAudioHandle = m_pAudioCodecMan->OpenAudioCodec(frame.pData, frame.length);
    if (talk.lAudioHandle <= 0) return false;
    talk.pDecodeBuf.reset(new (std::nothrow) unsigned char[CODEC_BUFFER_SIZE]);
    talk.pEncodeBuf.reset(new (std::nothrow) unsigned char[CODEC_BUFFER_SIZE]);
    if (!talk.pDecodeBuf || !talk.pEncodeBuf) return false;
    WAVEFORMATEX pcm{};
    m_pAudioCodecMan->GetPCMWaveFormat(talk.lAudioHandle, &pcm);
    talk.pWaveOut = MakeAudioOut();
    talk.pWaveOut->Start(pcm);
    talk.pWaveOut->SetVolume(talk.dwVolume);
    return true;
}

void CTalkbackMan::QuitAudioCodec(TALK_BACK_INFO& talk) {
    if (talk.pWaveOut) talk.pWaveOut->Stop();
    talk.pWaveOut.reset();
    if (talk.lAudioHandle > 0) m_pAudioCodecMan->CloseAudioCodec(talk.lAudioHandle);
    talk.lAudioHandle = NO_CODEC;
    talk.pDecodeBuf.reset();
    talk.pEncodeBuf.reset();
}

void CTalkbackMan::TalkDecPlay(TALK_BACK_INFO& talk, const FRAME_INFO_EX& frame) {
    DecodeTalk(*m_pAudioCodecMan, talk.lAudioHandle, frame, {talk.pDecodeBuf.get(), CODEC_BUFFER_SIZE},
               [&](unsigned char* pSound, LONG length) {
                   talk.pWaveOut->WriteBuf(pSound, static_cast<DWORD>(length));
                   if (talk.bNeedCBNoEncData) Call(talk, pSound, static_cast<size_t>(length));
               });
    if (!talk.bNeedCBNoEncData) Call(talk, frame.pData, frame.length);
}

// ---- To the device ----

/// On the capture's thread.
void CTalkbackMan::TalkDataCallBack(unsigned char* pData, DWORD length, void* pUser) {
    static_cast<CTalkbackMan*>(pUser)->TalkDataProcess(pData, length);
}

void CTalkbackMan::TalkDataProcess(unsigned char* pData, DWORD length) {
    const LONG pcmLength = std::min<LONG>(length, TALK_SEND_FRAME_SIZE);
    std::lock_guard guard(m_talkbackLock);
    for (TALK_BACK_INFO& talk : m_talkbackList) {
        if (talk.lAudioHandle <= 0) continue;
        LONG coded = 0;
        {
            const CThreadState::OwnNumber ownNumber;
            unsigned char* pCoded = talk.pEncodeBuf.get();
            if (!m_pAudioCodecMan->EncodeAudioFrame(talk.lAudioHandle, pData, pcmLength, pCoded, &coded)) continue;
            m_pNetDeviceMan->SendTalkData(talk.lDeviceID, pCoded, static_cast<unsigned int>(coded));
        }
        if (talk.bNeedCBNoEncData) {
            Call(talk, pData, static_cast<size_t>(pcmLength));
        } else {
            Call(talk, talk.pEncodeBuf.get(), static_cast<size_t>(coded));
        }
    }
}

/// The bytes are lent for the call. Sound of either direction is told as this side's.
void CTalkbackMan::Call(const TALK_BACK_INFO& talk, unsigned char* pData, size_t length) {
    constexpr BYTE OWN_SIDE = 0;
    if (!talk.pTalkDataCallBack) return;
    const InCallback inCallback;
    talk.pTalkDataCallBack(talk.lVoiceComHandle, reinterpret_cast<char*>(pData), static_cast<DWORD>(length), OWN_SIDE,
                           talk.pTalkDataCBParam);
}

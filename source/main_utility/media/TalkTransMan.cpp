#include "main_utility/media/TalkTransMan.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "device_base/TalkArrival.h"
#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/AudioCodecMan.h"
#include "main_utility/media/TalkFormat.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr int FRAMES_IN_A_ROW = 64;  // of one talk, before others get their turn
constexpr tuint32 TURN_PAUSE = 1;    // milliseconds in which others get the lock
constexpr POINTERHANDLE NO_TALK = -1;

using InCallback = CInCallback<CTalkTransMan>;

}  // namespace

TALK_TRANS_INFO::~TALK_TRANS_INFO() {
    if (audioCodecHandle > 0) CAudioCodecMan::Instance()->CloseAudioCodec(audioCodecHandle);
}

bool CTalkTransMan::InTalkCallback() { return InCallback::OnThisThread(); }

bool CTalkTransMan::Initial() {
    m_deviceMan = CNetDeviceMan::Instance();
    m_pAudioCodecMan = CAudioCodecMan::Instance();
    m_talkTransThread = PUB_CreateThread(TalkTransThread, this, &m_isTrans);
    return m_talkTransThread || Failure(HLX_PROGRAM_EXCEPTION);
}

void CTalkTransMan::Quit() {
    SetRunFlag(m_isTrans, false);
    CTalkArrival::Instance().Tell();
    PUB_ExitThread(&m_talkTransThread, &m_isTrans);
    std::list<Talk> talks;
    {
        std::lock_guard guard(m_listLock);
        talks.swap(m_talkTransList);
    }
    for (const Talk& talk : talks) {
        talk->bEnded = true;
        End(*talk);
    }
}

POINTERHANDLE CTalkTransMan::Start(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                   void* pUser) {
    std::list<Talk> made{std::make_shared<TALK_TRANS_INFO>()};  // nothing is to be made once the device talks
    TALK_TRANS_INFO& talk = *made.front();
    const auto handle = reinterpret_cast<POINTERHANDLE>(&talk);
    talk.deviceID = lUserID;
    talk.talkHandle = handle;
    talk.pfCallbackFunc = fVoiceDataCallBack;
    talk.pCallbackParams = pUser;
    talk.bNeedNoEncodeData = bNeedNoEncodeData;
    if (!m_deviceMan->StartTalk(lUserID)) return NO_TALK;
    {
        std::lock_guard guard(m_listLock);
        m_talkTransList.splice(m_talkTransList.end(), made);
    }
    CTalkArrival::Instance().Tell();
    return handle;
}

CTalkTransMan::Talk CTalkTransMan::Find(POINTERHANDLE lVoiceComHandle) {
    std::lock_guard guard(m_listLock);
    const auto found =
        std::ranges::find_if(m_talkTransList, [&](const Talk& talk) { return talk->talkHandle == lVoiceComHandle; });
    return found == m_talkTransList.end() ? nullptr : *found;
}

/// The talk that stands at this place of the list, null behind the last.
CTalkTransMan::Talk CTalkTransMan::At(size_t place) {
    std::lock_guard guard(m_listLock);
    return place < m_talkTransList.size() ? *std::next(m_talkTransList.begin(), static_cast<long>(place)) : nullptr;
}

/// Takes a talk out of the list; no further callback of it begins.
std::list<CTalkTransMan::Talk> CTalkTransMan::Take(POINTERHANDLE lVoiceComHandle) {
    std::list<Talk> taken;
    std::lock_guard guard(m_listLock);
    const auto found =
        std::ranges::find_if(m_talkTransList, [&](const Talk& talk) { return talk->talkHandle == lVoiceComHandle; });
    if (found == m_talkTransList.end()) return taken;
    (*found)->bEnded = true;
    taken.splice(taken.end(), m_talkTransList, found);
    CTalkArrival::Instance().Tell();  // the others have moved up, and one may have been passed over
    return taken;
}

bool CTalkTransMan::Knows(POINTERHANDLE lVoiceComHandle) { return Find(lVoiceComHandle) != nullptr; }

BOOL CTalkTransMan::Stop(POINTERHANDLE lVoiceComHandle, bool bMayWait) {
    if (InCallback::OnThisThread()) return Failure(HLX_OPER_NOPERMIT);
    const std::list<Talk> talk = Take(lVoiceComHandle);
    if (talk.empty()) return false;
    if (bMayWait) {
        const std::lock_guard past(m_callLock);
    }
    return End(*talk.front());
}

BOOL CTalkTransMan::End(TALK_TRANS_INFO& talk) {
    const std::lock_guard guard(talk.sendLock);
    return m_deviceMan->StopTalk(talk.deviceID);
}

BOOL CTalkTransMan::GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG) {
    return WaitForTalkFormat(pAudioInfo, [&]() -> std::optional<WAVEFORMATEX> {
        const std::lock_guard guard(m_listLock);
        const Talk talk = Find(lVoiceComHandle);
        return talk ? std::optional(talk->wfx) : std::nullopt;
    });
}

// ---- To the device ----

BOOL CTalkTransMan::SendTalkData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize) {
    const Talk talk = Find(lVoiceComHandle);
    if (!talk) return false;
    const std::lock_guard guard(talk->sendLock);
    if (talk->bEnded) return false;
    if (talk->bNeedFormat) return talk->bUnknownFormat && Failure(HLX_AUDIO_MODE_ERROR);
    if (!talk->bNeedNoEncodeData) {
        auto* pData = reinterpret_cast<unsigned char*>(const_cast<char*>(pSendBuf));
        return m_deviceMan->SendTalkData(talk->deviceID, pData, dwBufSize);
    }
    size_t length = dwBufSize;
    const auto fill = [&](size_t count) {
        std::copy_n(pSendBuf, count, talk->pSendBuffer.get() + talk->buffedLen);
        talk->buffedLen += count;
        pSendBuf += count;
        length -= count;
    };
    // A rest that fills no block is dropped once one went out; before, it waits for more.
    while (talk->buffedLen + length >= TALK_SEND_FRAME_SIZE) {
        fill(TALK_SEND_FRAME_SIZE - talk->buffedLen);
        if (!SendBlock(*talk)) return false;
        if (length < TALK_SEND_FRAME_SIZE) return true;
    }
    fill(length);
    return false;
}

/// Codes and sends the block that is full. It is gone then, sent or not: sound that finds no way is late already.
bool CTalkTransMan::SendBlock(TALK_TRANS_INFO& talk) {
    talk.buffedLen = 0;
    LONG length = 0;
    unsigned char* pCoded = talk.pEncodeBuffer.get();
    return m_pAudioCodecMan->EncodeAudioFrame(talk.audioCodecHandle, talk.pSendBuffer.get(), TALK_SEND_FRAME_SIZE,
                                              pCoded, &length) &&
           m_deviceMan->SendTalkData(talk.deviceID, pCoded, static_cast<unsigned int>(length));
}

// ---- From the device ----

void* CTalkTransMan::TalkTransThread(void* pParam) {
    static_cast<CTalkTransMan*>(pParam)->TalkTransProc();
    return nullptr;
}

void CTalkTransMan::TalkTransProc() {
    while (RunFlagSet(m_isTrans)) {
        const tuint64 seen = CTalkArrival::Instance().Count();
        if (MoveFrames()) {
            PUB_Sleep(TURN_PAUSE);
        } else if (RunFlagSet(m_isTrans)) {
            CTalkArrival::Instance().WaitBeyond(seen);
        }
    }
}

/// Hands out what waits. True if more may wait.
bool CTalkTransMan::MoveFrames() {
    std::lock_guard guard(m_callLock);
    bool bMore = false;
    size_t place = 0;
    while (const Talk talk = At(place++)) {
        FRAME_INFO_EX frame;
        int count = 0;
        while (count < FRAMES_IN_A_ROW && !talk->bEnded && m_deviceMan->GetTalkFrame(talk->deviceID, frame)) {
            ++count;
            TakeFrame(*talk, frame);
            m_deviceMan->ReleaseTalkBuf(talk->deviceID, frame);
        }
        bMore = bMore || count == FRAMES_IN_A_ROW;
    }
    return bMore;
}

void CTalkTransMan::TakeFrame(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame) {
    if (frame.frameType == FRAME_TYPE_TALK_AUDIO_FORMAT) return TakeFormat(talk, frame);
    if (frame.frameType != FRAME_TYPE_TALK_AUDIO || !talk.pfCallbackFunc) return;
    if (!talk.bNeedNoEncodeData) return Call(talk, frame.pData, frame.length);
    if (!talk.bNeedFormat) Decode(talk, frame);
}

void CTalkTransMan::TakeFormat(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame) {
    const auto format = TalkFormatOf(frame);
    if (!format) return;
    {
        std::lock_guard guard(m_listLock);
        talk.wfx = *format;
    }
    if (!talk.bNeedFormat) return;
    const CThreadState::OwnNumber ownNumber;
    if (talk.audioCodecHandle <= 0)
        talk.audioCodecHandle = m_pAudioCodecMan->OpenAudioCodec(frame.pData, frame.length);  // closed with the talk
    talk.bUnknownFormat = talk.audioCodecHandle <= 0;
    if (talk.bUnknownFormat) {
        YLOG(YLOG_WARN, "user %ld: the device's talk sound has the unknown format %u", long{talk.deviceID},
             static_cast<unsigned>(format->wFormatTag));
        return;
    }
    for (auto* pBuffer : {&talk.pEncodeBuffer, &talk.pSendBuffer, &talk.pDecodeBuffer}) {
        pBuffer->reset(new (std::nothrow) unsigned char[TALK_SEND_FRAME_SIZE]);
        if (!*pBuffer) return;
    }
    talk.bNeedFormat = false;
}

void CTalkTransMan::Decode(TALK_TRANS_INFO& talk, const FRAME_INFO_EX& frame) {
    DecodeTalk(*m_pAudioCodecMan, talk.audioCodecHandle, frame, {talk.pDecodeBuffer.get(), TALK_SEND_FRAME_SIZE},
               [&](unsigned char* pSound, LONG length) { Call(talk, pSound, static_cast<size_t>(length)); });
}

/// The bytes are lent for the call.
void CTalkTransMan::Call(const TALK_TRANS_INFO& talk, unsigned char* pData, size_t length) {
    constexpr BYTE FROM_DEVICE = 1;
    if (talk.bEnded) return;
    const InCallback inCallback;
    talk.pfCallbackFunc(talk.talkHandle, reinterpret_cast<char*>(pData), static_cast<DWORD>(length), FROM_DEVICE,
                        talk.pCallbackParams);
}

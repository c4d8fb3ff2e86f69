#include "main_utility/media/LiveMan.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "main_utility/device/NetDeviceMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr LONG MAX_LIVE_CHANNEL = 255;  // a ring's id has room for no more

void LogStream(int level, const LIVE_STREAM_INFO& stream, const char* pWhat, LONG number) {
    YLOG(level, "user %ld, channel %ld, stream %u: live %s %ld", long{stream.lPrimalDeviceHandle}, long{stream.channel},
         static_cast<unsigned>(stream.streamType), pWhat, long{number});
}

/// What a device may say of itself when it refuses a stream; any other number becomes "not connected".
bool IsRefusal(DWORD error) {
    return error == HLX_DVR_NORESOURCE || error == HLX_CHANNEL_ERROR || error == HLX_NORESOURCE ||
           error == HLX_CHANNEL_OFFLINE;
}

}  // namespace

bool CLiveMan::Initial() {
    m_pDeviceMan = CNetDeviceMan::Instance();
    m_pDataBufferMan = CMultiNetDataBufferMan::Instance();
    return true;
}

bool CLiveMan::Start() { return StartResuming(); }

void CLiveMan::Stop() {
    StopResuming();
    StopStreams();
}

/// By now no callback of the device manager can open a stream; one may have until a moment ago.
void CLiveMan::Quit() { StopStreams(); }

void CLiveMan::StopStreams() {
    while (const POINTERHANDLE handle = AnyStream([](const LIVE_STREAM_INFO&) { return true; })) StopLivePlay(handle);
}

/// The handle of one of the streams that are wanted, 0 when there is none.
template <class Wanted>
POINTERHANDLE CLiveMan::AnyStream(Wanted wanted) {
    std::lock_guard guard(m_streamLock);
    const auto found = std::ranges::find_if(m_streamInfoArray,
                                            [&](const Stream& stream) { return !stream->bEnding && wanted(*stream); });
    return found == m_streamInfoArray.end() ? 0 : (*found)->lLiveHandle;
}

LIVE_STREAM_INFO* CLiveMan::Find(POINTERHANDLE lLiveHandle) const {
    for (const Stream& stream : m_streamInfoArray)
        if (stream->lLiveHandle == lLiveHandle && !stream->bEnding) return stream.get();
    return nullptr;
}

CLiveMan::Stream CLiveMan::FindShared(POINTERHANDLE lLiveHandle) {
    std::lock_guard guard(m_streamLock);
    for (const Stream& stream : m_streamInfoArray)
        if (stream->lLiveHandle == lLiveHandle && !stream->bEnding) return stream;
    return nullptr;
}

unsigned int CLiveMan::FreeStreamID(LONG lUserID, LONG lChannel) const {
    unsigned int streamID = 1;
    const auto taken = [&](const Stream& stream) {
        return stream->lPrimalDeviceHandle == lUserID && stream->channel == lChannel && stream->streamID == streamID;
    };
    while (std::any_of(m_streamInfoArray.begin(), m_streamInfoArray.end(), taken)) ++streamID;
    return streamID;
}

/// True if the wanted stream cannot share the session: the channel is open on it, or, for a capture, the ring is taken.
bool CLiveMan::IsOpen(const LIVE_STREAM_INFO& wanted, bool bSameTypeOnly) const {
    return std::any_of(m_streamInfoArray.begin(), m_streamInfoArray.end(), [&](const Stream& stream) {
        return stream->lDeviceHandle == wanted.lPrimalDeviceHandle && stream->channel == wanted.channel &&
               (stream->streamType == wanted.streamType || !(bSameTypeOnly || stream->bCapture));
    });
}

POINTERHANDLE CLiveMan::LivePlay(LONG lUserID, const HLX_CLIENTINFO* pInfo, LIVE_DATA_CALLBACK pCallback,
                                 LIVE_DATA_CALLBACK_EX pCallbackEx, void* pUser) {
    if (!pInfo || pInfo->streamType < HLX_MAIN_STREAM || pInfo->streamType > HLX_FOURTH_STREAM)
        return Failure(HLX_PARAMETER_ERROR, POINTERHANDLE{-1});
    if (pInfo->lChannel < 0 || pInfo->lChannel > MAX_LIVE_CHANNEL) return Failure(HLX_CHANNEL_ERROR, POINTERHANDLE{-1});

    auto stream = std::make_shared<LIVE_STREAM_INFO>();
    stream->lLiveHandle = reinterpret_cast<POINTERHANDLE>(stream.get());
    stream->lPrimalDeviceHandle = lUserID;
    stream->channel = pInfo->lChannel;
    stream->streamType = static_cast<DWORD>(pInfo->streamType);
    stream->callbacks = {pCallback, pCallbackEx, pUser};
    stream->pUser = this;
    if (!ChooseSession(*stream)) return -1;
    return OpenStream(stream);
}

/// Settles the stream's number and the session that carries it. A channel that is open already needs a further session
/// of its own, since frames on a link do not say for which of two viewers they are; a device that called in cannot be
/// called back, so there another stream of the channel shares its link.
bool CLiveMan::ChooseSession(LIVE_STREAM_INFO& stream) {
    const auto session = m_pDeviceMan->GetDeviceResByUserID(stream.lPrimalDeviceHandle);
    stream.lDeviceHandle = stream.lPrimalDeviceHandle;
    {
        std::lock_guard guard(m_streamLock);
        stream.streamID = FreeStreamID(stream.lPrimalDeviceHandle, stream.channel);
        if (stream.streamID > MAX_STREAM_NUM_PER_CHANNEL) return Failure(HLX_MAX_PLAYERPORT);
        const bool bOwnLinkOnly = session && session->bAutoRegisterMode;
        if (!session || !IsOpen(stream, bOwnLinkOnly)) return true;
    }
    stream.lDeviceHandle =
        m_pDeviceMan->AddDevice(session->sDeviceIP, session->wDevicePort, session->sUserName, session->sPassword,
                                nullptr, session->lConnectType, session->sDevSN, stream.lPrimalDeviceHandle);
    if (stream.lDeviceHandle < 0) {
        YLOG(YLOG_ERROR, "AddDevice _NETWORK_FAIL_CONNECT");
        return Failure(HLX_NETWORK_FAIL_CONNECT);
    }
    stream.bExtraStream = true;
    return true;
}

bool CLiveMan::IsRingTaken(unsigned int bufferID, const LIVE_STREAM_INFO* pExcept) const {
    return std::ranges::any_of(m_streamInfoArray, [&](const Stream& stream) {
        return stream->bufferID == bufferID && stream.get() != pExcept;
    });
}

POINTERHANDLE CLiveMan::OpenStream(const Stream& stream) {
    LIVE_STREAM_INFO& opened = *stream;
    const POINTERHANDLE lLiveHandle = opened.lLiveHandle;
    std::unique_lock guard(m_streamLock);
    // A capture may have come since the session was chosen, or a stream that is being stopped still has the ring.
    while (IsRingTaken(LIVE_BUFFER_ID(opened.lDeviceHandle, opened.channel, opened.streamType))) {
        guard.unlock();
        CloseSession(opened);
        opened.bExtraStream = false;
        PUB_Sleep(1);  // of a session that is gone no other can be had until the stream that has the ring is through
        if (!ChooseSession(opened)) return -1;
        guard.lock();
    }
    try {
        m_streamInfoArray.push_back(stream);
    } catch (const std::bad_alloc&) {
        guard.unlock();
        CloseSession(opened);
        return Failure(HLX_NORESOURCE, POINTERHANDLE{-1});
    }
    bool bOpen = StartStream(opened);
    if (!bOpen) {
        CThreadState::Instance()->SetLastError(HLX_NORESOURCE);
    } else {
        bOpen = m_pDeviceMan->StartLiveChannel(opened.lDeviceHandle, opened.channel, IsFirstStream(opened.streamType),
                                               opened.bufferID, opened.streamType);
    }
    if (bOpen) {
        LogStream(YLOG_INFO, opened, "started, session", opened.lDeviceHandle);
        return lLiveHandle;
    }

    const DWORD error = CThreadState::Instance()->GetLastError();
    opened.bEnding = true;
    guard.unlock();
    LogStream(YLOG_ERROR, opened, "refused, number", static_cast<LONG>(error));
    FinishStream(stream);
    CThreadState::Instance()->SetLastError(IsRefusal(error) ? error : DWORD{HLX_NETWORK_NOT_CONNECT});
    return -1;
}

/// Ring first, so that the thread finds it.
bool CLiveMan::StartStream(LIVE_STREAM_INFO& stream) {
    stream.bufferID = LIVE_BUFFER_ID(stream.lDeviceHandle, stream.channel, stream.streamType);
    stream.tStreamDataLastTime = MonotonicSeconds();
    if (!m_pDataBufferMan->AddBuffer(stream.bufferID, LIVE_RING_SIZE, true)) return false;
    stream.hThreadCallBackData = PUB_CreateThread(LiveDataProcThread, &stream, &stream.bProcessing);
    return stream.hThreadCallBackData != 0;
}

/// Joins the thread, which may be in the application's callback, and gives the ring back.
void CLiveMan::EndStream(LIVE_STREAM_INFO& stream) {
    DropCaptures(stream);
    SetRunFlag(stream.bProcessing, false);
    m_pDataBufferMan->WakeReader(stream.bufferID);
    PUB_ExitThread(&stream.hThreadCallBackData, &stream.bProcessing);
    m_pDataBufferMan->RemoveBuffer(stream.bufferID);
}

void CLiveMan::CloseSession(const LIVE_STREAM_INFO& stream) {
    if (stream.bExtraStream) m_pDeviceMan->RemoveDevice(stream.lDeviceHandle);
}

/// The device's link, whatever request is under way.
bool CLiveMan::IsConnected(LONG lUserID) const {
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    return session && session->pNetDevice && session->pNetDevice->GetDeviceStatus() == NET_DEVICE_STATUS_CONNECTED;
}

void CLiveMan::StopDeviceSide(const LIVE_STREAM_INFO& stream) {
    if (stream.bCapture) return;
    const bool bFirstStream = IsFirstStream(stream.streamType);
    const bool bShared = std::any_of(m_streamInfoArray.begin(), m_streamInfoArray.end(), [&](const Stream& other) {
        return other.get() != &stream && !other->bEnding && other->lDeviceHandle == stream.lDeviceHandle &&
               other->channel == stream.channel && other->streamType == stream.streamType;
    });
    if (!bShared) m_pDeviceMan->StopLiveChannel(stream.lDeviceHandle, stream.channel, bFirstStream, stream.streamType);
    m_pDeviceMan->StopLiveHandle(stream.lDeviceHandle, stream.channel, bFirstStream, stream.bufferID);
}

/// The stream stays in the table until it is through, so that no other begins with its ring.
CLiveMan::Stream CLiveMan::TakeStream(POINTERHANDLE lLiveHandle) {
    std::lock_guard guard(m_streamLock);
    const auto found = std::ranges::find_if(m_streamInfoArray, [&](const Stream& stream) {
        return stream->lLiveHandle == lLiveHandle && !stream->bEnding;
    });
    if (found == m_streamInfoArray.end()) return nullptr;
    if (!(*found)->captures.empty()) m_pDeviceMan->StopJpegStream((*found)->lDeviceHandle, (*found)->channel);
    StopDeviceSide(**found);
    (*found)->bEnding = true;
    return *found;
}

BOOL CLiveMan::StopLivePlay(POINTERHANDLE lLiveHandle) {
    const Stream stream = TakeStream(lLiveHandle);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    LogStream(YLOG_INFO, *stream, "stopped, session", stream->lDeviceHandle);
    POINTERHANDLE lOpened = lLiveHandle;
    m_curAudioHandle.compare_exchange_strong(lOpened, 0);
    FinishStream(stream);
    return 1;
}

/// The end of a stream that nobody finds any more; then its ring is free.
void CLiveMan::FinishStream(const Stream& stream) {
    CloseSession(*stream);
    EndStream(*stream);
    EndSave(*stream);
    std::lock_guard guard(m_streamLock);
    std::erase(m_streamInfoArray, stream);
}

BOOL CLiveMan::RemoveDevice(LONG lUserID) {
    const auto ofUser = [&](const LIVE_STREAM_INFO& stream) { return stream.lPrimalDeviceHandle == lUserID; };
    size_t left = 0;  // what another thread opens from here on is its own doing
    {
        std::lock_guard guard(m_streamLock);
        left = m_streamInfoArray.size();
    }
    BOOL bAny = 0;
    for (POINTERHANDLE handle = AnyStream(ofUser); handle && left > 0; handle = AnyStream(ofUser), --left)
        bAny = StopLivePlay(handle) || bAny;
    return bAny;
}

/// Runs `action` on a known stream under m_streamLock and gives its result; an unknown handle is HLX_PARAMETER_ERROR.
template <class Action>
BOOL CLiveMan::WithStream(POINTERHANDLE lLiveHandle, Action&& action) {
    std::lock_guard guard(m_streamLock);
    LIVE_STREAM_INFO* pStream = Find(lLiveHandle);
    return pStream ? action(*pStream) : Failure(HLX_PARAMETER_ERROR);
}

/// Runs `action`, which may wait for the device, on the session, channel and type of a known stream.
template <class Action>
BOOL CLiveMan::AskDevice(POINTERHANDLE lLiveHandle, Action&& action) {
    LONG lDeviceHandle = 0;
    LONG lChannel = 0;
    bool bFirstStream = false;
    const BOOL bKnown = WithStream(lLiveHandle, [&](const LIVE_STREAM_INFO& stream) {
        lDeviceHandle = stream.lDeviceHandle;
        lChannel = stream.channel;
        bFirstStream = IsFirstStream(stream.streamType);
        return BOOL{1};
    });
    return bKnown ? action(lDeviceHandle, lChannel, bFirstStream) : BOOL{0};
}

BOOL CLiveMan::SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK pCallback,
                                   LIVE_DATA_CALLBACK_EX pCallbackEx, void* pUser) {
    return WithStream(lLiveHandle, [&](LIVE_STREAM_INFO& stream) {
        std::lock_guard guard(stream.callbackLock);
        stream.callbacks = {pCallback, pCallbackEx, pUser};
        stream.bNewCallbacks = true;
        return BOOL{1};
    });
}

BOOL CLiveMan::RegisterDrawFun(POINTERHANDLE lLiveHandle, DRAW_FUN_CALLBACK pDrawCallback, void* pUser) {
    return WithStream(lLiveHandle, [&](LIVE_STREAM_INFO& stream) {
        stream.pDrawCallback = pDrawCallback;
        stream.pDrawCBParam = pUser;
        return BOOL{1};
    });
}

BOOL CLiveMan::SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK pYUVCallback, void* pUser) {
    return WithStream(lLiveHandle, [&](LIVE_STREAM_INFO& stream) {
        stream.pYUVCallback = pYUVCallback;
        stream.pYUVCBParam = pUser;
        return BOOL{1};
    });
}

BOOL CLiveMan::RefreshPlay(POINTERHANDLE lLiveHandle) {
    return WithStream(lLiveHandle, [](LIVE_STREAM_INFO&) { return BOOL{1}; });
}

BOOL CLiveMan::OpenSound(POINTERHANDLE lLiveHandle) {
    return WithStream(lLiveHandle, [&](LIVE_STREAM_INFO&) {
        m_curAudioHandle = lLiveHandle;
        return BOOL{1};
    });
}

BOOL CLiveMan::CloseSound() {
    m_curAudioHandle = 0;
    return 1;
}

BOOL CLiveMan::Volume(POINTERHANDLE lLiveHandle, WORD) { return RefreshPlay(lLiveHandle); }

BOOL CLiveMan::CapturePicture(POINTERHANDLE, const char*) { return Failure(HLX_NOSUPPORT); }

BOOL CLiveMan::MakeKeyFrame(LONG lUserID, LONG lChannel) {
    return m_pDeviceMan->RequestKeyFrame(lUserID, lChannel, true, HLX_MAIN_STREAM);
}

BOOL CLiveMan::MakeKeyFrameSub(LONG lUserID, LONG lChannel) {
    return m_pDeviceMan->RequestKeyFrame(lUserID, lChannel, false, HLX_SUB_STREAM);
}

BOOL CLiveMan::MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType) {
    if (lStreamType < HLX_MAIN_STREAM || lStreamType > HLX_FOURTH_STREAM) return Failure(HLX_PARAMETER_ERROR);
    const auto streamType = static_cast<DWORD>(lStreamType);
    return m_pDeviceMan->RequestKeyFrame(lUserID, lChannel, IsFirstStream(streamType), streamType);
}

BOOL CLiveMan::GetDvrCurrentTime(LONG lUserID, DD_TIME* pTime) {
    if (!pTime) return 0;
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    return m_pDeviceMan->GetDvrCurrentTime(lUserID, session ? session->sDeviceIP : "", pTime);
}

BOOL CLiveMan::PTZCtrl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL bFlag) {
    return AskDevice(lLiveHandle, [&](LONG lDeviceHandle, LONG lChannel, bool bFirstStream) {
        return m_pDeviceMan->PTZControl(lDeviceHandle, lChannel, dwPTZCommand, dwValue, dwSpeed, bFlag, bFirstStream);
    });
}

BOOL CLiveMan::PTZCtrl_3D(POINTERHANDLE lLiveHandle, PTZ_3D_POINT_INFO* pPoint) {
    return AskDevice(lLiveHandle, [&](LONG lDeviceHandle, LONG lChannel, bool) {
        return m_pDeviceMan->PTZControl_3D(lDeviceHandle, lChannel, pPoint);
    });
}

BOOL CLiveMan::PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum) {
    return AskDevice(lLiveHandle, [&](LONG lDeviceHandle, LONG lChannel, bool) {
        return m_pDeviceMan->PTZSetCruise(lDeviceHandle, lChannel, byCruise, pPoints, wPointNum, true);
    });
}

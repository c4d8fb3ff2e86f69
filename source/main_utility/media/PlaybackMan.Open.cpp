// Starting and stopping playbacks.
#include <algorithm>
#include <mutex>
#include <new>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/PlaybackMan.h"
#include "main_utility/media/PlaybackTurn.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr POINTERHANDLE NO_HANDLE = -1;
constexpr LONG SPARE_MEGABYTES = 3;  // of a ring, beyond one for each channel
constexpr LONG MEGABYTE = 1 << 20;

/// Marks that a start is under way.
class CStarting {
public:
    CStarting(std::atomic<bool>& mark, CWaker& waker) : m_mark(mark), m_waker(waker) { m_mark = true; }
    ~CStarting() {
        m_mark = false;
        m_waker.Wake();
    }
    CStarting(const CStarting&) = delete;
    CStarting& operator=(const CStarting&) = delete;

private:
    std::atomic<bool>& m_mark;
    CWaker& m_waker;
};

void LogStream(int level, const PLAYBACK_STREAM_INFO& stream, const char* pWhat, unsigned int number) {
    YLOG(level, "user %ld, %ld channels from %ld: playback %u %s %u", long{stream.lDeviceHandle}, long{stream.lChnNum},
         long{stream.pChannel[0]}, stream.streamID, pWhat, number);
}

}  // namespace

POINTERHANDLE CPlaybackMan::PlayBackByTimeAsync(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                                const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND*,
                                                BOOL bFirstStream) {
    std::lock_guard guard(m_startLock);
    if (m_bPlaybackSync) return NO_HANDLE;
    HLX_DEVICEINFO info = {};
    if (!m_pDeviceMan->GetDeviceInfo(lUserID, &info)) return NO_HANDLE;
    if (info.deviceType != HLX_DVR && channelNum != 1) return NO_HANDLE;
    const bool bGiven = pChannels && lpStartTime && lpStopTime && channelNum >= 1 &&
                        channelNum <= LONG{PLAYBACK_SYNC_INFO::MAX_CHANNELS};
    if (!bGiven) return Failure(HLX_PARAMETER_ERROR, NO_HANDLE);
    const CStarting starting(m_isStartingPB, *m_pWaker);
    return PlayBackByTime(lUserID, pChannels, channelNum, *lpStartTime, *lpStopTime, bFirstStream);
}

POINTERHANDLE CPlaybackMan::PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                               const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND*,
                                               BOOL bFirstStream) {
    std::lock_guard guard(m_startLock);
    if (AnyStream()) return 0;
    const bool bGiven = pChannels && lpStartTime && lpStopTime && !m_bPlaybackSync &&
                        channelNum <= LONG{PLAYBACK_SYNC_INFO::MAX_CHANNELS};
    if (!bGiven) return Failure(HLX_PARAMETER_ERROR, POINTERHANDLE{0});
    BeginSync(lUserID);
    const CStarting starting(m_isStartingPB, *m_pWaker);
    POINTERHANDLE mask = 0;
    for (LONG i = 0; i < channelNum && m_bPlaybackSync; ++i) {
        const POINTERHANDLE handle = PlayBackByTime(lUserID, pChannels + i, 1, *lpStartTime, *lpStopTime, bFirstStream);
        if (handle == NO_HANDLE) continue;
        if (JoinSync(handle))
            mask |= POINTERHANDLE{1} << i;
        else
            StopPlayBack(handle);
    }
    if (mask == 0) m_bPlaybackSync = false;
    return m_bPlaybackSync ? mask : 0;
}

void CPlaybackMan::BeginSync(LONG lUserID) {
    CTurn turn(*this, m_playLock);
    m_PlaySyncInfo = {};
    m_PlaySyncInfo.lDeviceHandle = lUserID;
    m_bPlaybackSync = true;
}

/// False when another thread has ended the playback in step meanwhile, with the streams that had joined it.
bool CPlaybackMan::JoinSync(POINTERHANDLE lPlayHandle) {
    CTurn turn(*this, m_playLock);
    const Stream stream = FindOpen(lPlayHandle);
    if (!stream || !m_bPlaybackSync) return false;
    m_PlaySyncInfo.streamID[m_PlaySyncInfo.lChnNum] = stream->streamID;
    m_PlaySyncInfo.lPlayBackHandle[m_PlaySyncInfo.lChnNum++] = lPlayHandle;
    return true;
}

POINTERHANDLE CPlaybackMan::PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME& start,
                                           const DD_TIME& stop, BOOL bFirstStream) try {
    const auto stream = std::make_shared<PLAYBACK_STREAM_INFO>();
    stream->lPlayBackHandle = reinterpret_cast<POINTERHANDLE>(stream.get());
    stream->lDeviceHandle = lUserID;
    std::copy_n(pChannels, channelNum, stream->pChannel);
    stream->lChnNum = channelNum;
    stream->stopTime = stop;
    if (!RunFlagSet(m_bPlaying)) return Failure(HLX_PROGRAM_EXCEPTION, NO_HANDLE);
    if (!ReserveSlot(stream)) return NO_HANDLE;
    const bool bOpen = AskDevice(stream, start, bFirstStream) && FillSlot(stream, start);
    const DWORD error = bOpen ? DWORD{HLX_SUCCESS} : CThreadState::Instance()->GetLastError();
    LogStream(bOpen ? YLOG_INFO : YLOG_ERROR, *stream, bOpen ? "started, number" : "refused, number", error);
    if (bOpen) return stream->lPlayBackHandle;
    DropStream(stream);
    return NO_HANDLE;
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR, NO_HANDLE);
}

/// Gives the stream the first free slot and puts it into the array, where nobody finds it yet.
bool CPlaybackMan::ReserveSlot(const Stream& stream) {
    const LONG lUserID = stream->lDeviceHandle;
    CTurn turn(*this, m_streamLock);
    std::lock_guard guard(m_streamMapLock);
    const auto device = m_streamIDMap.find(lUserID);
    if (device == m_streamIDMap.end()) return Failure(HLX_PARAMETER_ERROR);
    const auto place = std::ranges::find(device->second, -1);
    if (place == device->second.end()) return Failure(HLX_DVR_NORESOURCE);
    stream->streamID = HLX_PLAYBACK_STREAM_ID + static_cast<tuint32>(place - device->second.begin());
    m_streamInfoArray.push_back(stream);
    *place = static_cast<int>(stream->lPlayBackHandle);
    return true;
}

/// Ring first, so that the frames find it.
bool CPlaybackMan::AskDevice(const Stream& stream, const DD_TIME& start, BOOL bFirstStream) {
    const auto size = static_cast<int>((stream->lChnNum + SPARE_MEGABYTES) * MEGABYTE);
    const unsigned int ring = PLAYBACK_BUFFER_ID(stream->lDeviceHandle, stream->streamID - HLX_PLAYBACK_STREAM_ID);
    if (!m_pDataBufferMan->AddBuffer(ring, size, true, m_pWaker)) return Failure(HLX_ALLOC_RESOURCE_ERROR);
    return m_pDeviceMan->PlaybackByTime(stream->lDeviceHandle, stream->pChannel, stream->lChnNum, start,
                                        stream->stopTime, stream->streamID, bFirstStream);
}

/// False when the device was removed meanwhile.
bool CPlaybackMan::FillSlot(const Stream& stream, const DD_TIME& start) {
    CTurn turn(*this, m_playLock);
    PLAY_CTRL* pSlot = Slot(*stream);
    if (!pSlot) return Failure(HLX_NETWORK_NOT_CONNECT);
    *pSlot = {};
    pSlot->startTime = DDTimeToDVRTime32(start);
    pSlot->endTime = DDTimeToDVRTime32(stream->stopTime);
    pSlot->playStatus = N_PS_PLAY;
    pSlot->deviceID = static_cast<tuint32>(stream->lDeviceHandle);
    pSlot->streamID = stream->streamID;
    pSlot->playNum = static_cast<tuint32>(stream->lChnNum);
    CTurn streamTurn(*this, m_streamLock);
    stream->bOpen = true;
    return true;
}

/// The end of a start that failed; its number stands.
void CPlaybackMan::DropStream(const Stream& stream) {
    const CThreadState::OwnNumber ownNumber;
    {
        CTurn turn(*this, m_streamLock);
        std::erase(m_streamInfoArray, stream);
    }
    Halt(*stream);
    m_pDeviceMan->StopPlayback(stream->lDeviceHandle, stream->streamID);
    Leave(*stream);
}

CPlaybackMan::Stream CPlaybackMan::TakeStream(POINTERHANDLE lPlayHandle) {
    CTurn turn(*this, m_streamLock);
    const Stream stream = Find(lPlayHandle);
    if (stream) std::erase(m_streamInfoArray, stream);
    return stream;
}

BOOL CPlaybackMan::StopPlayBack(POINTERHANDLE lPlayHandle) {
    const Stream stream = TakeStream(lPlayHandle);
    if (!stream) return false;
    const CThreadState::OwnNumber ownNumber;
    LogStream(YLOG_INFO, *stream, "stopped, slot", stream->streamID);
    stream->pSave.reset();
    Halt(*stream);
    m_pDeviceMan->StopPlayback(stream->lDeviceHandle, stream->streamID);
    Leave(*stream);
    return true;
}

/// From here on nobody finds the slot by the stream. The caller leaves when the device knows of the end.
void CPlaybackMan::Halt(PLAYBACK_STREAM_INFO& stream) {
    CTurn turn(*this, m_playLock);
    if (PLAY_CTRL* pSlot = Slot(stream)) {
        pSlot->playStatus = N_PS_STOP;
        pSlot->lastFrameTime = 0;
        ReleaseBlock(*pSlot);
    }
    stream.bStopped = true;
    ++stream.users;
}

/// A seek that still waits for the device keeps the slot until it is through: it names the stream by the slot's id.
void CPlaybackMan::Leave(PLAYBACK_STREAM_INFO& stream) {
    CTurn turn(*this, m_playLock);
    if (--stream.users == 0 && stream.bStopped) FreeSlot(stream);
}

void CPlaybackMan::FreeSlot(const PLAYBACK_STREAM_INFO& stream) {
    const LONG index = stream.streamID - HLX_PLAYBACK_STREAM_ID;
    m_pDataBufferMan->RemoveBuffer(PLAYBACK_BUFFER_ID(stream.lDeviceHandle, index));
    std::lock_guard guard(m_streamMapLock);
    const auto device = m_streamIDMap.find(stream.lDeviceHandle);
    if (device != m_streamIDMap.end()) device->second[static_cast<size_t>(index)] = -1;
}

BOOL CPlaybackMan::StopPlayBackSync() {
    while (const POINTERHANDLE handle = LeaveSync()) StopPlayBack(handle);
    return false;
}

/// One of the streams in step, which then is none of them. 0: there is none, and the playback in step has ended.
POINTERHANDLE CPlaybackMan::LeaveSync() {
    CTurn turn(*this, m_playLock);
    if (m_PlaySyncInfo.lChnNum > 0) return m_PlaySyncInfo.lPlayBackHandle[--m_PlaySyncInfo.lChnNum];
    m_bPlaybackSync = false;
    return 0;
}

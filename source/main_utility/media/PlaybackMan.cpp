// Life of the playback manager, its devices, and what only looks at a stream.
#include "main_utility/media/PlaybackMan.h"

#include <algorithm>
#include <mutex>
#include <new>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/PlaybackTurn.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "protocol/ClassicProtocol.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"

LONG PLAYBACK_STREAM_INFO::PlaceOf(LONG lChannel) const {
    return static_cast<LONG>(std::find(pChannel, pChannel + lChnNum, lChannel) - pChannel);
}

CPlaybackMan::CPlaybackMan()
    : m_pDeviceMan(CNetDeviceMan::Instance()), m_pDataBufferMan(CMultiNetDataBufferMan::Instance()) {}

bool CPlaybackMan::Initial() {
    m_isStartingPB = true;
    return true;
}

bool CPlaybackMan::Start() {
    m_dataProcThread = PUB_CreateThread(PlayBackDataThread, this, &m_bPlaying);
    return m_dataProcThread || Failure(HLX_PROGRAM_EXCEPTION);
}

void CPlaybackMan::Stop() {
    SetRunFlag(m_bPlaying, false);
    m_pWaker->Wake();
    PUB_ExitThread(&m_dataProcThread, &m_bPlaying);
    while (const LONG lUserID = AnyDevice()) RemoveDevice(lUserID);
    m_bPlaybackSync = false;
}

void CPlaybackMan::Quit() { Stop(); }

void CPlaybackMan::StopStreams(LONG lUserID) {
    while (const POINTERHANDLE handle = AnyStream(lUserID)) StopPlayBack(handle);
}

LONG CPlaybackMan::AnyDevice() {
    CTurn turn(*this, m_playLock);
    return m_playCtrl.empty() ? 0 : m_playCtrl.begin()->first;
}

bool CPlaybackMan::AddDevice(LONG lUserID) try {
    const CThreadState::OwnNumber ownNumber;
    const auto slots = static_cast<size_t>(std::clamp(m_pDeviceMan->GetMaxPlayBackNum(lUserID), 0, 16));
    std::map<LONG, std::vector<int>> ids;
    std::map<LONG, std::vector<PLAY_CTRL>> ctrls;
    ids.try_emplace(lUserID, slots, -1);
    ctrls.try_emplace(lUserID, slots);
    CTurn turn(*this, m_playLock);
    std::lock_guard guard(m_streamMapLock);
    const auto old = m_streamIDMap.find(lUserID);
    if (old != m_streamIDMap.end()) {
        if (std::ranges::any_of(old->second, [](int id) { return id != -1; })) return true;
        m_streamIDMap.erase(old);
        m_playCtrl.erase(lUserID);
    }
    m_streamIDMap.merge(ids);  // from here on nothing needs memory
    m_playCtrl.merge(ctrls);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void CPlaybackMan::RemoveDevice(LONG lUserID) {
    StopStreams(lUserID);
    {
        CTurn turn(*this, m_playLock);
        if (m_PlaySyncInfo.lDeviceHandle == lUserID) {
            m_PlaySyncInfo = {};
            m_bPlaybackSync = false;
        }
        const auto device = m_playCtrl.find(lUserID);
        if (device == m_playCtrl.end()) return;
        for (PLAY_CTRL& slot : device->second) ReleaseBlock(slot);
        m_playCtrl.erase(device);
        std::lock_guard guard(m_streamMapLock);
        m_streamIDMap.erase(lUserID);
    }
    StopStreams(lUserID);  // what another thread opened meanwhile; no further start gets through
}

bool CPlaybackMan::HasDevice(LONG lUserID) {
    CTurn turn(*this, m_playLock);
    return m_playCtrl.contains(lUserID);
}

// ---- Records and slots ----

CPlaybackMan::Stream CPlaybackMan::Find(POINTERHANDLE lPlayHandle) const {
    const auto found = std::ranges::find_if(m_streamInfoArray, [&](const Stream& stream) {
        return stream->bOpen && stream->lPlayBackHandle == lPlayHandle;
    });
    return found == m_streamInfoArray.end() ? nullptr : *found;
}

CPlaybackMan::Stream CPlaybackMan::Find(POINTERHANDLE lPlayHandle, LONG lChannel) const {
    Stream stream = Find(lPlayHandle);
    return stream && stream->HasChannel(lChannel) ? stream : nullptr;
}

CPlaybackMan::Stream CPlaybackMan::FindOpen(POINTERHANDLE lPlayHandle) {
    CTurn turn(*this, m_streamLock);
    return Find(lPlayHandle);
}

POINTERHANDLE CPlaybackMan::AnyStream(LONG lUserID) {
    CTurn turn(*this, m_streamLock);
    const auto found = std::ranges::find_if(m_streamInfoArray, [&](const Stream& stream) {
        return stream->bOpen && (lUserID == 0 || stream->lDeviceHandle == lUserID);
    });
    return found == m_streamInfoArray.end() ? 0 : (*found)->lPlayBackHandle;
}

/// Null once the stream was stopped or its device removed.
PLAY_CTRL* CPlaybackMan::Slot(const PLAYBACK_STREAM_INFO& stream) {
    const auto device = m_playCtrl.find(stream.lDeviceHandle);
    const size_t index = stream.streamID - PLAYBACK_STREAM_ID_FIRST;
    if (stream.bStopped || device == m_playCtrl.end() || index >= device->second.size()) return nullptr;
    return &device->second[index];
}

unsigned int CPlaybackMan::RingOf(const PLAY_CTRL& slot) {
    return PLAYBACK_BUFFER_ID(slot.deviceID, slot.streamID - PLAYBACK_STREAM_ID_FIRST);
}

bool CPlaybackMan::TakeBlock(PLAY_CTRL& slot) {
    int length = 0;
    if (!m_pDataBufferMan->GetDataBuffer(RingOf(slot), slot.dataBuffer, length)) {
        slot.dataBuffer = nullptr;
        return false;
    }
    slot.dataLen = static_cast<tuint32>(length);
    slot.readCursor = 0;
    return true;
}

void CPlaybackMan::ReleaseBlock(PLAY_CTRL& slot) {
    slot.needSleep = false;
    if (!slot.dataBuffer) return;
    m_pDataBufferMan->ReleaseDataBuffer(RingOf(slot), slot.dataBuffer, static_cast<int>(slot.dataLen));
    slot.dataBuffer = nullptr;
}

// ---- What only looks at a stream or sets its callback ----

BOOL CPlaybackMan::SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser) {
    CTurn turn(*this, m_streamLock);
    const Stream stream = Find(lPlayHandle);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    stream->pPlayBackDataCallback = fPlayDataCallBack;
    stream->pPlayBackDataCBParam = pUser;
    if (fPlayDataCallBack) stream->bNeedVideoFormat = stream->bNeedAudioFormat = true;
    return true;
}

BOOL CPlaybackMan::GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime) {
    const Stream stream = FindOpen(lPlayHandle);
    if (!stream || !lpOsdTime) return Failure(HLX_NETWORK_ERRORDATA);
    CTurn turn(*this, m_playLock);
    const PLAY_CTRL* pSlot = Slot(*stream);
    if (!pSlot || pSlot->lastFrameTime == 0) return Failure(HLX_NETWORK_ERRORDATA);
    DVRTimeToDDTime(pSlot->lastFrameTime, *lpOsdTime);
    return true;
}

BOOL CPlaybackMan::PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char*) {
    CTurn turn(*this, m_streamLock);
    return Failure(Find(lPlayHandle, lChannel) ? HLX_NOSUPPORT : HLX_PARAMETER_ERROR);
}

BOOL CPlaybackMan::RefreshPlay(POINTERHANDLE lPlayHandle) {
    return FindOpen(lPlayHandle) ? BOOL{1} : Failure(HLX_PARAMETER_ERROR);
}

BOOL CPlaybackMan::RegisterDrawFun(POINTERHANDLE lPlayHandle, DRAW_FUN_CALLBACK, void*) {
    return RefreshPlay(lPlayHandle);
}

// ---- Saving ----

BOOL CPlaybackMan::PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName) try {
    auto save = std::make_unique<CAVISave>(AVI_SAVE_KIND::PLAYBACK);
    if (!save->Start(sFileName)) return false;
    CTurn turn(*this, m_streamLock);
    const Stream stream = Find(lPlayHandle, lChannel);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    std::swap(stream->pSave, save);  // a file before this one is completed behind
    stream->saveChannel = lChannel;
    stream->bNeedVFormat = stream->bNeedAFormat = true;
    return true;
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR);
}

BOOL CPlaybackMan::StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel) {
    CTurn turn(*this, m_streamLock);
    const Stream stream = Find(lPlayHandle, lChannel);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    stream->pSave.reset();
    return true;
}

// The download thread: from the ring to the file and to the application.
#include <cstring>
#include <mutex>
#include <thread>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/DownloadMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr size_t FRAME_HEAD = sizeof(HLX_FRAME_INFO);
constexpr size_t CALLBACK_BUFFER = 4194304;  // bytes
constexpr int NOTICE_DISTANCE = 7;           // frames
constexpr size_t NOTICE_BYTES = 524288;      // half of what a recorder may have under way
constexpr size_t AHEAD_RUN = 262144;         // bytes of a run that leaves the ring room for what a notice lets come
constexpr tuint32 NOTICE_WAIT = 5;           // milliseconds without data after which the last frame is notified
constexpr tuint32 FLUSH_WAIT = 200;          // milliseconds without data after which the file gets what was gathered
constexpr tuint32 IDLE_WAIT = 10000;         // milliseconds

using InCallback = CInCallback<CDownloadMan>;

}  // namespace

bool CDownloadMan::InDataCallback() { return InCallback::OnThisThread(); }

void* CDownloadMan::DownLoadDataThread(void* pParam) {
    static_cast<CDownloadMan*>(pParam)->DownLoadDataProc();
    return nullptr;
}

void CDownloadMan::DownLoadDataProc() {
    const auto isWanted = [&] { return RunFlagSet(m_bStart) || !RunFlagSet(m_bDownLoading); };
    while (RunFlagSet(m_bDownLoading)) {
        unsigned char* pRun = nullptr;
        int length = 0;
        if (!RunFlagSet(m_bStart)) {
            m_changed.WaitForCond(CWaitEvent::WAIT_FOREVER, isWanted);
        } else if (m_pDataBufferMan->GetDataBuffer(HLX_BACKUP_STREAM_ID, pRun, length)) {
            WalkRun(pRun, static_cast<size_t>(length));
            m_pDataBufferMan->ReleaseDataBuffer(HLX_BACKUP_STREAM_ID, pRun, length);
            NotifyIndex(false);
        } else {
            AwaitData();
        }
    }
}

/// Frames that are large fill the recorder's window before the seventh of them, so the last one is notified when no more
/// comes. What was gathered goes to the file somewhat later, so that a process that is killed loses little.
void CDownloadMan::AwaitData() {
    if (m_pDataBufferMan->WaitForData(HLX_BACKUP_STREAM_ID, NOTICE_WAIT)) return;
    const bool bTold = NotifyIndex(true);
    const tuint32 wait = m_bFlushed && bTold ? IDLE_WAIT : FLUSH_WAIT;
    if (m_pDataBufferMan->WaitForData(HLX_BACKUP_STREAM_ID, wait) || m_bFlushed) return;
    const std::scoped_lock guard(m_lock);
    m_bFlushed = true;
    if (!m_pDownloadInfo || !m_pDownloadInfo->pZeqFile || m_pDownloadInfo->pZeqFile->Flush()) return;
    TellFailedWrite(*m_pDownloadInfo, m_pDownloadInfo->pZeqFile->Error());
}

/// Hands the frames of a run of the ring to `take`; what does not fit the run ends it.
template <class Take>
void CDownloadMan::ForEachFrame(const unsigned char* pRun, size_t length, const Take& take) {
    size_t cursor = 0;
    while (length - cursor >= FRAME_HEAD) {
        HLX_FRAME_INFO frame;
        std::memcpy(&frame, pRun + cursor, FRAME_HEAD);
        const unsigned char* pData = pRun + cursor + FRAME_HEAD;
        if (frame.length > length - cursor - FRAME_HEAD) return;
        cursor += FRAME_HEAD + frame.length;
        take(frame, pData);
    }
}

/// Behind a small run the recorder is told at once, and sends on while the frames are saved.
void CDownloadMan::WalkRun(const unsigned char* pRun, size_t length) {
    CountRun(pRun, length);
    if (length <= AHEAD_RUN) NotifyIndex(false);
    ForEachFrame(pRun, length, [this](const auto& frame, const unsigned char* pData) { ProcessFrame(frame, pData); });
}

void CDownloadMan::CountRun(const unsigned char* pRun, size_t length) {
    const std::scoped_lock guard(m_lock);
    ForEachFrame(pRun, length, [this](const HLX_FRAME_INFO& frame, const unsigned char*) {
        if (!IsOurs(frame)) return;
        if (frame.frameIndex != m_nextIndex) {
            YLOG(YLOG_WARN, "user %ld, channel %ld: download %ld lacks frames %u to %u", long{m_pDownloadInfo->lUserID},
                 long{m_pDownloadInfo->lChannel}, long{m_pDownloadInfo->lHandle}, m_nextIndex, frame.frameIndex - 1);
        }
        m_nextIndex = frame.frameIndex + 1;
        m_takenBytes += frame.length;
    });
}

void CDownloadMan::ProcessFrame(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    while (m_waiting > 0) std::this_thread::yield();
    const std::scoped_lock guard(m_lock);
    if (!IsOurs(frame)) return;
    if (frame.frameIndex == 0) m_bEnd = false;
    SaveFrame(*m_pDownloadInfo, frame, pData);
}

/// The ring's id is the same for all devices.
bool CDownloadMan::IsOurs(const HLX_FRAME_INFO& frame) const {
    return m_pDownloadInfo && !m_pDownloadInfo->bEnding &&
           frame.channel == static_cast<DWORD>(m_pDownloadInfo->lChannel) &&
           frame.deviceID == static_cast<DWORD>(m_pDownloadInfo->lUserID);
}

/// Whether the device is to be told the frame that was taken last. `bDry`: no more comes.
bool CDownloadMan::IsNoticeDue(bool bDry) const {
    if (!m_pDownloadInfo || m_pDownloadInfo->bEnding || m_nextIndex == 0) return false;
    const auto distance = static_cast<int>(m_nextIndex - 1 - m_frameIndex);
    return bDry ? distance > 0 : distance >= NOTICE_DISTANCE || m_takenBytes >= NOTICE_BYTES;
}

/// Behind a large run only once that is released, so that the ring has room for all that the recorder then sends. False
/// if the link does not take the notice: it is tried again when the ring has run dry.
bool CDownloadMan::NotifyIndex(bool bDry) {
    std::unique_lock guard(m_lock);
    if (!IsNoticeDue(bDry)) return true;
    const unsigned int index = m_nextIndex - 1;
    const LONG lUserID = m_pDownloadInfo->lUserID;
    const POINTERHANDLE lHandle = m_pDownloadInfo->lHandle;
    guard.unlock();
    const CThreadState::OwnNumber ownNumber;
    const bool bSent = m_pDeviceMan->NotifyPlayIndex(lUserID, HLX_BACKUP_STREAM_ID, static_cast<LONG>(index), -1);
    guard.lock();
    if (!bSent || !Find(lHandle)) return bSent;
    m_frameIndex = index;
    m_takenBytes = 0;
    return true;
}

/// The end is told to the application ahead of its frame, and the file is closed behind it.
void CDownloadMan::SaveFrame(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const bool bEnd = frame.frameType == DD_FRAME_TYPE_END;
    if (bEnd) {
        m_bEnd = true;
        TellStatus(info, NET_DVR_BACKUP_END);
    }
    if (frame.frameType == DD_FRAME_TYPE_VIDEO) info.curTime = frame.time;
    if (info.pWriter) SaveFile(info, frame, pData);
    if (info.pZeqFile || info.fBackupDataCallBack) SaveZEQFile(info, frame, pData);
    if (bEnd) CloseFiles(info);
}

/// What cannot be saved is lost, as the saver logs.
void CDownloadMan::SaveFile(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const CThreadState::OwnNumber ownNumber;
    info.pWriter->SaveFile(frame, pData);
    info.firstFrameTime = info.pWriter->FirstFrameTime();
}

/// A frame that is too large for the callback's buffer is dropped.
void CDownloadMan::SaveZEQFile(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (frame.frameType == DD_FRAME_TYPE_VIDEO && info.firstFrameTime == 0) info.firstFrameTime = frame.time;
    const SDK_FRAME_INFO head = FileHead(frame);
    if (!info.fBackupDataCallBack) {
        m_bFlushed = false;
        if (!info.pZeqFile->Write(head, pData)) TellFailedWrite(info, info.pZeqFile->Error());
        return;
    }
    const size_t length = sizeof(head) + size_t{head.nLength};
    if (length > CALLBACK_BUFFER) return;
    unsigned char* pBuffer = m_callBackFrameBuf.get();
    std::memcpy(pBuffer, &head, sizeof(head));
    std::memcpy(pBuffer + sizeof(head), pData, head.nLength);
    CallBack(info, NET_DVR_BACKUP_DATA_TYPE_DVR, pBuffer, length);
}

/// The download goes on, but its file does not.
void CDownloadMan::TellFailedWrite(DOWNLOAD_INFO& info, int error) {
    if (info.bFailureTold) return;
    info.bFailureTold = true;
    YLOG(YLOG_ERROR, "user %ld, channel %ld: the file of download %ld ends here, it cannot be written: %s",
         long{info.lUserID}, long{info.lChannel}, long{info.lHandle}, std::strerror(error));
}

void CDownloadMan::CallBack(const DOWNLOAD_INFO& info, UINT dataType, void* pBuffer, size_t length) {
    const InCallback inCallback;
    info.fBackupDataCallBack(info.lHandle, dataType, static_cast<BYTE*>(pBuffer), static_cast<UINT>(length),
                             info.pUser);
}

void CDownloadMan::TellStatus(const DOWNLOAD_INFO& info, HLX_BACKUP_STATUS status) {
    tint32 value = status;
    if (info.fBackupDataCallBack) CallBack(info, NET_DVR_BACKUP_DATA_TYPE_NULL, &value, sizeof(value));
}

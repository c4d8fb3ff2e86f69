// Start, stop and position of a download.
#include "main_utility/media/DownloadMan.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "main_utility/device/NetDeviceMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/PubTime.h"
#include "sdk_common/RunFlag.h"
#include "sdk_common/YLog4C.h"

namespace {

constexpr int RING_SIZE = 2097152;           // bytes
constexpr size_t CALLBACK_BUFFER = 4194304;  // bytes
constexpr int LAST_COUNTED_HANDLE = 65534;   // the one behind it is followed by 1
constexpr tuint32 LAST_FRAMES_WAIT = 5000;   // milliseconds
constexpr unsigned int INTERRUPT_ROUND = 5;  // milliseconds

/// Percents are reckoned in 32-bit numbers that wrap; times of a device may be anything.
tint32 Wrapped(tint64 value) { return static_cast<tint32>(static_cast<tuint32>(static_cast<tuint64>(value))); }

}  // namespace

CDownloadMan::TURN::TURN(CDownloadMan& man) : m_man(man) {
    ++m_man.m_waiting;
    m_man.m_lock.Lock();
    --m_man.m_waiting;
}

bool CDownloadMan::Initial() {
    m_pDeviceMan = CNetDeviceMan::Instance();
    m_pDataBufferMan = CMultiNetDataBufferMan::Instance();
    m_callBackFrameBuf.reset(new (std::nothrow) unsigned char[CALLBACK_BUFFER]);
    if (!m_callBackFrameBuf) return Failure(HLX_ALLOC_RESOURCE_ERROR);
    if (!m_changed.CreateWaitEvent()) return Failure(HLX_PROGRAM_EXCEPTION);
    m_dataProcThread = PUB_CreateThread(DownLoadDataThread, this, &m_bDownLoading);
    return m_dataProcThread || Failure(HLX_PROGRAM_EXCEPTION);
}

void CDownloadMan::Stop() {
    m_bClosed = true;
    m_changed.PulseEvent();
    for (POINTERHANDLE handle = HandleOf(0); handle; handle = HandleOf(0)) EndDownload(handle, true);
}

void CDownloadMan::Quit() {
    Stop();
    while (m_callers > 0) PUB_Sleep(INTERRUPT_ROUND);
    SetRunFlag(m_bDownLoading, false);
    m_changed.PulseEvent();
    PUB_ExitThread(&m_dataProcThread, &m_bDownLoading);
    m_callBackFrameBuf.reset();
}

/// The handle of the download, 0 if there is none; `lUserID` 0 means that of any session.
POINTERHANDLE CDownloadMan::HandleOf(LONG lUserID) {
    const TURN turn(*this);
    const bool bOf = m_pDownloadInfo && (lUserID == 0 || m_pDownloadInfo->lUserID == lUserID);
    return bOf ? m_pDownloadInfo->lHandle : 0;
}

void CDownloadMan::RemoveDevice(LONG lUserID) {
    const CALLER caller(m_callers);
    const POINTERHANDLE handle = lUserID > 0 ? HandleOf(lUserID) : 0;
    if (handle) EndDownload(handle, true);
}

/// Waits until no start or stop is under way. With `bInterrupt` a start does not wait for its device any longer.
std::unique_lock<std::mutex> CDownloadMan::Operation(bool bInterrupt) {
    if (!bInterrupt) return std::unique_lock(m_operLock);
    std::unique_lock lock(m_operLock, std::try_to_lock);
    while (!lock) {
        const auto session = m_pDeviceMan->GetDeviceResByUserID(m_lStarting);
        if (session && session->pNetDevice) session->pNetDevice->InterruptWait();
        PUB_Sleep(INTERRUPT_ROUND);
        (void)lock.try_lock();
    }
    return lock;
}

// ---- Start ----

POINTERHANDLE CDownloadMan::GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime,
                                          const DD_TIME* lpStopTime, const char* sSavedFileName, int recFormat,
                                          BOOL bUseCallBack, BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser,
                                          BOOL bFirstStream) {
    const CALLER caller(m_callers);
    if (InDataCallback()) return Failure(HLX_OPER_NOPERMIT, POINTERHANDLE{-1});
    const TARGET target{sSavedFileName, recFormat > 0 && !bUseCallBack, recFormat <= 0};
    const bool bGiven =
        lpStartTime && lpStopTime && (!target.bCustomFile || sSavedFileName) && (!bUseCallBack || fBackupDataCallBack);
    if (!bGiven || DDTimeToDVRTime32(*lpStartTime) > DDTimeToDVRTime32(*lpStopTime))
        return Failure(HLX_PARAMETER_ERROR, POINTERHANDLE{-1});

    auto info = std::make_unique<DOWNLOAD_INFO>();
    info->lUserID = lUserID;
    info->lChannel = lChannel;
    info->startTime = *lpStartTime;
    info->stopTime = *lpStopTime;
    if (bUseCallBack) info->fBackupDataCallBack = fBackupDataCallBack;
    info->pUser = pUser;
    return BeginDownload(std::move(info), target, bFirstStream);
}

bool CDownloadMan::IsIdle() {
    const TURN turn(*this);
    return !m_pDownloadInfo;
}

/// A start while there is a download, or while one just ends, fails without a number.
POINTERHANDLE CDownloadMan::BeginDownload(std::unique_ptr<DOWNLOAD_INFO> info, const TARGET& target,
                                          BOOL bFirstStream) {
    const std::unique_lock operation(m_operLock, std::try_to_lock);
    if (!operation || m_bClosed || !IsIdle()) return -1;
    if (!m_pDataBufferMan->AddBuffer(HLX_BACKUP_STREAM_ID, RING_SIZE, false))
        return Failure(HLX_ALLOC_RESOURCE_ERROR, POINTERHANDLE{-1});
    if (!OpenTarget(*info, target)) {
        ResetParameter();
        return -1;
    }
    // Taken first, so that a link which breaks during the start is noticed.
    const auto session = m_pDeviceMan->GetDeviceResByUserID(info->lUserID);
    if (session) info->linkSerial = session->linkSerial;
    DOWNLOAD_INFO& started = *info;
    {
        const TURN turn(*this);
        started.lHandle = m_nDownloadHandle;
        m_nDownloadHandle = m_nDownloadHandle > LAST_COUNTED_HANDLE ? 1 : m_nDownloadHandle + 1;
        m_pDownloadInfo = std::move(info);
    }
    if (!AskDevice(started, bFirstStream)) {
        DropDownload();
        return -1;
    }
    YLOG(YLOG_INFO, "user %ld, channel %ld: download %ld started", long{started.lUserID}, long{started.lChannel},
         long{started.lHandle});
    m_lRunning = started.lHandle;
    SetRunFlag(m_bStart, true);
    m_changed.PulseEvent();
    return started.lHandle;
}

/// An AVI file is made when the first key frame comes.
bool CDownloadMan::OpenTarget(DOWNLOAD_INFO& info, const TARGET& target) try {
    if (target.bAvi && target.pFileName) {
        info.pWriter = std::make_unique<CAVISave>(AVI_SAVE_KIND::DOWNLOAD);
        return info.pWriter->Start(target.pFileName);
    }
    if (!target.bCustomFile) return true;
    info.pZeqFile = std::make_unique<CFrameFileWriter>();
    return info.pZeqFile->Open(target.pFileName) || Failure(HLX_CREATEFILE_ERROR);
} catch (const std::bad_alloc&) {
    return Failure(HLX_ALLOC_RESOURCE_ERROR);
}

/// The number that tells of a failure stays that of the start.
bool CDownloadMan::AskDevice(const DOWNLOAD_INFO& info, BOOL bFirstStream) {
    m_lStarting = info.lUserID;
    const bool bStarted = !m_bClosed && m_pDeviceMan->DownLoadByTime(info.lUserID, info.lChannel, bFirstStream,
                                                                     info.startTime, info.stopTime);
    m_lStarting = 0;
    if (bStarted) return true;
    const CThreadState::OwnNumber ownNumber;
    m_pDeviceMan->StopDownLoad(info.lUserID, info.lChannel);
    return false;
}

// ---- Stop ----

BOOL CDownloadMan::StopGetFile(POINTERHANDLE lFileHandle) {
    const CALLER caller(m_callers);
    if (InDataCallback()) return Failure(HLX_OPER_NOPERMIT);
    return EndDownload(lFileHandle, false);
}

BOOL CDownloadMan::EndDownload(POINTERHANDLE lFileHandle, bool bInterrupt) {
    const POINTERHANDLE lKnown = HandleOf(0);
    if (!lKnown || lFileHandle < 0) return 1;
    if (lFileHandle != lKnown) return Failure(HLX_PARAMETER_ERROR);
    const auto operation = Operation(bInterrupt);
    LONG lUserID = 0;
    LONG lChannel = 0;
    {
        const TURN turn(*this);
        if (!Find(lFileHandle)) return 1;  // another thread has stopped it
        lUserID = m_pDownloadInfo->lUserID;
        lChannel = m_pDownloadInfo->lChannel;
        m_pDownloadInfo->bEnding = true;
    }
    m_lRunning = 0;
    m_changed.PulseEvent();
    const BOOL bStopped = m_pDeviceMan->StopDownLoad(lUserID, lChannel);
    DropDownload();
    YLOG(YLOG_INFO, "user %ld, channel %ld: download %ld stopped", long{lUserID}, long{lChannel}, long{lFileHandle});
    return bStopped;
}

/// m_operLock held. A download that was under way is told to the application as stopped.
void CDownloadMan::DropDownload() {
    {
        const TURN turn(*this);
        if (RunFlagSet(m_bStart)) TellStatus(*m_pDownloadInfo, NET_DVR_BACKUP_STOP);
        CloseFiles(*m_pDownloadInfo);
        m_pDownloadInfo.reset();
    }
    ResetParameter();
}

/// m_operLock held. Without m_lock, which the download thread may want before it gives its last run back.
void CDownloadMan::ResetParameter() {
    SetRunFlag(m_bStart, false);
    m_pDataBufferMan->RemoveBuffer(HLX_BACKUP_STREAM_ID);
    const TURN turn(*this);
    m_bEnd = false;
    m_frameIndex = 0;
    m_nextIndex = 0;
    m_takenBytes = 0;
}

void CDownloadMan::CloseFiles(DOWNLOAD_INFO& info) {
    if (info.pZeqFile && !info.pZeqFile->Close()) TellFailedWrite(info, info.pZeqFile->Error());
    info.pZeqFile.reset();
    info.pWriter.reset();
}

DOWNLOAD_INFO* CDownloadMan::Find(POINTERHANDLE lFileHandle) {
    return m_pDownloadInfo && m_pDownloadInfo->lHandle == lFileHandle ? m_pDownloadInfo.get() : nullptr;
}

// ---- Position ----

int CDownloadMan::GetDownloadPos(POINTERHANDLE lFileHandle) {
    const CALLER caller(m_callers);
    if (InDataCallback()) return Failure(HLX_OPER_NOPERMIT, 0);
    LONG lUserID = 0;
    tuint64 linkSerial = 0;
    bool bEnded = false;
    {
        const TURN turn(*this);
        if (!RunFlagSet(m_bStart) || !m_pDownloadInfo || lFileHandle == -1 || lFileHandle == 0) return DOWNLOAD_NONE;
        if (!Find(lFileHandle)) return Failure(HLX_PARAMETER_ERROR, 0);
        if (m_pDownloadInfo->firstFrameTime < 0) return 0;
        lUserID = m_pDownloadInfo->lUserID;
        linkSerial = m_pDownloadInfo->linkSerial;
        bEnded = m_bEnd;
    }
    if (IsOffline(lUserID, linkSerial, bEnded)) {
        EndDownload(lFileHandle, false);
        return Failure(HLX_NETWORK_FAIL_CONNECT, DOWNLOAD_OFFLINE);
    }
    {
        const TURN turn(*this);
        const DOWNLOAD_INFO* pInfo = Find(lFileHandle);
        if (!pInfo || pInfo->bEnding) return DOWNLOAD_NONE;
        const int position = PositionOf(*pInfo);
        if (m_bEnd || position < DOWNLOAD_FINISHED) return std::max(position, 0);
    }
    m_changed.WaitForCond(LAST_FRAMES_WAIT, [&] { return m_bClosed || m_lRunning != lFileHandle; });
    EndDownload(lFileHandle, false);
    return DOWNLOAD_FINISHED;
}

/// The session's state is read without waiting for requests that are under way. A link that came back is another one,
/// and brings no more of this download; what had ended by then is whole, but is told only while there is a link.
bool CDownloadMan::IsOffline(LONG lUserID, tuint64 linkSerial, bool bEnded) {
    const auto session = m_pDeviceMan->GetDeviceResByUserID(lUserID);
    if (!session || !session->pNetDevice) return true;
    if (session->pNetDevice->GetDeviceStatus() == NET_DEVICE_STATUS_DISCONNECT) return true;
    return !bEnded && session->linkSerial != linkSerial;
}

int CDownloadMan::PositionOf(const DOWNLOAD_INFO& info) const {
    constexpr tint64 SECOND = 1000000;  // microseconds
    const tint64 stop = Wrapped(tint64{DDTimeToDVRTime32(info.stopTime)});
    const tint64 current = Wrapped(info.curTime / SECOND);
    const tint64 first = Wrapped(info.firstFrameTime / SECOND);
    const tint64 whole = Wrapped(stop - first);
    if (whole == 0) return 0;
    if (m_bEnd) return stop > Wrapped(current + 1) ? DOWNLOAD_ENDED_EARLY : DOWNLOAD_FINISHED;
    return Wrapped(tint64{Wrapped((current - first) * 100)} / whole);
}

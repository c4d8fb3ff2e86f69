// Download of recordings: one at a time, from the device's ring to a file or to the application.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "HLX.h"
#include "main_utility/media/AVISave.h"
#include "main_utility/media/framefile/FrameFileWriter.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

class CNetDeviceMan;
class CMultiNetDataBufferMan;

/// What GetDownloadPos tells besides percents.
constexpr int DOWNLOAD_FINISHED = 100;
constexpr int DOWNLOAD_NONE = 101;         // no download is running
constexpr int DOWNLOAD_ENDED_EARLY = 102;  // the recording ended well before the stop time
constexpr int DOWNLOAD_OFFLINE = 200;      // the device went; the download has been stopped

/// The one running download.
struct DOWNLOAD_INFO {
    POINTERHANDLE lHandle = 0;
    LONG lUserID = 0;
    LONG lChannel = 0;
    DD_TIME startTime{};
    DD_TIME stopTime{};
    tuint64 linkSerial = 0;                      // of the session's link when the download began
    std::unique_ptr<CAVISave> pWriter;           // AVI target, or null
    std::unique_ptr<CFrameFileWriter> pZeqFile;  // custom-format target, or null
    tint64 firstFrameTime = 0;                   // microseconds since 1970, of the first video frame; 0 before it
    tint64 curTime = 0;                          // of the last video frame
    bool bEnding = false;                        // being stopped: what still comes is dropped
    bool bFailureTold = false;                   // a failed write stands in the log
    BACKUP_DATA_CALLBACK fBackupDataCallBack = nullptr;  // null without callback mode
    void* pUser = nullptr;
};

/// Downloads. Any thread may call; application callbacks run with m_lock held, on the download thread and, when a
/// download is stopped, on the stopping thread.
///
/// Lock order: m_operLock, m_lock. The device manager's locks come behind m_operLock; under m_lock they are taken only
/// by what the application calls in its callback.
class CDownloadMan {
public:
    CDownloadMan() = default;
    CDownloadMan(const CDownloadMan&) = delete;
    CDownloadMan& operator=(const CDownloadMan&) = delete;

    /// Takes memory and starts the thread. False with HLX_ALLOC_RESOURCE_ERROR or HLX_PROGRAM_EXCEPTION.
    bool Initial();
    bool Start() { return true; }
    /// Ends the download, one that is just starting too, and refuses others from then on. Safe on a manager that was
    /// never started.
    void Stop();
    /// Waits for all that are in a call of this manager and ends the thread. Safe on a manager that was never started.
    void Quit();

    /// True on a thread that is inside an application's download callback.
    static bool InDataCallback();

    /// Ends what downloads from that session.
    void RemoveDevice(LONG lUserID);

    /// A positive `recFormat` means the library's own format, else AVI. A handle from 1, or -1.
    POINTERHANDLE GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime,
                                const char* sSavedFileName, int recFormat, BOOL bUseCallBack,
                                BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser, BOOL bFirstStream);
    /// Ends the download. No callback of it runs or comes after the return.
    BOOL StopGetFile(POINTERHANDLE lFileHandle);
    /// Percents, or one of the codes above. Waits 5 s and stops where the last video frame is past the stop time and no
    /// end was told.
    int GetDownloadPos(POINTERHANDLE lFileHandle);

    /// Sets the next handle, so that the wrap can be tried. Before any download.
    void SetNextHandle(int handle) { m_nDownloadHandle = handle; }

private:
    /// Where the frames go besides the callback.
    struct TARGET {
        const char* pFileName = nullptr;
        bool bCustomFile = false;
        bool bAvi = false;
    };
    /// Counts a thread that is in a call of this manager.
    struct CALLER {
        explicit CALLER(std::atomic<int>& callers) : m_callers(callers) { ++m_callers; }
        ~CALLER() { --m_callers; }
        CALLER(const CALLER&) = delete;
        CALLER& operator=(const CALLER&) = delete;
        std::atomic<int>& m_callers;
    };
    /// Holds m_lock. The download thread, which takes it again for each frame, lets whoever waits in here go first.
    struct TURN {
        explicit TURN(CDownloadMan& man);
        ~TURN() { m_man.m_lock.UnLock(); }
        TURN(const TURN&) = delete;
        TURN& operator=(const TURN&) = delete;
        CDownloadMan& m_man;
    };

    // Start and stop
    POINTERHANDLE BeginDownload(std::unique_ptr<DOWNLOAD_INFO> info, const TARGET& target, BOOL bFirstStream);
    static bool OpenTarget(DOWNLOAD_INFO& info, const TARGET& target);
    bool AskDevice(const DOWNLOAD_INFO& info, BOOL bFirstStream);
    bool IsIdle();
    POINTERHANDLE HandleOf(LONG lUserID);
    std::unique_lock<std::mutex> Operation(bool bInterrupt);
    BOOL EndDownload(POINTERHANDLE lFileHandle, bool bInterrupt);
    void DropDownload();
    void ResetParameter();
    static void CloseFiles(DOWNLOAD_INFO& info);
    DOWNLOAD_INFO* Find(POINTERHANDLE lFileHandle);  // m_lock held

    // Position
    bool IsOffline(LONG lUserID, tuint64 linkSerial, bool bEnded);
    int PositionOf(const DOWNLOAD_INFO& info) const;  // m_lock held

    // The download thread (DownloadMan.Frames.cpp)
    static void* DownLoadDataThread(void* pParam);
    void DownLoadDataProc();
    void AwaitData();
    template <class Take>
    static void ForEachFrame(const unsigned char* pRun, size_t length, const Take& take);
    void WalkRun(const unsigned char* pRun, size_t length);
    void CountRun(const unsigned char* pRun, size_t length);
    void ProcessFrame(const HLX_FRAME_INFO& frame, const unsigned char* pData);
    bool NotifyIndex(bool bDry);                     // m_lock not held
    bool IsOurs(const HLX_FRAME_INFO& frame) const;  // m_lock held, as in the following
    bool IsNoticeDue(bool bDry) const;
    void SaveFrame(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData);
    static void SaveFile(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData);
    void SaveZEQFile(DOWNLOAD_INFO& info, const HLX_FRAME_INFO& frame, const unsigned char* pData);
    static void TellFailedWrite(DOWNLOAD_INFO& info, int error);
    static void CallBack(const DOWNLOAD_INFO& info, UINT dataType, void* pBuffer, size_t length);
    static void TellStatus(const DOWNLOAD_INFO& info, HLX_BACKUP_STATUS status);

    CNetDeviceMan* m_pDeviceMan = nullptr;
    CMultiNetDataBufferMan* m_pDataBufferMan = nullptr;

    std::mutex m_operLock;                           // starts and stops, one at a time
    CPUB_Lock m_lock;                                // guards the following
    std::unique_ptr<DOWNLOAD_INFO> m_pDownloadInfo;  // null while idle
    int m_nDownloadHandle = 1;                       // the next one
    bool m_bEnd = false;                             // the end frame came
    unsigned int m_frameIndex = 0;                   // that the device was told last
    unsigned int m_nextIndex = 0;                    // of the frame that comes next
    size_t m_takenBytes = 0;                         // since the device was told last
    std::unique_ptr<unsigned char[]> m_callBackFrameBuf;

    std::atomic<int> m_waiting{0};             // threads in a TURN that have not got m_lock
    std::atomic<int> m_callers{0};             // threads in a call of this manager
    std::atomic<bool> m_bClosed{false};        // Stop was called
    std::atomic<LONG> m_lStarting{0};          // user id of a start that waits for its device, else 0
    std::atomic<POINTERHANDLE> m_lRunning{0};  // handle of a download that nobody stops yet, else 0
    CWaitEvent m_changed;                      // tells of changes of the above and of the run flags

    PUB_thread_t m_dataProcThread = 0;
    bool m_bDownLoading = false;  // run flag of the thread
    bool m_bStart = false;        // a download runs; a run flag, too
    bool m_bFlushed = true;       // download thread only: nothing waits in the file's buffer
};

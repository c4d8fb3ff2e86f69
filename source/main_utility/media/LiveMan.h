// Live streams: opens a ring and a thread per stream, asks the device to send, hands each frame to the application.
#pragma once

#include <atomic>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "HLX.h"
#include "main_utility/media/AVISave.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/WaitEvent.h"

class CNetDeviceMan;
class CMultiNetDataBufferMan;
class CLiveMan;

/// The application's callbacks of one stream; either or both may be null.
struct LIVE_CALLBACKS {
    LIVE_DATA_CALLBACK pLiveDataCallback = nullptr;
    LIVE_DATA_CALLBACK_EX pLiveDataCallbackEx = nullptr;
    void* pLiveDataCBParam = nullptr;
};

/// A picture that a thread waits for. Shared by that thread and the stream, so that either may go first.
struct LIVE_CAPTURE {
    CPUB_Lock lock;           // leaf; guards all below
    bool isCapturing = true;  // false: the rest is settled and pCaptureBuffer is not touched any more
    char* pCaptureBuffer = nullptr;
    size_t captureBufSize = 0;  // room; then the picture's size, 0 for a picture that is larger
    DWORD error = HLX_SUCCESS;  // of a capture that ended without a picture
    CWaitEvent captured;
};

/// The file that a stream is saved to. Written by the stream's thread; the lock is held while it writes or completes the
/// file.
struct LIVE_SAVEDATA {
    CPUB_Lock lock;  // leaf but for the codecs; guards all below
    std::unique_ptr<CAVISave> pSave;
    bool bNeedVFormat = false;  // the file does not know the stream's last format
    bool bNeedAFormat = false;
};

/// One stream. Its address is the application's handle.
struct LIVE_STREAM_INFO {
    POINTERHANDLE lLiveHandle = 0;
    LONG lDeviceHandle = 0;        // session that carries the stream; differs from the next for an extra stream
    LONG lPrimalDeviceHandle = 0;  // the user id that the application gave
    LONG channel = 0;
    DWORD streamType = 0;                                 // an HLX_STREAM_TYPE value
    bool bCapture = false;                                // made for CapturePicture, by no LivePlay
    CPUB_Lock captureLock;                                // before that of a capture; guards the next
    std::vector<std::shared_ptr<LIVE_CAPTURE>> captures;  // under way; changed under m_streamLock too
    CPUB_Lock callbackLock;                               // leaf; guards the next two
    LIVE_CALLBACKS callbacks;
    bool bNewCallbacks = false;  // they have not been told the formats
    DRAW_FUN_CALLBACK pDrawCallback =
        nullptr;  // stored for the application, as is the next pair; guarded by m_streamLock
    void* pDrawCBParam = nullptr;
    YUV_DATA_CALLBACK pYUVCallback = nullptr;
    void* pYUVCBParam = nullptr;
    bool bVFormatArrived =
        false;  // the format was told to the application; stream's thread only, as are the next three
    bool bAFormatArrived = false;
    BITMAPINFOHEADER bmpInfo{};  // last video format; biSize 40 means valid
    WAVEFORMATEX waveInfo{};     // last audio format; bytes a second not 0 means valid
    LIVE_SAVEDATA DataInfo;
    unsigned int streamID = 0;  // lowest free number from 1 among the streams of that user id and channel
    unsigned int bufferID = 0;  // the ring
    bool bExtraStream = false;  // the stream has a session of its own
    bool bEnding = false;       // being stopped: nobody finds it, but its ring is still in use; m_streamLock
    PUB_thread_t hThreadCallBackData = 0;
    bool bProcessing = false;                    // run flag of the thread
    std::atomic<time_t> tStreamDataLastTime{0};  // MonotonicSeconds() of the stream's last frame
    CLiveMan* pUser = nullptr;
};

/// Streams of a session that came back.
struct ST_ResumeOnReconnection {
    LONG lUserID;
    BOOL bIsK7KChannel;
    LONG channel;               // -1 means all
    POINTERHANDLE lLiveHandle;  // 0 means any
    tint64 notBefore;           // microseconds of the monotonic clock; 0: at once
    bool IsSame(const ST_ResumeOnReconnection& other) const {
        return lUserID == other.lUserID && channel == other.channel && lLiveHandle == other.lLiveHandle;
    }
};

constexpr int LIVE_RING_SIZE = 2097152;  // bytes

inline bool IsFirstStream(DWORD streamType) { return streamType == HLX_MAIN_STREAM; }

/// Seconds of a clock that nobody sets.
inline time_t MonotonicSeconds() { return static_cast<time_t>(TimeSource().MonotonicMicroseconds() / 1000000); }

/// All live streams of the process.
///
/// Lock order: m_liveLock of the session root, m_streamLock, a stream's captureLock, a capture's lock; the device
/// manager's locks come behind m_streamLock. A stream's DataInfo.lock is taken with none of these held. Application callbacks run on the stream's own thread with no lock held.
/// That thread is not joined under m_streamLock, which a callback may want; a stream made for a capture calls no
/// application.
class CLiveMan {
public:
    static constexpr unsigned int MAX_STREAM_NUM_PER_CHANNEL = 11;

    CLiveMan() = default;
    CLiveMan(const CLiveMan&) = delete;
    CLiveMan& operator=(const CLiveMan&) = delete;

    bool Initial();
    bool Start();
    /// Stops every stream. Safe on a manager that was never started.
    void Stop();
    /// Stops those that were opened since. Once nobody can open one any more.
    void Quit();

    /// True on a thread that is inside an application's frame callback.
    static bool InFrameCallback();

    /// Opens a stream; a channel that is already open gets a further session of its own. The handle, or -1.
    POINTERHANDLE LivePlay(LONG lUserID, const HLX_CLIENTINFO* pInfo, LIVE_DATA_CALLBACK pCallback,
                           LIVE_DATA_CALLBACK_EX pCallbackEx, void* pUser);

    /// Ends a stream. Waits for a callback that is running; none comes after the return.
    BOOL StopLivePlay(POINTERHANDLE lLiveHandle);

    BOOL SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK pCallback, LIVE_DATA_CALLBACK_EX pCallbackEx,
                             void* pUser);
    BOOL RegisterDrawFun(POINTERHANDLE lLiveHandle, DRAW_FUN_CALLBACK pDrawCallback, void* pUser);
    BOOL SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK pYUVCallback, void* pUser);
    BOOL RefreshPlay(POINTERHANDLE lLiveHandle);
    BOOL OpenSound(POINTERHANDLE lLiveHandle);
    BOOL CloseSound();
    BOOL Volume(POINTERHANDLE lLiveHandle, WORD wVolume);

    /// Saves the stream from the next key frame on to an AVI file; a name of more than 255 bytes is refused. A file that
    /// is being saved is completed first. The file is made when its first frame comes: what fails then stands in the log
    /// only, and the stream goes on. The stream's thread writes, across a reconnect as well. Waits for a write or
    /// completion that is under way; may be called in the stream's own callback, and then begins or ends with that
    /// frame.
    BOOL SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName);
    /// Completes the file, as StopLivePlay does. True for a known stream that is not saved, too.
    BOOL StopSaveLiveData(POINTERHANDLE lLiveHandle);

    /// No picture can be taken from a live stream: nothing decodes here.
    BOOL CapturePicture(POINTERHANDLE lLiveHandle, const char* sPicFileName);
    /// Waits at most 10 s for the next picture of the device's JPEG stream of the channel, which runs for so long. The
    /// stream of type HLX_THIRD_STREAM takes the picture; it is made if there is none. Fails with HLX_OPER_NOPERMIT
    /// inside a frame callback, HLX_NOENOUGH_BUF, HLX_CREATEJPEGSTREAM_FAIL (the request did not go out),
    /// HLX_NETWORK_NOT_CONNECT (link fell, or the session ends) or HLX_NETWORK_RECV_TIMEOUT. Any thread; calls for one
    /// channel share a stream.
    BOOL CapturePicture(LONG lUserID, LONG lChannel, char* pBuffer, DWORD dwSize, LPDWORD pReturned);

    BOOL MakeKeyFrame(LONG lUserID, LONG lChannel);
    BOOL MakeKeyFrameSub(LONG lUserID, LONG lChannel);
    BOOL MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType);
    BOOL GetDvrCurrentTime(LONG lUserID, DD_TIME* pTime);

    BOOL PTZCtrl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL bFlag);
    BOOL PTZCtrl_3D(POINTERHANDLE lLiveHandle, PTZ_3D_POINT_INFO* pPoint);
    BOOL PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum);

    /// Stops all streams of a user id; false if there is none.
    BOOL RemoveDevice(LONG lUserID);

    /// Asks again for the streams that a session carries which is back; `channel` -1 means all. On the reconnect
    /// thread. Without memory the look for silent streams finds them.
    void ResumeOnReconnection(LONG lUserID, BOOL bIsK7KChannel, LONG channel, WORD videoInputNum);

private:
    using Stream = std::shared_ptr<LIVE_STREAM_INFO>;

    // m_streamLock held
    LIVE_STREAM_INFO* Find(POINTERHANDLE lLiveHandle) const;
    Stream FindShared(POINTERHANDLE lLiveHandle);  // takes m_streamLock
    unsigned int FreeStreamID(LONG lUserID, LONG lChannel) const;
    bool IsOpen(const LIVE_STREAM_INFO& wanted, bool bSameTypeOnly) const;
    void StopDeviceSide(const LIVE_STREAM_INFO& stream);
    bool IsRingTaken(unsigned int bufferID, const LIVE_STREAM_INFO* pExcept = nullptr) const;
    template <class Action>
    BOOL WithStream(POINTERHANDLE lLiveHandle, Action&& action);
    template <class Action>
    BOOL AskDevice(POINTERHANDLE lLiveHandle, Action&& action);

    template <class Wanted>
    POINTERHANDLE AnyStream(Wanted wanted);
    bool IsConnected(LONG lUserID) const;
    bool ChooseSession(LIVE_STREAM_INFO& stream);
    void CloseSession(const LIVE_STREAM_INFO& stream);
    POINTERHANDLE OpenStream(const Stream& stream);
    bool StartStream(LIVE_STREAM_INFO& stream);
    void EndStream(LIVE_STREAM_INFO& stream);
    Stream TakeStream(POINTERHANDLE lLiveHandle);
    void FinishStream(const Stream& stream);
    void StopStreams();

    // Capturing (LiveCapture.cpp)
    LIVE_STREAM_INFO* CaptureStream(LONG lUserID, LONG lChannel);  // m_streamLock held
    bool BeginCapture(LONG lUserID, LONG lChannel, const std::shared_ptr<LIVE_CAPTURE>& capture);
    void WaitForPicture(LONG lUserID, LIVE_CAPTURE& capture);
    void EndCapture(const std::shared_ptr<LIVE_CAPTURE>& capture);
    static bool RemoveCapture(LIVE_STREAM_INFO& stream, const std::shared_ptr<LIVE_CAPTURE>& capture);
    static void TakePicture(LIVE_STREAM_INFO& stream, const unsigned char* pData, size_t length);
    static void DropCaptures(LIVE_STREAM_INFO& stream);

    // Resuming (LiveResume.cpp)
    bool StartResuming();
    void StopResuming();
    static void* ResumeOnReconnectionThread(void* pParam);
    void ResumeOnReconnectionProc();
    bool Pause(tuint32 milliseconds);
    void Enlist(const ST_ResumeOnReconnection& entry);
    bool TakeDue(ST_ResumeOnReconnection& entry);
    tint64 NextDue();
    void Resume(const ST_ResumeOnReconnection& entry);
    void RestartSilent();
    void Restart(const std::vector<Stream>& streams);
    std::vector<Stream> StopAndStart(const std::vector<Stream>& streams);
    bool StartAgain(const Stream& stream);
    std::vector<Stream> Choose(const std::function<bool(const LIVE_STREAM_INFO&)>& wanted);

    // Saving (LiveSave.cpp)
    static void EndSave(LIVE_STREAM_INFO& stream);
    static void SaveNewFormat(LIVE_STREAM_INFO& stream, bool bVideo);
    static void SaveFrame(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pData);

    // Stream's thread
    static void* LiveDataProcThread(void* pParam);
    void LiveDataProc(LIVE_STREAM_INFO& stream);
    void WalkRun(LIVE_STREAM_INFO& stream, const unsigned char* pRun, size_t length);
    void ProcessFrame(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pRecord);
    void CallApplication(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pRecord);
    void DeliverFormats(LIVE_STREAM_INFO& stream, const LIVE_CALLBACKS& callbacks, const HLX_FRAME_INFO& frame);
    static void Deliver(const LIVE_STREAM_INFO& stream, const LIVE_CALLBACKS& callbacks, const HLX_FRAME_INFO& frame,
                        const unsigned char* pRecord);

    CPUB_Lock m_streamLock;
    std::vector<Stream> m_streamInfoArray;           // guarded by m_streamLock
    std::atomic<POINTERHANDLE> m_curAudioHandle{0};  // the stream whose sound was opened
    PUB_thread_t m_hThreadResumeOnReconnection = 0;
    bool m_bResumeOnReconnectionProcessing = false;
    CWaitEvent m_resumeWait;                                        // told of new entries; closed at Stop
    std::atomic<bool> m_bResumeEnded{true};                         // the thread is past its last request
    CPUB_Lock m_listResumeOnReconnectionLock;                       // leaf
    std::list<ST_ResumeOnReconnection> m_listResumeOnReconnection;  // m_listResumeOnReconnectionLock
    CNetDeviceMan* m_pDeviceMan = nullptr;
    CMultiNetDataBufferMan* m_pDataBufferMan = nullptr;
};

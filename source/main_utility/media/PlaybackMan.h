// Playback of recordings: a ring per stream, one thread that paces all of them and hands each frame to the application.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "HLX.h"
#include "main_utility/media/AVISave.h"
#include "main_utility/media/PlayPacer.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/PubThread.h"
#include "sdk_common/Waker.h"

class CNetDeviceMan;
class CMultiNetDataBufferMan;

/// What a channel's format frames told last.
struct PLAYBACK_FORMATS {
    BITMAPINFOHEADER bmpInfo{};
    WAVEFORMATEX waveInfo{};
};

/// One handle. Its address is the application's handle. Guarded by m_streamLock unless told otherwise.
struct PLAYBACK_STREAM_INFO {
    POINTERHANDLE lPlayBackHandle = 0;  // settled before the record is found, as all down to bFirstStream
    LONG lDeviceHandle = 0;
    LONG pChannel[PLAYBACK_SYNC_INFO::MAX_CHANNELS] = {};
    LONG lChnNum = 0;
    DD_TIME stopTime = {};
    tuint32 streamID = 0;  // 10 and the number of the slot
    PLAY_DATA_CALLBACK pPlayBackDataCallback = nullptr;
    void* pPlayBackDataCBParam = nullptr;
    PLAYBACK_FORMATS formats[PLAYBACK_SYNC_INFO::MAX_CHANNELS];  // of the channel at the same place in pChannel
    bool bNeedVideoFormat = false;                               // the callback has not seen a format frame
    bool bNeedAudioFormat = false;
    std::unique_ptr<CAVISave> pSave;  // null: nothing is saved
    LONG saveChannel = 0;
    bool bNeedVFormat = false;  // the save has not seen a format frame
    bool bNeedAFormat = false;
    bool bOpen = false;     // the start is through
    bool bStopped = false;  // m_playLock, as the next
    int users = 0;  // threads that wait for the device on its behalf; the last of a stopped stream frees the slot

    bool HasChannel(LONG lChannel) const { return PlaceOf(lChannel) < lChnNum; }
    /// In pChannel; lChnNum for a channel that it has not.
    LONG PlaceOf(LONG lChannel) const;
};

/// All playbacks of the process.
///
/// One thread walks the slots of all devices: it holds m_playLock, and m_streamLock too while it delivers a frame, the
/// application's callback included. It holds neither while it waits, gives way to whoever wants one of them after each
/// frame, and wakes when a frame is due, when data comes to a ring that was empty and after a control call. While a
/// start is under way it leaves all streams alone (m_isStartingPB), as the interface has it.
///
/// Lock order: m_startLock, m_playLock, m_streamLock, then those of the device manager and the rings. Whoever waits for
/// a device's answer holds at most m_startLock: a device that is silent for 10 s holds up other starts and, by
/// m_isStartingPB, the delivery while it is being started, and so does the request of another manager that the start
/// waits for; during its seek only its own stream rests. What is sent to a device with m_playLock held waits for nothing.
///
/// A frame callback may call what only looks at or changes a stream. It may not start, stop or steer playbacks, stop
/// live streams, log out or clean up: CSDKImpl refuses that (InFrameCallback).
class CPlaybackMan {
public:
    static constexpr size_t LONGEST_NAME = CAVISave::LONGEST_NAME;

    CPlaybackMan();
    CPlaybackMan(const CPlaybackMan&) = delete;
    CPlaybackMan& operator=(const CPlaybackMan&) = delete;

    bool Initial();
    /// False with HLX_PROGRAM_EXCEPTION when the thread cannot be started.
    bool Start();
    /// Ends the thread, stops all streams and drops the device entries. Safe on a manager that was never started.
    void Stop();
    /// Stops what was opened since. Safe on a manager that was never initialised.
    void Quit();

    /// True on the thread that delivers, while it is inside an application's callback.
    static bool InFrameCallback();

    /// Makes the device's entry, anew if none of its slots is taken: the id of a caller that was refused is given to
    /// the next device, whose slots may be more or fewer. False: no memory.
    bool AddDevice(LONG lUserID);
    /// Stops the device's streams and drops its entry; an unknown id is ignored.
    void RemoveDevice(LONG lUserID);
    bool HasDevice(LONG lUserID);

    /// The play handle, or -1.
    POINTERHANDLE PlayBackByTimeAsync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                      const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    /// A mask of the channels that run, bit n for `pChannels[n]`.
    POINTERHANDLE PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME* lpStartTime,
                                     const DD_TIME* lpStopTime, const HWND* hWnds, BOOL bFirstStream);
    BOOL PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    /// By the interface always false, as StopPlayBackSync.
    BOOL PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);
    /// Waits for a callback that is running; none comes after the return. False, with no number, for an unknown handle.
    BOOL StopPlayBack(POINTERHANDLE lPlayHandle);
    BOOL StopPlayBackSync();
    BOOL SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser);
    BOOL PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);
    BOOL StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel);
    BOOL GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime);
    BOOL PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);

    // These two are offered handles of live streams as well, so an unknown handle is HLX_PARAMETER_ERROR.
    BOOL RefreshPlay(POINTERHANDLE lPlayHandle);
    BOOL RegisterDrawFun(POINTERHANDLE lPlayHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser);

    /// Nothing has a player here: always -1.
    int GetPlayBackPlayerIndex(POINTERHANDLE) const { return -1; }

private:
    using Stream = std::shared_ptr<PLAYBACK_STREAM_INFO>;

    /// Holds a lock that the delivering thread takes again and again, and makes it give way.
    class CTurn;
    /// What the walk over all slots found.
    struct ROUND;
    /// What a control call makes of a slot.
    struct CONTROL;

    // Records; m_streamLock held
    Stream Find(POINTERHANDLE lPlayHandle) const;
    Stream Find(POINTERHANDLE lPlayHandle, LONG lChannel) const;
    Stream FindOpen(POINTERHANDLE lPlayHandle);  // takes the lock itself
    POINTERHANDLE AnyStream(LONG lUserID = 0);   // likewise; 0: of any device
    void StopStreams(LONG lUserID);
    LONG AnyDevice();

    // Slots; m_playLock held
    PLAY_CTRL* Slot(const PLAYBACK_STREAM_INFO& stream);
    static unsigned int RingOf(const PLAY_CTRL& slot);
    bool TakeBlock(PLAY_CTRL& slot);
    void ReleaseBlock(PLAY_CTRL& slot);

    // Opening and stopping (PlaybackMan.Open.cpp); m_startLock held by the first six
    void BeginSync(LONG lUserID);
    bool JoinSync(POINTERHANDLE lPlayHandle);
    POINTERHANDLE PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum, const DD_TIME& start,
                                 const DD_TIME& stop, BOOL bFirstStream);
    bool ReserveSlot(const Stream& stream);
    bool AskDevice(const Stream& stream, const DD_TIME& start, BOOL bFirstStream);
    bool FillSlot(const Stream& stream, const DD_TIME& start);
    void DropStream(const Stream& stream);
    Stream TakeStream(POINTERHANDLE lPlayHandle);
    void Halt(PLAYBACK_STREAM_INFO& stream);
    void Leave(PLAYBACK_STREAM_INFO& stream);
    void FreeSlot(const PLAYBACK_STREAM_INFO& stream);
    POINTERHANDLE LeaveSync();

    // Control (PlaybackMan.Control.cpp)
    bool Steer(PLAY_CTRL& slot, CONTROL& control);
    bool SteerForward(PLAY_CTRL& slot, CONTROL& control);
    void SteerBackward(PLAY_CTRL& slot, CONTROL& control);
    void SendControl(const PLAY_CTRL& slot, DWORD dwCode, DWORD dwValue);
    BOOL SetPosition(const Stream& stream, DWORD dwSeconds);
    void SetPositionSync(DWORD dwSeconds);
    bool BeginSeek(PLAYBACK_STREAM_INFO& stream, DWORD dwSeconds);
    BOOL Seek(const Stream& stream, DWORD dwSeconds);
    void EndSeek(const Stream& stream, bool bDone);

    // The thread (PlaybackMan.Proc.cpp)
    static void* PlayBackDataThread(void* pParam);
    void PlayBackDataProc();
    void WalkSlots(ROUND& round);
    void WalkSlot(PLAY_CTRL& slot, ROUND& round);
    void WalkBlock(PLAY_CTRL& slot, ROUND& round);
    bool PlayCtrl(PLAY_CTRL& slot, const HLX_FRAME_INFO& frame, ROUND& round);
    bool PlayCtrlEx(PLAY_CTRL& slot, const HLX_FRAME_INFO& frame, ROUND& round);
    void Notify(PLAY_CTRL& slot, tuint32 frameIndex);
    void OnNoData(PLAY_CTRL& slot, ROUND& round);
    void ProcessFrame(const HLX_FRAME_INFO& frame, unsigned char* pData);
    static void ProcessFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, unsigned char* pData);
    static void DeliverFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, unsigned char* pData);
    static void SaveFrame(PLAYBACK_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pData);

    CNetDeviceMan* const m_pDeviceMan;
    CMultiNetDataBufferMan* const m_pDataBufferMan;
    const std::shared_ptr<CWaker> m_pWaker = std::make_shared<CWaker>();  // of the thread; the rings know it too

    CPUB_Lock m_startLock;                   // no data: starts run one at a time
    std::atomic<bool> m_isStartingPB{true};  // the thread leaves all streams alone; until the first start too
    std::atomic<bool> m_bPlaybackSync{false};

    CPUB_Lock m_playLock;
    std::map<LONG, std::vector<PLAY_CTRL>> m_playCtrl;  // slots by user id; m_playLock
    PLAYBACK_SYNC_INFO m_PlaySyncInfo;                  // m_playLock; no channels while m_bPlaybackSync is not set
    CPUB_Lock m_streamLock;
    std::vector<Stream> m_streamInfoArray;           // m_streamLock
    CPUB_Lock m_streamMapLock;                       // leaf
    std::map<LONG, std::vector<int>> m_streamIDMap;  // low half of a slot's handle, -1: free; m_streamMapLock

    std::atomic<int> m_waiting{0};        // threads that want a lock that the delivering thread holds
    std::pair<LONG, size_t> m_lastPlace;  // user id and slot where the last walk gave way; of the thread alone
    PUB_thread_t m_dataProcThread = 0;
    bool m_bPlaying = false;
};

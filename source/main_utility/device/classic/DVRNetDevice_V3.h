// The classic recorder.
#pragma once

#include <array>
#include <atomic>
#include <initializer_list>
#include <optional>
#include <thread>
#include <vector>

#include "device_base/NetDevice.h"
#include "device_base/ReplyWaiter.h"
#include "main_utility/device/classic/PackedCombiner.h"
#include "main_utility/device/classic/TalkFrameQueue.h"
#include "netservice/MultiNet.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "protocol/ClassicProtocol.h"
#include "protocol/ClassicRecordings.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/ThreadState.h"

/// The rings that want the frames of one channel and stream.
struct DVR_CHANEL_TASKINFO {
    static constexpr size_t MAX_LIVE_BUFFERS = 100;

    LONG channel = 0;
    BOOL bFirstStream = 0;
    std::array<unsigned int, MAX_LIVE_BUFFERS> liveBufHandle = {};  // buffer ids; 0 is a free place
};

/// Device class of the classic family: a request is one command frame, its reply pairs with it by id, and status and
/// frames come unasked on the same link.
///
/// Threads: as CNetDevice says. Locks: m_streamLock before m_ChanelTaskInfoLock; the locks of m_replies and
/// m_talkFrames are taken last. OnReceiveData never takes m_streamLock, so a request that waits under it cannot hold up
/// its own reply.
class CDVRNetDevice_V3 : public CNetDevice {
public:
    static constexpr int MAX_PLAYBACK_STREAM_NUM_PER_DEVICE = 4;

    CDVRNetDevice_V3();

    // Session
    /// A new link, on which nobody is logged in: forgets that the one before fell. Before the first and each further
    /// Login.
    BOOL SetNetHandle(ND_HANDLE hEngine) override;

    /// Waits at most 10 s for the login's reply and 10 s for the count of disks, without which the login succeeds all
    /// the same. True at once on a connected device. `lpDeviceInfo` (may be null) gets the facts of the device. Fails
    /// with 20 for a null text or one of more than 35 bytes, 1, 5, 6, 7 as the device refuses, 9 when the link fell, 10
    /// when it did not take the request, 12 without a reply, 13 for a reply that is too short; with no number while
    /// another login of the same device is under way.
    BOOL Login(char* sUserName, char* sPassword, LPHLX_DEVICEINFO lpDeviceInfo) override;
    BOOL Logout() override;
    BOOL OnReceiveData(const char* pBuf, int iLen) override;
    void InterruptWait() override { m_replies.Interrupt(); }
    int GetDeviceStatus() override { return m_deviceStatus; }

    // Facts
    BOOL GetDeviceInfo(LPHLX_DEVICEINFO lpDeviceInfo) override;
    /// Writes e.g. "Classic recorder, 16 channels", cut to `lLength` - 1 characters. Returns the characters written; 0
    /// for a bad argument.
    LONG GetDeviceTypeName(char* sName, LONG lLength) override;
    int GetMaxPlayBackNum() override { return MAX_PLAYBACK_STREAM_NUM_PER_DEVICE; }
    /// Waits at most 100 ms for a frame that carries the recorder's time, which becomes local time. Fails with 20 for a
    /// null pointer, 9, 12 without such a frame.
    BOOL GetDvrCurrentTime(const char* sDeviceIP, DD_TIME* pTime) override;
    /// Disks that the recorder told at the login.
    unsigned int GetDiskNum() const { return m_diskNum; }
    /// Writes at most `uMaxNum` records. 25 when the recorder refuses, 13 for a reply that is too short.
    BOOL SearchDiskInfo(DVR_DISK_INFO* pDisks, unsigned int uMaxNum, unsigned int& uDiskNum) override;

    // Live; channels from 0
    /// Sends nothing for a channel that the recorder sends already. While a channel's first stream is open the recorder
    /// does not send its second: a ring of the second stream gets sound only until the first is stopped. `streamType`
    /// is not looked at. Fails with 9, 10, 4 (no such channel, or above 63), 20 (`bufid` 0), 31 (the recorder has no
    /// room for the stream), 100 (100 rings wait already).
    BOOL StartLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int bufid, unsigned int streamType) override;
    /// False with 31 if the recorder just refused a stream, with 9 if the link fell. A recorder that does not answer,
    /// or whose answer makes no sense, has not refused.
    BOOL HasStreamCapability() override;
    BOOL StopLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int streamType) override;
    /// Takes `bufid` from all tasks; one frame that is being handed out may still go to it. Always true.
    BOOL StopLiveHandle(LONG lChannel, BOOL bFirstStream, unsigned int bufid) override;
    BOOL RequestKeyFrame(LONG lChannel, BOOL bFirstStream, unsigned int streamType) override;

    // Pictures
    /// Asks for a channel's JPEG pictures. They go to its live rings and to LIVE_BUFFER_ID(id, channel,
    /// HLX_THIRD_STREAM). Sends only, nothing for a channel that is on (off). Fails with 9, 10, 4.
    BOOL StartJpegStream(LONG lChannel) override;
    BOOL StopJpegStream(LONG lChannel) override;

    // Control. Those that wait do so for 10 s at most; each fails with 9, 10, 12 as the link does, 4 for a channel that
    // the recorder has not, 20 for a bad argument, 32 when the recorder says no, unless told otherwise.
    /// True once the recorder says that it goes; its link falls then. A recorder that goes without a word gives 9.
    BOOL RebootDVR() override;
    BOOL ShutDownDVR() override;
    /// `uTime`: seconds since 1970.
    BOOL ChangTime(unsigned int uTime) override;
    /// Colour values are 0 to 255. 13 for a reply that is too short or tells of another channel.
    BOOL GetVideoColor(LONG lChannel, DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) override;
    BOOL GetVideoColor_Ex(LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightness, HLX_IMAGE_EFFECT_T* pContrast,
                          HLX_IMAGE_EFFECT_T* pSaturation, HLX_IMAGE_EFFECT_T* pHue) override;
    /// Sends only.
    BOOL SetVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation, DWORD dwHue) override;
    BOOL SetVideoColor_Ex(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                          DWORD dwHue) override {
        return SetVideoColor(lChannel, dwBrightness, dwContrast, dwSaturation, dwHue);
    }
    BOOL SaveVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation, DWORD dwHue) override;
    /// What the recorder told at the login. Sends nothing.
    BOOL GetDefaultVideoColor(DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) override;
    /// Sends only. `lRecordType`: as the recorder numbers them.
    BOOL StartDVRRecord(LONG lChannel, LONG lRecordType) override;
    BOOL StopDVRRecord(LONG lChannel) override;
    /// Sends only. `pAlarmNum`: 1 to 255 outputs, each below the recorder's number of alarm outputs.
    BOOL SetDeviceAlarm(LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen) override;
    /// 18 when the recorder says no. `bFlag` and `bFirstStream` have no place on the wire.
    BOOL PTZControl(LONG lChannel, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL bFlag,
                    BOOL bFirstStream) override;
    /// Writes a cruise of 1 to 255 stations; numbers as PTZControl.
    BOOL PTZSetCruise(LONG lChannel, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum, BOOL bFlag) override;
    /// Cameras that the recorder is connected to, at most `lMaxNum`. Two requests. 15 while somebody else configures
    /// them, 13 for a reply that is too short.
    BOOL GetDeviceIPCInfo(HLX_IPC_DEVICE_INFO* pInfo, LONG lMaxNum, LONG* pNum) override;

    // Searches. Each waits 10 s at most for the first message of the result and for each further one, 60 s in all; what
    // it finds goes behind what is in the list, which stays as it was on a failure. 86 when nothing is found or the
    // recorder refuses, 13 for replies that make no sense and for more than 1,048,576 records; 9, 10, 12 as the link
    // does. Channel -1 stands for all. 4 for any other channel that the recorder has not, 20 for a span that ends before
    // it starts.
    BOOL SearchRecDate(std::list<DD_DATE>& dateList) override;
    BOOL SearchRecTime(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                       std::list<HLX_REC_TIME>& timeList) override;
    BOOL SearchRecFile(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                       std::list<HLX_REC_FILE>& fileList) override;
    BOOL SearchRecEvent(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                        std::list<HLX_REC_EVENT>& eventList) override;
    BOOL SearchDVRLog(DWORD dwType, const DD_TIME& start, const DD_TIME& stop, std::list<HLX_LOG>& logList) override;
    BOOL SearchDVREvent(DWORD dwType, ULONGLONG ullChannels, const DD_TIME& start, const DD_TIME& stop,
                        std::list<HLX_EVENT>& eventList) override;

    // Files, 1 to MAX_FILE_LIST, else 20; all of them or, with the numbers of a search, none.
    BOOL DeleteRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) override;
    BOOL LockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) override;
    BOOL UnlockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) override;

    // Playback and download; streams have the ids 10 to 99 and 100. What a recorder sends of a stream before it has
    // answered its start or seek, after it refused one, or when nobody asked for the stream, reaches no ring.
    /// Starts a stream of 1 to 8 channels; frames come behind the answer, for which it waits 10 s at most. Fails with
    /// 31 (the recorder serves as many as it can), 86 (no recordings then), 32 (refused), 4, 9, 10, 12, 13 (an answer
    /// that makes no sense), 20.
    BOOL PlaybackByTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop, DWORD dwStreamID,
                        BOOL bFirstStream) override;
    /// Takes a stream to another time; as PlaybackByTime, 20 for a stream that was not started. Once the answer is
    /// there the ring holds nothing of the run before. A stream whose seek fails brings nothing until the next.
    BOOL PlaybackSetTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                         DWORD dwStreamID) override;
    // Those below only send, and fail with 10 at once when the link takes nothing.
    /// Codes without a command here succeed and send nothing. Sound on is the sound of all channels of the stream.
    BOOL PlaybackCtrl(DWORD dwStreamID, DWORD dwCommand, DWORD dwValue) override;
    BOOL StopPlayback(DWORD dwStreamID) override;
    BOOL NotifyPlayIndex(LONG lStreamID, LONG lFrameIndex, int iChannel) override;
    BOOL ChangeAudioChannel(ULONGLONG ullChannels, unsigned int uStreamID) override;
    /// As PlaybackByTime of one channel, stream 100.
    BOOL DownLoadByTime(LONG lChannel, BOOL bFirstStream, const DD_TIME& start, const DD_TIME& stop) override;
    BOOL StopDownLoad(LONG lChannel) override;

    // Talk
    /// Once the recorder consents what came of an earlier talk is forgotten. 34 while somebody else talks with the recorder; waits 10 s at most. A
    /// broken link ends the talk.
    BOOL StartTalkback() override;
    /// Sends only.
    BOOL StopTalkback() override;
    /// Coded sound of any length, in pieces that fit the send buffer; in units as the recorder's own sound, where what
    /// does not fill one goes with the next call. Does not wait: 10 when the link takes no more.
    BOOL SendTalkData(unsigned char* pData, unsigned int uLength) override;
    BOOL GetTalkFrame(FRAME_INFO_EX& frame) override { return m_talkFrames.Pop(frame); }
    void ReleaseTalkBuf(const FRAME_INFO_EX& frame) override { CTalkFrameQueue::Release(frame); }

    // Not offered: each fails with HLX_NOSUPPORT.
    BOOL CapturePicture(LONG, LONG, char*, DWORD, LPDWORD) override { return Refuse(); }
    BOOL CaptureJPEGData_V2(const char*, WORD, LONG, char*, DWORD, LPDWORD) override { return Refuse(); }
    BOOL SearchPictures(HLX_IMAGE_SREACH, LONG, HLX_IMAGE*, LONG*) override { return Refuse(); }
    BOOL RemoteSnap(int) override { return Refuse(); }
    BOOL ViewPicture(const char*, HLX_IMAGE, HLX_IMAGE_INFO*, char*, unsigned int) override { return Refuse(); }
    BOOL ChangeDiskProperty(DVR_DISK_INFO*) override { return Refuse(); }
    LONG FormatDisk(DVR_DISK_INFO*) override { return Refuse(LONG{-1}); }
    BOOL GetFormatProgress(LONG*, LONG*) override { return Refuse(); }
    BOOL CloseFomatHandle() override { return Refuse(); }
    BOOL RequestUpdata(char*) override { return Refuse(); }
    LONG SendUpdataData(void*, unsigned int) override { return Refuse(LONG{-1}); }
    BOOL CloseUpgrade() override { return Refuse(); }
    BOOL StartUpdata() override { return Refuse(); }
    LONG RequestEnterConfig() override { return Refuse(LONG{-4}); }
    BOOL RequestConfig(void*, unsigned int, void*, unsigned int*) override { return Refuse(); }
    BOOL RequestConfig(LONG, void*, unsigned int, void*, unsigned int*) override { return Refuse(); }
    BOOL RequestConfig(DWORD, LONG, void*, unsigned int, void*, unsigned int*) override { return Refuse(); }
    BOOL RequestDefaultConfig(void*, unsigned int, void*, unsigned int*) override { return Refuse(); }
    BOOL SetConfig(void*, unsigned int) override { return Refuse(); }
    BOOL SetConfig_SubStreamEncodeInfo(LONG, void*, unsigned int, BOOL) override { return Refuse(); }
    BOOL RequestExitConfig() override { return Refuse(); }
    BOOL ImportConfig(void*, unsigned int) override { return Refuse(); }
    BOOL ExportConfig(char*, unsigned int*) override { return Refuse(); }
    BOOL GetAlarmStatus(void*, unsigned int, void*, unsigned int*, int*, BOOL) override { return Refuse(); }

    // Status
    /// One record per bit of the masks that the recorder told last, `lMaxNum` at most; the extended alarms carry this
    /// machine's time. Nothing is asked. The number of records, or -1: 9 without a session, 20 for a null place or a
    /// negative number.
    LONG GetAlarmInfo(HLX_ALARMINFO* pInfo, LONG lMaxNum) override;
    LONG GetAlarmInfoEx(HLX_ALARMINFO_EX* pInfo, LONG lMaxNum) override;
    LONG GetRecordStatus(HLX_RECORD_STATUS* pStatus, LONG lMaxNum) override;
    LONG GetRecordStatusEx(HLX_RECORD_STATUS_EX* pStatus, LONG lMaxNum) override;

protected:
    // What the recorder told last, bit n for channel or sensor n. Written on the engine's thread.
    std::atomic<tuint64> m_ullMotion{0};
    std::atomic<tuint64> m_ullSensor{0};
    std::atomic<tuint64> m_ullVloss{0};
    std::atomic<tuint64> m_ullManualRec{0};
    std::atomic<tuint64> m_ullScheduleRec{0};
    std::atomic<tuint64> m_ullMotionRec{0};
    std::atomic<tuint64> m_ullSensorRec{0};

    CTalkFrameQueue m_talkFrames;

private:
    class CLoginScope;
    using Body = std::span<const std::byte>;

    static constexpr LONG MAX_CHANNELS = 64;  // bits of a channel mask

    static bool Refuse() { return Failure(HLX_NOSUPPORT); }
    static LONG Refuse(LONG result) { return Failure(HLX_NOSUPPORT, result); }

    // Requests. A result of HLX_ERROR says what failed and leaves the last error alone; the others set it.
    template <class Record>
    static Body BodyOf(const Record& record) {
        return std::as_bytes(std::span(&record, 1));
    }
    bool SendRequestCmd(tuint32 dwCmdType, Body body);
    HLX_ERROR SendConnected(tuint32 dwCmdType, Body body);
    HLX_ERROR SendFrame(tuint32 dwCmdType, Body body, bool bWaitForRoom = true);
    HLX_ERROR AskQuietly(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted, REPLY_CMD_DATA& reply);
    HLX_ERROR AskEachQuietly(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted,
                             const CReplyWaiter::TAKE_REPLY& take);
    /// A number for the next request about recordings.
    tuint32 NextRequestID() { return ++m_lastRequestID; }
    /// Asks about recordings: `body` begins with a requestID, and of the replies only those that begin with the same
    /// come to `take`. Fails with HLX_NETWORK_ERRORDATA on a reply without that number.
    HLX_ERROR AskNumbered(tuint32 dwCmdType, Body body, std::initializer_list<tuint32> accepted,
                          const CReplyWaiter::TAKE_REPLY& take);

    /// A reply of failure, and the number that it sets.
    struct REFUSAL {
        tuint32 reply;
        HLX_ERROR error = HLX_DVR_OPRATE_FAILED;
    };
    /// The reply `yes`, or nothing after the wait, on a link that fell or with the reply `no`.
    std::optional<REPLY_CMD_DATA> Ask(tuint32 dwCmdType, Body body, tuint32 yes, std::optional<REFUSAL> no = {});

    /// Logs what came of a request that failed, and gives `error` back.
    HLX_ERROR LogRefusal(tuint32 dwCmdType, HLX_ERROR error);
    /// The reply to `dwCmdType` makes no sense. False, with HLX_NETWORK_ERRORDATA.
    bool WrongReply(tuint32 dwCmdType) { return Failure(LogRefusal(dwCmdType, HLX_NETWORK_ERRORDATA)); }

    // Searches
    struct SEARCH_COMMANDS {
        tuint32 request, yes, no;
        tuint32 kind;  // that replies must tell
    };
    template <class Record>
    bool Search(const SEARCH_COMMANDS& commands, Body body, std::list<Record>& records);
    template <class Record>
    bool SearchData(tuint32 kind, LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                    std::list<Record>& records);
    bool ChangeFiles(tuint32 dwCmdType, const HLX_REC_FILE* pFiles, LONG lFileNum);

    // Control
    std::optional<NET_COLOR_INFO> ColorInfo(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                                            DWORD dwHue);
    std::optional<NET_COLOR_INFO> AskColor(LONG lChannel);
    bool SendManualRecord(LONG lChannel, bool bStart, LONG lRecordType);
    bool AskPTZ(Body body);
    bool AskIPCInfo(HLX_IPC_DEVICE_INFO* pInfo, LONG lMaxNum, LONG* pNum);

    // Login
    HLX_ERROR LoginOnLink(const char* sUserName, const char* sPassword);
    HLX_ERROR SendLogin();
    HLX_ERROR TakeLoginReply(const REPLY_CMD_DATA& reply);
    HLX_ERROR BeginSession(const PRODUCT_INFO& product);
    HLX_DEVICEINFO DeviceInfo();
    void ClearStreams();
    void ClearStatus();

    // Status
    template <class Record, class Make>
    LONG FillAlarms(Record* pInfo, LONG lMaxNum, Make make);
    template <class Record, class Make>
    LONG FillRecordStatus(Record* pStatus, LONG lMaxNum, Make make);

    // Receiving; engine's thread
    void OnLinkBroken();
    void OnMessage(Body message);
    void LoseMessage(Body message);
    void OnStatus(tuint32 cmdType, Body message);
    void OnStreamMessage(Body message);
    void OnWholePackedMessage(Body message);
    void DeliverFrame(const FRAME_INFO& wire, Body data);
    void NoteTimes(const FRAME_INFO& wire);
    void CollectReceivers();
    bool PushFrame(unsigned int bufferID, const unsigned char* pData);

    // Playback and download
    static constexpr tuint64 STREAM_OPEN = 0;
    static constexpr tuint64 STREAM_SHUT = tuint64{1} << 32;
    static constexpr tuint64 STREAM_AWAITED = tuint64{1} << 33;  // with the requestID of the start or seek
    struct RECORD_STREAM {
        bool bKnown = false;  // started and not stopped
        bool bFirstStream = false;
        tuint64 channels = 0;                     // bit n for channel n
        std::atomic<tuint64> gate = STREAM_SHUT;  // changed under the lock; frames look at it without
    };
    RECORD_STREAM* RecordStream(DWORD dwStreamID);  // null for an id that no such stream can have
    bool IsKnown(const RECORD_STREAM& stream);
    void Forget(RECORD_STREAM& stream);
    void ShutStream(RECORD_STREAM& stream, DWORD dwStreamID);
    tuint32 IsFirstStreamOf(DWORD dwStreamID);
    std::optional<NET_DATA_READ_INFO> ReadInfo(const LONG* pChannels, LONG lChannelNum, const DD_TIME& start,
                                               const DD_TIME& stop);
    bool AskForStream(NET_DATA_READ_INFO& info, RECORD_STREAM& stream);
    static HLX_ERROR StreamAnswer(tuint32 cmdType, Body body);
    bool SendAtOnce(tuint32 dwCmdType, Body body);
    bool SendStreamCtrl(tuint32 dwCmdType, DWORD dwStreamID, DWORD dwValue);
    void NoteStreamAnswer(tuint32 cmdType, Body body);                // engine's thread
    void PushRecorded(DWORD dwStreamID, const unsigned char* pData);  // engine's thread

    // Talk
    void NoteTalkStart(tuint32 cmdType);  // engine's thread
    HLX_ERROR SendTalkPieces(Body sound);
    HLX_ERROR SendTalkUnits(Body sound);  // m_sendAudioLock held

    // Live
    bool OpenStream(LONG lChannel, BOOL bFirstStream, unsigned int bufid);
    bool AddTask(LONG lChannel, BOOL bFirstStream, unsigned int bufid);
    HLX_ERROR StreamRefusal();
    bool SendStreamMasks(tuint32 dwCmdType);
    bool SendJpegMask(tuint32 dwCmdType);
    bool HasChannel(LONG lChannel);
    std::atomic<tuint64>& StreamMask(BOOL bFirstStream) { return bFirstStream ? m_ullFirstStream : m_ullSecondStream; }

    std::atomic<CSWL_MultiNet*> m_pMultiNetComm{nullptr};
    CMultiNetDataBufferMan* const m_pDataBufferMan;
    std::atomic<NET_DEVICE_STATUS> m_deviceStatus{NET_DEVICE_STATUS_DISCONNECT};
    CReplyWaiter m_replies;
    std::atomic<unsigned int> m_diskNum{0};
    std::atomic<tuint32> m_lastRequestID{0};

    CPUB_Lock m_loginLock;
    bool m_bLogining = false;                      // guarded by m_loginLock
    std::atomic<std::thread::id> m_loginThread{};  // the thread that logs in, whose requests alone go out meanwhile
    HLX_DEVICEINFO m_deviceinfo = {};              // guarded by m_loginLock

    // Channel masks of the streams that are open. Changed under m_streamLock, but a fallen link zeroes them without it.
    CPUB_Lock m_streamLock;
    std::atomic<tuint64> m_ullFirstStream{0};
    std::atomic<tuint64> m_ullSecondStream{0};
    std::atomic<tuint64> m_ullJpegStream{0};

    CPUB_Lock m_ChanelTaskInfoLock;
    std::vector<DVR_CHANEL_TASKINFO>
        m_ChanelTaskInfo;  // guarded by m_ChanelTaskInfoLock; one entry a channel and stream

    CPUB_Lock m_recordStreamLock;  // before the locks of the rings; guards the next
    std::array<RECORD_STREAM, DOWNLOAD_STREAM_ID - PLAYBACK_STREAM_ID_FIRST + 1> m_recordStreams;  // by stream id

    // The recorder's clock as the last frame told it.
    std::atomic<bool> m_bGetDvrTime{false};
    std::atomic<LONGLONG> m_dvrCurrentTime{0};

    // Sound on its way to the recorder; requests come one at a time, and only they touch it.
    CPUB_Lock m_sendAudioLock;  // before the link's locks; guards the next two
    std::array<std::byte, TALK_SEND_SIZE> m_sendAudioBuf;
    size_t m_sendAudioLength = 0;          // of a unit that is not full yet
    std::atomic<bool> m_bNewTalk = false;  // what the buffer holds belongs to an earlier talk

    // The engine's thread alone touches these.
    CPackedCombiner m_combiner;
    HLX_FRAME_INFO m_sdkFrameInfo = {};
    LONGLONG m_baseLocalTime = 0;                 // wall clock at the first frame, microseconds since 1970
    LONGLONG m_baseFrameTime = 0;                 // relativeTime of that frame
    std::array<std::byte, 8000> m_pRecvAudioBuf;  // sound of one frame without its prefixes
    // Buffer ids that get the frame in hand: at most those of both streams of a channel and one for pictures. No memory
    // is asked for on the way of a frame: a lost format frame would leave a stream dark for good.
    std::array<unsigned int, 2 * DVR_CHANEL_TASKINFO::MAX_LIVE_BUFFERS + 1> m_receivers{};
    size_t m_receiverCount = 0;
};

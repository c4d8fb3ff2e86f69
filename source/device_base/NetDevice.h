// The abstract logged-in device that every family implements, and the session record around it.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>

#include "device_base/ConfigParser.h"
#include "HLX.h"
#include "protocol/LinkFrame.h"
#include "sdk_common/PubLock.h"

struct FRAME_INFO_EX;
struct DVR_DISK_INFO;

/// The link engine that serves a device, as the device knows it.
class CSWL_MultiNet;
using ND_HANDLE = CSWL_MultiNet*;

enum DEVICE_VERSION { DVR_VER_V3 = 0, DVR_VER_V4 = 1, IPC_VER_V3 = 2, NVR_VER_K7700 = 3 };

/// One device of any family. Order of one session: SetEncryptInfo, SetNetHandle, SetDeviceID, SetDeviceIp, Login, any
/// others, Logout unless the status is NET_DEVICE_STATUS_DISCONNECT, destructor.
///
/// Threads: requests of the application come one at a time, with the device manager's m_deviceCommLock held. Login,
/// Logout, SetEncryptInfo and SetNetHandle come without it, from the one thread that the session's gate lets in, the
/// wrong-password times from the reconnect thread, maybe beside a request: a Logout or a broken link ends that request
/// at once. OnReceiveData comes with m_callbackLock held, at any time after SetNetHandle. GetDeviceStatus,
/// GetDeviceInfo, SupportStreamNum, GetSha1Encrypt and InterruptWait come from any thread and do not wait for the
/// device. The bodies given here are what a family without the feature does: no result, and no last error set.
class CNetDevice {
public:
    CNetDevice() = default;
    virtual ~CNetDevice() = default;
    CNetDevice(const CNetDevice&) = delete;
    CNetDevice& operator=(const CNetDevice&) = delete;

    /// Stores the message callback that serves all devices, those that log in later too. Returns 1.
    static BOOL SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser);
    /// The same for the extended form. Both share one user value, the last set.
    static BOOL SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser);

    virtual void NeedJumpForward() {}
    /// Seconds since 1970 of the last login that failed by a wrong password; 0 for none or for a family that keeps
    /// none.
    virtual void SetLastWrongPswTime(ULONGLONG) {}
    virtual ULONGLONG GetLastWrongPswTime() { return 0; }

    // Session
    /// A new link on `hEngine` is about to serve this device.
    virtual BOOL SetNetHandle(ND_HANDLE hEngine) = 0;
    virtual BOOL SetDeviceID(LONG lDeviceID);
    virtual BOOL SetDeviceIp(char* sDeviceIP);
    /// Repeatable on a disconnected device: a reconnect logs in again on the same object. Waits for the device, 10 s a
    /// request at most.
    virtual BOOL Login(char* sUserName, char* sPassword, LPHLX_DEVICEINFO lpDeviceInfo) = 0;
    virtual BOOL Logout() = 0;
    /// `pBuf` null and `iLen` -1 tell a broken link, maybe repeatedly; else one whole message, lent for the call.
    virtual BOOL OnReceiveData(const char* pBuf, int iLen) = 0;
    /// A NET_DEVICE_STATUS value. Any thread.
    virtual int GetDeviceStatus() = 0;
    /// Ends the wait of a request that is under way with HLX_NETWORK_NOT_CONNECT; the session goes on.
    virtual void InterruptWait() {}
    virtual void SetEncryptInfo(PRE_SEND_DATA&) {}
    virtual void SetAutoRegisterMode(int) {}

    // Live
    virtual BOOL StartLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int bufid, unsigned int streamType) = 0;
    /// False when the device just refused the stream for want of resources.
    virtual BOOL HasStreamCapability() { return 1; }
    virtual BOOL StopLiveChannel(LONG lChannel, BOOL bFirstStream, unsigned int streamType) = 0;
    virtual BOOL StopLiveHandle(LONG lChannel, BOOL bFirstStream, unsigned int bufid) = 0;
    virtual BOOL RequestKeyFrame(LONG lChannel, BOOL bFirstStream, unsigned int streamType) = 0;
    virtual BOOL StartJpegStream(LONG lChannel) = 0;
    virtual BOOL StopJpegStream(LONG lChannel) = 0;
    virtual unsigned int SupportStreamNum(LONG) { return 2; }

    // Pictures
    virtual BOOL CapturePicture(LONG lChannel, LONG lQuality, char* pBuffer, DWORD dwSize, LPDWORD pReturned) = 0;
    virtual BOOL CaptureJPEGData_V2(const char*, WORD, LONG, char*, DWORD, LPDWORD) { return 0; }
    virtual BOOL SearchPictures(HLX_IMAGE_SREACH, LONG, HLX_IMAGE*, LONG*) { return 0; }
    virtual BOOL RemoteSnap(int) { return 0; }
    virtual BOOL ViewPicture(const char*, HLX_IMAGE, HLX_IMAGE_INFO*, char*, unsigned int) { return 0; }

    // Record search
    virtual BOOL SearchRecDate(std::list<DD_DATE>& dateList) = 0;
    virtual BOOL SearchRecTime(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                               std::list<HLX_REC_TIME>& timeList) = 0;
    virtual BOOL SearchRecFile(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                               std::list<HLX_REC_FILE>& fileList) = 0;
    virtual BOOL SearchRecEvent(LONG lChannel, DWORD dwType, const DD_TIME& start, const DD_TIME& stop,
                                std::list<HLX_REC_EVENT>& eventList) = 0;
    virtual BOOL SearchDVRLog(DWORD dwType, const DD_TIME& start, const DD_TIME& stop, std::list<HLX_LOG>& logList) = 0;
    virtual BOOL SearchDVREvent(DWORD dwType, ULONGLONG ullChannels, const DD_TIME& start, const DD_TIME& stop,
                                std::list<HLX_EVENT>& eventList) = 0;
    virtual BOOL DeleteRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) = 0;
    virtual BOOL LockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) = 0;
    virtual BOOL UnlockRecFile(HLX_REC_FILE* pFiles, LONG lFileNum) = 0;

    // Playback and download
    virtual BOOL PlaybackByTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                                DWORD dwStreamID, BOOL bFirstStream) = 0;
    /// The frames of the stream up to that index were taken; channel -1: of all channels. This, the next three,
    /// StopDownLoad and NeedJumpForward come without the lock that keeps requests apart, also while another waits for
    /// its reply: they send at once or fail, and wait for nothing.
    virtual BOOL NotifyPlayIndex(LONG lStreamID, LONG lFrameIndex, int iChannel) = 0;
    virtual void NotifyPlayIndex_IPC(LONG /*lStreamID*/, LONG /*lFrameIndex*/) {}
    virtual BOOL StopPlayback(DWORD dwStreamID) = 0;
    virtual BOOL PlaybackCtrl(DWORD dwStreamID, DWORD dwCommand, DWORD dwValue) = 0;
    virtual BOOL PlaybackSetTime(LONG* pChannels, LONG lChannelNum, const DD_TIME& start, const DD_TIME& stop,
                                 DWORD dwStreamID) = 0;
    virtual int GetMaxPlayBackNum() = 0;
    virtual BOOL DownLoadByTime(LONG lChannel, BOOL bFirstStream, const DD_TIME& start, const DD_TIME& stop) = 0;
    virtual BOOL StopDownLoad(LONG lChannel) = 0;
    virtual BOOL SaveFileToUsbByTime(HLX_REC_FILE*, USB_BACKUP_FORMAT) { return 0; }
    virtual BOOL GetSaveFileToUsbProcess(HLX_USB_BACKUP_PROCESS_EX*, unsigned int, unsigned int*) { return 0; }

    // Control
    virtual BOOL StartDVRRecord(LONG lChannel, LONG lRecordType) = 0;
    virtual BOOL StopDVRRecord(LONG lChannel) = 0;
    virtual BOOL GetVideoColor(LONG lChannel, DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation,
                               DWORD* pHue) = 0;
    virtual BOOL SetVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                               DWORD dwHue) = 0;
    virtual BOOL GetVideoColor_Ex(LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightness, HLX_IMAGE_EFFECT_T* pContrast,
                                  HLX_IMAGE_EFFECT_T* pSaturation, HLX_IMAGE_EFFECT_T* pHue) = 0;
    virtual BOOL SetVideoColor_Ex(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                                  DWORD dwHue) = 0;
    virtual BOOL SaveVideoColor(LONG lChannel, DWORD dwBrightness, DWORD dwContrast, DWORD dwSaturation,
                                DWORD dwHue) = 0;
    virtual BOOL GetDefaultVideoColor(DWORD* pBrightness, DWORD* pContrast, DWORD* pSaturation, DWORD* pHue) = 0;
    virtual BOOL SetDeviceAlarm(LONG*, LONG*, LONG*, BOOL) { return 0; }
    virtual BOOL ChangTime(unsigned int uTime) = 0;
    virtual BOOL RebootDVR() = 0;
    virtual BOOL ShutDownDVR() = 0;
    virtual BOOL GetDvrCurrentTime(const char*, DD_TIME*) { return 0; }

    // PTZ
    virtual BOOL GetPTZConfig(LONG, DWORD, LPVOID, DWORD, LPVOID, DWORD, LPDWORD) { return 0; }
    virtual BOOL PTZControl(LONG lChannel, DWORD dwPTZCommand, DWORD dwValue, DWORD dwSpeed, BOOL bFlag,
                            BOOL bFirstStream) = 0;
    virtual BOOL PTZSetCruise(LONG lChannel, BYTE byCruise, DD_CRUISE_POINT_INFO* pPoints, WORD wPointNum,
                              BOOL bFlag) = 0;
    virtual BOOL PTZControl_3D(LONG, PTZ_3D_POINT_INFO*) { return 0; }
    virtual BOOL GetPTZCameraType(HLX_CAMERA_TYPE*) { return 0; }
    virtual BOOL GetSupportPtzList(int, HLX_CHANNEL_PTZ*, int*) { return 0; }

    // Disks
    virtual BOOL SearchDiskInfo(DVR_DISK_INFO* pDisks, unsigned int uMaxNum, unsigned int& uDiskNum) = 0;
    virtual BOOL ChangeDiskProperty(DVR_DISK_INFO* pDisk) = 0;
    virtual LONG FormatDisk(DVR_DISK_INFO* pDisk) = 0;
    virtual BOOL GetFormatProgress(LONG* pDiskNumber, LONG* pProgress) = 0;
    virtual BOOL CloseFomatHandle() = 0;

    // Talk
    virtual BOOL ChangeAudioChannel(ULONGLONG ullChannels, unsigned int uStreamID) = 0;
    virtual BOOL StartTalkback() = 0;
    virtual BOOL StopTalkback() = 0;
    virtual BOOL SendTalkData(unsigned char* pData, unsigned int uLength) = 0;
    /// The oldest frame that waits, with its data in an array made by new[]; false when there is none. These two come
    /// from any thread and do not wait for the device. CTalkArrival is told of each frame that is queued.
    virtual BOOL GetTalkFrame(FRAME_INFO_EX& frame) = 0;
    virtual void ReleaseTalkBuf(const FRAME_INFO_EX& frame) = 0;
    static void FreeTalkBuf(const FRAME_INFO_EX& frame);

    // Firmware
    virtual BOOL RequestUpdata(char* sFileName) = 0;
    virtual LONG SendUpdataData(void* pData, unsigned int uLength) = 0;
    virtual BOOL CloseUpgrade() = 0;
    virtual BOOL StartUpdata() = 0;

    // Configuration
    virtual LONG RequestEnterConfig() = 0;
    virtual BOOL RequestConfig(void* pRequest, unsigned int uLength, void* pResponse, unsigned int* pResponseLen) = 0;
    virtual BOOL RequestConfig(LONG lChannel, void* pRequest, unsigned int uLength, void* pResponse,
                               unsigned int* pResponseLen) = 0;
    virtual BOOL RequestConfig(DWORD dwCommand, LONG lChannel, void* pRequest, unsigned int uLength, void* pResponse,
                               unsigned int* pResponseLen) = 0;
    virtual BOOL RequestDefaultConfig(void* pRequest, unsigned int uLength, void* pResponse,
                                      unsigned int* pResponseLen) = 0;
    virtual BOOL SetConfig(void* pData, unsigned int uLength) = 0;
    virtual BOOL SetConfig_SubStreamEncodeInfo(LONG lChannel, void* pData, unsigned int uLength, BOOL bOldProtocol) = 0;
    virtual BOOL RequestExitConfig() = 0;
    virtual BOOL SetConfigToDev(DWORD, LONG, LPVOID, DWORD) { return 0; }
    virtual BOOL ImportConfig(void* pData, unsigned int uLength) = 0;
    virtual BOOL ExportConfig(char* pBuffer, unsigned int* pLength) = 0;
    virtual BOOL GetConfigAPI(const char*, DD_CONFIG_ITEM_ID, unsigned char*, DWORD, BOOL) { return 0; }
    virtual BOOL SetConfigAPI(const char*, LPVOID, DWORD) { return 0; }
    virtual BOOL ApiInterface(char*, char*, LPVOID, DWORD, LPDWORD) { return 0; }
    virtual BOOL TransparentConfig(char*, char*, LPVOID, DWORD, LPDWORD) { return 0; }
    virtual BOOL GetVehicleConfig() { return 0; }
    virtual int GetSha1Encrypt(const void*, int, void*, int, int*) { return -1; }

    // Facts and status
    virtual BOOL GetDeviceInfo(LPHLX_DEVICEINFO lpDeviceInfo) = 0;
    virtual LONG GetDeviceTypeName(char*, LONG) { return 0; }
    virtual LONG GetAlarmInfo(HLX_ALARMINFO* pInfo, LONG lMaxNum) = 0;
    virtual LONG GetAlarmInfoEx(HLX_ALARMINFO_EX* pInfo, LONG lMaxNum) = 0;
    virtual LONG GetRecordStatus(HLX_RECORD_STATUS* pStatus, LONG lMaxNum) = 0;
    virtual LONG GetRecordStatusEx(HLX_RECORD_STATUS_EX* pStatus, LONG lMaxNum) = 0;
    virtual LONG GetIVMRuleStatus(char*, LONG) { return 0; }
    virtual BOOL GetDeviceIPCInfo(HLX_IPC_DEVICE_INFO*, LONG, LONG*) { return 0; }
    virtual BOOL GetDeviceCHStatus(HLX_CH_DEVICE_STATUS*, LONG, LONG*) { return 0; }
    virtual BOOL GetDeviceCHSupportFunction(HLX_CH_DEVICE_SUPPORT*, LONG, LONG*) { return 0; }
    virtual BOOL GetAlarmStatus(void*, unsigned int, void*, unsigned int*, int*, BOOL) { return 0; }
    virtual BOOL GetDeviceSupportFunction(HLX_DEV_SUPPORT*) { return 0; }

    // Smart functions
    virtual BOOL GetIVMRuleConfig(const char*, DWORD, LONG, LPVOID, DWORD, LPDWORD) { return 0; }
    virtual BOOL SetIVMRuleConfig(const char*, DWORD, LONG, LPVOID, DWORD) { return 0; }
    virtual BOOL SmartSubscrib(DWORD, LONG, NET_DVR_SUBSCRIBE_REPLY*) { return 0; }
    virtual BOOL UnSmartSubscrib(DWORD, LONG, char*, int*) { return 0; }
    /// Polled by the subscription thread; false when no message is pending.
    virtual BOOL GetSmartSubscribMsg(DWORD*, LONG*, char*, int*) { return 0; }
    virtual BOOL FaceMatchOperate(DWORD, LPVOID, DWORD, LPVOID, DWORD, LPDWORD) { return 0; }

protected:
    static NET_MESSAGE_CALLBACK m_pfnMessageCallback;
    static NET_MESSAGE_CALLBACK_EX m_pfnMessageCallbackEx;
    static void* m_pCallbackUser;

    LONG m_deviceID = 0;
    char m_szUserName[36] = {};
    char m_szPasswd[36] = {};
    char m_deviceIp[64] = {};
};

/// Who may work on a session's link: a worker of the reconnect thread or the one that removes the session, never both.
class CSessionGate {
public:
    /// False when the session is being removed.
    bool BeginReconnect() {
        std::lock_guard guard(m_lock);
        if (m_bGone) return false;
        m_bReconnecting = true;
        return true;
    }
    /// True when the session was removed meanwhile: the caller then ends it.
    bool EndReconnect() {
        std::lock_guard guard(m_lock);
        m_bReconnecting = false;
        return m_bGone;
    }
    /// True: the caller ends the session. False: a reconnect is under way, which sees Gone() and ends it.
    bool BeginRemoval() {
        std::lock_guard guard(m_lock);
        m_bGone = true;
        return !m_bReconnecting;
    }
    const std::atomic<bool>& Gone() const { return m_bGone; }
    bool Reconnecting() const {
        std::lock_guard guard(m_lock);
        return m_bReconnecting;
    }

private:
    mutable CPUB_Lock m_lock;  // leaf
    std::atomic<bool> m_bGone{false};
    bool m_bReconnecting = false;
};

/// One session: a device with its parser and what is needed to connect again. Held by shared pointers: the table's, and
/// one for whoever works on the session without a table lock (a pin). The device goes with the last of them.
struct NET_DEVICE_RES {
    int lHandle = 0;                     // the user id
    WORD wDevicePort = 0;                // also used to reconnect
    std::atomic<WORD> wCanReconnect{0};  // 1 once a login has succeeded
    std::unique_ptr<CNetDevice> pNetDevice;
    std::unique_ptr<CConfigParser> pConfigParser;  // null for a family or version without one
    char sDeviceIP[64] = {};                       // address or name given at login
    char sUserName[64] = {};
    char sPassword[64] = {};
    int lRegisterID = 0;        // the device's id when it registered itself
    int bAutoRegisterMode = 0;  // 1 when the device called in
    DEVICE_VERSION eDVRVer = DVR_VER_V3;
    int lConnectType = 0;  // 0 TCP, 1 NAT socket, 2 closed NAT library, 16 TCP socket found by the NAT path
    char sDevSN[64] = {};
    int lProtocolVer = 0;
    CSessionGate gate;
    std::atomic<tuint64> linkSerial{
        0};  // tells the links of one session apart; what an older link still says is dropped
    std::atomic<bool> bAnnounced{true};   // false while the register callback for a device that called in is to come
    std::atomic<bool> bBreakTold{false};  // the break was told to the application, the return not yet
};

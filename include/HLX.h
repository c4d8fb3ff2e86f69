// HLX: client library for network video recorders and IP cameras. The whole public interface.
//
// Valid as C99 and C++11. Rules that hold for every function unless its own comment says otherwise:
//
// Results   A BOOL is 1 for success and 0 for failure; the number of the failure is then in HLX_GetLastError(). The
// last error is one number for the whole process, shared by all threads. A function resets it to HLX_SUCCESS when it
// begins. Without HLX_Init it fails with HLX_NOINIT (3) and the failure value, which is 0 if nothing else is told.
// Numbers   Functions that take a user id fail with HLX_PARAMETER_ERROR (20) when no such session exists; functions
// that take a handle likewise. Null pointers where a pointer is needed fail with 20 too. Requests to a device fail with
// HLX_NETWORK_NOT_CONNECT (9) on a broken link, HLX_NETWORK_SEND_ERROR (10) when sending fails,
// HLX_NETWORK_RECV_TIMEOUT (12) when no answer comes, and HLX_NOSUPPORT (26) when this version or the device cannot do
// it. A device family that lacks an operation may also fail with the number left at 0. Memory    Arguments are borrowed
// for the time of the call. What a handle stands for belongs to the library until the matching close, stop or logout.
// Text arguments end with a zero byte. Threads   Every function may be called from any thread at any time, except
// HLX_Init and HLX_Cleanup, which must not run beside each other or any other call. Callbacks come on threads of the
// library, never on the caller's. Blocking  "local" means no waiting for a device. "request" means that a device is
// asked: up to 10 s for its answer, plus the time that requests of other threads take, for requests run one at a time.
// Anything else is told. Channels  Counted from 0.
#ifndef HLX_H
#define HLX_H

#ifdef __cplusplus
#include <sys/time.h>
#include <time.h>
#endif

#if defined(__GNUC__)
#define HLX_API __attribute__((visibility("default")))
#else
#define HLX_API
#endif

// ---------------------------------------------------------------------------------------------------------- scalars

#ifdef __cplusplus
typedef bool BOOL;  // one byte, also as a member of a record
#else
typedef _Bool BOOL;  // one byte, also as a member of a record
#endif
typedef long long LONG;  // 64 bits: channel numbers, user ids, counts
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef long long POINTERHANDLE;  // whatever a manager hands out; opaque
typedef unsigned int DWORD;
typedef unsigned int UINT;
typedef unsigned short WORD;
typedef unsigned char BYTE;
typedef void* HWND;  // opaque; the library draws nothing
typedef void* HDC;   // opaque
typedef void* LPVOID;
typedef DWORD* LPDWORD;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

// ----------------------------------------------------------------------------------------------------- enumerations

/// Every number that HLX_GetLastError can return. The library has no texts for them.
typedef enum HLX_ERROR {
    HLX_SUCCESS = 0,
    HLX_PASSWORD_ERROR = 1,
    HLX_NOENOUGH_AUTH = 2,
    HLX_NOINIT = 3,
    HLX_CHANNEL_ERROR = 4,
    HLX_OVER_MAXLINK = 5,
    HLX_LOGIN_REFUSED = 6,
    HLX_VERSION_NOMATCH = 7,
    HLX_NETWORK_FAIL_CONNECT = 8,
    HLX_NETWORK_NOT_CONNECT = 9,
    HLX_NETWORK_SEND_ERROR = 10,
    HLX_NETWORK_RECV_ERROR = 11,
    HLX_NETWORK_RECV_TIMEOUT = 12,
    HLX_NETWORK_ERRORDATA = 13,
    HLX_ORDER_ERROR = 14,
    HLX_OPER_BY_OTHER = 15,
    HLX_OPER_NOPERMIT = 16,
    HLX_COMMAND_TIMEOUT = 17,
    HLX_ERROR_SERIALPORT = 18,
    HLX_ERROR_ALARMPORT = 19,
    HLX_PARAMETER_ERROR = 20,
    HLX_CHAN_EXCEPTION = 21,
    HLX_NODISK = 22,
    HLX_ERROR_DISKNUM = 23,
    HLX_DISK_FULL = 24,
    HLX_DISK_ERROR = 25,
    HLX_NOSUPPORT = 26,
    HLX_BUSY = 27,
    HLX_MODIFY_FAIL = 28,
    HLX_PASSWORD_FORMAT_ERROR = 29,
    HLX_DISK_FORMATING = 30,
    HLX_DVR_NORESOURCE = 31,
    HLX_DVR_OPRATE_FAILED = 32,
    HLX_OPEN_HOSTSOUND_FAIL = 33,
    HLX_DVR_VOICEOPENED = 34,
    HLX_TIME_INPUTERROR = 35,
    HLX_NOSPECFILE = 36,
    HLX_CREATEFILE_ERROR = 37,
    HLX_FILEOPENFAIL = 38,
    HLX_OPERNOTFINISH = 39,
    HLX_GETPLAYTIMEFAIL = 40,
    HLX_PLAYFAIL = 41,
    HLX_FILEFORMAT_ERROR = 42,
    HLX_DIR_ERROR = 43,
    HLX_ALLOC_RESOURCE_ERROR = 44,
    HLX_AUDIO_MODE_ERROR = 45,
    HLX_NOENOUGH_BUF = 46,
    HLX_CREATESOCKET_ERROR = 47,
    HLX_SETSOCKET_ERROR = 48,
    HLX_MAX_NUM = 49,
    HLX_USERNOTEXIST = 50,
    HLX_WRITEFLASHERROR = 51,
    HLX_UPGRADEFAIL = 52,
    HLX_CARDHAVEINIT = 53,
    HLX_PLAYERFAILED = 54,
    HLX_MAX_USERNUM = 55,
    HLX_GETLOCALIPANDMACFAIL = 56,
    HLX_NOENCODEING = 57,
    HLX_IPMISMATCH = 58,
    HLX_MACMISMATCH = 59,
    HLX_UPGRADELANGMISMATCH = 60,
    HLX_MAX_PLAYERPORT = 61,
    HLX_NOSPACEBACKUP = 62,
    HLX_NODEVICEBACKUP = 63,
    HLX_PICTURE_BITS_ERROR = 64,
    HLX_PICTURE_DIMENSION_ERROR = 65,
    HLX_PICTURE_SIZ_ERROR = 66,
    HLX_LOADPLAYERSDKFAILED = 67,
    HLX_LOADPLAYERSDKPROC_ERROR = 68,
    HLX_LOADDSSDKFAILED = 69,
    HLX_LOADDSSDKPROC_ERROR = 70,
    HLX_DSSDK_ERROR = 71,
    HLX_VOICEMONOPOLIZE = 72,
    HLX_JOINMULTICASTFAILED = 73,
    HLX_CREATEDIR_ERROR = 74,
    HLX_BINDSOCKET_ERROR = 75,
    HLX_SOCKETCLOSE_ERROR = 76,
    HLX_USERID_ISUSING = 77,
    HLX_PROGRAM_EXCEPTION = 78,
    HLX_WRITEFILE_FAILED = 79,
    HLX_FORMAT_READONLY = 80,
    HLX_WITHSAMEUSERNAME = 81,
    HLX_DEVICETYPE_ERROR = 82,
    HLX_LANGUAGE_ERROR = 83,
    HLX_PARAVERSION_ERROR = 84,
    HLX_FILE_SUCCESS = 85,
    HLX_FILE_NOFIND = 86,
    HLX_NOMOREFILE = 87,
    HLX_FILE_EXCEPTION = 88,
    HLX_TRY_LATER = 89,
    HLX_DEVICE_OFFLINE = 90,
    HLX_CREATEJPEGSTREAM_FAIL = 91,
    HLX_USER_ERROR_NO_USER = 92,
    HLX_USER_ERROR_USER_OR_PASSWORD_IS_NULL = 93,
    HLX_USER_ERROR_ALREDAY_LOGIN = 94,
    HLX_USER_ERROR_SYSTEM_BUSY = 95,
    HLX_DEVICE_NOT_SUPPROT = 96,
    HLX_USER_ERROR_SYSTEM_NO_READY = 97,
    HLX_CHANNEL_OFFLINE = 98,
    HLX_GETREADYINFO_FAIL = 99,
    HLX_NORESOURCE = 100,
    HLX_DEVICE_QUERYSYSTEMCAPS_FAIL = 101,
    HLX_INBUFFER_TOSMALL = 102
} HLX_ERROR;

/// Link state of a session.
typedef enum NET_DEVICE_STATUS { NET_DEVICE_STATUS_CONNECTED = 0, NET_DEVICE_STATUS_DISCONNECT = 1 } NET_DEVICE_STATUS;

/// Which of a channel's streams.
typedef enum HLX_STREAM_TYPE {
    HLX_MAIN_STREAM = 0,
    HLX_SUB_STREAM = 1,
    HLX_THIRD_STREAM = 2,
    HLX_FOURTH_STREAM = 3
} HLX_STREAM_TYPE;

/// Bases of HLX_FRAME_INFO::streamID by kind of stream.
typedef enum HLX_STREAM_ID {
    HLX_LIVE_STREAM_ID = 0,
    HLX_PLAYBACK_STREAM_ID = 10,
    HLX_BACKUP_STREAM_ID = 100
} HLX_STREAM_ID;

/// Control codes of HLX_PlayBackControl.
typedef enum HLX_PLAYCTRL_TYPE {
    HLX_PLAYCTRL_PAUSE = 0,
    HLX_PLAYCTRL_FF = 1,
    HLX_PLAYCTRL_REW = 2,
    HLX_PLAYCTRL_RESUME = 3,
    HLX_PLAYCTRL_STOP = 4,
    HLX_PLAYCTRL_FRAME = 5,
    HLX_PLAYCTRL_NORMAL = 6,
    HLX_PLAYCTRL_STARTAUDIO = 7,
    HLX_PLAYCTRL_STOPAUDIO = 8,
    HLX_PLAYCTRL_AUDIOVOLUME = 9,
    HLX_PLAYCTRL_SETPOS = 10
} HLX_PLAYCTRL_TYPE;

/// Playback speeds.
typedef enum HLX_RPB_SPEED {
    HLX_RPB_SPEED_1_32X = 1,
    HLX_RPB_SPEED_1_16X = 2,
    HLX_RPB_SPEED_1_8X = 3,
    HLX_RPB_SPEED_1_4X = 4,
    HLX_RPB_SPEED_1_2X = 5,
    HLX_RPB_SPEED_1X = 6,
    HLX_RPB_SPEED_2X = 7,
    HLX_RPB_SPEED_4X = 8,
    HLX_RPB_SPEED_8X = 9,
    HLX_RPB_SPEED_16X = 10,
    HLX_RPB_SPEED_32X = 11
} HLX_RPB_SPEED;

/// Message ids of the message callbacks.
typedef enum HLX_DEVICE_MSG_TYPE {
    HLX_ALARM = 0,
    HLX_RECORD = 1,
    HLX_IVM_RULE = 2,
    HLX_TRADEINFO = 3,
    HLX_IPCCFG = 4
} HLX_DEVICE_MSG_TYPE;

/// Alarm types of classic recorders and cameras.
typedef enum HLX_ALARM_TYPE {
    HLX_ALARM_TYPE_MOTION = 0,
    HLX_ALARM_TYPE_SENSOR = 1,
    HLX_ALARM_TYPE_VLOSS = 2,
    HLX_ALARM_TYPE_SHELTER = 3,
    HLX_ALARM_TYPE_DISK_FULL = 4,
    HLX_ALARM_TYPE_DISK_UNFORMATTED = 5,
    HLX_ALARM_TYPE_DISK_WRITE_FAIL = 6,
    HLX_ALARM_TYPE_EXCEPTION = 7
} HLX_ALARM_TYPE;

/// Alarm types of newer recorders. Gaps are part of the numbering, and the spellings are the interface's.
typedef enum HLX_K7700_ALARM_TYPE {
    HLX_K7700_ALARM_TYPE_RANGE_BEGIN = 0,
    HLX_K7700_ALARM_TYPE_MOTION = 1,
    HLX_K7700_ALARM_TYPE_SENSOR = 2,
    HLX_K7700_ALARM_TYPE_VLOSS = 3,
    HLX_K7700_ALARM_TYPE_FRONT_OFFLINE = 4,
    HLX_K7700_ALARM_TYPE_OSC = 5,
    HLX_K7700_ALARM_TYPE_AVD = 6,
    HLX_K7700_ALARM_TYPE_AVD_SCENE = 7,
    HLX_K7700_ALARM_TYPE_AVD_CLARITY = 8,
    HLX_K7700_ALARM_TYPE_AVD_COLOR = 9,
    HLX_K7700_ALARM_TYPE_PEA_TRIPWIRE = 10,
    HLX_K7700_ALARM_TYPE_PEA_PERIMETER = 11,
    HLX_K7700_ALARM_TYPE_VFD = 12,
    HLX_K7700_ALARM_TYPE_CDD = 13,
    HLX_K7700_ALARM_TYPE_IPD = 14,
    HLX_K7700_ALARM_TYPE_CPC = 15,
    HLX_K7700_ALARM_TYPE_FACE_MATCH = 16,
    HLX_K7700_ALARM_TYPE_FACE_MATCH_FOR_IPC = 17,
    HLX_K7700_ALARM_TYPE_PEA_FOR_IPC = 18,
    HLX_K7700_ALARM_TYPE_TRAJECT = 19,
    HLX_K7700_ALARM_TYPE_VEHICE = 20,
    HLX_K7700_ALARM_TYPE_AOIENTRY = 21,
    HLX_K7700_ALARM_TYPE_AOILEAVE = 22,
    HLX_K7700_ALARM_TYPE_PASSLINE = 23,
    HLX_K7700_ALARM_TYPE_GPS_SPEED_OVER = 33,
    HLX_K7700_ALARM_TYPE_GPS_CROSS_BOADER = 34,
    HLX_K7700_ALARM_TYPE_GPS_TEMPERATURE_OVER = 35,
    HLX_K7700_ALARM_TYPE_GPS_GSENSOR_X = 36,
    HLX_K7700_ALARM_TYPE_GPS_GSENSOR_Y = 37,
    HLX_K7700_ALARM_TYPE_GPS_GSENSOR_Z = 38,
    HLX_K7700_ALARM_TYPE_EXCEPTION = 65,
    HLX_K7700_ALARM_TYPE_IP_CONFLICT = 66,
    HLX_K7700_ALARM_TYPE_DISK_IO_ERROR = 67,
    HLX_K7700_ALARM_TYPE_DISK_FULL = 68,
    HLX_K7700_ALARM_TYPE_RAID_SUBHEALTH = 69,
    HLX_K7700_ALARM_TYPE_RAID_UNAVAILABLE = 70,
    HLX_K7700_ALARM_TYPE_ILLEIGAL_ACCESS = 71,
    HLX_K7700_ALARM_TYPE_NET_DISCONNECT = 72,
    HLX_K7700_ALARM_TYPE_NO_DISK = 73,
    HLX_K7700_ALARM_TYPE_SIGNAL_SHELTER = 74,
    HLX_K7700_ALARM_TYPE_HDD_PULL_OUT = 75,
    HLX_K7700_ALARM_TYPE_ALARM_OUT = 81,
    HLX_K7700_ALARM_TYPE_RANGE_END = 255
} HLX_K7700_ALARM_TYPE;

/// How HLX_LoginEx reaches the device.
typedef enum HLX_CONNECT_TYPE {
    HLX_CONNECT_TCP = 0,    // by address and port
    HLX_CONNECT_NAT = 1,    // by serial number, through the traversal servers
    HLX_CONNECT_NAT20 = 2,  // by serial number, through the server given to HLX_SetNat2Addr
    HLX_CONNECT_END = 3     // number of types, not a type
} HLX_CONNECT_TYPE;

/// What a camera's PTZ can do.
typedef enum HLX_CAMERA_TYPE {
    HLX_NOT_SUPPORT_PTZ = 0,
    HLX_DOME_SUPPORT_PTZ = 1,
    HLX_SUPPORT_PTZ = 2,
    HLX_PTZ_END = 3
} HLX_CAMERA_TYPE;

/// HLX_DEVICEINFO::deviceType.
typedef enum HLX_DEVICE_TYPE {
    HLX_DVR = 0,
    HLX_DVS = 1,
    HLX_IPCAMERA = 2,
    HLX_NVR = 3,
    HLX_SUPERDVR = 4,
    HLX_DECODER = 5,
    HLX_N_DVR = 6
} HLX_DEVICE_TYPE;

/// Device family, as HLX_GetDeviceFirmwareType tells it.
typedef enum HLX_DEVICE_FIRMWARE_TYPE {
    HLX_DEVICE_FIRMWARE_V3 = 0,       // classic recorder
    HLX_DEVICE_FIRMWARE_IPC = 1,      // camera
    HLX_DEVICE_FIRMWARE_QOSM_V1 = 2,  // newer recorder
    HLX_DEVICE_FIRMWARE_OTHER = 3
} HLX_DEVICE_FIRMWARE_TYPE;

/// First argument of EXCEPTION_CALLBACK.
typedef enum _hlx_exception_type {
    NETWORK_DISCONNECT = 0,
    NETWORK_RECONNECT = 1,
    NETWORK_CH_DISCONNECT = 2,
    NETWORK_CH_RECONNECT = 3
} HLX_EXCEPTION_TYPE;

/// Why a picture was taken.
typedef enum IMAGE_EVENT_TYPE { IMAGE_TYPE_ALARM = 0, IMAGE_TYPE_MANUAL = 1 } IMAGE_EVENT_TYPE;

/// Order of found pictures, by time.
typedef enum IMAGE_SORT_TYPE { IMAGE_SORT_ASC = 0, IMAGE_SORT_DESC = 1 } IMAGE_SORT_TYPE;

/// Coding of a downloaded picture.
typedef enum IMAGE_MODE { IMAGE_MODE_JPG = 0, IMAGE_MODE_PNG = 1, IMAGE_MODE_BMP = 2 } IMAGE_MODE;

/// Kind of a recorder's channel.
typedef enum __Channel_type__ {
    E_NULL_CHL_TYPE = 0,
    E_DIGITAL_CHL_TYPE = 1,
    E_ANALOG_CHL_TYPE = 2,
    E_ALARMOUT_CHL_TYPE = 3,
    E_SENSOR_CHL_TYPE = 4
} HLX_CHANNEL_TYPE;

/// Data types of BACKUP_DATA_CALLBACK.
typedef enum _hlx_backup_data_type {
    NET_DVR_BACKUP_DATA_TYPE_DVR = 0,  // one frame: a 20-byte head and its payload
    NET_DVR_BACKUP_DATA_TYPE_AVI = 1,
    NET_DVR_BACKUP_DATA_TYPE_NULL = 2  // 4 bytes: an _hlx_backup_status
} HLX_BACKUP_DATA_TYPE;

/// How a download ended.
typedef enum _hlx_backup_status { NET_DVR_BACKUP_STOP = 0, NET_DVR_BACKUP_END = 1 } HLX_BACKUP_STATUS;

/// File format of a backup to the device's USB disk.
typedef enum USB_BACKUP_FORMAT { AVI = 0, PRIVATE = 1 } USB_BACKUP_FORMAT;

/// State of a backup to the device's USB disk.
typedef enum usb_backup_status { ONGOING = 0, COMPLETE = 1 } USB_BACKUP_STATUS;

/// Log levels; a level includes those above it.
typedef enum YLOG_LEVEL {
    YLOG_FATAL = 0,
    YLOG_ERROR = 1,
    YLOG_WARN = 2,
    YLOG_INFO = 3,
    YLOG_DEBUG = 4,
    YLOG_BUFF = 5
} YLOG_LEVEL;

/// HLX_FRAME_INFO::frameType.
typedef enum _dd_frame_type_ {
    DD_FRAME_TYPE_NONE = 0,
    DD_FRAME_TYPE_VIDEO = 1,
    DD_FRAME_TYPE_AUDIO = 2,
    DD_FRAME_TYPE_TALK_AUDIO = 3,
    DD_FRAME_TYPE_JPEG = 4,
    DD_FRAME_TYPE_VIDEO_FORMAT = 5,  // payload is a BITMAPINFOHEADER
    DD_FRAME_TYPE_AUDIO_FORMAT = 6,  // payload is a WAVEFORMATEX
    DD_FRAME_TYPE_TALK_AUDIO_FORMAT = 7,
    DD_FRAME_TYPE_RESV1 = 8,
    DD_FRAME_TYPE_RESV2 = 9,
    DD_FRAME_TYPE_END = 10
} DD_FRAME_TYPE;

/// Flags of HLX_FRAME_INFO::frameAttrib.
typedef enum _dd_frame_attrib_ {
    DD_PLAY_FRAME_NO_SHOW = 0x1,
    DD_PLAY_FRAME_SHOW = 0x2,
    DD_PLAY_FRAME_ALL_END = 0x4,
    DD_PLAY_FRAME_SEC_END = 0x8,
    DD_PLAY_FRAME_NO_TIME_STAMP = 0x10,
    DD_PLAY_FRAME_FF = 0x20,
    DD_LIVE_FRAME_FIRST_STREAM = 0x40,
    DD_LIVE_FRAME_SECOND_STREAM = 0x80,
    DD_LIVE_FRAME_JPEG = 0x100,
    DD_LIVE_FRAME_TALK = 0x200,
    DD_LIVE_FRAME_THIRD_STREAM = 0x400,
    DD_LIVE_FRAME_FOURTH_STREAM = 0x800
} DD_FRAME_ATTRIB;

/// Flags that say why something was recorded.
typedef enum _dd_record_type_ {
    DD_RECORD_TYPE_NONE = 0,
    DD_RECORD_TYPE_MANUAL = 0x1,
    DD_RECORD_TYPE_SCHEDULE = 0x2,
    DD_RECORD_TYPE_MOTION = 0x4,
    DD_RECORD_TYPE_SENSOR = 0x8,
    DD_RECORD_TYPE_BEHAVIOR = 0x10,
    DD_RECORD_TYPE_SHELTER = 0x20,
    DD_RECORD_TYPE_OVERSPEED = 0x40,
    DD_RECORD_TYPE_OVERBOUND = 0x80,
    DD_RECORD_TYPE_OSC = 0x100,
    DD_RECORD_TYPE_AVD = 0x200,
    DD_RECORD_TYPE_TRIPWIRE = 0x400,
    DD_RECORD_TYPE_PERIMETER = 0x800,
    DD_RECORD_TYPE_VFD = 0x1000,
    DD_RECORD_TYPE_POS = 0x2000,
    DD_RECORD_TYPE_PIR = 0x4000,
    DD_RECORD_TYPE_INTELLIGENT = 0x1F00,
#ifdef __cplusplus
    DD_RECORD_TYPE_ALL = 0xFFFFFFFF
} DD_RECORD_TYPE;
#else
} DD_RECORD_TYPE;
#define DD_RECORD_TYPE_ALL 0xFFFFFFFFu  // beyond what an enumerator of C99 may hold
#endif

/// HLX_RECORD_STATUS_EX::dwRecordStatus.
typedef enum _dd_record_status_ {
    DD_RECORD_STATUS_OFF = 0,
    DD_RECORD_STATUS_ON = 1,
    DD_RECORD_STATUS_ABNORMAL = 2
} DD_RECORD_STATUS;

/// Flags of HLX_EVENT::type.
typedef enum _dd_event_type_ {
    DD_EVENT_TYPE_MOTION = 0x1,
    DD_EVENT_TYPE_SENSOR = 0x2,
    DD_EVENT_TYPE_V_LOSS = 0x4,
    DD_EVENT_TYPE_V_COVER = 0x8
} DD_EVENT_TYPE;

/// HLX_DEVICEINFO::videoFormat.
typedef enum _dd_video_format_ { DD_VIDEO_FORMAT_NTSC = 1, DD_VIDEO_FORMAT_PAL = 2 } DD_VIDEO_FORMAT;

/// Picture coding in encoder settings.
typedef enum _dd_video_encode_format_ {
    DD_VIDEO_ENCODE_FORMAT_H264 = 0,
    DD_VIDEO_ENCODE_FORMAT_H265 = 1,
    DD_VIDEO_ENCODE_FORMAT_MJPEG = 2,
    DD_VIDEO_ENCODE_FORMAT_H264PLUS = 3,
    DD_VIDEO_ENCODE_FORMAT_H265PLUS = 4
} DD_VIDEO_ENCODE_FORMAT;

/// HLX_DISK_INFO::diskStatus; values above these come through as the device reports them.
typedef enum HLX_DISK_STATUS {
    HLX_DISK_NORMAL = 0,
    HLX_DISK_NO_FORMAT = 1,
    HLX_DISK_FORMATTING = 2,
    HLX_DISK_EXCEPTION = 3
} HLX_DISK_STATUS;

/// HLX_DISK_INFO::diskProperty.
typedef enum HLX_DISK_PROPERTY {
    HLX_DISK_READ_WRITE = 0,
    HLX_DISK_ONLY_READ = 1,
    HLX_DISK_REDUNDANCY = 2
} HLX_DISK_PROPERTY;

/// Commands of the PTZ functions. A move goes on until PTZ_CMD_STOP.
typedef enum _ptz_com_type {
    PTZ_CMD_STOP = 0,
    PTZ_CMD_LEFT = 1,
    PTZ_CMD_RIGHT = 2,
    PTZ_CMD_UP = 3,
    PTZ_CMD_DOWN = 4,
    PTZ_CMD_LEFT_UP = 5,
    PTZ_CMD_LEFT_DOWN = 6,
    PTZ_CMD_RIGHT_UP = 7,
    PTZ_CMD_RIGHT_DOWN = 8,
    PTZ_CMD_NEAR = 9,
    PTZ_CMD_FAR = 10,
    PTZ_CMD_ZOOM_OUT = 11,
    PTZ_CMD_ZOOM_IN = 12,
    PTZ_CMD_IRIS_OPEN = 13,
    PTZ_CMD_IRIS_CLOSE = 14,
    PTZ_CMD_PRESET_SET = 15,
    PTZ_CMD_PRESET_GO = 16,
    PTZ_CMD_PRESET_DEL = 17,
    PTZ_CMD_CRUISE_SET = 18,
    PTZ_CMD_CRUISE_RUN = 19,
    PTZ_CMD_CRUISE_STOP = 20,
    PTZ_CMD_CRUISE_DEL = 21,
    PTZ_CMD_TRACK_START = 22,  // begins to record a track
    PTZ_CMD_TRACK_STOP = 23,   // ends recording
    PTZ_CMD_TRACK_RUN = 24,    // repeats the recorded track
    PTZ_CMD_TRACK_STOP_RUN = 25,
    PTZ_CMD_TRACK_DEL = 26,
    PTZ_CMD_AUTO_SCAN_START = 27,
    PTZ_CMD_AUTO_SCAN_STOP = 28
} PTZ_COM_TYPE;

// ---------------------------------------------------------------------------------------------------------- records
//
// Packed to 4 bytes: a 64-bit member stands at the next 4-byte boundary, and a record has no tail padding beyond 4.

#pragma pack(push, 4)

/// Local time of the machine that runs the library, with the bases of struct tm: years since 1900, months from 0.
typedef struct _dd_time_ {
    unsigned char second;  // 0 to 59
    unsigned char minute;  // 0 to 59
    unsigned char hour;    // 0 to 23
    unsigned char wday;    // 0 to 6 from Sunday; left as it was by HLX_FormatTime
    unsigned char mday;    // 1 to 31
    unsigned char month;   // 0 to 11
    unsigned short year;   // years since 1900
    int nTotalseconds;     // seconds since 1970, when the producer fills it
    int nMicrosecond;      // within the second
} DD_TIME;

/// As DD_TIME.
typedef struct _dd_time_ex_ {
    unsigned char second;
    unsigned char minute;
    unsigned char hour;
    unsigned char wday;
    unsigned char mday;
    unsigned char month;
    unsigned short year;
    int nTotalseconds;
    int nMicrosecond;
} DD_TIME_EX;

/// A date; month and year as in DD_TIME.
typedef struct _dd_date_ {
    unsigned char mday;
    unsigned char month;
    unsigned short year;
} DD_DATE;

/// Calendar time in human numbers: full year, month from 1.
typedef struct _zeq_local_time_ {
    short year;
    short month;
    short mday;
    short hour;
    short minute;
    short second;
    int microsecond;
} ZEQ_LOCAL_TIME;

/// A moment: seconds since 1970 and microseconds within the second. Meant for the years 2001 to 2036.
typedef struct _zeq_date_time_ {
    int seconds;
    int microsecond;

#ifdef __cplusplus
    /// From local broken-down time; whether daylight saving holds is worked out, and the microseconds become 0.
    _zeq_date_time_& operator=(const tm& time) {
        tm local = time;
        local.tm_isdst = -1;
        seconds = static_cast<int>(mktime(&local));
        microsecond = 0;
        return *this;
    }
    _zeq_date_time_& operator=(const timeval& time) {
        seconds = static_cast<int>(time.tv_sec);
        microsecond = static_cast<int>(time.tv_usec);
        return *this;
    }
    _zeq_date_time_& operator=(const ZEQ_LOCAL_TIME& time) {
        tm local = tm();
        local.tm_year = time.year - 1900;
        local.tm_mon = time.month - 1;
        local.tm_mday = time.mday;
        local.tm_hour = time.hour;
        local.tm_min = time.minute;
        local.tm_sec = time.second;
        *this = local;
        microsecond = time.microsecond;
        return *this;
    }

    /// Local broken-down time.
    tm TM() const {
        const time_t whole = seconds;
        tm local = tm();
        localtime_r(&whole, &local);
        return local;
    }
    timeval TimeVal() const {
        timeval time = timeval();
        time.tv_sec = seconds;
        time.tv_usec = microsecond;
        return time;
    }
    ZEQ_LOCAL_TIME LocalTime() const {
        const tm local = TM();
        ZEQ_LOCAL_TIME time;
        time.year = static_cast<short>(local.tm_year + 1900);
        time.month = static_cast<short>(local.tm_mon + 1);
        time.mday = static_cast<short>(local.tm_mday);
        time.hour = static_cast<short>(local.tm_hour);
        time.minute = static_cast<short>(local.tm_min);
        time.second = static_cast<short>(local.tm_sec);
        time.microsecond = microsecond;
        return time;
    }

    /// Moves by a signed count of microseconds.
    _zeq_date_time_& operator+=(LONGLONG microseconds) {
        return Move(microseconds / 1000000, static_cast<int>(microseconds % 1000000));
    }
    _zeq_date_time_& operator-=(LONGLONG microseconds) {
        return Move(-(microseconds / 1000000), -static_cast<int>(microseconds % 1000000));
    }

    /// This time less the other, in microseconds; operator- is the same cut to 32 bits.
    LONGLONG Dec(const _zeq_date_time_& other) const {
        return (static_cast<LONGLONG>(seconds) - other.seconds) * 1000000 + microsecond - other.microsecond;
    }
    int operator-(const _zeq_date_time_& other) const { return static_cast<int>(Dec(other)); }

    bool operator==(const _zeq_date_time_& other) const {
        return seconds == other.seconds && microsecond == other.microsecond;
    }
    bool operator!=(const _zeq_date_time_& other) const { return !(*this == other); }
    bool operator<(const _zeq_date_time_& other) const {
        return seconds != other.seconds ? seconds < other.seconds : microsecond < other.microsecond;
    }
    bool operator>(const _zeq_date_time_& other) const { return other < *this; }
    bool operator<=(const _zeq_date_time_& other) const { return !(other < *this); }
    bool operator>=(const _zeq_date_time_& other) const { return !(*this < other); }

    /// Moves by whole seconds and less than a second of the same sign, keeping the microseconds from 0 to 999,999.
    _zeq_date_time_& Move(LONGLONG wholeSeconds, int microseconds) {
        microsecond += microseconds;
        if (microsecond > 999999) {
            microsecond -= 1000000;
            ++wholeSeconds;
        } else if (microsecond < 0) {
            microsecond += 1000000;
            --wholeSeconds;
        }
        seconds = static_cast<int>(seconds + wholeSeconds);
        return *this;
    }
#endif
} ZEQ_DATE_TIME;

/// Comes with every frame of a data callback.
typedef struct _hlx_frame_info {
    unsigned int deviceID;  // user id of the session
    unsigned int channel;
    unsigned int frameType;    // DD_FRAME_TYPE_*
    unsigned int length;       // bytes of payload
    unsigned int keyFrame;     // not 0 for a key frame
    unsigned int width;        // pixels, video only
    unsigned int height;       // pixels, video only
    unsigned int frameIndex;   // running index in its stream
    unsigned int frameAttrib;  // DD_PLAY_FRAME_* and DD_LIVE_FRAME_*
    unsigned int streamID;     // see HLX_STREAM_ID
    LONGLONG time;             // absolute, microseconds since 1970
    LONGLONG relativeTime;     // by the encoder's clock, microseconds
} HLX_FRAME_INFO;

/// Stands ahead of each frame of the library's own file format, and of each frame that BACKUP_DATA_CALLBACK gets. Such
/// a file is nothing but heads, each followed by its nLength bytes, from its first byte to its last; format frames and
/// the end frame are stored like any other. Little-endian.
typedef struct _sdk_frame_info {
    unsigned int nLength;      // bytes of payload, those that pad it to a multiple of 4 included
    unsigned short frameType;  // DD_FRAME_TYPE_*
    unsigned short keyFrame;   // not 0 for a key frame
    unsigned short nWidth;     // pixels, video only
    unsigned short nHeight;    // pixels, video only
    LONGLONG nStamp;           // time of the frame, microseconds since 1970
} SDK_FRAME_INFO;

/// A decoded picture, as YUV_DATA_CALLBACK names it.
typedef struct decode_frameInfo {
    int nWidth;
    int nHeight;
    unsigned int time;
    unsigned int dwLen;
    unsigned char* pData;
} DECODE_FRAME_INFO;

/// What HLX_LivePlay is asked for.
typedef struct _hlx_clientinfo {
    LONG lChannel;
    LONG streamType;  // HLX_STREAM_TYPE
    HWND hPlayWnd;    // handed through
    int bNoDecode;    // not 0: frames come undecoded, which they always do here
} HLX_CLIENTINFO, *LPHLX_CLIENTINFO;

/// What a device says of itself at login. Misspelt members are the interface's.
typedef struct _hlx_deviceinfo {
    unsigned char localVideoInputNum;
    unsigned char audioInputNum;
    unsigned char sensorInputNum;
    unsigned char sensorOutputNum;
    unsigned int displayResolutionMask;  // as the device reports it
    unsigned char videoOuputNum;
    unsigned char netVideoOutputNum;
    unsigned char netVideoInputNum;
    unsigned char IVSNum;              // channels with intelligent analysis
    unsigned char presetNumOneCH;      // PTZ presets a channel
    unsigned char cruiseNumOneCH;      // PTZ cruises a channel
    unsigned char presetNumOneCruise;  // presets a cruise
    unsigned char trackNumOneCH;       // PTZ tracks a channel
    unsigned char userNum;
    unsigned char netClientNum;
    unsigned char netFirstStreamNum;
    unsigned char deviceType;    // HLX_DEVICE_TYPE
    unsigned char doblueStream;  // not 0: has a second stream
    unsigned char audioStream;
    unsigned char talkAudio;
    unsigned char bPasswordCheck;
    unsigned char defBrightness;
    unsigned char defContrast;
    unsigned char defSaturation;
    unsigned char defHue;
    unsigned short videoInputNum;  // all video inputs
    unsigned short deviceID;
    unsigned int videoFormat;  // DD_VIDEO_FORMAT_*
    unsigned int function[8];  // bit masks, as the device reports them
    unsigned int deviceIP;     // IPv4, network order
    unsigned char deviceMAC[6];
    unsigned short devicePort;
    unsigned int buildDate;
    unsigned int buildTime;
    char deviceName[36];
    char firmwareVersion[36];
    char kernelVersion[64];
    char hardwareVersion[36];
    char MCUVersion[36];
    char firmwareVersionEx[64];
    unsigned int softwareVer;
    char szSN[32];
    char deviceProduct[28];
} HLX_DEVICEINFO, *LPHLX_DEVICEINFO;

/// Optional functions of a device.
typedef struct _hlx_dev_support_ {
    unsigned int supportThermometry : 1;
    unsigned int supportVfd : 1;
    unsigned int supportVfdMatch : 1;
    unsigned int supportThermal : 1;
    unsigned int supportPassLine : 1;
    unsigned int supportresv : 27;
    unsigned int resv[15];
} HLX_DEV_SUPPORT;

/// One recording file, as HLX_FindNextFile gives it and the file functions take it back.
typedef struct _hlx_rec_file {
    DWORD dwChannel;
    DWORD bFileLocked;  // not 0: locked on the device
    DD_TIME startTime;
    DD_TIME stopTime;
    DWORD dwRecType;    // DD_RECORD_TYPE_*
    DWORD dwPartition;  // disk or partition that holds the file
    DWORD dwFileIndex;  // index on that disk
} HLX_REC_FILE;

/// One span of recording.
typedef struct _hlx_rec_time {
    DWORD dwChannel;
    DD_TIME startTime;
    DD_TIME stopTime;
} HLX_REC_TIME;

/// One recorded event.
typedef struct _hlx_rec_event {
    DWORD dwChannel;
    DD_TIME startTime;
    DD_TIME stopTime;
    DWORD dwRecType;  // DD_RECORD_TYPE_*
} HLX_REC_EVENT;

/// One entry of a device's log.
typedef struct _hlx_log {
    DD_TIME strLogTime;
    DWORD dwMajorType;
    DWORD dwMinorType;
    char sNetUser[36];
    DWORD dwRemoteHostAddr;  // IPv4, network order
    char sContent[512];
} HLX_LOG, *LPHLX_LOG;

/// One event of a device's event list.
typedef struct _hlx_event {
    unsigned short chnn;  // channel
    unsigned short type;  // DD_EVENT_TYPE_*
    DD_TIME startTime;
    DD_TIME endTime;
} HLX_EVENT, *LPHLX_EVENT;

/// One disk of a device.
typedef struct _hlx_disk_info {
    LONG diskIndex;      // place in the device's table, from 0
    short diskStatus;    // HLX_DISK_STATUS
    short diskProperty;  // HLX_DISK_PROPERTY
    DWORD diskTotalSpace;
    DWORD diskFreeSpace;
} HLX_DISK_INFO;

/// Payload of HLX_ALARM.
typedef struct _hlx_alarminfo {
    DWORD dwAlarmType;  // HLX_ALARM_TYPE or HLX_K7700_ALARM_TYPE, by family
    DWORD dwSensorIn;
    DWORD dwChannel;
    DWORD dwDisk;
} HLX_ALARMINFO;

/// Payload of HLX_ALARM in the extended callback.
typedef struct _hlx_alarminfo_ex {
    DWORD dwAlarmType;
    DWORD dwSensorIn;
    DWORD dwChannel;
    DWORD dwDisk;
    char sensorName[36];
    char alarmTime[20];  // local time as text
    char resv[128];
} HLX_ALARMINFO_EX;

/// Payload of HLX_RECORD.
typedef struct _hlx_record_status {
    DWORD dwRecordType;  // DD_RECORD_TYPE_*
    DWORD dwChannel;
} HLX_RECORD_STATUS;

/// Payload of HLX_RECORD in the extended callback.
typedef struct _hlx_record_status_ex {
    DWORD dwRecordType;
    DWORD dwChannel;
    DWORD dwRecordStatus;  // DD_RECORD_STATUS_*
} HLX_RECORD_STATUS_EX;

/// Head of the device's bytes that come with HLX_IVM_RULE.
typedef struct _hlx_IVM_rule_status {
    DWORD dwIVMType;
    DWORD dwIVMSize;
} HLX_IVM_RULE_STATUS;

typedef struct _hlx_IVM_status_info {
    DWORD dwAlarmType;
    DWORD dwChannel;
} HLX_IVM_STATUS_INFO;

/// Wish for a captured picture.
typedef struct _hlx_jpegpara {
    WORD wPicSize;
    WORD wPicQuality;
} HLX_JPEGPARA, *LPHLX_JPEGPARA;

/// One picture value of a camera with its range.
typedef struct _hlx_image_effect_t {
    unsigned int minValue;
    unsigned int maxValue;
    unsigned int curValue;
    unsigned int defaultValue;
} HLX_IMAGE_EFFECT_T;

/// One stored picture.
typedef struct _hlx_image_ {
    DWORD dwChannel;
    DWORD dwImageType;  // IMAGE_EVENT_TYPE
    DD_TIME_EX captureTime;
    DWORD totalNum;  // pictures that the whole search found
    unsigned char resv[8];
} HLX_IMAGE;

/// What HLX_SearchPictures looks for. The spelling is the interface's.
typedef struct _hlx_image_sreach {
    DWORD dwChannel;
    DD_TIME_EX StartTime;
    DD_TIME_EX StopTime;
    DWORD pageIndex;
    DWORD pageSize;
    unsigned int sort;  // IMAGE_SORT_TYPE
    unsigned char resv[8];
} HLX_IMAGE_SREACH;

/// Size and coding of a downloaded picture.
typedef struct _hlx_image_info {
    unsigned int imageSize;
    unsigned int imageMode;  // IMAGE_MODE
    unsigned char resv[8];
} HLX_IMAGE_INFO;

/// One channel that supports PTZ.
typedef struct _hlx_channel_ptz {
    unsigned int dwChannel;
    unsigned int eChanneltype;  // __Channel_type__
    unsigned char resv[8];
} HLX_CHANNEL_PTZ;

/// State of one channel of a recorder.
typedef struct _hlx_ch_device_status_ {
    unsigned short channel;
    unsigned short status;
    unsigned int chlType;  // __Channel_type__
    char name[132];
    unsigned char resv[32];
} HLX_CH_DEVICE_STATUS;

/// Optional functions of one channel.
typedef struct _hlx_ch_device_support_ {
    unsigned short channel;
    unsigned char supportFisheye;
    unsigned char resv[33];
} HLX_CH_DEVICE_SUPPORT;

/// One camera that a recorder is connected to.
typedef struct _hlx_ipc_device_info_ {
    unsigned int deviceID;
    unsigned short channel;
    unsigned short status;
    char szEtherName[16];
    char szServer[64];
    unsigned short nPort;
    unsigned short nHttpPort;
    unsigned short nCtrlPort;
    char szID[64];
    char username[36];
    unsigned int manufacturerId;
    char manufacturerName[36];
    char productModel[36];
    unsigned char bUseDefaultCfg;
    unsigned char bPOEDevice;
    unsigned char resv[2];
    char szChlname[36];
} HLX_IPC_DEVICE_INFO;

/// One backup to the device's USB disk.
typedef struct _usb_backup_process_ex {
    DD_TIME_EX startTime;
    DD_TIME_EX endTime;
    unsigned int dataSize;
    char backupPath[64];
    char creator[36];
    unsigned int progress;          // percent
    unsigned int backupFileFormat;  // USB_BACKUP_FORMAT
    unsigned int status;            // usb_backup_status
    unsigned int eventType;
    unsigned char chls[64];
    unsigned int chlNum;
} HLX_USB_BACKUP_PROCESS_EX;

/// A device that may call in, and how to log in to it then.
typedef struct _reg_login_info {
    unsigned int deviceId;
    char m_szUserName[36];
    char m_szPasswd[36];
} REG_LOGIN_INFO;

/// A device found on the local network.
typedef struct _hlx_device_discovery_info {
    unsigned int deviceType;
    char productType[16];
    char strIP[16];
    char strNetMask[16];
    char strGateWay[16];
    unsigned char byMac[8];
    unsigned short netPort;
    unsigned short httpPort;
    unsigned int softVer;
    unsigned int softBuildDate;
    unsigned char ucIPMode;
    char dwSecondIP[16];
    char dwSecondMask[16];
} HLX_DEVICE_DISCOVERY_INFO;

/// New address settings of a device, picked by its MAC address.
typedef struct _hlx_device_ip_info_ {
    char szMac[36];  // "%02X:%02X:%02X:%02X:%02X:%02X"
    char szIpAddr[64];
    char szMark[36];  // subnet mask
    char szGateway[36];
    char szPassword[64];
    char szDdns1[36];
    char szDdns2[36];
    char ucIPMode;
} HLX_DEVICE_IP_INFO;

/// A zoom onto a part of the picture.
typedef struct _ptz_3d_point_info {
    int dx;      // from the picture's middle to the wanted one, positive to the right, in the device's unit
    int dy;      // the same, positive downwards
    short zoom;  // steps, negative to zoom out
    short resv;
} PTZ_3D_POINT_INFO;

/// One station of a cruise.
typedef struct _dd_cruise_point_info_ {
    DWORD dwPointIndex;  // place in the cruise, from 0
    DWORD dwPresetIdx;   // preset to go to
    DWORD dwDwellSpeed;
    DWORD dwDwellTime;  // seconds
} DD_CRUISE_POINT_INFO;

/// A camera's answer to a subscription.
typedef struct _net_dvr_subscribe_reply {
    char serverAddress[256];  // hand this to HLX_UnSmartSubscrib
    DWORD currentTime;        // seconds since 1970, by the device
    DWORD terminationTime;    // seconds since 1970, when the subscription ends
} NET_DVR_SUBSCRIBE_REPLY;

#pragma pack(pop)

// The two format records that format frames carry. An application with definitions of its own defines
// HLX_NO_MEDIA_FORMATS before it includes this header.
#ifndef HLX_NO_MEDIA_FORMATS
#pragma pack(push, 1)
typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;  // 40 when valid
    int biWidth;
    int biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;  // coding as four letters
    DWORD biSizeImage;
    int biXPelsPerMeter;
    int biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER;

typedef struct tWAVEFORMATEX {
    WORD wFormatTag;  // 1 PCM, 6 A-law, 7 u-law, 17 ADPCM, 100 G.726
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
} WAVEFORMATEX;
#pragma pack(pop)
#endif

// -------------------------------------------------------------------------------------------------------- callbacks
//
// All run on threads of the library. Data is valid during the call only. The last argument is what the application gave
// when it registered the callback. HLX_Cleanup is refused inside every callback with HLX_OPER_NOPERMIT (16).

/// Something happened to a session: an _hlx_exception_type, the user id, and the channel for the channel types (else
/// 0). NETWORK_DISCONNECT comes on the check-connect thread, NETWORK_RECONNECT on the reconnect thread.
typedef void (*EXCEPTION_CALLBACK)(DWORD dwType, LONG lUserID, LONG lHandle, void* pUser);

/// Registered only; the library draws nothing.
typedef void (*DRAW_FUN_CALLBACK)(POINTERHANDLE lHandle, HDC hDC, void* pUser);

/// One live frame, on the stream's own thread. Format frames (types 5 and 6) come before the first frame that needs
/// them, that of the video (5) again when it changes, and both again to a callback that takes another's place. The
/// payload of all but the format frames is padded to a multiple of 4 bytes with zero bytes. HLX_LivePlay,
/// HLX_LivePlayEx, HLX_StopLivePlay, HLX_CaptureJPEGPicture, HLX_CapturePicture_Other, HLX_GetDeviceTime, HLX_Logout
/// and HLX_Cleanup are refused in it with HLX_OPER_NOPERMIT (16).
typedef void (*LIVE_DATA_CALLBACK)(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser);

/// Registered only; the library does not decode.
typedef void (*YUV_DATA_CALLBACK)(POINTERHANDLE lLiveHandle, DECODE_FRAME_INFO frameInfo, void* pUser);

/// One live frame as one block: an HLX_FRAME_INFO and its payload behind it. dataType is the frame's DD_FRAME_TYPE_*,
/// length counts both. Thread and refusals as LIVE_DATA_CALLBACK.
typedef void (*LIVE_DATA_CALLBACK_EX)(POINTERHANDLE lLiveHandle, UINT dataType, BYTE* pBuffer, UINT length,
                                      void* pUser);

/// Device status, on the message thread: an HLX_DEVICE_MSG_TYPE, the user id, and an array of HLX_ALARMINFO or
/// HLX_RECORD_STATUS (or the device's bytes for HLX_IVM_RULE) of dwBufLen bytes. The result is ignored.
/// HLX_CloseAlarmChan in it returns at once and makes this callback the session's last, and so does HLX_Logout of the
/// session. A C++ exception that leaves it is caught and logged.
typedef BOOL (*NET_MESSAGE_CALLBACK)(LONG lCommand, LONG lUserID, char* pBuf, DWORD dwBufLen, void* pUser);

/// As NET_MESSAGE_CALLBACK with HLX_ALARMINFO_EX and HLX_RECORD_STATUS_EX.
typedef BOOL (*NET_MESSAGE_CALLBACK_EX)(LONG lCommand, LONG lUserID, char* pBuf, DWORD dwBufLen, void* pUser);

/// One frame of a playback, on the playback thread that all playbacks share.
typedef void (*PLAY_DATA_CALLBACK)(POINTERHANDLE lPlayHandle, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser);

/// Talk sound. dataFlag is 0 for data on its way to the device and 1 for data that came from it.
typedef void (*TALK_DATA_CALLBACK)(POINTERHANDLE lVoiceComHandle, char* pBuffer, DWORD dwBufSize, BYTE dataFlag,
                                   void* pUser);

/// A known device called in and is logged in as lUserID, on the listener's thread: the next caller waits for the
/// return. A break of the session is told by NETWORK_DISCONNECT, after this callback. From then on the id is unknown to
/// requests, and the library does not open the session again: the device calls in again under a new id. HLX_Logout
/// frees what the application still has open on the old one.
typedef void (*ACCEPT_REGISTER_CALLBACK)(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser);

/// An unknown device called in and is turned away; lUserID is that of no session. It comes with the user value given to
/// HLX_SetRegisterCallback. Thread as ACCEPT_REGISTER_CALLBACK.
typedef void (*ACCEPT_UNREGISTER_CALLBACK)(LONG lUserID, LONG lRegisterID, LPHLX_DEVICEINFO pDeviceInfo, void* pUser);

/// Downloaded data; dataType is an _hlx_backup_data_type. NET_DVR_BACKUP_DATA_TYPE_DVR brings a frame: an SDK_FRAME_INFO
/// and its payload behind it, `length` counts both; format frames come too, ahead of what they describe, and the end
/// frame comes last. NET_DVR_BACKUP_DATA_TYPE_NULL brings a 32-bit _hlx_backup_status: NET_DVR_BACKUP_END ahead of the
/// end frame, NET_DVR_BACKUP_STOP when the download is stopped, also behind an end; nothing comes behind that. On the
/// download thread, which takes no frame meanwhile; NET_DVR_BACKUP_STOP on the thread that stops. Other download
/// functions wait for it. Refused in it with HLX_OPER_NOPERMIT (16): the download functions, those that start, stop or
/// steer a playback, HLX_LivePlay, HLX_LivePlayEx, HLX_StopLivePlay, HLX_GetDeviceTime, HLX_Logout and HLX_Cleanup.
typedef void (*BACKUP_DATA_CALLBACK)(POINTERHANDLE lFileHandle, UINT dataType, BYTE* pBuffer, UINT length, void* pUser);

/// A message of a subscription, on the subscription thread.
typedef void (*SUBSCRIBE_CALLBACK)(LONG lUserID, DWORD dwCommand, char* pBuf, DWORD dwBufLen, void* pUser);

#ifdef __cplusplus
extern "C" {
#endif

// ------------------------------------------------------------------------------------------------- start, stop, facts

/// Starts the library. A second call is harmless: one HLX_Cleanup ends the session however often this was called.
/// On failure nothing is left running and the call may be tried again.
/// Errors: HLX_PROGRAM_EXCEPTION (78) a thread or what it waits on could not be had, HLX_ALLOC_RESOURCE_ERROR (44) no
/// memory; others as the failing part left them. HLX_GetErrorMsg reads the number, for HLX_GetLastError says HLX_NOINIT
/// without a session. HLX_TRACE in the environment names a file to which all that goes over the links is written from
/// here to HLX_Cleanup, without passwords, keys and nonces; hlx-simulator replay plays it. A slow disk then slows the
/// links.
HLX_API BOOL HLX_Init(void);

/// Ends the library: stops streams, logs out, joins all threads. The result is 1, also when nothing was started; the
/// last error is then HLX_NOINIT (3). From inside any callback it does nothing and returns 0 with HLX_OPER_NOPERMIT
/// (16). Blocks until all threads have ended: for callbacks in progress, for a name that a reconnect is just looking
/// up, as long as the system takes for that, and up to about 2 s of the library's own.
HLX_API BOOL HLX_Cleanup(void);

/// 0x00010002: version 1.2. 0 without HLX_Init. Keeps the last error. Local.
HLX_API DWORD HLX_GetSDKVersion(void);

/// Date of the build as (year - 2017) * 10000 + month * 100 + day. 0 without HLX_Init. Keeps the last error. Local.
HLX_API DWORD HLX_GetSDKBuildVersion(void);

/// The last error, an HLX_ERROR; HLX_NOINIT without HLX_Init, 0 if there was none. Local.
HLX_API DWORD HLX_GetLastError(void);

/// Writes the last error to `*pErrorNo` (may be null), if an error was ever stored. The result is always null: there
/// are no texts. Needs no HLX_Init. Local.
HLX_API char* HLX_GetErrorMsg(LONG* pErrorNo);

/// Switches the log on or off, to files and, always with them, to the console: every line stands on standard error
/// too, among the program's own output there; lines for which it has no room at the moment are dropped. It is off
/// after HLX_Init and from HLX_Cleanup on, and for good in a forked child. `strLogDir`: directory of the files, made
/// if it is missing, a relative one in the working directory of now; null, empty or with an absolute path above 255
/// bytes leaves the directory as it was, at first the program's own. It may also name the current file itself: a path
/// that ends in ".log" and is no directory; its name without ".log" is then up to 63 bytes. `bAutoDel` has no effect.
/// `logLevel`: the highest YLOG_LEVEL that is written, held inside their range: YLOG_ERROR what failed, YLOG_WARN
/// breaks, refusals and losses too, YLOG_INFO each login, logout, return and stream too, YLOG_DEBUG and YLOG_BUFF
/// details for whoever looks for a fault. The files are named after the program, "<name>.log" the current one,
/// "<name>.log.1" and up full ones, the higher the newer, at most 100 of at most 2147483646 bytes; other processes may
/// write to them too. A thread of the log writes, so callers do not wait; lines that cannot be written are dropped and
/// counted in the log. Passwords, keys and nonces are never written. The result is 1. Switching off, and changing the
/// directory, waits for what is not written yet. Local.
HLX_API BOOL HLX_SetLogToFile(BOOL bLogEnable, const char* strLogDir, BOOL bAutoDel, int logLevel);

/// Breaks `intTime` (microseconds since 1970) down to local time: second, minute, hour, mday, month and year of
/// `*lpTime`; the other members stay. A null `lpTime` gives 0. Needs no HLX_Init and keeps the last error. Local.
HLX_API BOOL HLX_FormatTime(LONGLONG intTime, DD_TIME* lpTime);

// -------------------------------------------------------------------------------------------------- login and session

/// Logs in over TCP. `sDVRIP`: IPv4 or IPv6 text (brackets allowed) or a name, below 64 chars; user name and password
/// below 36 chars; `lpDeviceInfo` (may be null) is filled. Result: the user id, 1 to 2097144, or -1 (also without
/// HLX_Init). Errors: HLX_NETWORK_FAIL_CONNECT (8), HLX_VERSION_NOMATCH (7) unknown family, HLX_PASSWORD_ERROR (1) and
/// the other refusals of the device, HLX_NETWORK_RECV_TIMEOUT (12), HLX_NETWORK_NOT_CONNECT (9) the link broke
/// meanwhile, HLX_NETWORK_ERRORDATA (13) an answer that makes no sense, HLX_PARAMETER_ERROR (20) a text that is null or
/// too long, HLX_ALLOC_RESOURCE_ERROR (44). Blocks for the look-up of a name, for one wait of HLX_SetConnectTime for
/// each address of it that does not answer, for that wait times the tries for the connection, for one more for the
/// device's first block, and then for up to 10 s each for the login and for one request that belongs to it.
HLX_API LONG HLX_Login(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
                       LPHLX_DEVICEINFO lpDeviceInfo);

/// As HLX_Login by a way of `lConnectType` (HLX_CONNECT_TYPE); the ways through NAT take the serial number `sDevSN`,
/// below 64 chars, and the server's address in `sDVRIP`. Errors also: HLX_PARAMETER_ERROR (20) connect type out of
/// range, HLX_DEVICE_OFFLINE (90). NAT ways block for up to a minute.
HLX_API LONG HLX_LoginEx(const char* sDVRIP, WORD wDVRPort, const char* sUserName, const char* sPassword,
                         LPHLX_DEVICEINFO lpDeviceInfo, LONG lConnectType, const char* sDevSN);

/// Ends a session with all its streams; 1 also when the session was gone and only its streams were left. An id below 1
/// fails without a number. From inside a frame callback, live, of a playback or a download: HLX_OPER_NOPERMIT (16). An
/// exception callback for the session that is in progress on another thread may end after the return. Blocks until the
/// session's threads have ended: for frame callbacks in progress, and, while the session has live streams, for a request
/// to a device that is under way in another thread.
HLX_API BOOL HLX_Logout(LONG lUserID);

/// How long (`dwWaitTime`, ms, default 5000) and how often (`dwTryTimes`, default 1) a connection is tried; both at
/// least 1. Does not reset the last error. Local.
HLX_API BOOL HLX_SetConnectTime(DWORD dwWaitTime, DWORD dwTryTimes);

/// Whether broken sessions are opened again (default 1), 16 at a time, and every how many ms that is tried
/// (`dwInterval`, default 3000, at least 100). The streams of a session that is back run again about a second later.
/// Local.
HLX_API BOOL HLX_SetReconnect(DWORD dwInterval, BOOL bEnableRecon);

/// Sets the callback for breaks and returns of sessions, those that carry further viewers of a channel among them; null
/// takes it off, as HLX_Cleanup does. It comes on a thread of the library with no lock held, and may call anything but
/// HLX_Cleanup. A session broken by its link is told with NETWORK_DISCONNECT once, and once with NETWORK_RECONNECT when
/// it is logged in again; a device that called in is not opened again (ACCEPT_REGISTER_CALLBACK). A callback in
/// progress on another thread may end after the return, with the user value that it was called with. `nMessage` and
/// `hWnd` are stored only. Local.
HLX_API BOOL HLX_SetSDKMessageCallBack(UINT nMessage, HWND hWnd, EXCEPTION_CALLBACK fExceptionCallBack, void* pUser);

/// Starts the client of the second NAT way with its server. Only the first call has an effect. Local.
HLX_API BOOL HLX_SetNat2Addr(const char* sServerAddr, WORD wDVRPort);

/// Product sub-id of the device at an address, without a login; -1 on failure. HLX_Init must have been called. Keeps
/// the last error unless it fails. Errors: HLX_NETWORK_FAIL_CONNECT (8), HLX_NETWORK_ERRORDATA (13) no valid first
/// block, HLX_PARAMETER_ERROR (20) the address is null or too long. Blocks as HLX_Login up to the device's first block.
HLX_API LONG HLX_GetProductSubID(const char* sDVRIP, WORD wDVRPort);

// ------------------------------------------------------------------------------------------------------ auto-register

/// Listens on `wRegisterPort` for devices that call in; 0 stops listening. The `deviceNum` records of `pLoginInfo` (may
/// be null) are added to the known devices. The result is 1 also when the port cannot be had, which is then forgotten.
/// A caller has the wait of HLX_SetConnectTime to send its first block; those that have are logged in one after the
/// other. Of those that have not, 64 may wait at a time. Blocks for a callback below that is in progress on the port
/// that was set before, and while the new port is in use, up to two minutes, or until another thread sets another one.
/// May be called from the two callbacks below. HLX_Cleanup closes the port and forgets the known devices and the
/// callbacks, but the next HLX_Init listens on the same port again.
HLX_API BOOL HLX_SetRegisterPort(WORD wRegisterPort, const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);

/// Adds known devices. Errors: HLX_PARAMETER_ERROR (20) null or none. Local.
HLX_API BOOL HLX_AddRegisterDeviceInfo(const REG_LOGIN_INFO* pLoginInfo, DWORD deviceNum);

/// Sets the callback for known devices that called in; null takes it off, as HLX_Cleanup does. One in progress may end
/// after the return. Local.
HLX_API BOOL HLX_SetRegisterCallback(ACCEPT_REGISTER_CALLBACK fRegisterCallBack, void* pUser);

/// Sets the callback for unknown devices that called in, as HLX_SetRegisterCallback; it is called with the `pUser` of
/// that. Local.
HLX_API BOOL HLX_SetUnRegisterCallback(ACCEPT_UNREGISTER_CALLBACK fUnRegisterCallBack, void* pUser);

// ------------------------------------------------------------------------------------------------------- device facts

/// Copies what the device told at login, with the session's port. Local.
HLX_API BOOL HLX_GetDeviceInfo(LONG lUserID, LPHLX_DEVICEINFO lpDeviceInfo);

/// Family of the device, an HLX_DEVICE_FIRMWARE_TYPE; HLX_DEVICE_FIRMWARE_OTHER with HLX_PARAMETER_ERROR (20) for an
/// unknown user id; 0 without HLX_Init. Does not reset the last error. Local.
HLX_API LONG HLX_GetDeviceFirmwareType(LONG lUserID);

/// Writes the product text, at most `lLen` bytes with its zero byte, to `sTypeName`. Result: its length, 0 on failure.
/// Request.
HLX_API LONG HLX_GetDeviceTypeName(LONG lUserID, char* sTypeName, LONG lLen);

/// Cameras that a recorder is connected to: up to `lMaxNum` records to `pIPCInfo`, their number to `*pIPCNum`. Errors
/// also: HLX_OPER_BY_OTHER (15) while somebody configures them. Request.
HLX_API BOOL HLX_GetDeviceIPCInfo(LONG lUserID, HLX_IPC_DEVICE_INFO* pIPCInfo, LONG lMaxNum, LONG* pIPCNum);

/// States of a recorder's channels: up to `lMaxNum` records to `pStatus`, their number to `*pNum`. Request.
HLX_API BOOL HLX_GetDeviceCHStatus(LONG lUserID, HLX_CH_DEVICE_STATUS* pStatus, LONG lMaxNum, LONG* pNum);

/// Optional functions of the channels: up to `lMaxNum` records to `pSupport`, their number to `*pNum`. Request.
HLX_API BOOL HLX_GetDeviceCHSupportFunction(LONG lUserID, HLX_CH_DEVICE_SUPPORT* pSupport, LONG lMaxNum, LONG* pNum);

/// Optional functions of a camera. Request.
HLX_API BOOL HLX_GetDeviceSupportFunction(LONG lUserID, HLX_DEV_SUPPORT* pSupport);

/// Number of streams of a channel, 0 on failure. Does not reset the last error. Local.
HLX_API DWORD HLX_SupportStreamNum(LONG lUserID, LONG lChannel);

/// Writes the RTSP address of a channel to `sRtspUrl`, which holds 256 bytes. `lStreamType`: 0 main, else sub. The
/// result is 1 also for an unknown user id, with an empty address. Local.
HLX_API BOOL HLX_GetRtspUrl(LONG lUserID, LONG lChannel, LONG lStreamType, char* sRtspUrl);

/// Digest of `inLen` bytes with the session's secret: text to `pOut` of `outLen` bytes, its length to `*pOutLen`.
/// Result: 0 or above done, -1 failed; 0 with HLX_NOINIT (3) without HLX_Init. Local.
HLX_API int HLX_GetSha1Encrypt(LONG lUserID, const void* pIn, int inLen, void* pOut, int outLen, int* pOutLen);

/// Has a vehicle camera read its vehicle settings again. Request.
HLX_API BOOL HLX_GetVehicleConfig(LONG lUserID);

// --------------------------------------------------------------------------------------------------------------- live

/// Opens a live stream; frames go to `fLiveDataCallBack` (may be null and set later) on a thread of the stream's own. A
/// second stream of a channel already open opens a further session of its own. Result: the live handle; -1 on failure,
/// 0 without HLX_Init. Errors: HLX_MAX_PLAYERPORT (61) more than 11 streams of the channel, HLX_NETWORK_FAIL_CONNECT
/// (8), HLX_NORESOURCE (100), HLX_DVR_NORESOURCE (31), HLX_CHANNEL_ERROR (4), HLX_CHANNEL_OFFLINE (98),
/// HLX_NETWORK_NOT_CONNECT (9), HLX_OPER_NOPERMIT (16) from inside a frame callback, live, of a playback or a download.
/// Request; starts and stops run one at a time.
HLX_API POINTERHANDLE HLX_LivePlay(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo,
                                   LIVE_DATA_CALLBACK fLiveDataCallBack, void* pUser);

/// As HLX_LivePlay with the one-block callback.
HLX_API POINTERHANDLE HLX_LivePlayEx(LONG lUserID, const HLX_CLIENTINFO* lpClientInfo,
                                     LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser);

/// Ends a live stream. When it returns no callback of the stream runs or comes any more. Refused with HLX_OPER_NOPERMIT
/// (16) from inside a frame callback, live, of a playback or a download. Blocks for the frame callback in progress, for
/// a start of another stream that a device has not answered yet (at most 10 s), and at most about 1 s besides.
HLX_API BOOL HLX_StopLivePlay(POINTERHANDLE lLiveHandle);

/// Replaces the frame callback, and takes the one-block callback off. Local, but it waits for a start of a stream that
/// a device has not answered yet; so do the other functions with a live handle.
HLX_API BOOL HLX_SetLiveDataCallBack(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK fLiveDataCallBack, void* pUser);

/// Replaces the one-block callback, and takes the frame callback off. Local.
HLX_API BOOL HLX_SetLiveDataCallBackEx(POINTERHANDLE lLiveHandle, LIVE_DATA_CALLBACK_EX fLiveDataCallBack, void* pUser);

/// Stores the pair; it is not called. Does not reset the last error. Local.
HLX_API BOOL HLX_SetYUVCallBack(POINTERHANDLE lLiveHandle, YUV_DATA_CALLBACK fYUVCallBack, void* pUser);

/// Chooses the stream whose sound is heard, where a sound output exists. Does not reset the last error. Local.
HLX_API BOOL HLX_OpenSound(POINTERHANDLE lLiveHandle);

/// Ends what HLX_OpenSound began. Does not reset the last error. Local.
HLX_API BOOL HLX_CloseSound(void);

/// Sets the volume of a stream's sound. Does not reset the last error. Local.
HLX_API BOOL HLX_Volume(POINTERHANDLE lLiveHandle, WORD wVolume);

/// Saves the stream to an AVI file, 25 or 29.97 pictures a second by the picture's shape, with a sound track of PCM,
/// 8000 Hz, 16 bits, mono. The name has at most 255 bytes; a file of that name is replaced when the first key frame
/// comes. Holes of the stream become empty pictures, of at most 10 s each, and missing sound becomes silence; saving
/// goes on across a reconnect. Another video or sound format, or another picture size, starts the file anew. A save
/// that is under way is ended first. May be called in the stream's frame callback, and then begins with that frame.
/// Errors: HLX_PARAMETER_ERROR (20) the handle is not known, or the name null, empty or too long. A file that cannot be
/// made, or that ends because the disk is full or it has 4 GiB, is told by the log only; the stream goes on. Does not
/// reset the last error. Local, but it waits for a write under way, and as HLX_SetLiveDataCallBack.
HLX_API BOOL HLX_SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName);

/// Ends HLX_SaveLiveData: completes the file, which can be played from then on. HLX_StopLivePlay, HLX_Logout and
/// HLX_Cleanup do so, too. True also for a stream that is not saved. In the stream's frame callback that frame is the
/// first that is not saved. Local, blocking as HLX_SaveLiveData.
HLX_API BOOL HLX_StopSaveLiveData(POINTERHANDLE lLiveHandle);

/// Always fails with HLX_NOSUPPORT (26): nothing is decoded here. Does not reset the last error. Local.
HLX_API BOOL HLX_CapturePicture(POINTERHANDLE lLiveHandle, const char* sPicFileName);

/// Takes a picture as HLX_CaptureJPEGPicture and writes it to a file. Errors also: HLX_CREATEFILE_ERROR (37),
/// HLX_WRITEFILE_FAILED (79). Request, up to 10 s for the picture.
HLX_API BOOL HLX_CapturePicture_Other(LONG lUserID, LONG lChannel, const char* sPicFileName);

/// Takes a JPEG picture from the device's picture stream into `sJpegPicBuffer` of `dwPicSize` bytes, its size to
/// `*lpSizeReturned`. `lpJpegPara` may be null and has no effect. Errors also: HLX_NOENOUGH_BUF (46),
/// HLX_CREATEJPEGSTREAM_FAIL (91), HLX_NETWORK_NOT_CONNECT (9) and HLX_NETWORK_RECV_TIMEOUT (12) for a picture that
/// does not come. Refused with HLX_OPER_NOPERMIT (16) from inside a live frame callback. Waits up to 10 s for the
/// picture. Its size is the picture's own when that ends with FF D9, as it should; else up to 3 zero bytes are counted
/// with it.
HLX_API BOOL HLX_CaptureJPEGPicture(LONG lUserID, LONG lChannel, const HLX_JPEGPARA* lpJpegPara, char* sJpegPicBuffer,
                                    DWORD dwPicSize, LPDWORD lpSizeReturned);

/// Asks for a key frame of the main stream. Sends only.
HLX_API BOOL HLX_MakeKeyFrame(LONG lUserID, LONG lChannel);

/// Asks for a key frame of the sub stream. Sends only.
HLX_API BOOL HLX_MakeKeyFrameSub(LONG lUserID, LONG lChannel);

/// Asks for a key frame of the stream `lStreamType` (HLX_STREAM_TYPE). Sends only.
HLX_API BOOL HLX_MakeKeyFrameEx(LONG lUserID, LONG lChannel, LONG lStreamType);

/// Time of the device. Refused with HLX_OPER_NOPERMIT (16) from inside a live frame callback. Classic recorders tell it
/// with their frames only: waits up to 100 ms for one, and before that for a start or stop of a stream in progress.
/// Errors also: HLX_NETWORK_RECV_TIMEOUT (12) no frame came, HLX_NETWORK_NOT_CONNECT (9). Others: request.
HLX_API BOOL HLX_GetDeviceTime(LONG lUserID, DD_TIME* lpTime);

/// Stores the pair for a live handle; a playback handle is only checked. The pair is not called. Does not reset the last
/// error. Local.
HLX_API BOOL HLX_RegisterDrawFun(POINTERHANDLE lHandle, DRAW_FUN_CALLBACK fDrawFun, void* pUser);

/// 1 for a known live or playback handle; there is nothing to draw. Local.
HLX_API BOOL HLX_RefreshPlay(POINTERHANDLE lHandle);

// ----------------------------------------------------------------------------------------------------------- pictures

/// Takes a JPEG picture by a request of its own into `sJpegPicBuffer` of `dwPicSize` bytes, its size to
/// `*lpSizeReturned`. `lResolution`: as the device numbers them. Request.
HLX_API BOOL HLX_CaptureJpeg(LONG lUserID, LONG lChannel, LONG lResolution, char* sJpegPicBuffer, DWORD dwPicSize,
                             LPDWORD lpSizeReturned);

/// As HLX_CaptureJpeg over the device's HTTP port. Request.
HLX_API BOOL HLX_CaptureJPEGData_V2(LONG lUserID, LONG lChannel, char* sJpegPicBuffer, DWORD dwPicSize,
                                    LPDWORD lpSizeReturned);

/// As HLX_CaptureJPEGData_V2 into a file. Errors also: HLX_CREATEFILE_ERROR (37), HLX_WRITEFILE_FAILED (79). Request.
HLX_API BOOL HLX_CaptureJPEGFile_V2(LONG lUserID, LONG lChannel, const char* sPicFileName);

/// Finds pictures stored on the device: up to `lMaxNum` records to `pImages`, their number to `*pNum`. Request.
HLX_API BOOL HLX_SearchPictures(LONG lUserID, HLX_IMAGE_SREACH search, LONG lMaxNum, HLX_IMAGE* pImages, LONG* pNum);

/// Has the device take and keep a picture. Request.
HLX_API BOOL HLX_RemoteSnap(LONG lUserID, LONG lChannel);

/// Fetches a found picture into `pBuffer` of `dwSize` bytes; size and coding to `*pImageInfo`. Request.
HLX_API BOOL HLX_DownLoadPicture(LONG lUserID, HLX_IMAGE image, HLX_IMAGE_INFO* pImageInfo, char* pBuffer,
                                 DWORD dwSize);

// ------------------------------------------------------------------------------------------------- PTZ by live handle
//
// Commands are PTZ_CMD_*; speeds are 1 to 8 for most devices. Errors also: HLX_ERROR_SERIALPORT (18). Requests.

/// Moves, zooms, focuses, or stops.
HLX_API BOOL HLX_PTZControl(POINTERHANDLE lLiveHandle, DWORD dwPTZCommand, DWORD dwSpeed);

/// Zooms onto a point of the picture.
HLX_API BOOL HLX_PTZControl_3D(POINTERHANDLE lLiveHandle, const PTZ_3D_POINT_INFO* pPoint);

/// Sets, goes to or deletes a preset.
HLX_API BOOL HLX_PTZPreset(POINTERHANDLE lLiveHandle, DWORD dwPTZPresetCmd, DWORD dwPresetIndex);

/// Runs, stops or deletes a cruise.
HLX_API BOOL HLX_PTZCruise(POINTERHANDLE lLiveHandle, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute);

/// Records, runs or deletes the track.
HLX_API BOOL HLX_PTZTrack(POINTERHANDLE lLiveHandle, DWORD dwPTZTrackCmd);

/// Starts or stops the automatic scan.
HLX_API BOOL HLX_PTZAutoScan(POINTERHANDLE lLiveHandle, DWORD dwPTZAutoScanCmd, DWORD dwSpeed, BOOL bIsAutoScan);

/// Writes a cruise of `pointNum` stations.
HLX_API BOOL HLX_PTZSetCruise(POINTERHANDLE lLiveHandle, BYTE byCruiseRoute, const DD_CRUISE_POINT_INFO* pCruisePoint,
                              WORD pointNum);

// ---------------------------------------------------------------------------------------------------- PTZ by user id
//
// The same by user id and channel. Requests.

/// Moves, zooms, focuses, or stops.
HLX_API BOOL HLX_PTZControl_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCommand, DWORD dwSpeed);
/// Zooms onto a point of the picture.
HLX_API BOOL HLX_PTZControl_3D_Ex(LONG lUserID, LONG lChannel, const PTZ_3D_POINT_INFO* pPoint);
/// Sets, goes to or deletes a preset.
HLX_API BOOL HLX_PTZPreset_Other(LONG lUserID, LONG lChannel, DWORD dwPTZPresetCmd, DWORD dwPresetIndex);
/// Runs, stops or deletes a cruise.
HLX_API BOOL HLX_PTZCruise_Other(LONG lUserID, LONG lChannel, DWORD dwPTZCruiseCmd, BYTE byCruiseRoute);
/// Records, runs or deletes the track.
HLX_API BOOL HLX_PTZTrack_Other(LONG lUserID, LONG lChannel, DWORD dwPTZTrackCmd);
/// Starts or stops the automatic scan.
HLX_API BOOL HLX_PTZAutoScan_Other(LONG lUserID, LONG lChannel, DWORD dwPTZAutoScanCmd, DWORD dwSpeed,
                                   BOOL bIsAutoScan);
/// Writes a cruise of `pointNum` stations.
HLX_API BOOL HLX_PTZSetCruise_Other(LONG lUserID, LONG lChannel, BYTE byCruiseRoute,
                                    const DD_CRUISE_POINT_INFO* pCruisePoint, WORD pointNum);

/// Reads PTZ settings: `dwCommand` and `lpInBuffer` as the device family numbers and forms them; up to
/// `dwOutBufferSize` bytes to `lpOutBuffer`, their number to `*lpBytesReturned`. Request.
HLX_API BOOL HLX_GetPTZConfig(LONG lUserID, LONG lChannel, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                              LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned);

/// What a camera's PTZ can do. Request.
HLX_API BOOL HLX_GetPTZCameraType(LONG lUserID, HLX_CAMERA_TYPE* pCameraType);

/// Channels with PTZ: up to `listNum` records to `pChnPTZ`, their number to `*pNum`. Request.
HLX_API BOOL HLX_GetSupportPtzList(LONG lUserID, int listNum, HLX_CHANNEL_PTZ* pChnPTZ, int* pNum);

// ------------------------------------------------------------------------------------------------------ record search
//
// A find function asks the device for the whole result and gives a search handle; find-next walks the result that is
// held, in the order in which the device gave it; the close function frees it. There may be any number of searches, each
// as large as its result, and what is open at HLX_Cleanup is freed there. Results stay readable after HLX_Logout and
// when the link is lost.
//
// Find: request; a long result comes in several messages and may take 60 s in all, with 10 s at most for each message. A
// handle, also when the device found an empty list. -1 on failure; without HLX_Init 0 for logs and events, -1 for the
// others. Numbers: HLX_FILE_NOFIND (86) when the device says that there is nothing, or refuses, HLX_PARAMETER_ERROR
// (20) for an unknown user id, a null pointer or a time that ends before it starts, HLX_CHANNEL_ERROR (4) for a channel
// that the device has not, HLX_NETWORK_ERRORDATA (13) for replies that make no sense and for more than 1,048,576
// records, HLX_ALLOC_RESOURCE_ERROR (44), and those of the link. Finds of one kind run one after the other, and the
// find-next and close of that kind wait for them.
//
// Channels are numbered from 0; -1 asks for all. Times are local, seconds their smallest part; in the hour that a clock
// shows twice nTotalseconds decides if it tells the same time. Results have nTotalseconds and wday filled. A find gives
// what overlaps the time asked for, whole.
//
// Find-next: local. HLX_FILE_SUCCESS (85) with the next record, HLX_FILE_NOFIND (86) for a search that found an empty
// list, HLX_NOMOREFILE (87) behind the last record, HLX_FILE_EXCEPTION (88) for an unknown handle, -1 for a null pointer
// (20); without HLX_Init 0 for logs and events, -1 for the others. The codes are not the last error, but those of
// HLX_FindNextRecDate are. For dates and files an empty search also answers 86 in place of every later search of its
// kind, until it is closed.
//
// Close: local. False for an unknown handle, with a number (20) from HLX_FindRecDateClose only.

/// Days that hold recordings of any channel.
HLX_API POINTERHANDLE HLX_FindRecDate(LONG lUserID);
/// Next day to `*lpRecDate`, which counts months from 0 and years from 1900, as DD_TIME does.
HLX_API LONG HLX_FindNextRecDate(POINTERHANDLE lFindHandle, DD_DATE* lpRecDate);
/// Ends the search for days.
HLX_API BOOL HLX_FindRecDateClose(POINTERHANDLE lFindHandle);

/// Recording files of a channel between two times. Whatever goes wrong but a null pointer has the number
/// HLX_FILE_NOFIND (86).
HLX_API POINTERHANDLE HLX_FindFile(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
/// Next file to `*lpFindData`.
HLX_API LONG HLX_FindNextFile(POINTERHANDLE lFindHandle, HLX_REC_FILE* lpFindData);
/// Ends the search for files.
HLX_API BOOL HLX_FindClose(POINTERHANDLE lFindHandle);

/// Recorded events of a channel between two times; `dwRecType`: DD_RECORD_TYPE_* flags.
HLX_API POINTERHANDLE HLX_FindEvent(LONG lUserID, LONG lChannel, DWORD dwRecType, const DD_TIME* lpStartTime,
                                    const DD_TIME* lpStopTime);
/// Next event to `*lpFindData`.
HLX_API LONG HLX_FindNextEvent(POINTERHANDLE lFindHandle, HLX_REC_EVENT* lpFindData);
/// Ends the search for recorded events.
HLX_API BOOL HLX_FindEventClose(POINTERHANDLE lFindHandle);

/// Spans of recording of a channel between two times.
HLX_API POINTERHANDLE HLX_FindTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
/// Next span to `*lpFindData`.
HLX_API LONG HLX_FindNextTime(POINTERHANDLE lFindHandle, HLX_REC_TIME* lpFindData);
/// Ends the search for spans.
HLX_API BOOL HLX_FindTimeClose(POINTERHANDLE lFindHandle);

/// Locks recording files, as HLX_FindNextFile gave them, against being overwritten: all `fileNum`, 1 to 10,000, or none.
/// Request. HLX_FILE_NOFIND (86) when the device refuses, HLX_PARAMETER_ERROR (20) for a null pointer or another number
/// of files, HLX_NETWORK_ERRORDATA (13).
HLX_API BOOL HLX_LockFile(LONG lUserID, const HLX_REC_FILE* pFileToLock, LONG fileNum);

/// Takes the lock off, as HLX_LockFile.
HLX_API BOOL HLX_UnlockFile(LONG lUserID, const HLX_REC_FILE* pFileToUnlock, LONG fileNum);

/// Deletes recording files on the device, as HLX_LockFile. The device refuses files that are locked.
HLX_API BOOL HLX_DeleteRecFile(LONG lUserID, const HLX_REC_FILE* pFileToDelete, LONG fileNum);

/// The device's log between two times, both included; `dwType`: main type as the device family numbers them, 0xFFFFFFFF
/// for all. No channel.
HLX_API POINTERHANDLE HLX_FindDVRLog(LONG lUserID, DWORD dwType, const DD_TIME* lpStartTime, const DD_TIME* lpStopTime);
/// Next log entry to `*lpLogData`. Both texts end.
HLX_API LONG HLX_FindNextLog(POINTERHANDLE lLogHandle, LPHLX_LOG lpLogData);
/// Ends the search in the log.
HLX_API BOOL HLX_FindLogClose(POINTERHANDLE lLogHandle);

/// The device's events between two times; `dwType`: DD_EVENT_TYPE_* flags, bit n of `channlMask` asks for channel n.
HLX_API POINTERHANDLE HLX_FindEventInfo(LONG lUserID, DWORD dwType, ULONGLONG channlMask, const DD_TIME* lpStartTime,
                                        const DD_TIME* lpStopTime);
/// Next event to `*lpEventData`.
HLX_API LONG HLX_FindNextEventInfo(POINTERHANDLE lEventHandle, LPHLX_EVENT lpEventData);
/// Ends the search for the device's events.
HLX_API BOOL HLX_FindEventInfoClose(POINTERHANDLE lEventHandle);

// ----------------------------------------------------------------------------------------------------------- playback

/// Plays the main stream of 1 to 8 channels between two times; several channels on one handle are for classic recorders.
/// `hWnds`: one window value a channel, or null; nothing is drawn. Result: the play handle, which stands until
/// HLX_StopPlayBack, also behind the end of the range; -1 on failure, 0 without HLX_Init. Fails with 31 (all streams of
/// the device taken, 4 of a classic recorder), 86 (nothing recorded then), 32 (the device refuses), 13 (its answer makes
/// no sense), 4 (no such channel), 44 (no memory for the ring), 16 (inside the frame callback of a playback or a
/// download), 20; with no number while HLX_PlayBackByTimeSync plays, and for several channels of a device that is no
/// classic recorder. While it runs no other playback brings frames: until the device has answered, 10 s at most, and
/// before that until requests of other threads are through, a search among them (60 s). Request.
///
/// A link that breaks ends the playback: what has come is played, then nothing comes, and seeks fail with 20. The handle
/// stands until it is stopped. When the device is back nothing begins again by itself.
HLX_API POINTERHANDLE HLX_PlayBackByTime(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                         const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND* hWnds);

/// As HLX_PlayBackByTime of the main (`bFirstStream` 1) or the sub stream.
HLX_API POINTERHANDLE HLX_PlayBackByTimeEx(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                           const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND* hWnds,
                                           BOOL bFirstStream);

/// Plays up to 8 channels, each on a stream of its own, at most 300 ms apart; a channel that brings nothing holds up the
/// others, but not one that has ended or whose seek has failed. Result: a mask of the channels' places, bit n for
/// `pChannels[n]`, that run; no handle, so there is nothing to set a callback on. 0 while anything is played, and when
/// HLX_StopPlayBackSync or HLX_Logout of the device came meanwhile: then nothing runs; with 20 for more than 8 channels
/// or while channels are in step already, with 16 inside the frame callback of a playback or a download. Request, one a
/// channel.
HLX_API POINTERHANDLE HLX_PlayBackByTimeSync(LONG lUserID, const LONG* pChannels, LONG channelNum,
                                             const DD_TIME* lpStartTime, const DD_TIME* lpStopTime, const HWND* hWnds,
                                             BOOL bFirstStream);

/// Steers a playback: `dwControlCode` is an HLX_PLAYCTRL_TYPE, `dwInValue` its value. `lpOutValue` is not written and may
/// be null. Every call starts the pacing anew, and but for the volume sets the speed to the value, 0 meaning 1X.
/// - HLX_PLAYCTRL_PAUSE, _RESUME: holds; goes on at 1X, forward.
/// - HLX_PLAYCTRL_FF: forward at `dwInValue`, an HLX_RPB_SPEED; slow speeds too. From 8X on key frames alone come.
/// - HLX_PLAYCTRL_REW: backward in key frames. A classic recorder does so at 8X (values up to 9) or 16X.
/// - HLX_PLAYCTRL_FRAME: while it holds, brings the next video frame.
/// - HLX_PLAYCTRL_SETPOS: goes to `dwInValue`, seconds since 1970, at 1X; once the call returns no frame of before comes.
///   Waits for the device's answer. A refusal, or an answer that makes no sense (13), fails as that of a start does, and
///   then nothing comes until another one succeeds.
/// - HLX_PLAYCTRL_STARTAUDIO, _STOPAUDIO: the sound of all channels of the stream comes, or none.
/// - HLX_PLAYCTRL_AUDIOVOLUME: nothing but that the speed becomes 1X. HLX_PLAYCTRL_STOP: ends the stream, not the handle.
/// Fails with 20 for an unknown handle, 16 inside the frame callback of a playback or a download. But for SETPOS it only
/// sends: 10 when the link takes nothing.
HLX_API BOOL HLX_PlayBackControl(POINTERHANDLE lPlayHandle, DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);

/// Steers all playbacks in step, which stay in step over a seek; the result is always 0. Request.
HLX_API BOOL HLX_PlayBackControlSync(DWORD dwControlCode, DWORD dwInValue, LPDWORD lpOutValue);

/// Ends a playback. Waits for a frame callback that is running, so the application must not hold a lock that it takes;
/// none comes after the return. 0 with no number for an unknown handle, with 16 inside the frame callback of a playback
/// or a download. Only sends.
HLX_API BOOL HLX_StopPlayBack(POINTERHANDLE lPlayHandle);

/// Ends all playbacks in step; the result is always 0. As HLX_StopPlayBack.
HLX_API BOOL HLX_StopPlayBackSync(void);

/// Sets the frame callback of a playback; null takes it off, and the one before is not called any more then. Called on
/// one thread for all playbacks, at the frames' own pace: while a callback runs no other frame comes, and what is late
/// then follows without a pause. Bytes are lent for the call; lengths are rounded up to 4. Until the device tells a
/// format, each frame has one ahead of it (frameType 5 or 6) made up from what is known. A frame of type 10 is the last.
/// Inside it, playbacks cannot be started, stopped or steered, live streams not be started or stopped, and neither
/// HLX_Logout nor HLX_Cleanup is done: 16. 20 for an unknown handle. Local.
HLX_API BOOL HLX_SetPlayDataCallBack(POINTERHANDLE lPlayHandle, PLAY_DATA_CALLBACK fPlayDataCallBack, void* pUser);

/// Writes a channel of a playback to an AVI file from now on, at the pace of the playback; the name is below 256 chars. A
/// file before it is completed. The file appears with the first frame that can begin it. 20 for a bad name or an unknown
/// handle or channel. Does not reset the last error. Local.
HLX_API BOOL HLX_PlayBackSaveData(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);

/// Ends HLX_PlayBackSaveData and completes the file; HLX_StopPlayBack does so too. 20 for an unknown handle or channel.
/// Does not reset the last error. Local.
HLX_API BOOL HLX_StopPlayBackSave(POINTERHANDLE lPlayHandle, LONG lChannel);

/// Local time of the video frame that is played or due next: second, minute, hour, mday, month and year. 13 for an
/// unknown handle, before the first video frame and behind the end, 20 for a null pointer. Does not reset the last error.
/// Local.
HLX_API BOOL HLX_GetPlayBackOsdTime(POINTERHANDLE lPlayHandle, DD_TIME* lpOsdTime);

/// Nothing is decoded here, so it fails: 26, or 20 for an unknown handle or channel. Does not reset the last error.
/// Local.
HLX_API BOOL HLX_PlayBackCaptureFile(POINTERHANDLE lPlayHandle, LONG lChannel, const char* sFileName);

// ----------------------------------------------------------------------------------------------------------- download

// One download runs at a time in the whole library, as fast as the device sends. It lasts until HLX_StopGetFile: also a
// recording that has come to its end keeps its handle, and no other download starts, until then. HLX_GetDownloadPos
// stops it by itself where that is told there. HLX_Logout and HLX_Cleanup stop it, too. Inside a download callback no
// function of downloads or playbacks is done: HLX_OPER_NOPERMIT (16).

/// Downloads a channel's recording from `lpStartTime` up to `lpStopTime` to a file of the library's own format: frames
/// with an SDK_FRAME_INFO ahead of each. The file is made, or emptied, before the device is asked; its last frames are
/// in it once HLX_StopGetFile has returned or HLX_GetDownloadPos gave 100 or 102. A file that ends without an end frame
/// (DD_FRAME_TYPE_END) is not the whole recording. When it cannot be written any more it ends behind a whole frame, the
/// log tells it once, and the download goes on without it. Result: a handle from 1 to 65535; -1 on failure, 0 without
/// HLX_Init. Errors: none is set while there is a download already or one just ends; HLX_PARAMETER_ERROR (20) a null
/// argument, a start behind the stop or an unknown user id, HLX_CREATEFILE_ERROR (37), HLX_ALLOC_RESOURCE_ERROR (44),
/// HLX_CHANNEL_ERROR (4), HLX_FILE_NOFIND (86) nothing is recorded in that time, HLX_DVR_NORESOURCE (31),
/// HLX_DVR_OPRATE_FAILED (32), HLX_NETWORK_NOT_CONNECT (9), HLX_NETWORK_ERRORDATA (13) an answer that makes no sense,
/// HLX_NETWORK_RECV_TIMEOUT (12), HLX_OPER_NOPERMIT (16) from inside a download callback. Does not reset the last error.
/// Request.
HLX_API POINTERHANDLE HLX_GetFileByTime(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime,
                                        const DD_TIME* lpStopTime, const char* sSavedFileName);

/// As HLX_GetFileByTime to the library's own format (`bCustomFormat` 1) or AVI (0). With `bUseCallBack` the callback,
/// which must not be null, gets the frames: instead of a file of the library's own format, where `sSavedFileName` may
/// be null, or besides the AVI file. Frames of 4194285 bytes or more do not come to the callback. The name of an AVI
/// file has 1 to 255 bytes, else HLX_PARAMETER_ERROR (20); without a name (null) no AVI file is made. An AVI file is made when the first key frame comes and begins
/// with it; it has sound of 8000 Hz, 16 bits, mono, pauses of more than 10 s become 10 s, and another picture size
/// starts it anew: what came before is lost then. An AVI file that cannot be made or written is told in the log once.
/// Does not reset the last error. Request.
HLX_API POINTERHANDLE HLX_GetFileByTimeEx(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime,
                                          const DD_TIME* lpStopTime, const char* sSavedFileName, BOOL bCustomFormat,
                                          BOOL bUseCallBack, BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser);

/// As HLX_GetFileByTimeEx with the choice of the main (`bFirstStream` 1) or sub stream; `recFormat` above 0 is the
/// library's own format, else AVI. HLX_Init must have been called. Does not reset the last error. Request.
HLX_API POINTERHANDLE HLX_GetFileByTimeExV2(LONG lUserID, LONG lChannel, const DD_TIME* lpStartTime,
                                            const DD_TIME* lpStopTime, const char* sSavedFileName, int recFormat,
                                            BOOL bFirstStream, BOOL bUseCallBack,
                                            BACKUP_DATA_CALLBACK fBackupDataCallBack, void* pUser);

/// Ends a download and completes its file. When it returns no callback of the download runs or comes any more. 1 also
/// when there is none, and for a negative handle. The download has ended as well when the device could not be told: 0
/// with the number of that, for instance HLX_NETWORK_NOT_CONNECT (9). Errors: HLX_PARAMETER_ERROR (20) another handle,
/// HLX_OPER_NOPERMIT (16) from inside a download callback; then the download goes on. Blocks for the callback in
/// progress and for requests under way.
HLX_API BOOL HLX_StopGetFile(POINTERHANDLE lFileHandle);

/// How far a download is: 0 to 99 percent of the time asked for, by the last video frame; 100 the recording has come to
/// its end; 101 no download runs, or the handle is 0 or -1; 102 the last picture is more than a second before the stop
/// time; 200 the device went offline, for a moment only perhaps: the download has been stopped, and the last error is
/// HLX_NETWORK_FAIL_CONNECT (8). Frames at the stop time or behind it without an end are waited for: the call then
/// takes 5 s, stops the download and gives 100; HLX_StopGetFile and HLX_Cleanup end that wait. Errors, with the result
/// 0: HLX_PARAMETER_ERROR (20) another handle, HLX_OPER_NOPERMIT (16) from inside a download callback. Else local, but
/// it waits for a download callback in progress and, with 100 or 200, as HLX_StopGetFile.
HLX_API int HLX_GetDownloadPos(POINTERHANDLE lFileHandle);

// --------------------------------------------------------------------------------------------------------- USB backup

/// Has the device copy a recording to its USB disk. HLX_Init must have been called. Does not reset the last error.
/// Request.
HLX_API BOOL HLX_SaveFileToUsbByTime(LONG lUserID, const HLX_REC_FILE* pRecFile, USB_BACKUP_FORMAT eFormat);

/// Backups on the device: up to `dwMaxNum` records to `pProcess`, their number to `*pNum`. Request.
HLX_API BOOL HLX_GetSaveFileToUsbProcess(LONG lUserID, HLX_USB_BACKUP_PROCESS_EX* pProcess, DWORD dwMaxNum,
                                         LPDWORD pNum);

// ------------------------------------------------------------------------------------------------------------ upgrade

/// Sends a firmware file to the device on a thread of its own. Result: the upgrade handle; -1 on failure, 0 without
/// HLX_Init. Request.
HLX_API POINTERHANDLE HLX_Upgrade(LONG lUserID, const char* sFileName);

/// As HLX_Upgrade.
HLX_API POINTERHANDLE HLX_UpgradeEx(LONG lUserID, const char* sFileName);

/// As HLX_Upgrade for cameras behind a recorder; `fileType` 0 leaves out the file's first 64 bytes.
HLX_API POINTERHANDLE HLX_UpgradeIPC(LONG lUserID, const char* sFileName, int fileType);

/// Not 0 once the transfer has ended. Local.
HLX_API int HLX_GetUpgradeState(POINTERHANDLE lUpgradeHandle);

/// 0 to 100: percent done; 101 the device reported a failure; 102 it refused the file. Local.
HLX_API int HLX_GetUpgradeProgress(POINTERHANDLE lUpgradeHandle);

/// Ends an upgrade and frees the handle. Blocks until its thread has ended.
HLX_API BOOL HLX_CloseUpgradeHandle(POINTERHANDLE lUpgradeHandle);

// -------------------------------------------------------------------------------------------------------------- disks

/// Reads the device's disk table. Result: a search handle; -1 on failure, 0 without HLX_Init. Request.
HLX_API POINTERHANDLE HLX_FindDisk(LONG lUserID);

/// Next disk of the table, 0 at its end. Local.
HLX_API BOOL HLX_GetNextDiskInfo(POINTERHANDLE lDiskHandle, HLX_DISK_INFO* pDiskInfo);

/// Ends the search. Local.
HLX_API BOOL HLX_FindDiskClose(POINTERHANDLE lDiskHandle);

/// Changes a disk's property (HLX_DISK_PROPERTY). HLX_FindDisk must come first; `lDiskNumber` is a place in its table.
/// Request.
HLX_API BOOL HLX_ChangeDiskProperty(LONG lUserID, LONG lDiskNumber, short newProperty);

/// Starts to format a disk; `lDiskNumber` as above. Result: a format handle; -1 on failure, 0 without HLX_Init.
/// Request.
HLX_API POINTERHANDLE HLX_FormatDisk(LONG lUserID, LONG lDiskNumber);

/// Progress of a format: the disk, percent and state (2 for an unknown handle) to the three places. Request.
HLX_API BOOL HLX_GetFormatProgress(POINTERHANDLE lFormatHandle, LONG* pCurrentFormatDisk, LONG* pCurrentDiskPos,
                                   LONG* pFormatStatic);

/// Ends the watch over a format. Request.
HLX_API BOOL HLX_CloseFormatHandle(POINTERHANDLE lFormatHandle);

// ------------------------------------------------------------------------------------------------ messages and alarms

/// Sets the message callback. Null takes it off and waits, as HLX_CloseAlarmChan does, for its call in progress. Local.
HLX_API BOOL HLX_SetDVRMessageCallBack(NET_MESSAGE_CALLBACK fMessageCallBack, void* pUser);

/// Sets the extended message callback. Both share one user value, the last set. Local.
HLX_API BOOL HLX_SetDVRMessageCallBackEx(NET_MESSAGE_CALLBACK_EX fMessageCallBack, void* pUser);

/// Begins to report a session's alarms and status: what is in force is told every 1.5 s, for as long as it lasts and
/// the session is connected. Once is enough; a session that comes back after a break is reported again by itself.
/// Result: the alarm handle, which is the user id. Local.
HLX_API POINTERHANDLE HLX_SetupAlarmChan(LONG lUserID);

/// Ends it; 1 also for an unknown handle. Waits for a message callback of this session that is in progress; then none
/// comes any more. So do not hold a lock that the message callback takes. Inside a message, frame, download, talk or
/// register callback it does not wait, and a message callback in progress is the session's last.
HLX_API BOOL HLX_CloseAlarmChan(POINTERHANDLE lAlarmHandle);

/// Alarms in force: HLX_ALARMINFO records to `lpOutBuffer` of `dwOutBufferSize` bytes; the device's own answer, if
/// wanted, to `lpReplyBuffer` (may be null), whose size in `*lpReplySize` becomes the length. Request.
HLX_API BOOL HLX_GetAlarmStatus(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                                LPDWORD lpReplySize);

/// As HLX_GetAlarmStatus with HLX_ALARMINFO_EX records, their number to `*pAlarmNum`. Request.
HLX_API BOOL HLX_GetAlarmStatusEx(LONG lUserID, LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPVOID lpReplyBuffer,
                                  LPDWORD lpReplySize, int* pAlarmNum);

/// Switches `*pAlarmNum` alarm outputs, numbered in `pAlarmOut`, with a value each in `pValue`, on (`bAlarmOpen` 1) or
/// off. Outputs are numbered from 0; at most 255 at once. Sends only, or request by family.
HLX_API BOOL HLX_SetDeviceManualAlarm(LONG lUserID, LONG* pAlarmOut, LONG* pValue, LONG* pAlarmNum, BOOL bAlarmOpen);

/// Starts manual recording of a channel; `lRecordType`: as the device numbers them. Sends only, or request by family.
HLX_API BOOL HLX_StartDVRRecord(LONG lUserID, LONG lChannel, LONG lRecordType);

/// Ends manual recording of a channel. As HLX_StartDVRRecord.
HLX_API BOOL HLX_StopDVRRecord(LONG lUserID, LONG lChannel);

/// Restarts the device: 1 once it says so, and its link falls soon after. A device that goes without a word gives
/// HLX_NETWORK_NOT_CONNECT (9) or HLX_NETWORK_RECV_TIMEOUT (12). Request.
HLX_API BOOL HLX_RebootDVR(LONG lUserID);

/// Sets the device's clock to `time`, seconds since 1970. Request.
HLX_API BOOL HLX_ChangTime(LONG lUserID, UINT time);

// --------------------------------------------------------------------------------------------------------------- talk

// A talk lives until HLX_StopVoiceCom. A logout or a broken link does not end it, but nothing comes any more then; after
// a reconnect it has to be stopped and started again. Callbacks of talks run on a thread that all talks share, and come
// one at a time: do not wait in one for a thread that starts or stops a talk. Inside one HLX_StopVoiceCom and HLX_Cleanup
// are refused with HLX_OPER_NOPERMIT (16). The bytes are lent for the call.

/// Talk through this machine's own sound; -1 without a number where there is none, as on this platform, 0 without
/// HLX_Init. Request.
HLX_API POINTERHANDLE HLX_StartVoiceCom(LONG lUserID, BOOL bNeedCBNoEncData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                        void* pUser);

/// Sets the volume of a talk; the result is always 0. Local.
HLX_API BOOL HLX_SetVoiceComClientVolume(POINTERHANDLE lVoiceComHandle, WORD wVolume);

/// Talk with the application's own sound: PCM of 8000 Hz, 16 bits, mono with `bNeedNoEncodeData` 1, in both directions,
/// else as the device codes it. The callback (may be null) gets what the device says, 3200 bytes of PCM at most in a
/// call. Result: the talk handle; -1 on failure, 0 without HLX_Init. Errors: HLX_DVR_VOICEOPENED (34) somebody else
/// talks with the device. Request.
HLX_API POINTERHANDLE HLX_StartVoiceCom_MR(LONG lUserID, BOOL bNeedNoEncodeData, TALK_DATA_CALLBACK fVoiceDataCallBack,
                                           void* pUser);

/// Sends `dwBufSize` bytes of sound. Nothing can be sent before the device has told its format: 0 without a number; see
/// HLX_GetAudioInfo. Coded sound goes out as it is. PCM goes out in blocks of 3200 bytes (200 ms): less is kept until a
/// block is full (result 0), and what is left behind a block that went out is dropped, so give multiples of 3200 bytes.
/// Result: 1 if sound went out. Errors: HLX_AUDIO_MODE_ERROR (45) the device's coding is not known here,
/// HLX_NETWORK_SEND_ERROR (10) the link takes no more. Does not wait for the device. Sends only.
HLX_API BOOL HLX_VoiceComSendData(POINTERHANDLE lVoiceComHandle, const char* pSendBuf, DWORD dwBufSize);

/// The device's sound format as a WAVEFORMATEX to `pAudioInfo` of `infoLen` bytes (18 or more). Errors: HLX_TRY_LATER
/// (89) none yet, or an unknown handle. Waits up to 100 ms for it.
HLX_API BOOL HLX_GetAudioInfo(POINTERHANDLE lVoiceComHandle, LPVOID pAudioInfo, LONG infoLen);

/// Ends a talk of either kind; 0 for an unknown handle, or when the device could not be told, which frees the handle all
/// the same. Waits for a callback in progress; none comes after it. Inside a live, playback or download callback it does
/// not wait, and a callback in progress is the talk's last. HLX_OPER_NOPERMIT (16) inside a talk callback. Sends only.
HLX_API BOOL HLX_StopVoiceCom(POINTERHANDLE lVoiceComHandle);

// ------------------------------------------------------------------------------------------------------- audio codecs
//
// Between a device's sound payloads and PCM of 8000 Hz, 16 bits, mono. Local; work without HLX_Init, and handles outlive
// HLX_Cleanup. Any thread: one call runs at a time, the others wait for it, at most for the length of one frame's work. A
// handle serves both directions, each with a state of its own that goes on from frame to frame, so frames are given in
// their order; the decoder's functions and the encoder's take each other's handles.
//
// Output buffers are the caller's and are not bounded: they must have the room below. Input and output must not overlap.
// The length made goes to *pOutLen. Without success nothing is written.
//
//   coding                  decoding `inLen` bytes makes            encoding `inLen` bytes of PCM makes
//   A-law, u-law (6, 7)     2 * inLen                               inLen / 2
//   G.726 (100), 2 bits     8 * inLen                               inLen / 8
//   G.726 (100), 4 bits     4 * inLen                               inLen / 4
//   G.726, 3 and 5 bits     (inLen * 8 / bits) * 2                  0: no byte is ever finished
//   ADPCM (17)              3200; reads 840 bytes of input,         (inLen / 640) * 168, and for a rest of r bytes,
//                           WHATEVER inLen SAYS: the caller         1 to 639, r / 4 + 8 more
//                           owes five blocks of 168
//
// All divisions cut off. An odd last byte of PCM and samples that fill no whole byte are left out. With G.726 of 3 and 5
// bits only the whole codes in the first byte are read, and the last of them stands for all samples that follow. Behind a
// rest of ADPCM input the coder finds silence up to the end of the block.
//
// Errors: HLX_PARAMETER_ERROR (20) unknown handle, null pointer, negative length; HLX_AUDIO_MODE_ERROR (45) unknown coding
// at opening, or G.726 opened with other than 2 to 5 bits at each frame; HLX_ALLOC_RESOURCE_ERROR (44) at opening.

/// Opens a codec for the WAVEFORMATEX at `pAudioInfo`, which is read as 18 packed bytes at any address; `infoLen` has no
/// effect. `wFormatTag` counts, and wBitsPerSample, 2 to 5, for G.726. Result: a codec handle, to be released; -1 on failure.
HLX_API POINTERHANDLE HLX_InitAudioDecoder(const void* pAudioInfo, LONG infoLen);

/// Decodes a frame to PCM.
HLX_API BOOL HLX_DecodeAudioFrame(POINTERHANDLE lAudioHandle, const BYTE* pInBuf, LONG inLen, BYTE* pOutBuf,
                                  LONG* pOutLen);

/// Closes a codec, after a call that is in progress. 1 for a known handle; another has no effect, on the last error
/// neither.
HLX_API BOOL HLX_ReleaseAudioDecoder(POINTERHANDLE lAudioHandle);

/// As HLX_InitAudioDecoder.
HLX_API POINTERHANDLE HLX_InitAudioEncoder(const void* pAudioInfo, LONG infoLen);

/// Encodes a frame of PCM.
HLX_API BOOL HLX_EncodeAudioFrame(POINTERHANDLE lAudioHandle, const BYTE* pInBuf, LONG inLen, BYTE* pOutBuf,
                                  LONG* pOutLen);

/// As HLX_ReleaseAudioDecoder.
HLX_API BOOL HLX_ReleaseAudioEncoder(POINTERHANDLE lAudioHandle);

// ------------------------------------------------------------------------------------------------------ configuration

/// Opens the device's configuration for this session. Result: 0 done; -1, -2 or -3 as the device refuses; -4 for an
/// unknown user id and without HLX_Init. Request.
HLX_API LONG HLX_EnterDVRConfig(LONG lUserID);

/// Reads an item: `dwCommand` is its DD_CONFIG_ITEM_ID; `lChannel` -1 for the whole item, else one channel's part; the
/// defaults instead of the values in force with `bDefault`. Up to `dwOutBufferSize` bytes to `lpOutBuffer`, their
/// number to
/// `*lpBytesReturned`. Errors: HLX_CHANNEL_ERROR (4), HLX_CHAN_EXCEPTION (21) channel beyond the item. Request.
HLX_API BOOL HLX_GetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                              LPDWORD lpBytesReturned, BOOL bDefault);

/// Reads the sub stream's encoder settings of a channel. `dwCommand` has no effect: the item is always 1029. Request.
HLX_API BOOL HLX_GetDVRConfig_SubStreamEncodeInfo(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                                  DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault);

/// The same in the longer form, item 62469. Request.
HLX_API BOOL HLX_GetDVRConfig_SubStreamEncodeInfo_Ex(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                                     DWORD dwOutBufferSize, LPDWORD lpBytesReturned, BOOL bDefault);

/// Writes an item, or one channel's part of it; arguments as HLX_GetDVRConfig. Request.
HLX_API BOOL HLX_SetDVRConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);

/// Writes the sub stream's encoder settings of a channel. Request.
HLX_API BOOL HLX_SetDVRConfig_SubStreamEncodeInfo(LONG lUserID, LONG lChannel, LPVOID lpInBuffer, DWORD dwInBufferSize);

/// Closes the device's configuration. Request.
HLX_API BOOL HLX_ExitDVRConfig(LONG lUserID);

/// These four always fail with HLX_NOSUPPORT (26). Local. HLX_SetPlayerBufNumber says nothing without HLX_Init.
HLX_API BOOL HLX_RestoreConfig(LONG lUserID);
HLX_API BOOL HLX_SaveConfig(LONG lUserID);
HLX_API BOOL HLX_ShutDownDVR(LONG lUserID);
HLX_API BOOL HLX_SetPlayerBufNumber(POINTERHANDLE lLiveHandle, DWORD dwBufNum);

/// Sets brightness, contrast, saturation and hue of a channel without keeping them. Classic recorders: sends only,
/// values 0 to 255. Others: request.
HLX_API BOOL HLX_SetVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                                DWORD dwSaturationValue, DWORD dwHueValue);

/// Reads the four values. Request.
HLX_API BOOL HLX_GetVideoEffect(LONG lUserID, LONG lChannel, LPDWORD pBrightValue, LPDWORD pContrastValue,
                                LPDWORD pSaturationValue, LPDWORD pHueValue);

/// Reads the four values with their ranges. Request.
HLX_API BOOL HLX_GetVideoEffect_Ex(LONG lUserID, LONG lChannel, HLX_IMAGE_EFFECT_T* pBrightValue,
                                   HLX_IMAGE_EFFECT_T* pContrastValue, HLX_IMAGE_EFFECT_T* pSaturationValue,
                                   HLX_IMAGE_EFFECT_T* pHueValue);

/// Sets the four values within the ranges of HLX_GetVideoEffect_Ex. Classic recorders: sends only. Others: request.
HLX_API BOOL HLX_SetVideoEffect_Ex(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                                   DWORD dwSaturationValue, DWORD dwHueValue);

/// Sets the four values and keeps them. Request.
HLX_API BOOL HLX_SaveVideoEffect(LONG lUserID, LONG lChannel, DWORD dwBrightValue, DWORD dwContrastValue,
                                 DWORD dwSaturationValue, DWORD dwHueValue);

/// The device's default values. Local.
HLX_API BOOL HLX_GetDefaultVideoEffect(LONG lUserID, LPDWORD pBrightValue, LPDWORD pContrastValue,
                                       LPDWORD pSaturationValue, LPDWORD pHueValue);

/// Saves the device's whole configuration to a file. Request.
HLX_API BOOL HLX_GetConfigFile(LONG lUserID, const char* sFileName);

/// Loads a saved configuration into the device. Request.
HLX_API BOOL HLX_SetConfigFile(LONG lUserID, const char* sFileName);

// ---------------------------------------------------------------------------------------------------------- discovery

/// Finds devices on the local network: up to `bufNum` records to `pDeviceInfo`. Result: their number. HLX_Init must
/// have been called. Keeps the last error unless it fails. Blocks for about `waitSeconds` seconds. One call at a time.
HLX_API int HLX_DiscoverDevice(HLX_DEVICE_DISCOVERY_INFO* pDeviceInfo, int bufNum, int waitSeconds);

/// Asks a name server for a device's address, which goes to `sDVRIP` of 16 bytes; `sName` is below 69 chars. Blocks for
/// up to a few seconds.
HLX_API BOOL HLX_GetDeviceIPByName(const char* sServerAddr, DWORD dwPort, const char* sName, char* sDVRIP);

// ----------------------------------------------------------------------------------------- smart and XML pass-through
//
// What goes through is formed as the device family forms it. Requests.

/// Reads an analysis rule: up to `dwOutBufferSize` bytes to `lpOutBuffer`, their number to `*lpBytesReturned`.
HLX_API BOOL HLX_GetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpOutBuffer,
                                  DWORD dwOutBufferSize, LPDWORD lpBytesReturned);
/// Writes an analysis rule.
HLX_API BOOL HLX_SetIVMRuleConfig(LONG lUserID, DWORD dwCommand, LONG lChannel, LPVOID lpInBuffer,
                                  DWORD dwInBufferSize);
/// Sets the callback for subscribed messages; null takes it off, and messages are then dropped. Local.
HLX_API BOOL HLX_SetSubscribCallBack(SUBSCRIBE_CALLBACK fSubscribCallBack, void* pUser);
/// Subscribes to a camera's messages of kind `dwCommand`; the camera's answer goes to `*pReply`.
HLX_API BOOL HLX_SmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, NET_DVR_SUBSCRIBE_REPLY* pReply);
/// Ends a subscription, named by the serverAddress of its answer; the camera's result goes to `*pResult`.
HLX_API BOOL HLX_UnSmartSubscrib(LONG lUserID, DWORD dwCommand, LONG lChannel, char* pServerAddress, int* pResult);
/// Runs an operation on the face library: input and output formed as `dwCommand` asks.
HLX_API BOOL HLX_FaceMatchOperate(LONG lUserID, DWORD dwCommand, LPVOID lpInBuffer, DWORD dwInBufferSize,
                                  LPVOID lpOutBuffer, DWORD dwOutBufferSize, LPDWORD lpBytesReturned);
/// Sends XML to a path of the device's HTTP interface; the answer goes to `lpOutBuffer`. Errors: HLX_INBUFFER_TOSMALL
/// (102).
HLX_API BOOL HLX_ApiInterface(LONG lUserID, char* sXml, char* sUrl, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                              LPDWORD lpBytesReturned);
/// Sends XML as the body of a named request; the answer goes to `lpOutBuffer`. Errors: HLX_INBUFFER_TOSMALL (102).
HLX_API BOOL HLX_TransparentConfig(LONG lUserID, char* sXml, char* sCommand, LPVOID lpOutBuffer, DWORD dwOutBufferSize,
                                   LPDWORD lpBytesReturned);

#ifdef __cplusplus
}

// Three functions have C++ linkage: their symbols carry the argument types, so that they can be called from C++ only.

/// Whether this machine is on a wireless link (default true); passed on to NAT connects. Does nothing without HLX_Init.
/// Local.
HLX_API void HLX_SetIsWifi(bool bIsWifi);

/// Sends new address settings to a device by multicast, without a login. The result is 1 when they were sent; no answer
/// is awaited. HLX_Init must have been called. Keeps the last error unless it fails. Local.
HLX_API BOOL HLX_ModifyDeviceNetInfo(HLX_DEVICE_IP_INFO* pDeviceIPInfo);

/// Always 0; a backup on the device cannot be stopped. Local.
HLX_API BOOL HLX_StopSaveFileToUsb(LONG lUserID);
#endif

#endif

// Records of the classic recorder's protocol. Every message is one link frame: PACKCMD, then dataLen bytes of body.
#pragma once

#include "protocol/ClassicCommands.h"
#include "protocol/LinkFrame.h"
#include "protocol/WireTypes.h"

/// cmdVer of all requests, and netprotocolver of the login.
constexpr tuint32 CLASSIC_PROTOCOL_VERSION = 4;

namespace DVRV4 {
constexpr tuint32 PACKED_CMD_FLAG = 0x444D4350;  // "PCMD"
constexpr tuint32 UPLOAD_FILE_PART_SIZE = 0x20000;
}  // namespace DVRV4

#pragma pack(push, 1)

/// Head of every message in both directions.
struct PACKCMD {
    tuint32 cmdType;  //  0  a CLASSIC_COMMAND
    tuint32 cmdID;    //  4  0 in requests
    tuint32 cmdVer;   //  8  CLASSIC_PROTOCOL_VERSION in requests
    tuint32 dataLen;  // 12  bytes of body that follow
};
HLX_WIRE_RECORD(PACKCMD, 16);
HLX_WIRE_OFFSET(PACKCMD, dataLen, 12);

// ---- Login ----

enum _enum_connect_type : tuint32 {
    CONNECTTYPE_LOCAL = 0,
    CONNECTTYPE_CTRL_CENTER = 1,
    CONNECTTYPE_MOBILE_PHONE = 2,
};

/// Body of CMD_REQUEST_LOGIN. The texts are terminated; what is not used is zero.
struct NET_LOGIN_INFO {
    tuint32 connectType;     //   0  CONNECTTYPE_CTRL_CENTER
    tuint32 IP;              //   4
    char username[36];       //   8
    char password[36];       //  44  plain text
    char computerName[28];   //  80
    tuint8 MAC[6];           // 108
    tuint8 resv[2];          // 114
    tuint32 netprotocolver;  // 116  CLASSIC_PROTOCOL_VERSION
};
HLX_WIRE_RECORD(NET_LOGIN_INFO, 120);
HLX_WIRE_OFFSET(NET_LOGIN_INFO, password, 44);
HLX_WIRE_OFFSET(NET_LOGIN_INFO, netprotocolver, 116);

/// What the recorder is and can.
struct PRODUCT_INFO {
    tuint8 localVideoInputNum;      //   0
    tuint8 audioInputNum;           //   1
    tuint8 sensorInputNum;          //   2
    tuint8 relayOutputNum;          //   3  alarm outputs
    tuint32 displayResolutionMask;  //   4
    tuint8 videoOuputNum;           //   8  the spelling is the protocol's
    tuint8 netVideoOutputNum;       //   9
    tuint8 netVideoInputNum;        //  10
    tuint8 IVSNum;                  //  11
    tuint8 presetNumOneCH;          //  12
    tuint8 cruiseNumOneCH;          //  13
    tuint8 presetNumOneCruise;      //  14
    tuint8 trackNumOneCH;           //  15
    tuint8 userNum;                 //  16
    tuint8 netClientNum;            //  17
    tuint8 netFirstStreamNum;       //  18
    tuint8 deviceType;              //  19
    tuint8 doblueStream;            //  20  non-zero: there is a second stream; the spelling is the protocol's
    tuint8 audioStream;             //  21
    tuint8 talkAudio;               //  22
    tuint8 bPasswordCheck;          //  23
    tuint8 defBrightness;           //  24
    tuint8 defContrast;             //  25
    tuint8 defSaturation;           //  26
    tuint8 defHue;                  //  27
    tuint16 videoInputNum;          //  28  all video inputs
    tuint16 deviceID;               //  30  product number
    tuint32 videoFormat;            //  32  0 NTSC, else PAL
    tuint32 function[8];            //  36
    tuint32 deviceIP;               //  68  network order
    tuint8 deviceMAC[8];            //  72  the first 6 bytes count
    tuint32 buildDate;              //  80
    tuint32 buildTime;              //  84
    char deviceName[36];            //  88  the texts need not be terminated
    char firmwareVersion[36];       // 124
    char kernelVersion[64];         // 160
    char hardwareVersion[36];       // 224
    char MCUVersion[36];            // 260
};
HLX_WIRE_RECORD(PRODUCT_INFO, 296);
HLX_WIRE_OFFSET(PRODUCT_INFO, displayResolutionMask, 4);
HLX_WIRE_OFFSET(PRODUCT_INFO, videoInputNum, 28);
HLX_WIRE_OFFSET(PRODUCT_INFO, function, 36);
HLX_WIRE_OFFSET(PRODUCT_INFO, deviceMAC, 72);
HLX_WIRE_OFFSET(PRODUCT_INFO, deviceName, 88);
HLX_WIRE_OFFSET(PRODUCT_INFO, MCUVersion, 260);

/// Body of CMD_REPLY_LONGIN_SUCC. The rights of the user as channel masks (bit n is channel n), then the product.
struct NET_LOGIN_SUCCESS_REPLY {
    tuint32 authority;         //  0
    tuint64 authLiveCH;        //  4
    tuint64 authRecordCH;      // 12
    tuint64 authPlaybackCH;    // 20
    tuint64 authBackupCH;      // 28
    tuint64 authPTZCtrlCH;     // 36
    tuint64 authRemoteViewCH;  // 44
    PRODUCT_INFO productInfo;  // 52
};
HLX_WIRE_RECORD(NET_LOGIN_SUCCESS_REPLY, 348);
HLX_WIRE_OFFSET(NET_LOGIN_SUCCESS_REPLY, authLiveCH, 4);
HLX_WIRE_OFFSET(NET_LOGIN_SUCCESS_REPLY, productInfo, 52);

/// Body of CMD_REPLY_LONGIN_FAIL: one word.
enum NET_LOGIN_ERROR : tuint32 {
    NETERR_LOGIN_FAIL_VERSION_ERR = 1,
    NETERR_LOGIN_FAIL_USERPWD_ERR = 2,
    NETERR_LOGIN_FAIL_OVERFLOW = 3,
    NETERR_LOGIN_FAIL_REFUSE = 4,
};

// ---- Streams ----

/// Body of CMD_REQUEST_STREAM_START, _CHANGE, _STOP and of CMD_REQUEST_KEYFRAME; bit n is channel n.
struct NET_LIVESTREAM_CTRL_INFO {
    tuint32 streamID;       //  0  0 for live
    tuint64 fastVideoCH;    //  4  channels whose first stream is wanted
    tuint64 secondVideoCH;  // 12  channels whose second stream is wanted; none that is in fastVideoCH
    tuint64 threeVideoCH;   // 20
    tuint64 audioCH;        // 28  channels whose sound is wanted
};
HLX_WIRE_RECORD(NET_LIVESTREAM_CTRL_INFO, 36);
HLX_WIRE_OFFSET(NET_LIVESTREAM_CTRL_INFO, secondVideoCH, 12);
HLX_WIRE_OFFSET(NET_LIVESTREAM_CTRL_INFO, audioCH, 28);

/// Body of CMD_REQUEST_JPEG_START, _CHANGE and _STOP. The frames come as FRAME_TYPE_JPEG.
struct NET_JPEG_STREAM_INFO {
    tuint32 streamID;  //  0
    tuint64 jpegCH;    //  4  bit n is channel n
};
HLX_WIRE_RECORD(NET_JPEG_STREAM_INFO, 12);

/// Body word of CMD_REPLY_LAST_STREAM_ERROR when the recorder has no resource left for the stream asked last.
constexpr tuint32 NETERR_STREAM_NO_RESOURCE = 1002;

/// Types of a stream frame on the wire; the public numbers differ.
enum FRAME_TYPE : tuint32 {
    FRAME_TYPE_NONE = 0,
    FRAME_TYPE_VIDEO = 1,
    FRAME_TYPE_AUDIO = 2,
    FRAME_TYPE_VIDEO_FORMAT = 3,
    FRAME_TYPE_AUDIO_FORMAT = 4,
    FRAME_TYPE_TALK_AUDIO = 7,
    FRAME_TYPE_TALK_AUDIO_FORMAT = 8,
    FRAME_TYPE_END = 9,
    FRAME_TYPE_JPEG = 18,
};

/// Bits of frameAttrib on the wire; three of the public bits differ.
enum _frame_attrib : tuint32 {
    PLAY_FRAME_NO_SHOW = 0x01,
    PLAY_FRAME_SHOW = 0x02,
    PLAY_FRAME_ALL_END = 0x04,
    PLAY_FRAME_SEC_END = 0x08,
    PLAY_FRAME_NO_TIME_STAMP = 0x10,
    LIVE_FRAME_FIRST_STREAM = 0x20,   // and `time` holds the device's clock
    LIVE_FRAME_SECOND_STREAM = 0x40,  // and `time` holds the device's clock
    PLAY_FRAME_FF = 0x80,
    LIVE_FRAME_JPEG = 0x100,
    LIVE_FRAME_TALK = 0x200,
};

/// Stands first in the body of CMD_REPLY_DATA_STREAM; `length` bytes of data follow.
struct FRAME_INFO {
    tuint32 keyFrame;     //  0
    tuint32 frameType;    //  4  a FRAME_TYPE
    tuint32 length;       //  8  bytes of data
    tuint32 width;        // 12
    tuint32 height;       // 16
    tuint32 lData;        // 20
    tuint32 channel;      // 24
    tuint32 bufIndex;     // 28
    tuint32 frameIndex;   // 32
    tuint32 frameAttrib;  // 36  _frame_attrib bits
    tuint32 streamID;     // 40  0 live, 10 to 99 playback, 100 download
    tint64 time;          // 44  device time, microseconds since 1970
    tint64 relativeTime;  // 52  the encoder's time, microseconds
};
HLX_WIRE_RECORD(FRAME_INFO, 60);
HLX_WIRE_OFFSET(FRAME_INFO, channel, 24);
HLX_WIRE_OFFSET(FRAME_INFO, streamID, 40);
HLX_WIRE_OFFSET(FRAME_INFO, relativeTime, 52);

/// The data of a stream frame begins at this byte of its message.
constexpr tuint32 STREAM_DATA_OFFSET = sizeof(PACKCMD) + sizeof(FRAME_INFO);
static_assert(STREAM_DATA_OFFSET == 76);

/// Sound comes in units of a 4-byte prefix and 320 bytes of samples.
constexpr tuint32 AUDIO_BLOCK_PREFIX = 4;
constexpr tuint32 AUDIO_BLOCK_DATA = 320;
constexpr tuint32 AUDIO_BLOCK_SIZE = AUDIO_BLOCK_PREFIX + AUDIO_BLOCK_DATA;

/// Stream ids of live, playback (10 to 99, one for each slot) and download.
constexpr tuint32 LIVE_STREAM_ID = 0;
constexpr tuint32 PLAYBACK_STREAM_ID_FIRST = 10;
constexpr tuint32 PLAYBACK_STREAM_ID_LAST = 99;
constexpr tuint32 DOWNLOAD_STREAM_ID = 100;

// ---- Talk ----
//
// CMD_REQUEST_TALK_START and _STOP have no body, nor have the answers to the first: CMD_REPLY_TALK_START_SUCC, or
// CMD_REPLY_TALK_START_FAIL while somebody else talks. Behind the yes the recorder sends a frame of
// FRAME_TYPE_TALK_AUDIO_FORMAT, a WAVEFORMATEX of 18 bytes for the sound of both directions, and then its sound as
// FRAME_TYPE_TALK_AUDIO, all with LIVE_FRAME_TALK. The body of CMD_REQUEST_TALK_STREAM is the client's coded sound, at
// most TALK_SEND_SIZE bytes: as it is, or in whole units of prefix and samples if nBlockAlign of the format is
// AUDIO_BLOCK_SIZE or the recorder's own sound comes in such units.

constexpr tuint32 TALK_SEND_SIZE = 8000;

/// What stands ahead of the samples in each unit: the marker 256, and how many 32-bit words of samples follow.
constexpr tuint8 AUDIO_BLOCK_MARK[AUDIO_BLOCK_PREFIX] = {0x00, 0x01, AUDIO_BLOCK_DATA / 4, 0x00};

// ---- Status, unasked ----

/// Body of CMD_REPLY_VIDEO_LOSS, CMD_REPLY_MOTION and CMD_REPLY_SENSOR.
struct NET_STATUS_MASK_INFO {
    tuint32 dwReserved;  // 0  0, not read
    tuint64 ullMask;     // 4  byte 20 of the message; bit n is channel or sensor n
};
HLX_WIRE_RECORD(NET_STATUS_MASK_INFO, 12);
HLX_WIRE_OFFSET(NET_STATUS_MASK_INFO, ullMask, 4);

/// Body of CMD_REPLY_REC_STATUS: which channels record, by cause.
struct NET_REC_STATUS_INFO {
    tuint32 dwReserved;      //  0  0, not read
    tuint64 ullManualRec;    //  4
    tuint64 ullScheduleRec;  // 12
    tuint64 ullMotionRec;    // 20
    tuint64 ullSensorRec;    // 28
};
HLX_WIRE_RECORD(NET_REC_STATUS_INFO, 36);
HLX_WIRE_OFFSET(NET_REC_STATUS_INFO, ullManualRec, 4);
HLX_WIRE_OFFSET(NET_REC_STATUS_INFO, ullSensorRec, 28);

// ---- Disks ----

/// One disk. The body of CMD_REPLY_DISK_INFO is a 32-bit count and that many of these; CMD_REQUEST_DISK_START has no
/// body.
struct DVR_DISK_INFO {
    tuint8 diskOwnedBy;    //  0
    tuint8 diskType;       //  1
    tuint8 diskInterface;  //  2
    tuint8 diskStatus;     //  3  an HLX_DISK_STATUS or above
    tuint8 diskProperty;   //  4  an HLX_DISK_PROPERTY
    char diskname[36];     //  5
    char mountdir[36];     // 41
    tuint8 padding1[3];    // 77
    tuint32 totalSpace;    // 80
    tuint32 freeSpace;     // 84
    tuint8 partitionNum;   // 88
    tuint8 padding2[3];    // 89
    tuint32 diskpara;      // 92
    tuint8 disktemp;       // 96
    tuint8 reserved;       // 97
    tuint8 padding3[2];    // 98
};
HLX_WIRE_RECORD(DVR_DISK_INFO, 100);
HLX_WIRE_OFFSET(DVR_DISK_INFO, mountdir, 41);
HLX_WIRE_OFFSET(DVR_DISK_INFO, totalSpace, 80);
HLX_WIRE_OFFSET(DVR_DISK_INFO, partitionNum, 88);
HLX_WIRE_OFFSET(DVR_DISK_INFO, disktemp, 96);

// ---- Control ----
//
// Requests without a record here (CMD_REQUEST_REBOOT, CMD_REQUEST_SHUTDOWN, CMD_REQUEST_CFG_ENTER_IPCAM and
// CMD_REQUEST_CFG_LEAVE_IPCAM, CMD_REQUEST_NET_DEVICE_LOG_GET) have no body, nor have replies that only say yes or no.
// Channels and alarm outputs are numbered from 0.

/// Body of CMD_REQUEST_CHANGE_TIME.
struct NET_CHANGE_TIME_INFO {
    tuint32 time;  // 0  seconds since 1970
};
HLX_WIRE_RECORD(NET_CHANGE_TIME_INFO, 4);

/// Body of CMD_REQUEST_COLOR_GET.
struct NET_COLOR_QUERY {
    tuint32 channel;  // 0
};
HLX_WIRE_RECORD(NET_COLOR_QUERY, 4);

/// Body of CMD_REQUEST_COLOR_SET and _SAVE and of CMD_REPLY_CHNN_CTRL_COLOR. The values are on the scale of the
/// defaults in PRODUCT_INFO.
struct NET_COLOR_INFO {
    tuint32 channel;    // 0
    tuint8 brightness;  // 4
    tuint8 contrast;    // 5
    tuint8 saturation;  // 6
    tuint8 hue;         // 7
};
HLX_WIRE_RECORD(NET_COLOR_INFO, 8);
HLX_WIRE_OFFSET(NET_COLOR_INFO, hue, 7);

constexpr tuint32 COLOR_VALUE_MAX = 255;

/// Body of CMD_REQUEST_MANUAL_REC.
struct NET_MANUAL_REC_INFO {
    tuint32 channel;     // 0
    tuint32 bStart;      // 4  1 begins to record, 0 ends it
    tuint32 recordType;  // 8  as the recorder numbers them; 0 at the end
};
HLX_WIRE_RECORD(NET_MANUAL_REC_INFO, 12);

/// One alarm output. The body of CMD_REQUEST_OPEN_ALARM and CMD_REQUEST_CLEAN_ALARM is a 32-bit count and that many of
/// these.
struct NET_ALARM_OUT_INFO {
    tuint32 output;  // 0
    tuint32 value;   // 4  as the application gave it
};
HLX_WIRE_RECORD(NET_ALARM_OUT_INFO, 8);

constexpr tuint32 MAX_ALARM_OUT_NUM = 255;

/// What a camera is told to do. Moves go from left to closing the iris, and on until NET_PTZ_STOP.
enum NET_PTZ_COMMAND : tuint32 {
    NET_PTZ_STOP = 0,
    NET_PTZ_LAST_MOVE = 14,
    NET_PTZ_PRESET_SET = 15,
    NET_PTZ_PRESET_GO = 16,
    NET_PTZ_PRESET_DEL = 17,
    NET_PTZ_CRUISE_SET = 18,
    NET_PTZ_CRUISE_RUN = 19,
    NET_PTZ_CRUISE_DEL = 21,
    NET_PTZ_LAST_COMMAND = 28,  // behind the tracks, the end of an automatic scan
};

/// Body of CMD_REQUEST_PTZ_CTRL. Behind it, for NET_PTZ_CRUISE_SET with stations only, a 32-bit count and that many
/// NET_CRUISE_POINT_INFO.
struct NET_PTZ_CTRL_INFO {
    tuint32 channel;       //  0
    tuint32 dwSpeed;       //  4
    tuint32 dwPTZCommand;  //  8  a NET_PTZ_COMMAND
    tuint32 cmdValue;      // 12  preset or cruise; 0xFFFFFFFF for a command without
};
HLX_WIRE_RECORD(NET_PTZ_CTRL_INFO, 16);
HLX_WIRE_OFFSET(NET_PTZ_CTRL_INFO, dwPTZCommand, 8);

/// One station of a cruise, in the order of going.
struct NET_CRUISE_POINT_INFO {
    tuint32 dwPointIndex;  //  0
    tuint32 dwPresetIdx;   //  4
    tuint32 dwDwellSpeed;  //  8
    tuint32 dwDwellTime;   // 12  seconds
};
HLX_WIRE_RECORD(NET_CRUISE_POINT_INFO, 16);

/// presetNumOneCruise, a byte, bounds the stations of a cruise.
constexpr tuint32 MAX_CRUISE_POINT_NUM = 255;

/// One camera that the recorder is connected to. The body of CMD_REPLY_NET_DEVICE_LOG_GET_SUCC is a 32-bit count and
/// that many of these. The texts need not be terminated.
struct NET_IPC_DEVICE_INFO {
    tuint32 deviceID;           //   0
    tuint16 channel;            //   4
    tuint16 status;             //   6  1 connected
    char szEtherName[16];       //   8
    char szServer[64];          //  24
    tuint16 nPort;              //  88
    tuint16 nHttpPort;          //  90
    tuint16 nCtrlPort;          //  92
    char szID[64];              //  94
    char username[36];          // 158
    tuint16 padding;            // 194
    tuint32 manufacturerId;     // 196
    char manufacturerName[36];  // 200
    char productModel[36];      // 236
    tuint8 bUseDefaultCfg;      // 272
    tuint8 bPOEDevice;          // 273
    tuint8 resv[2];             // 274
    char szChlname[36];         // 276
};
HLX_WIRE_RECORD(NET_IPC_DEVICE_INFO, 312);
HLX_WIRE_OFFSET(NET_IPC_DEVICE_INFO, manufacturerId, 196);
HLX_WIRE_OFFSET(NET_IPC_DEVICE_INFO, szChlname, 276);

#pragma pack(pop)

/// A frame with its data, as talk frames are handed out. Lives in memory only.
struct FRAME_INFO_EX : FRAME_INFO {
    unsigned char* pData;  // `length` bytes; who owns them is said where the record is handed out
};

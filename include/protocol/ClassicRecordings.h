// Recordings of a classic recorder: search, lock and delete, playback and download, log and events.
//
// Times are seconds since 1970, frames carry microseconds. Channels are numbered from 0. A request carries a number of
// the client's choice, `requestID`, and whatever answers it carries the same: an answer with another number belongs to
// a request that nobody waits for any more.
#pragma once

#include "protocol/ClassicProtocol.h"

#pragma pack(push, 1)

// ---- Search ----

/// What is looked for, and what the records of a reply are.
enum NET_DATA_KIND : tuint32 {
    NET_DATA_DATE = 1,    // NET_REC_DATE_INFO
    NET_DATA_FILE = 2,    // NET_REC_FILE_INFO
    NET_DATA_TIME = 3,    // NET_REC_TIME_INFO
    NET_DATA_EVENT = 4,   // NET_REC_EVENT_INFO
    NET_DATA_CHANGE = 5,  // none: files were locked, unlocked or deleted
    NET_DATA_STREAM = 6,  // none: a stream starts
};

constexpr tuint32 ALL_CHANNELS = 0xFFFFFFFF;

/// DD_RECORD_TYPE_* flags on the wire: why something was recorded. More of them exist.
enum NET_REC_TYPE : tuint32 {
    NET_REC_MANUAL = 0x1,
    NET_REC_SCHEDULE = 0x2,
    NET_REC_MOTION = 0x4,
    NET_REC_SENSOR = 0x8,
};

/// Body of CMD_REQUEST_DATA_SEARCH. What overlaps the time from startTime up to stopTime is found and comes whole, not
/// cut to that time; what only touches it does not overlap. A time without a length, asked for or recorded, counts as
/// one second. Days are found over all times and channels, and the last four fields are 0 then.
struct NET_DATA_SEARCH_INFO {
    tuint32 requestID;  //  0
    tuint32 kind;       //  4  NET_DATA_DATE to NET_DATA_EVENT
    tuint32 channel;    //  8  or ALL_CHANNELS
    tuint32 recType;    // 12  DD_RECORD_TYPE_* flags
    tuint32 startTime;  // 16
    tuint32 stopTime;   // 20
};
HLX_WIRE_RECORD(NET_DATA_SEARCH_INFO, 24);
HLX_WIRE_OFFSET(NET_DATA_SEARCH_INFO, recType, 12);

/// Stands first in the body of CMD_REPLY_DATA_INFO, CMD_REPLY_LOG_INFO and CMD_REPLY_EVENT_INFO; `count` records
/// follow. A long result comes in several messages, the records in the order of their start.
struct NET_DATA_REPLY_HEAD {
    tuint32 requestID;  //  0
    tuint32 kind;       //  4  a NET_DATA_KIND; 0 with logs and events
    tuint32 bMore;      //  8  1: another message with records of the same result follows
    tuint32 count;      // 12
};
HLX_WIRE_RECORD(NET_DATA_REPLY_HEAD, 16);
HLX_WIRE_OFFSET(NET_DATA_REPLY_HEAD, count, 12);

/// Body of CMD_REPLY_DATA_NULL and, to a request for logs or events, of CMD_REPLY_SYS_STATUS_FAIL: nothing was found,
/// or the recorder refuses. It may stand for the rest of a result that was announced.
struct NET_DATA_NULL_INFO {
    tuint32 requestID;  // 0
    tuint32 reason;     // 4  a NET_DATA_REASON
};
HLX_WIRE_RECORD(NET_DATA_NULL_INFO, 8);

enum NET_DATA_REASON : tuint32 {
    NET_DATA_NOTHING_FOUND = 0,
    NET_DATA_NO_RESOURCE = 1,  // of a stream: the recorder serves as many as it can
    NET_DATA_REFUSED = 2,      // no such file or channel, a file that is locked, a request that makes no sense
};

/// A day of the recorder's own calendar.
struct NET_REC_DATE_INFO {
    tuint16 year;  // 0  e.g. 2026
    tuint8 month;  // 2  1 to 12
    tuint8 day;    // 3  1 to 31
};
HLX_WIRE_RECORD(NET_REC_DATE_INFO, 4);

struct NET_REC_FILE_INFO {
    tuint32 channel;    //  0
    tuint32 bLocked;    //  4
    tuint32 startTime;  //  8
    tuint32 stopTime;   // 12
    tuint32 recType;    // 16  DD_RECORD_TYPE_* flags
    tuint32 partition;  // 20  with fileIndex the recorder's own name of the file
    tuint32 fileIndex;  // 24
};
HLX_WIRE_RECORD(NET_REC_FILE_INFO, 28);
HLX_WIRE_OFFSET(NET_REC_FILE_INFO, partition, 20);

struct NET_REC_TIME_INFO {
    tuint32 channel;    // 0
    tuint32 startTime;  // 4
    tuint32 stopTime;   // 8
};
HLX_WIRE_RECORD(NET_REC_TIME_INFO, 12);

struct NET_REC_EVENT_INFO {
    tuint32 channel;    //  0
    tuint32 startTime;  //  4
    tuint32 stopTime;   //  8
    tuint32 recType;    // 12  DD_RECORD_TYPE_* flags
};
HLX_WIRE_RECORD(NET_REC_EVENT_INFO, 16);

/// Body of CMD_REQUEST_DATA_LOCK, _UNLOCK and _DELETE; `count` NET_REC_FILE_INFO follow, of which the recorder looks at
/// channel, partition and fileIndex. It does all or nothing: CMD_REPLY_DATA_INFO (NET_DATA_CHANGE, no records) or
/// CMD_REPLY_DATA_NULL.
struct NET_FILE_LIST_HEAD {
    tuint32 requestID;  // 0
    tuint32 count;      // 4  1 to MAX_FILE_LIST
};
HLX_WIRE_RECORD(NET_FILE_LIST_HEAD, 8);

constexpr tuint32 MAX_FILE_LIST = 10000;

// ---- Log and events ----

/// Body of CMD_REQUEST_LOG_INFO. Entries of startTime, of stopTime and between them are found.
struct NET_LOG_QUERY {
    tuint32 requestID;  //  0
    tuint32 logType;    //  4  main type; 0xFFFFFFFF for all
    tuint32 startTime;  //  8
    tuint32 stopTime;   // 12
};
HLX_WIRE_RECORD(NET_LOG_QUERY, 16);

/// One entry of the log; `contentLength` bytes of text follow, at most 511. The name need not be terminated.
struct NET_LOG_INFO {
    tuint32 time;           //  0
    tuint32 majorType;      //  4
    tuint32 minorType;      //  8
    char netUser[36];       // 12
    tuint32 remoteHost;     // 48  IPv4, network order
    tuint32 contentLength;  // 52
};
HLX_WIRE_RECORD(NET_LOG_INFO, 56);
HLX_WIRE_OFFSET(NET_LOG_INFO, remoteHost, 48);

constexpr tuint32 MAX_LOG_CONTENT = 511;

/// DD_EVENT_TYPE_* flags on the wire.
enum NET_EVENT_TYPE : tuint16 {
    NET_EVENT_MOTION = 0x1,
    NET_EVENT_SENSOR = 0x2,
    NET_EVENT_VIDEO_LOSS = 0x4,
    NET_EVENT_VIDEO_COVER = 0x8,
};

/// Body of CMD_REQUEST_EVENT_INFO. The times are those of NET_DATA_SEARCH_INFO.
struct NET_EVENT_QUERY {
    tuint32 requestID;    //  0
    tuint32 eventType;    //  4  DD_EVENT_TYPE_* flags
    tuint64 channelMask;  //  8  bit n is channel n
    tuint32 startTime;    // 16
    tuint32 stopTime;     // 20
};
HLX_WIRE_RECORD(NET_EVENT_QUERY, 24);
HLX_WIRE_OFFSET(NET_EVENT_QUERY, startTime, 16);

struct NET_EVENT_INFO {
    tuint16 channel;    // 0
    tuint16 type;       // 2  a DD_EVENT_TYPE_*
    tuint32 startTime;  // 4
    tuint32 endTime;    // 8
};
HLX_WIRE_RECORD(NET_EVENT_INFO, 12);

// ---- Playback and download ----
//
// A stream has an id that the client chose: PLAYBACK_STREAM_ID_FIRST and up, one for each slot, or DOWNLOAD_STREAM_ID.
// Its frames come as CMD_REPLY_DATA_STREAM with that streamID, frameAttrib 0 and the time of the recording in `time`;
// frameIndex counts from 0 over all frames of the stream, whatever their type, channel and direction. Each channel
// begins with its format frames and a key frame, the one at startTime or the last before it in the same recording, and
// a change of picture size or sound is told by a format frame ahead of a key frame. The channels of one stream come in
// the order of their times, up to but without stopTime. The last frame, in either direction, is of FRAME_TYPE_END,
// without data, with PLAY_FRAME_ALL_END and the time up to which there are recordings. The stream is there until _STOP
// all the same.
//
// Flow control: the recorder sends at most PLAYBACK_WINDOW_FRAMES frames and PLAYBACK_WINDOW_BYTES bytes of data beyond
// the index notified last, but always one frame. Nothing counts as notified at the start of a stream, and frame 0, which
// is never notified, does not keep frame 1 back. The client has room for all of that when it notifies: of a playback
// each index, of a download the seventh, sooner where frames are large, and the last that it took when no more comes. An
// index that was not sent yet, or is behind the one notified last, is ignored.

constexpr tuint32 MAX_STREAM_CHANNELS = 8;
constexpr tuint32 PLAYBACK_WINDOW_FRAMES = 14;
constexpr tuint32 PLAYBACK_WINDOW_BYTES = 1u << 20;

/// Body of CMD_REQUEST_DATA_READ: starts a stream or, with the id of one that runs, takes it to another time. Answered
/// by CMD_REPLY_DATA_INFO (NET_DATA_STREAM, no records) ahead of the frames, or by CMD_REPLY_DATA_NULL, also when nothing
/// is recorded in that time; a stream that ran before a refusal has ended. Behind the answer no frame of the run before
/// it comes, frameIndex begins anew at 0 and every frame is sent forward.
struct NET_DATA_READ_INFO {
    tuint32 requestID;                      //  0
    tuint32 streamID;                       //  4
    tuint32 bFirstStream;                   //  8  1 main, 0 sub stream of the recording
    tuint32 channelNum;                     // 12  1 to MAX_STREAM_CHANNELS; a download has one
    tuint32 channels[MAX_STREAM_CHANNELS];  // 16  what is not used is 0
    tuint32 startTime;                      // 48
    tuint32 stopTime;                       // 52
};
HLX_WIRE_RECORD(NET_DATA_READ_INFO, 56);
HLX_WIRE_OFFSET(NET_DATA_READ_INFO, startTime, 48);

/// Body of CMD_REQUEST_DATA_PAUSE, _RESUME, _FF, _REW and _STOP. Not answered. _FF from FAST_KEY_SPEED on and _REW send
/// key frames only, onward or backward from the frame that was sent last. A slower _FF and _RESUME send every frame, and
/// go on with the key frame that comes next if key frames alone were sent before; else they change nothing. None of them
/// begins the counting of frames anew. _PAUSE holds the frames back until any of the others. _STOP ends the stream at
/// once.
struct NET_DATA_CTRL_INFO {
    tuint32 streamID;      // 0
    tuint32 bFirstStream;  // 4
    tuint32 value;         // 8  an HLX_RPB_SPEED with _FF and _REW, else 0
};
HLX_WIRE_RECORD(NET_DATA_CTRL_INFO, 12);

constexpr tuint32 FAST_KEY_SPEED = 9;  // HLX_RPB_SPEED_8X

/// Body of CMD_REQUEST_DATA_INDEX: the frames up to this index were taken. Not answered.
struct NET_DATA_INDEX_INFO {
    tuint32 streamID;      //  0
    tuint32 bFirstStream;  //  4
    tuint32 frameIndex;    //  8
    tuint32 channel;       // 12  ALL_CHANNELS: of the whole stream
};
HLX_WIRE_RECORD(NET_DATA_INDEX_INFO, 16);

/// Body of CMD_REQUEST_CHANGE_AUDIO: the channels of a stream whose sound is wanted. Not answered. A stream starts with
/// the sound of all its channels.
struct NET_CHANGE_AUDIO_INFO {
    tuint32 streamID;      //  0
    tuint32 bFirstStream;  //  4
    tuint64 audioCH;       //  8  bit n is channel n
};
HLX_WIRE_RECORD(NET_CHANGE_AUDIO_INFO, 16);
HLX_WIRE_OFFSET(NET_CHANGE_AUDIO_INFO, audioCH, 8);

#pragma pack(pop)

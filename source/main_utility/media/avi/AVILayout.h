// What stands where in an AVI file of ours. All numbers are little-endian.
#pragma once

#include "protocol/WireTypes.h"

/// How a file is laid out. All callers use AVI_TYPE_STD.
enum AVI_TYPE {
    AVI_TYPE_STD = 0,      // grows; the index is held in memory until the end
    AVI_TYPE_DEFSIZE = 1,  // a preallocated file of 64 MiB, written in place; time stamps on two text streams
    AVI_TYPE_NOSIZE = 2,   // grows like the first, with the time stamps of the second
};

/// What CAVIWriter::FileCheck tells.
enum AVI_FILE_STATUS {
    AVI_STATUS_WRITING = 256,   // AVI_TYPE_DEFSIZE: room is left
    AVI_STATUS_CLOSED = 257,    // no file is open
    AVI_STATUS_OPENED = 258,    // open; the growing layouts keep this while all goes well
    AVI_STATUS_LOW = 259,       // AVI_TYPE_DEFSIZE: less than 10 MiB or 375 index entries are left
    AVI_STATUS_VERY_LOW = 260,  // AVI_TYPE_DEFSIZE: less than 2 MiB or 75 index entries are left
    AVI_STATUS_FULL = 261,      // full, or a write failed
};

constexpr tuint32 FourCC(const char (&letters)[5]) {
    tuint32 code = 0;
    for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(letters[i]);
    return code;
}

#pragma pack(push, 1)
typedef struct _avimainheader {
    tuint32 fcc;
    tuint32 cb;  // bytes behind this field
    tuint32 dwMicroSecPerFrame;
    tuint32 dwMaxBytesPerSec;
    tuint32 dwPaddingGranularity;
    tuint32 dwFlags;
    tuint32 dwTotalFrames;  // stays 0
    tuint32 dwInitialFrames;
    tuint32 dwStreams;
    tuint32 dwSuggestedBufferSize;
    tuint32 dwWidth;
    tuint32 dwHeight;
    tuint32 dwReserved[4];
} AVIMAINHEADER;
HLX_WIRE_RECORD(AVIMAINHEADER, 64);

typedef struct _avistreamheader {
    tuint32 fcc;
    tuint32 cb;  // bytes behind this field
    tuint32 fccType;
    tuint32 fccHandler;
    tuint32 dwFlages;  // the spelling is the format's here
    tuint16 wPriority;
    tuint16 wLanguage;
    tuint32 dwInitialFrames;
    tuint32 dwScale;
    tuint32 dwRate;  // dwRate / dwScale units a second
    tuint32 dwStart;
    tuint32 dwLength;               // video: frames, empty ones too; audio: bytes
    tuint32 dwSuggestedBufferSize;  // bytes
    tuint32 dwQuality;
    tuint32 dwSampleSize;
    struct {
        tint16 left;
        tint16 top;
        tint16 right;
        tint16 bottom;
    } rcFrame;
} AVISTREAMHEADER;
HLX_WIRE_RECORD(AVISTREAMHEADER, 64);
HLX_WIRE_OFFSET(AVISTREAMHEADER, dwLength, 40);

struct AVIINDEXENTRY {
    tuint32 ckid;
    tuint32 dwFlags;
    tuint32 dwChunkOffset;  // of the chunk's header, counted from the word "movi"
    tuint32 dwChunkLength;  // bytes of payload
};
HLX_WIRE_RECORD(AVIINDEXENTRY, 16);

/// In front of every chunk. Chunks follow each other at once, odd sizes are not padded.
struct AVI_CHUNK_HEAD {
    tuint32 ckid;
    tuint32 size;  // bytes of payload
};
HLX_WIRE_RECORD(AVI_CHUNK_HEAD, 8);

/// The payload of a time stamp chunk.
struct AVI_TIME_STAMP {
    tint64 time;
    tuint8 bTimeStamp;
};
HLX_WIRE_RECORD(AVI_TIME_STAMP, 9);
#pragma pack(pop)

constexpr tuint32 AVI_KEY_CHUNK = FourCC("00db");    // a key frame
constexpr tuint32 AVI_FRAME_CHUNK = FourCC("00dc");  // any other frame; without payload one that fills a gap
constexpr tuint32 AVI_AUDIO_CHUNK = FourCC("01wb");
constexpr tuint32 AVI_VIDEO_TIME_CHUNK = FourCC("02db");  // in front of a frame, in the layouts with time stamps
constexpr tuint32 AVI_AUDIO_TIME_CHUNK = FourCC("03db");  // in front of an audio chunk there

constexpr bool IsAviVideo(tuint32 ckid) { return ckid == AVI_KEY_CHUNK || ckid == AVI_FRAME_CHUNK; }
constexpr bool IsAviTime(tuint32 ckid) { return ckid == AVI_VIDEO_TIME_CHUNK || ckid == AVI_AUDIO_TIME_CHUNK; }

constexpr tuint32 AVI_INDEX_KEYFRAME = 16;  // dwFlags of an index entry

// The head of a file, up to the first chunk.
constexpr size_t AVI_MARK_OFFSET = 2020;    // AVI_OPEN_MARK while a file is written, 0 once it is complete
constexpr size_t AVI_MOVI_OFFSET = 2036;    // "LIST", size, "movi"
constexpr size_t AVI_CHUNKS_OFFSET = 2048;  // the first chunk
constexpr tuint32 AVI_OPEN_MARK = 0xFFFFFFFF;
constexpr tuint32 AVI_HEAD_VERSION = 0x00020000;  // stands in front of the mark

// AVI_TYPE_DEFSIZE.
constexpr tint64 AVI_DEF_FILE_SIZE = 0x4000000;
constexpr tuint32 AVI_DEF_RIFF_SIZE = 0x3FFFFF8;
constexpr tuint32 AVI_DEF_MOVI_SIZE = 63961084;
constexpr tint64 AVI_DEF_INDEX_OFFSET = 63963128;  // "idx1", size; the entries follow
constexpr tuint32 AVI_DEF_INDEX_OPEN_SIZE = 3145696;
constexpr tint64 AVI_DEF_FIRST_ENTRY = 3997696;  // place of the first entry in the file, counted in entries
constexpr tint64 AVI_DEF_INDEX_BYTES = 3145728;  // room for entries
static_assert(AVI_MOVI_OFFSET + 8 + AVI_DEF_MOVI_SIZE == AVI_DEF_INDEX_OFFSET);
static_assert(AVI_DEF_FIRST_ENTRY * 16 == AVI_DEF_INDEX_OFFSET + 8);
static_assert(AVI_DEF_FIRST_ENTRY * 16 + AVI_DEF_INDEX_BYTES == AVI_DEF_FILE_SIZE);

/// Index entries that a growing file may have, so that tiny chunks do not take all memory (256 MiB): over 90 hours of
/// 25 frames and 25 sounds a second.
constexpr tuint32 AVI_MOST_ENTRIES = 1 << 24;

// Writes one AVI file from frames that are already encoded.
#pragma once

#include <array>
#include <memory>

#include "HLX.h"
#include "main_utility/media/avi/AVIFile.h"
#include "main_utility/media/avi/AVIHeader.h"
#include "main_utility/media/avi/AVIIndex.h"
#include "main_utility/media/avi/AVILayout.h"

/// Open, many WriteData and Close may be repeated on one object. No lock: one thread at a time. Calls block as long as
/// the file system takes. A file that is not closed (killed, abandoned) holds AVI_OPEN_MARK at AVI_MARK_OFFSET and can
/// be repaired; it lacks at most what was gathered since the last write, 20 video frames and 66560 bytes at most.
class CAVIWriter {
public:
    CAVIWriter() = default;
    /// Completes nothing, so Close comes first: an open file is let go as it is.
    virtual ~CAVIWriter() = default;
    CAVIWriter(const CAVIWriter&) = delete;
    CAVIWriter& operator=(const CAVIWriter&) = delete;

    /// Makes the file and writes its head; AVI_TYPE_DEFSIZE takes a file that is there and has 67108864 bytes. A file
    /// that is still open is let go as it is, and all counters start anew. `wFormat` is null without audio; of it the 18
    /// bytes of the record are read and no more: the cbSize bytes that the format may have behind it are zero in the
    /// file. `isPal`: 25 frames a second, else 30000/1001. `type` is not used. False, with no file open, when the file
    /// cannot be opened or written, is no regular file, is open in another writer, when cbSize is above 1486, or when
    /// there is no memory.
    bool Open(const char* szFilename, const BITMAPINFOHEADER& bmpInfo, const WAVEFORMATEX* wFormat, bool isPal,
              AVI_TYPE aviType, int type);

    /// Gives the open file, which was opened without audio, an audio stream. Of AVI_TYPE_STD only, and with a cbSize of 0;
    /// false for anything else, and when the head cannot be written, after which FileCheck gives 261.
    bool AddAudio(const WAVEFORMATEX& format);

    /// Appends `Len` bytes as one chunk. `time` is the frame's position in AVI_TYPE_STD, counted in frames from 0: a
    /// position that lies ahead of the next one is reached by empty frames, unless it is more than 9000 ahead; such a
    /// jump is no gap, and the frame follows at once. In the other layouts it is the time stamp written in front, with
    /// `bTimeStamp`. What comes before the first key frame is dropped. 0 on success, also for what is dropped; -1 with
    /// no file open, or once FileCheck gives 261: after a failed write, or when the chunk has no room (growing layouts:
    /// 4 GiB or AVI_MOST_ENTRIES chunks). What was gathered when a write fails is lost, all before it stays.
    int WriteData(const unsigned char* pData, unsigned int Len, tint64 time, bool bIsVideo, bool bKeyFrame,
                  bool bTimeStamp);

    /// Completes the file and closes it; may be called with no open file. True when all that WriteData took, and the
    /// index, are in the file. Where the disk has no room for the index the file ends behind its last chunk and keeps
    /// its mark: it plays, and a repair gives it its index.
    bool Close();

    /// Bytes, with those gathered and those of the index: -1 with no file open, 0 before the first key frame.
    tint64 GetFileLength() const;

    /// The `time` of the first key frame, -1 before it.
    tint64 GetFirstFrameTime() const { return m_firstFrameTime; }

    /// An AVI_FILE_STATUS.
    int FileCheck() const { return m_FileStatus; }

    /// Does nothing.
    void Flush() {}

    /// Milliseconds of video, by the number of frames.
    tint64 GetWriteVideoTime() const;

    /// Bytes of audio.
    tuint32 GetAudioLength() const { return m_header.m_strahdr.dwLength; }

private:
    struct CHUNK {
        tuint32 ckid;
        tuint32 flags;
        const void* pData;
        tuint32 Len;
        tuint32 totalFrames = 0;  // what it adds to the head's count

        size_t Size() const { return sizeof(AVI_CHUNK_HEAD) + Len; }
    };
    /// What chunks have added to the head and to the index.
    struct COUNTS {
        tuint32 videoLength = 0;
        tuint32 audioLength = 0;
        tuint32 textLength = 0;
        tuint32 totalFrames = 0;
        tuint32 indexNum = 0;
    };
    static constexpr tuint32 m_maxBufSize = 66560;
    static constexpr int m_maxBufFmNum = 20;
    static constexpr int m_maxBufIndexNum = 6 * m_maxBufFmNum;

    bool OpenFile(const char* szFilename);
    bool BeginFile();
    void Reset();
    bool WriteFrame(const CHUNK& chunk, tint64 time, bool bIsVideo, bool bTimeStamp);
    bool FillGap(tint64 position);
    bool WriteTimeStamp(tint64 time, bool bIsVideo, bool bTimeStamp);
    bool Write(const CHUNK& chunk);
    bool HasRoom(const CHUNK& chunk) const;
    bool AVIWriteNoSize(const CHUNK& chunk);
    bool AVIWriteDefSize(const CHUNK& chunk);
    bool Store(const CHUNK& chunk);
    void Count(const CHUNK& chunk);
    COUNTS Counts() const;
    void GoBackTo(const COUNTS& counts);
    bool FlushBuffer();
    bool WriteOut(std::string_view first, std::string_view second);
    bool UpdateFrameIndex(tuint32 bufFramesNum);
    bool DefSizeHasRoom(tuint32 Len) const;
    void CheckDefSize();
    bool CloseGrowing();
    bool CloseDefSize();
    tuint32 MoviSize() const { return static_cast<tuint32>(m_curWritePos - (AVI_MOVI_OFFSET + 8)); }

    AVI_TYPE m_aviType = AVI_TYPE_STD;
    bool m_bFileOpen = false;
    bool m_bDataArrived = false;
    bool m_bLost = false;  // a write failed
    int m_nAudioType = 0;
    int m_FileStatus = AVI_STATUS_CLOSED;
    AVI_HEADER m_header{};
    CAVIFile m_pFile;
    std::unique_ptr<char[]> m_pData;  // m_maxBufSize bytes: chunks that are not in the file yet
    tuint32 m_bufDataLen = 0;         // bytes in m_pData
    int m_bufVideoNum = 0;            // video frames since the last flush
    tuint32 m_bufFramesNum = 0;       // chunks in m_pData
    CAVIIndex m_index;                // of the growing layouts
    std::array<AVIINDEXENTRY, 2 * m_maxBufIndexNum> m_bufIndex{};  // AVI_TYPE_DEFSIZE: entries of the chunks in m_pData
    tuint32 m_flagIndex[2] = {FourCC("idx1"), 0};  // AVI_TYPE_DEFSIZE: the second counts the entries in the file
    COUNTS m_inFile;                               // what the chunks in the file add up to
    tint64 m_curWritePos = 0;                      // where the next write goes
    tint64 m_firstFrameTime = -1;
    tint64 m_nPreFrameIndex = 0;  // position of the last video frame, counted from 1
};

#include "main_utility/media/avi/AVIWriter.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

#include "main_utility/media/avi/AVICompletion.h"

namespace {

// A hole of five minutes at 30 frames a second; the library's own callers cut holes down to 10 s.
constexpr tint64 LONGEST_GAP = 9000;

constexpr tint64 LARGEST_RIFF = 0xFFFFFFFF;
constexpr tint64 CHUNK_HEAD = sizeof(AVI_CHUNK_HEAD);
constexpr tint64 INDEX_ENTRY = sizeof(AVIINDEXENTRY);

// AVI_TYPE_DEFSIZE: refused beyond the first two; what is left is counted from the second two.
constexpr tint64 DEF_LAST_BYTE = 63963119;
constexpr tuint32 DEF_LAST_FRAME = 196603;
constexpr tint64 DEF_END_BYTE = 63963127;
constexpr tuint32 DEF_END_FRAME = 196607;
constexpr tint64 DEF_TIME_AND_HEAD = 25;  // a time stamp chunk and the head of the chunk behind it
struct LEFT {
    int status;
    tint64 bytes;
    tuint32 frames;
};
constexpr LEFT DEF_LEFT[] = {{AVI_STATUS_VERY_LOW, 2097152, 75}, {AVI_STATUS_LOW, 10485760, 375}};

}  // namespace

bool CAVIWriter::Open(const char* szFilename, const BITMAPINFOHEADER& bmpInfo, const WAVEFORMATEX* wFormat, bool isPal,
                      AVI_TYPE aviType, int /*type*/) {
    Reset();
    m_header = {};
    m_bDataArrived = false;
    m_bLost = false;
    m_firstFrameTime = -1;
    m_nPreFrameIndex = 0;
    m_inFile = {};
    m_flagIndex[1] = 0;
    m_curWritePos = AVI_CHUNKS_OFFSET;
    m_aviType = aviType;
    if (aviType != AVI_TYPE_STD && aviType != AVI_TYPE_DEFSIZE && aviType != AVI_TYPE_NOSIZE) return false;
    if (!szFilename || !m_header.Make(bmpInfo, wFormat, isPal, aviType)) return false;
    m_nAudioType = wFormat ? wFormat->wFormatTag : 0;
    m_pData.reset(new (std::nothrow) char[m_maxBufSize]);
    if (!m_pData || (aviType != AVI_TYPE_DEFSIZE && !m_index.Begin()) || !OpenFile(szFilename) || !BeginFile()) {
        Reset();
        return false;
    }
    m_bFileOpen = true;
    m_FileStatus = AVI_STATUS_OPENED;
    return true;
}

bool CAVIWriter::OpenFile(const char* szFilename) {
    if (m_aviType != AVI_TYPE_DEFSIZE) return m_pFile.Create(szFilename);
    return m_pFile.Open(szFilename) && m_pFile.Size() == AVI_DEF_FILE_SIZE;
}

bool CAVIWriter::BeginFile() {
    if (!m_header.Write(m_pFile)) return false;
    if (m_aviType != AVI_TYPE_DEFSIZE) return true;
    const tuint32 head[] = {m_flagIndex[0], AVI_DEF_INDEX_OPEN_SIZE};
    return m_pFile.WriteAt(AVI_DEF_INDEX_OFFSET, BytesOf(head), BytesOf(AVIINDEXENTRY{}));
}

bool CAVIWriter::AddAudio(const WAVEFORMATEX& format) {
    if (!m_bFileOpen || m_aviType != AVI_TYPE_STD || !m_header.AddAudio(format)) return false;
    m_nAudioType = format.wFormatTag;
    if (m_header.Write(m_pFile)) return true;
    m_FileStatus = AVI_STATUS_FULL;
    return false;
}

void CAVIWriter::Reset() {
    m_pFile.Close();
    m_pData.reset();
    m_index.Free();
    m_bufDataLen = 0;
    m_bufVideoNum = 0;
    m_bufFramesNum = 0;
    m_bFileOpen = false;
    m_FileStatus = AVI_STATUS_CLOSED;
}

int CAVIWriter::WriteData(const unsigned char* pData, unsigned int Len, tint64 time, bool bIsVideo, bool bKeyFrame,
                          bool bTimeStamp) {
    if (!m_bFileOpen || m_FileStatus == AVI_STATUS_FULL || (!pData && Len > 0)) return -1;
    if (!m_bDataArrived && !bKeyFrame) return 0;
    if (!m_bDataArrived) m_firstFrameTime = time;
    m_bDataArrived = true;
    const tuint32 videoChunk = bKeyFrame ? AVI_KEY_CHUNK : AVI_FRAME_CHUNK;
    // The head counts each frame twice, and where there are time stamps each sound, too.
    const tuint32 totalFrames = bIsVideo || m_aviType != AVI_TYPE_STD ? 2 : 0;
    const CHUNK chunk{bIsVideo ? videoChunk : AVI_AUDIO_CHUNK, bKeyFrame ? AVI_INDEX_KEYFRAME : 0, pData, Len,
                      totalFrames};
    if (!WriteFrame(chunk, time, bIsVideo, bTimeStamp)) {
        m_FileStatus = AVI_STATUS_FULL;
        return -1;
    }
    if (m_aviType == AVI_TYPE_DEFSIZE) CheckDefSize();
    return 0;
}

bool CAVIWriter::WriteFrame(const CHUNK& chunk, tint64 time, bool bIsVideo, bool bTimeStamp) {
    if (m_aviType == AVI_TYPE_DEFSIZE && !DefSizeHasRoom(chunk.Len)) return false;
    if (m_aviType != AVI_TYPE_STD && !WriteTimeStamp(time, bIsVideo, bTimeStamp)) return false;
    if (m_aviType == AVI_TYPE_STD && bIsVideo && !FillGap(time)) return false;
    if (bIsVideo) ++m_bufVideoNum;
    if (!Write(chunk)) return false;
    tuint32& largest = m_header.m_strvhdr.dwSuggestedBufferSize;
    if (bIsVideo) largest = std::max(largest, chunk.Len);
    return true;
}

/// Keeps the file in step with real time.
bool CAVIWriter::FillGap(tint64 position) {
    tint64 index = m_nPreFrameIndex;
    if (index < std::numeric_limits<tint64>::max()) ++index;
    if (position > index && position - index > LONGEST_GAP) index = position;
    for (; index < position; ++index)
        if (!Write({AVI_FRAME_CHUNK, 0, nullptr, 0})) return false;
    m_nPreFrameIndex = index;
    return true;
}

bool CAVIWriter::WriteTimeStamp(tint64 time, bool bIsVideo, bool bTimeStamp) {
    const AVI_TIME_STAMP stamp{time, static_cast<tuint8>(bTimeStamp ? 1 : 0)};
    return Write({bIsVideo ? AVI_VIDEO_TIME_CHUNK : AVI_AUDIO_TIME_CHUNK, AVI_INDEX_KEYFRAME, &stamp, sizeof(stamp)});
}

bool CAVIWriter::Write(const CHUNK& chunk) {
    return m_aviType == AVI_TYPE_DEFSIZE ? AVIWriteDefSize(chunk) : AVIWriteNoSize(chunk);
}

/// Whether all sizes stay within 32 bits with this chunk, the gap behind the chunks and the index.
bool CAVIWriter::HasRoom(const CHUNK& chunk) const {
    const tint64 chunks = m_curWritePos + m_bufDataLen + static_cast<tint64>(chunk.Size());
    return chunks + 4 + (tint64{m_index.Count()} + 1) * INDEX_ENTRY <= LARGEST_RIFF;
}

bool CAVIWriter::AVIWriteNoSize(const CHUNK& chunk) {
    if (!HasRoom(chunk)) return false;
    const bool bFull = m_bufDataLen + chunk.Size() >= m_maxBufSize || m_bufVideoNum >= m_maxBufFmNum;
    if (bFull && !FlushBuffer()) return false;
    if (!m_index.Add({chunk.ckid, chunk.flags, MoviSize() + m_bufDataLen, chunk.Len})) return false;
    Count(chunk);
    return Store(chunk);
}

bool CAVIWriter::AVIWriteDefSize(const CHUNK& chunk) {
    const bool bFull = m_bufDataLen + chunk.Size() >= m_maxBufSize || m_bufVideoNum >= m_maxBufFmNum ||
                       m_bufFramesNum + 2 >= m_maxBufIndexNum;
    if (bFull && !FlushBuffer()) return false;
    if (chunk.Size() > m_maxBufSize) std::fputs("\n\n Please playback the record data, Whether normal? ", stdout);
    m_bufIndex[m_bufFramesNum] = {chunk.ckid, chunk.flags, MoviSize() + m_bufDataLen, chunk.Len};
    Count(chunk);
    return Store(chunk);
}

/// The chunk's entry is in the index.
bool CAVIWriter::Store(const CHUNK& chunk) {
    const AVI_CHUNK_HEAD m_flagDataBlock{chunk.ckid, chunk.Len};
    const std::string_view head = BytesOf(m_flagDataBlock);
    ++m_bufFramesNum;
    if (chunk.Size() >= m_maxBufSize) return WriteOut(head, {static_cast<const char*>(chunk.pData), chunk.Len});
    char* pEnd = m_pData.get() + m_bufDataLen;
    std::memcpy(pEnd, head.data(), head.size());
    if (chunk.Len > 0) std::memcpy(pEnd + head.size(), chunk.pData, chunk.Len);
    m_bufDataLen += static_cast<tuint32>(chunk.Size());
    return true;
}

void CAVIWriter::Count(const CHUNK& chunk) {
    m_header.m_flagTotalFrame[5] += chunk.totalFrames;
    if (IsAviVideo(chunk.ckid)) {
        ++m_header.m_strvhdr.dwLength;
    } else if (chunk.ckid == AVI_AUDIO_CHUNK) {
        m_header.m_strahdr.dwLength += chunk.Len;
    } else {
        ++m_header.m_straTimehdr.dwLength;  // of frames, too
    }
}

CAVIWriter::COUNTS CAVIWriter::Counts() const {
    return {m_header.m_strvhdr.dwLength, m_header.m_strahdr.dwLength, m_header.m_straTimehdr.dwLength,
            m_header.m_flagTotalFrame[5], m_index.Count()};
}

void CAVIWriter::GoBackTo(const COUNTS& counts) {
    m_header.m_strvhdr.dwLength = counts.videoLength;
    m_header.m_strahdr.dwLength = counts.audioLength;
    m_header.m_straTimehdr.dwLength = counts.textLength;
    m_header.m_flagTotalFrame[5] = counts.totalFrames;
    m_index.CutTo(counts.indexNum);
}

bool CAVIWriter::FlushBuffer() {
    m_bufVideoNum = 0;
    if (m_bufDataLen == 0) return true;
    return WriteOut({m_pData.get(), m_bufDataLen}, {});
}

/// Writes whole chunks, or none: of chunks that are not in the file nothing stays.
bool CAVIWriter::WriteOut(std::string_view first, std::string_view second) {
    const tint64 size = static_cast<tint64>(first.size() + second.size());
    const tuint32 frames = m_bufFramesNum;
    const tuint32 indexed = m_flagIndex[1];
    m_bufDataLen = 0;
    m_bufFramesNum = 0;
    const bool bIndexed = m_aviType != AVI_TYPE_DEFSIZE || UpdateFrameIndex(frames);
    if (bIndexed && m_pFile.WriteAt(m_curWritePos, first, second)) {
        m_curWritePos += size;
        m_inFile = Counts();
        return true;
    }
    m_bLost = true;
    GoBackTo(m_inFile);
    m_flagIndex[1] = indexed;
    if (m_aviType != AVI_TYPE_DEFSIZE) m_pFile.Truncate(m_curWritePos);
    return false;
}

/// Puts the gathered entries behind those in the file, and zeroes behind them.
bool CAVIWriter::UpdateFrameIndex(tuint32 bufFramesNum) {
    std::fill(m_bufIndex.begin() + bufFramesNum, m_bufIndex.end(), AVIINDEXENTRY{});
    const tint64 place = (m_flagIndex[1] + AVI_DEF_FIRST_ENTRY) * INDEX_ENTRY;
    const tint64 room = AVI_DEF_INDEX_BYTES - m_flagIndex[1] * INDEX_ENTRY;
    const tint64 size = std::min<tint64>(sizeof(m_bufIndex), room);
    m_flagIndex[1] += bufFramesNum;
    return m_pFile.WriteAt(place, BytesOf(m_bufIndex).substr(0, static_cast<size_t>(size)));
}

bool CAVIWriter::DefSizeHasRoom(tuint32 Len) const {
    const tint64 bytes = Len + m_curWritePos + m_bufDataLen + DEF_TIME_AND_HEAD;
    return bytes <= DEF_LAST_BYTE && m_bufFramesNum + m_header.m_flagTotalFrame[5] + 2 <= DEF_LAST_FRAME;
}

void CAVIWriter::CheckDefSize() {
    m_FileStatus = AVI_STATUS_WRITING;
    for (const LEFT& left : DEF_LEFT) {
        const bool bBytes = m_bufDataLen + m_curWritePos + left.bytes > DEF_END_BYTE;
        if (!bBytes && m_bufFramesNum + m_header.m_flagTotalFrame[5] + left.frames <= DEF_END_FRAME) continue;
        m_FileStatus = left.status;
        return;
    }
}

bool CAVIWriter::Close() {
    bool bComplete = true;
    if (m_bFileOpen) bComplete = m_aviType == AVI_TYPE_DEFSIZE ? CloseDefSize() : CloseGrowing();
    Reset();
    return bComplete;
}

bool CAVIWriter::CloseGrowing() {
    FlushBuffer();
    return CompleteGrowing(m_pFile, m_header, m_index, m_curWritePos, AVI_SYNC::NO) && !m_bLost;
}

bool CAVIWriter::CloseDefSize() {
    FlushBuffer();
    const bool bIndexed = UpdateFrameIndex(0);  // takes away entries of chunks that did not get in
    return CompleteDefSize(m_pFile, m_header, m_flagIndex[1], AVI_SYNC::NO) && bIndexed && !m_bLost;
}

tint64 CAVIWriter::GetFileLength() const {
    if (!m_bFileOpen) return -1;
    if (!m_bDataArrived) return 0;
    return m_curWritePos + m_bufDataLen + m_index.Count() * INDEX_ENTRY + CHUNK_HEAD;
}

tint64 CAVIWriter::GetWriteVideoTime() const {
    const AVISTREAMHEADER& video = m_header.m_strvhdr;
    return video.dwRate == 0 ? 0 : tint64{video.dwLength} * video.dwScale * 1000 / video.dwRate;
}

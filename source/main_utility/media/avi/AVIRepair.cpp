#include "main_utility/media/avi/AVIRepair.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "main_utility/media/avi/AVICompletion.h"

namespace {

constexpr tint64 CHUNK_HEAD = sizeof(AVI_CHUNK_HEAD);
constexpr tint64 INDEX_ENTRY = sizeof(AVIINDEXENTRY);
constexpr tint64 LARGEST_RIFF = 0xFFFFFFFF;
constexpr tint64 LONGEST_DAMAGE = 64 << 20;
constexpr size_t MOST_HOLES = 10000;
constexpr int RUN = 3;  // chunks one behind the other are no accident
constexpr tuint32 JUNK = FourCC("JUNK");
constexpr size_t CKID = 4;
constexpr size_t HEAD_WINDOW = 512;  // bytes read for one head: most are far from each other

/// The flags are the writer's caller's; chunks do not tell all of them.
bool SameChunk(const AVIINDEXENTRY& one, const AVIINDEXENTRY& other) {
    return one.ckid == other.ckid && one.dwChunkOffset == other.dwChunkOffset &&
           one.dwChunkLength == other.dwChunkLength;
}

}  // namespace

AVI_REPAIR_REPORT CAVIRepair::Repair(const char* pPath, bool bForce) try {
    AVI_REPAIR_REPORT report;
    errno = 0;
    if (m_file.Open(pPath)) {
        report.result = Judge(bForce);
        if (report.result == AVI_REPAIR::REPAIRED && !Rebuild()) report.result = AVI_REPAIR::REFUSED;
        if (report.result != AVI_REPAIR::NOT_OURS) Fill(report);
    }
    if (report.result == AVI_REPAIR::REFUSED) report.error = errno;
    return report;
} catch (const std::bad_alloc&) {
    AVI_REPAIR_REPORT report;
    report.error = ENOMEM;
    return report;
}

/// Touches nothing.
AVI_REPAIR CAVIRepair::Judge(bool bForce) {
    if (!m_header.Read(m_file)) return AVI_REPAIR::NOT_OURS;
    m_size = m_file.Size();
    m_end = AVI_CHUNKS_OFFSET;
    m_bTimeStamps = m_header.m_aviHeader.dwStreams == 4;
    m_bDefSize = m_bTimeStamps && m_size == AVI_DEF_FILE_SIZE && m_header.m_flagRIFF[1] == AVI_DEF_RIFF_SIZE &&
                 m_header.m_flagMovie[1] == AVI_DEF_MOVI_SIZE;
    m_limit = m_bDefSize ? AVI_DEF_INDEX_OFFSET : m_size;
    const AVI_HEADER found = m_header;
    if (!m_index.Begin() || !(m_bDefSize ? FindIndexedChunks() : FindChunks())) {
        errno = ENOMEM;
        return AVI_REPAIR::REFUSED;
    }
    SetHeader();
    if (found.m_flagMark[1] != 0) return AVI_REPAIR::REPAIRED;
    const bool bSame = found.m_flagRIFF[1] == m_header.m_flagRIFF[1] &&
                       found.m_flagMovie[1] == m_header.m_flagMovie[1] &&
                       found.m_strvhdr.dwLength == m_header.m_strvhdr.dwLength &&
                       found.m_strahdr.dwLength == m_header.m_strahdr.dwLength &&
                       found.m_straTimehdr.dwLength == m_header.m_straTimehdr.dwLength;
    if (bSame && m_holes.empty() && IsIndexInFile()) return AVI_REPAIR::WHOLE;
    if (!bForce) return AVI_REPAIR::CLOSED;
    return EntriesInFile() > m_index.Count() ? AVI_REPAIR::WORSE : AVI_REPAIR::REPAIRED;
}

/// What the window has from `place` on: `least` bytes or more, fewer only at the file's end. Filled anew, it takes
/// `most` bytes. Valid until the next call.
std::string_view CAVIRepair::Window(tint64 place, size_t least, size_t most) {
    const tint64 end = m_windowBegin + static_cast<tint64>(m_windowSize);
    if (place < m_windowBegin || place + static_cast<tint64>(least) > end) {
        m_windowSize = m_file.ReadAt(place, m_window.data(), most);
        m_windowBegin = place;
    }
    return std::string_view(m_window.data(), m_windowSize).substr(static_cast<size_t>(place - m_windowBegin));
}

std::optional<AVI_CHUNK_HEAD> CAVIRepair::HeadAt(tint64 place) {
    AVI_CHUNK_HEAD head;
    const auto bytes = Window(place, sizeof(head), HEAD_WINDOW);
    if (bytes.size() < sizeof(head)) return {};
    std::memcpy(&head, bytes.data(), sizeof(head));
    return head;
}

/// The head of a chunk that could be ours. Whether the file has all of it is not looked at.
std::optional<AVI_CHUNK_HEAD> CAVIRepair::ChunkAt(tint64 place) {
    const auto head = HeadAt(place);
    if (!head) return {};
    const bool bTime = m_bTimeStamps && IsAviTime(head->ckid) && head->size == sizeof(AVI_TIME_STAMP);
    return bTime || IsAviVideo(head->ckid) || head->ckid == AVI_AUDIO_CHUNK || head->ckid == JUNK ? head : std::nullopt;
}

/// The chunk stands at m_end. False without memory.
bool CAVIRepair::TakeChunk(const AVI_CHUNK_HEAD& head, tuint32 flags) {
    const tuint32 offset = static_cast<tuint32>(m_end - (AVI_MOVI_OFFSET + 8));
    if (!m_index.Add({head.ckid, flags, offset, head.size})) return false;
    m_end += CHUNK_HEAD + head.size;
    return true;
}

/// Walks over the chunks. False without memory.
bool CAVIRepair::FindChunks() {
    while (m_index.Count() < AVI_MOST_ENTRIES) {
        const auto head = ChunkAt(m_end);
        if (!head && SkipDamage()) continue;
        if (!head || m_end + CHUNK_HEAD + head->size > m_limit) return true;
        const tint64 riff = m_end + CHUNK_HEAD + head->size + 4 + (tint64{m_index.Count()} + 1) * INDEX_ENTRY;
        if (riff > LARGEST_RIFF) return true;
        if (head->ckid == JUNK) {  // of an earlier repair
            m_end += CHUNK_HEAD + head->size;
            continue;
        }
        const bool bKey = head->ckid == AVI_KEY_CHUNK || IsAviTime(head->ckid);
        if (!TakeChunk(*head, bKey ? AVI_INDEX_KEYFRAME : 0)) return false;
    }
    return true;
}

/// Goes on at the next run of chunks, if there is one. The end of the chunks is no damage.
bool CAVIRepair::SkipDamage() {
    const auto tail = Window(m_end, CHUNK_HEAD, HEAD_WINDOW).substr(0, CHUNK_HEAD);
    if (tail.find("idx1") != std::string_view::npos || m_holes.size() >= MOST_HOLES) return false;
    const tint64 last = std::min(m_limit, m_end + LONGEST_DAMAGE);
    for (tint64 place = m_end + CHUNK_HEAD; place + CHUNK_HEAD <= last;) {
        const auto window = Window(place, CKID, m_window.size());
        const size_t found = window.find('0');
        if (window.size() < CKID) return false;
        place += static_cast<tint64>(std::min(found, window.size()));
        if (found == std::string_view::npos) continue;
        if (IsRunOfChunks(place)) {
            m_holes.push_back({m_end, place});
            m_end = place;
            return true;
        }
        ++place;
    }
    return false;
}

bool CAVIRepair::IsRunOfChunks(tint64 place) {
    for (int i = 0; i < RUN; ++i) {
        const auto head = ChunkAt(place);
        if (!head) return false;
        place += CHUNK_HEAD + head->size;
        if (place == m_limit) return true;
        if (place > m_limit) return false;
    }
    return true;
}

/// Takes what the index in the file and the chunks themselves agree on. False without memory.
bool CAVIRepair::FindIndexedChunks() {
    for (tint64 i = 0; i < AVI_DEF_INDEX_BYTES / INDEX_ENTRY; ++i) {
        AVIINDEXENTRY entry;
        if (m_file.ReadAt((AVI_DEF_FIRST_ENTRY + i) * INDEX_ENTRY, &entry, sizeof(entry)) != sizeof(entry)) return true;
        const auto head = ChunkAt(m_end);
        const bool bAgree = head && head->ckid != JUNK && head->ckid == entry.ckid &&
                            head->size == entry.dwChunkLength &&
                            m_end - tint64{AVI_MOVI_OFFSET + 8} == entry.dwChunkOffset;
        if (!bAgree || m_end + CHUNK_HEAD + head->size > m_limit) return true;
        if (!TakeChunk(*head, entry.dwFlags)) return false;
    }
    return true;
}

/// Counts and sizes as the chunks found say.
void CAVIRepair::SetHeader() {
    tuint32& largest = m_header.m_strvhdr.dwSuggestedBufferSize;
    m_header.m_strvhdr.dwLength = m_header.m_strahdr.dwLength = m_header.m_straTimehdr.dwLength = 0;
    m_header.m_flagTotalFrame[5] = largest = 0;
    for (const AVIINDEXENTRY& entry : m_index.Entries()) {
        const bool bEmpty = !m_bTimeStamps && entry.dwChunkLength == 0;
        if (IsAviVideo(entry.ckid)) {
            ++m_header.m_strvhdr.dwLength;
            largest = std::max(largest, entry.dwChunkLength);
            m_emptyFrames += bEmpty ? 1 : 0;
            m_header.m_flagTotalFrame[5] += bEmpty ? 0 : 2;
        } else if (entry.ckid == AVI_AUDIO_CHUNK) {
            m_header.m_strahdr.dwLength += entry.dwChunkLength;
            m_header.m_flagTotalFrame[5] += m_bTimeStamps ? 2 : 0;
        } else {
            ++m_header.m_straTimehdr.dwLength;
        }
    }
    if (!m_bDefSize) SetGrowingSizes(m_header, m_index, m_end);
}

/// Whether the index in the file is that of the chunks found, and nothing stands behind it.
bool CAVIRepair::IsIndexInFile() {
    const auto entries = m_index.Entries();
    const tint64 place = m_bDefSize ? AVI_DEF_INDEX_OFFSET : IndexPlace(m_end);
    const auto head = HeadAt(place);
    if (!head || head->ckid != FourCC("idx1") || head->size != entries.size_bytes()) return false;
    if (m_bDefSize) return true;  // what was found there was found by it
    if (place + CHUNK_HEAD + static_cast<tint64>(head->size) != m_size) return false;
    constexpr size_t PIECE = 1024;
    std::array<AVIINDEXENTRY, PIECE> piece{};
    for (size_t i = 0; i < entries.size(); i += PIECE) {
        const auto count = static_cast<ptrdiff_t>(std::min(PIECE, entries.size() - i));
        const size_t length = static_cast<size_t>(count) * sizeof(AVIINDEXENTRY);
        const tint64 from = place + CHUNK_HEAD + static_cast<tint64>(i) * INDEX_ENTRY;
        if (m_file.ReadAt(from, piece.data(), length) != length) return false;
        if (!std::equal(piece.begin(), piece.begin() + count, entries.begin() + static_cast<ptrdiff_t>(i), SameChunk))
            return false;
    }
    return true;
}

/// How many chunks the index knows that the head in the file leads to.
tuint32 CAVIRepair::EntriesInFile() {
    AVI_HEADER header{};
    header.Read(m_file);
    const tint64 place = m_bDefSize ? AVI_DEF_INDEX_OFFSET : tint64{AVI_MOVI_OFFSET + 8} + header.m_flagMovie[1];
    const auto head = HeadAt(place);
    const bool bThere = head && head->ckid == FourCC("idx1") && place + CHUNK_HEAD + tint64{head->size} <= m_size;
    return bThere ? head->size / static_cast<tuint32>(INDEX_ENTRY) : 0;
}

/// The mark comes first and goes last.
bool CAVIRepair::Rebuild() {
    if (!m_header.WriteMark(m_file, AVI_OPEN_MARK) || !m_file.Sync()) return false;
    if (m_bDefSize) return CompleteDefSize(m_file, m_header, m_index.Count(), AVI_SYNC::EACH_STEP);
    for (const HOLE& hole : m_holes) {
        const AVI_CHUNK_HEAD junk{JUNK, static_cast<tuint32>(hole.end - hole.begin - CHUNK_HEAD)};
        if (!m_file.WriteAt(hole.begin, BytesOf(junk))) return false;
    }
    return m_file.Truncate(m_end) && CompleteGrowing(m_file, m_header, m_index, m_end, AVI_SYNC::EACH_STEP);
}

void CAVIRepair::Fill(AVI_REPAIR_REPORT& report) const {
    const AVISTREAMHEADER& video = m_header.m_strvhdr;
    report.emptyFrames = m_emptyFrames;
    report.frames = video.dwLength - m_emptyFrames;
    report.audioBytes = m_header.m_strahdr.dwLength;
    report.milliseconds = tint64{video.dwLength} * video.dwScale * 1000 / video.dwRate;
    for (const HOLE& hole : m_holes) report.damagedBytes += hole.end - hole.begin;
    if (report.result == AVI_REPAIR::REPAIRED && !m_bDefSize) report.droppedBytes = m_size - m_end;
}

#include "simulator/archive/ArchiveStream.h"

#include <algorithm>

CArchiveStream::CArchiveStream(const CSimArchive& archive, const CArchiveMedia& media, const ARCHIVE_REQUEST& request)
    : m_request(request) {
    m_cursors.reserve(request.channels.size());
    for (const tuint32 channel : request.channels)
        m_cursors.emplace_back(archive, media, channel, request.bFirst, request.span);
}

bool CArchiveStream::HasFrames() { return Pick() != nullptr; }

CArchiveCursor* CArchiveStream::Pick() {
    const bool bBackward = m_mode == ARCHIVE_MODE::KEYS_BACKWARD;
    CArchiveCursor* pPicked = nullptr;
    std::int64_t best = 0;
    for (CArchiveCursor& cursor : m_cursors) {
        const auto time = cursor.NextTime();
        if (!time || (pPicked && (bBackward ? *time <= best : *time >= best))) continue;
        pPicked = &cursor;
        best = *time;
    }
    return pPicked;
}

std::int64_t CArchiveStream::EndTime() const {
    if (m_mode == ARCHIVE_MODE::KEYS_BACKWARD) return m_request.span.start * 1000000;
    std::int64_t end = 0;
    for (const CArchiveCursor& cursor : m_cursors) end = std::max(end, cursor.End());
    return end;
}

bool CArchiveStream::Peek(ARCHIVE_FRAME& frame) {
    if (m_bEnded) return false;
    if (CArchiveCursor* pCursor = Pick()) {
        pCursor->Peek(frame);
        return true;
    }
    frame = {};
    frame.channel = m_request.channels.front();
    frame.frameType = FRAME_TYPE_END;
    frame.time = EndTime();
    return true;
}

void CArchiveStream::Pop() {
    if (CArchiveCursor* pCursor = Pick()) {
        pCursor->Pop();
    } else {
        m_bEnded = true;
    }
}

void CArchiveStream::SetMode(ARCHIVE_MODE mode) {
    if (mode == m_mode) return;
    const bool bTurned = (mode == ARCHIVE_MODE::KEYS_BACKWARD) != (m_mode == ARCHIVE_MODE::KEYS_BACKWARD);
    m_mode = mode;
    for (CArchiveCursor& cursor : m_cursors) cursor.SetMode(mode);
    if (bTurned) m_bEnded = false;
}

void CArchiveStream::SetSound(tuint64 mask) {
    for (CArchiveCursor& cursor : m_cursors) cursor.SetSound(((mask >> cursor.Channel()) & 1) != 0);
}

ARCHIVE_SEQUENCE ArchiveFrames(const CSimArchive& archive, const CArchiveMedia& media, const ARCHIVE_REQUEST& request) {
    CArchiveStream stream(archive, media, request);
    ARCHIVE_SEQUENCE sequence;
    for (ARCHIVE_FRAME frame; stream.Peek(frame); stream.Pop()) {
        if (frame.frameType == FRAME_TYPE_VIDEO_FORMAT)
            frame.data = sequence.formats.emplace_back(frame.data.begin(), frame.data.end());
        sequence.frames.push_back(frame);
    }
    return sequence;
}

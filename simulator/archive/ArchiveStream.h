// The frames of several channels of an archive, one behind the other.
#pragma once

#include <vector>

#include "simulator/archive/ArchiveCursor.h"

/// What a stream consists of.
struct ARCHIVE_REQUEST {
    std::vector<tuint32> channels;  // without the same twice
    bool bFirst = true;             // main stream of the recording; else its sub stream
    ARCHIVE_SPAN span;              // seconds since 1970
};

/// Merges the channels by time, the channels' order where times are the same, and puts an end frame behind the last
/// frame of either direction. One thread uses it.
class CArchiveStream {
public:
    /// The archive and the media outlive the stream; the channels are those of the archive.
    CArchiveStream(const CSimArchive& archive, const CArchiveMedia& media, const ARCHIVE_REQUEST& request);

    /// False when there is nothing but the end.
    bool HasFrames();

    /// The frame that comes next, the same one until Pop() or a change; false behind the end frame.
    bool Peek(ARCHIVE_FRAME& frame);
    void Pop();

    ARCHIVE_MODE Mode() const { return m_mode; }

    /// A stream that came to its end goes on in the other direction only.
    void SetMode(ARCHIVE_MODE mode);

    /// Whose sound is wanted; bit n is channel n.
    void SetSound(tuint64 mask);

private:
    CArchiveCursor* Pick();
    std::int64_t EndTime() const;

    const ARCHIVE_REQUEST m_request;
    std::vector<CArchiveCursor> m_cursors;
    ARCHIVE_MODE m_mode = ARCHIVE_MODE::ALL;
    bool m_bEnded = false;  // the end frame was taken
};

/// The frames of a request as a stream gives them, the end frame last. What they point at lives as long as this and the
/// media.
struct ARCHIVE_SEQUENCE {
    std::vector<ARCHIVE_FRAME> frames;
    std::vector<SIM_BYTES> formats;  // data of the pictures' format frames
};
ARCHIVE_SEQUENCE ArchiveFrames(const CSimArchive& archive, const CArchiveMedia& media, const ARCHIVE_REQUEST& request);

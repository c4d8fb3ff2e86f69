// A playback or a download of a simulated classic recorder.
#pragma once

#include <array>

#include "simulator/archive/ArchiveStream.h"
#include "simulator/classic/StreamPump.h"

/// Which frames have been sent and not been notified: says whether another may go.
class CFlowWindow {
public:
    bool HasRoom(size_t bytes) const;

    /// Counts a frame in and gives its index.
    tuint32 Add(size_t bytes);

    /// Takes out the frames up to the index; one that is not under way is ignored.
    void Notify(tuint32 index);

private:
    tuint32 m_next = 0;                // index of the next frame
    tuint32 m_first = 0;               // index of the first frame under way
    size_t m_bytes = 0;                // under way
    std::array<size_t, 16> m_sizes{};  // of the frames under way, by index
};
static_assert(PLAYBACK_WINDOW_FRAMES <= 16);

/// Gives the frames of a recording as flow control lets them go. Used by the recorder's thread.
class CPlaybackStream {
public:
    /// The archive and the media outlive the stream.
    CPlaybackStream(const CSimArchive& archive, const CArchiveMedia& media, tuint32 streamID,
                    const ARCHIVE_REQUEST& request);

    tuint32 StreamID() const { return m_streamID; }
    bool IsDownload() const { return m_streamID == DOWNLOAD_STREAM_ID; }

    /// False when nothing is recorded in the time asked for.
    bool HasFrames() { return m_stream.HasFrames(); }

    /// The next frame without its index; false when none may go now. Valid until Sent() or a change.
    bool Peek(CLASSIC_FRAME& frame);

    /// The frame that Peek() gave goes out: counts it and fills in its index.
    void Sent(CLASSIC_FRAME& frame);

    std::uint64_t FramesSent() const { return m_frames; }

    /// Body of CMD_REQUEST_DATA_PAUSE, _RESUME, _FF and _REW.
    void Control(tuint32 cmdType, tuint32 value);
    void Notify(tuint32 index) { m_window.Notify(index); }
    void SetSound(tuint64 mask) { m_stream.SetSound(mask); }

    /// Gives no frame any more.
    void Halt() { m_bHalted = true; }

private:
    const tuint32 m_streamID;
    CArchiveStream m_stream;
    CFlowWindow m_window;
    std::uint64_t m_frames = 0;
    bool m_bPaused = false;
    bool m_bHalted = false;
};

#include "simulator/classic/PlaybackStream.h"

bool CFlowWindow::HasRoom(size_t bytes) const {
    const tuint32 underWay = m_next - m_first;
    if (underWay == 0 || (m_first == 0 && underWay == 1)) return true;
    return underWay < PLAYBACK_WINDOW_FRAMES && m_bytes + bytes <= PLAYBACK_WINDOW_BYTES;
}

tuint32 CFlowWindow::Add(size_t bytes) {
    m_bytes += bytes;
    m_sizes[m_next % m_sizes.size()] = bytes;
    return m_next++;
}

void CFlowWindow::Notify(tuint32 index) {
    // The differences hold when the numbers go round.
    if (index - m_first >= m_next - m_first) return;
    for (const tuint32 behind = index + 1; m_first != behind; ++m_first) m_bytes -= m_sizes[m_first % m_sizes.size()];
}

CPlaybackStream::CPlaybackStream(const CSimArchive& archive, const CArchiveMedia& media, tuint32 streamID,
                                 const ARCHIVE_REQUEST& request)
    : m_streamID(streamID), m_stream(archive, media, request) {}

bool CPlaybackStream::Peek(CLASSIC_FRAME& frame) {
    ARCHIVE_FRAME next;
    if (m_bPaused || m_bHalted || !m_stream.Peek(next) || !m_window.HasRoom(next.data.size())) return false;
    FRAME_INFO& info = frame.info;
    info = {};
    info.keyFrame = next.bKeyFrame ? 1 : 0;
    info.frameType = next.frameType;
    info.length = static_cast<tuint32>(next.data.size());
    info.width = next.width;
    info.height = next.height;
    info.channel = next.channel;
    info.frameAttrib = next.frameType == FRAME_TYPE_END ? tuint32{PLAY_FRAME_ALL_END} : 0;
    info.streamID = m_streamID;
    info.time = info.relativeTime = next.time;
    frame.data = next.data;
    return true;
}

void CPlaybackStream::Sent(CLASSIC_FRAME& frame) {
    frame.info.frameIndex = m_window.Add(frame.data.size());
    m_stream.Pop();
    ++m_frames;
}

void CPlaybackStream::Control(tuint32 cmdType, tuint32 value) {
    m_bPaused = cmdType == CMD_REQUEST_DATA_PAUSE;
    if (m_bPaused) return;
    ARCHIVE_MODE mode = ARCHIVE_MODE::ALL;
    if (cmdType == CMD_REQUEST_DATA_REW) mode = ARCHIVE_MODE::KEYS_BACKWARD;
    if (cmdType == CMD_REQUEST_DATA_FF && value >= FAST_KEY_SPEED) mode = ARCHIVE_MODE::KEYS_FORWARD;
    m_stream.SetMode(mode);
}

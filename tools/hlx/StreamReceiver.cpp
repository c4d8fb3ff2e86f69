#include "StreamReceiver.h"

#include <cstring>
#include <new>

namespace {

constexpr size_t MOST_FORMATS = 16;  // that wait for a snapshot; a device may announce as many as it likes

}  // namespace

STREAM_FIGURES STREAM_FIGURES::operator-(const STREAM_FIGURES& before) const {
    return {nFrames - before.nFrames,           nBytes - before.nBytes,
            nKeyFrames - before.nKeyFrames,     nGaps - before.nGaps,
            nSoundFrames - before.nSoundFrames, nSoundBytes - before.nSoundBytes};
}

CStreamReceiver::CStreamReceiver(CInterrupt& interrupt, CFrameWriter* pWriter, uint64_t nFrameLimit)
    : m_interrupt(interrupt), m_pWriter(pWriter), m_nFrameLimit(nFrameLimit) {
    m_state.last = m_state.ready = Clock::now();
}

void CStreamReceiver::OnFrame(POINTERHANDLE, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser) {
    auto* pThis = static_cast<CStreamReceiver*>(pUser);
    try {
        pThis->Take(frameInfo, pBuffer);
    } catch (const std::bad_alloc&) {
        std::lock_guard lock(pThis->m_lock);
        pThis->m_bClosed = pThis->m_state.bNoMemory = true;
        pThis->m_interrupt.Wake();
    }
}

CStreamReceiver::SNAPSHOT CStreamReceiver::TakeSnapshot() {
    std::lock_guard lock(m_lock);
    SNAPSHOT snapshot = m_state;
    m_state.formats.clear();
    return snapshot;
}

void CStreamReceiver::Close() {
    std::lock_guard lock(m_lock);
    m_bClosed = true;
}

void CStreamReceiver::Take(const HLX_FRAME_INFO& info, const BYTE* pData) {
    {
        std::lock_guard lock(m_lock);
        if (m_bClosed) return;
        if (info.frameType == DD_FRAME_TYPE_VIDEO_FORMAT) AddVideoFormat(pData, info.length);
        if (info.frameType == DD_FRAME_TYPE_AUDIO_FORMAT) AddSoundFormat(pData, info.length);
        if (info.frameType == DD_FRAME_TYPE_AUDIO) {
            ++m_state.figures.nSoundFrames;
            m_state.figures.nSoundBytes += info.length;
        }
        if (info.frameType != DD_FRAME_TYPE_VIDEO || !CountVideo(info)) return;
        m_state.ready = m_state.last;
        m_state.bHeldUp = m_pWriter != nullptr;
    }
    if (!m_pWriter) return;
    m_pWriter->Push(pData, info.length);  // outside the lock, because a full queue blocks here
    std::lock_guard lock(m_lock);
    m_state.ready = Clock::now();
    m_state.bHeldUp = false;
    if (m_state.bComplete) m_interrupt.Wake();  // not before the writer has the last frame
}

// Counts a video frame; false for one that is not to be written. m_lock is held.
bool CStreamReceiver::CountVideo(const HLX_FRAME_INFO& info) {
    if (m_state.bComplete || (!m_state.first && !info.keyFrame)) return false;
    const auto now = Clock::now();
    if (m_state.first && info.frameIndex != m_dwNextIndex) ++m_state.figures.nGaps;
    if (!m_state.first) m_state.first = now;
    m_state.last = now;
    m_dwNextIndex = info.frameIndex + 1;
    ++m_state.figures.nFrames;
    m_state.figures.nBytes += info.length;
    m_state.figures.nKeyFrames += info.keyFrame ? 1 : 0;
    m_state.bComplete = m_state.figures.nFrames == m_nFrameLimit;
    if (m_state.bComplete) m_interrupt.Wake();
    return true;
}

void CStreamReceiver::AddVideoFormat(const BYTE* pData, size_t nSize) {
    BITMAPINFOHEADER header{};
    if (nSize < sizeof header || m_state.formats.size() == MOST_FORMATS) return;
    memcpy(&header, pData, sizeof header);
    char sCodec[4];
    memcpy(sCodec, &header.biCompression, sizeof sCodec);
    STREAM_FORMAT format;
    format.strCodec = FieldText(sCodec, sizeof sCodec);
    format.nWidth = static_cast<int>(header.biWidth);
    format.nHeight = static_cast<int>(header.biHeight);
    m_state.formats.push_back(std::move(format));
}

void CStreamReceiver::AddSoundFormat(const BYTE* pData, size_t nSize) {
    WAVEFORMATEX header{};
    if (nSize < sizeof header || m_state.formats.size() == MOST_FORMATS) return;
    memcpy(&header, pData, sizeof header);
    STREAM_FORMAT format;
    format.bVideo = false;
    format.strCodec = std::to_string(header.wFormatTag);
    format.nChannels = header.nChannels;
    format.nRate = header.nSamplesPerSec;
    m_state.formats.push_back(std::move(format));
}

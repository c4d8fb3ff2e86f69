#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "FrameWriter.h"
#include "HLX.h"
#include "Interrupt.h"
#include "Text.h"

// What came since the start, or in one second.
struct STREAM_FIGURES {
    uint64_t nFrames = 0;     // video
    uint64_t nBytes = 0;      // video
    uint64_t nKeyFrames = 0;  // of nFrames
    uint64_t nGaps = 0;       // breaks in the video frames' running index
    uint64_t nSoundFrames = 0;
    uint64_t nSoundBytes = 0;

    STREAM_FIGURES operator-(const STREAM_FIGURES& before) const;
};

// A format that the stream announced.
struct STREAM_FORMAT {
    bool bVideo = true;
    std::string strCodec;  // letters of the video codec, or the number of the sound's format tag
    int nWidth = 0;        // video: picture size
    int nHeight = 0;
    unsigned nChannels = 0;  // sound: channels and samples a second
    unsigned nRate = 0;
};

// Takes the frames of one stream on the library's thread: counts them, and gives the video from the first key
// frame on to a writer.
class CStreamReceiver {
public:
    using Clock = std::chrono::steady_clock;

    struct SNAPSHOT {
        STREAM_FIGURES figures;
        std::vector<STREAM_FORMAT> formats;      // announced since the last snapshot
        std::optional<Clock::time_point> first;  // when the first video frame came
        Clock::time_point last;                  // when the last one came; the start before the first
        Clock::time_point ready;                 // since when the next one is waited for
        bool bHeldUp = false;                    // none is waited for: the writer takes in the last one
        bool bComplete = false;                  // the limit of frames is reached
        bool bNoMemory = false;                  // the stream ended here
    };

    // pWriter may be null; nFrameLimit 0 is none. interrupt is woken when the limit is reached.
    CStreamReceiver(CInterrupt& interrupt, CFrameWriter* pWriter, uint64_t nFrameLimit);

    // The LIVE_DATA_CALLBACK; pUser is the receiver.
    static void OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser);

    SNAPSHOT TakeSnapshot();

    // From now on frames are neither counted nor written.
    void Close();

private:
    void Take(const HLX_FRAME_INFO& info, const BYTE* pData);
    bool CountVideo(const HLX_FRAME_INFO& info);
    void AddVideoFormat(const BYTE* pData, size_t nSize);
    void AddSoundFormat(const BYTE* pData, size_t nSize);

    CInterrupt& m_interrupt;
    CFrameWriter* const m_pWriter;
    const uint64_t m_nFrameLimit;
    std::mutex m_lock;
    SNAPSHOT m_state;            // m_lock
    uint32_t m_dwNextIndex = 0;  // m_lock
    bool m_bClosed = false;      // m_lock
};

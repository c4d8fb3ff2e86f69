#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "StreamReceiver.h"

// Has the library save a live stream to an AVI file. The file begins with the first key frame and ends with the last
// frame inside the length, both by the frames' own times: saving is switched in the frame callback, in front of the
// frame.
class CRecording {
public:
    // What ended the saving by itself.
    enum class END { NONE, LENGTH, FORMAT, REFUSED };

    // length 0: until the stream ends. interrupt is woken when the saving ends by itself. The frames since the first key
    // frame go on to the receiver.
    CRecording(CInterrupt& interrupt, CStreamReceiver& receiver, std::string strFile, std::chrono::milliseconds length);

    // The LIVE_DATA_CALLBACK; pUser is the recording.
    static void OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser);

    END End() const { return m_eEnd; }

    // The library's error number, with END::REFUSED.
    DWORD Error() const { return m_dwError; }

private:
    void Before(POINTERHANDLE lLiveHandle, const HLX_FRAME_INFO& info);
    void Begin(POINTERHANDLE lLiveHandle, const HLX_FRAME_INFO& info);
    END EndAt(const HLX_FRAME_INFO& info);
    void Finish(END eEnd);

    CInterrupt& m_interrupt;
    CStreamReceiver& m_receiver;
    const std::string m_strFile;
    const std::chrono::microseconds m_length;
    std::atomic<END> m_eEnd{END::NONE};
    std::atomic<DWORD> m_dwError{0};
    bool m_bSaving = false;  // stream's thread only, as all below
    uint32_t m_dwWidth = 0;
    uint32_t m_dwHeight = 0;
    int64_t m_nLastTime = 0;  // of the last video frame
    std::chrono::microseconds m_recorded{0};
    CStreamReceiver::Clock::time_point m_begun;
};

// What stands in an AVI file.
struct RECORDED_FILE {
    uint64_t nBytes = 0;
    uint64_t nFrames = 0;  // those that fill gaps, too
    double dSeconds = 0;
    bool bComplete = false;  // has its index
};

// Nothing when there is no such file, or it is no AVI file of the library.
std::optional<RECORDED_FILE> ReadRecorded(const std::string& strFile);

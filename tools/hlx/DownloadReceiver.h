#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

#include "HLX.h"
#include "Interrupt.h"
#include "main_utility/media/framefile/FrameFileWriter.h"

// Takes the frames of one download on the library's thread and writes them to a file of frames.
class CDownloadReceiver {
public:
    using Clock = std::chrono::steady_clock;

    struct SNAPSHOT {
        uint64_t nFrames = 0;
        uint64_t nBytes = 0;     // of the file
        int64_t nFirst = 0;      // time of the first picture, microseconds since 1970; 0 before it
        int64_t nLast = 0;       // of the last picture
        bool bEnd = false;       // the end frame came
        int nErrno = 0;          // of a write that failed
        Clock::time_point came;  // when the last frame came; the start before the first
    };

    // interrupt is woken at the end and when a write fails.
    explicit CDownloadReceiver(CInterrupt& interrupt) : m_interrupt(interrupt) {}

    // Makes the file. 0, or an errno.
    int Open(const std::string& strFile);

    // The BACKUP_DATA_CALLBACK; pUser is the receiver.
    static void OnData(POINTERHANDLE lFileHandle, UINT dataType, BYTE* pBuffer, UINT length, void* pUser);

    SNAPSHOT TakeSnapshot() const;

    // Gives what was gathered to the system, so that little is lost when the process is killed.
    void Flush();

    // Completes the file, once the download is stopped. 0, or the errno of a write that failed.
    int Close();

private:
    void Take(const BYTE* pBuffer, size_t nLength);

    CInterrupt& m_interrupt;
    mutable std::mutex m_lock;
    CFrameFileWriter m_writer;  // m_lock, as the next
    SNAPSHOT m_state;
};

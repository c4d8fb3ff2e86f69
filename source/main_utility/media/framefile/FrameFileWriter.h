// Writes a file of frames.
#pragma once

#include <sys/uio.h>

#include <memory>

#include "main_utility/media/framefile/FrameFile.h"

/// Gathers frames and writes them in large pieces. After a write that failed nothing more is written, and the file ends
/// behind the last whole frame that got there. One thread at a time.
class CFrameFileWriter {
public:
    /// Bytes that are gathered before they are written.
    static constexpr size_t BUFFER_SIZE = 262144;

    CFrameFileWriter() = default;
    ~CFrameFileWriter() { Close(); }
    CFrameFileWriter(const CFrameFileWriter&) = delete;
    CFrameFileWriter& operator=(const CFrameFileWriter&) = delete;

    /// Makes the file, or empties it. False with errno; ENOMEM without memory for the buffer. Blocks as open() does.
    bool Open(const char* pName);

    /// Appends a frame with its `head.nLength` bytes. False once a write failed.
    bool Write(const SDK_FRAME_INFO& head, const void* pData);

    /// Hands to the system what was gathered. False once a write failed.
    bool Flush();

    /// Writes the rest and closes; more than once does no harm. False if not everything stands in the file.
    bool Close();

    /// errno of the write that failed, 0 if none did.
    int Error() const { return m_error; }

    /// Bytes that Write took, those of a failed write included.
    tuint64 Bytes() const { return m_bytes; }

private:
    bool WriteOut(iovec* pPieces, int count);
    bool Fail(tuint64 wholeBytes);
    size_t WholeFrames(size_t written) const;

    int m_fd = -1;
    int m_error = 0;
    tuint64 m_bytes = 0;
    tuint64 m_fileSize = 0;    // of whole frames
    size_t m_lastWritten = 0;  // of the last WriteOut
    std::unique_ptr<char[]> m_buffer;
    size_t m_used = 0;  // of m_buffer: whole frames
};

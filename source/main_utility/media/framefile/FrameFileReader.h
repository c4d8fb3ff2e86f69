// Reads a file of frames.
#pragma once

#include <span>
#include <vector>

#include "main_utility/media/framefile/FrameFile.h"

/// A frame of a file; its bytes are lent until the next one is read.
struct FILE_FRAME {
    SDK_FRAME_INFO head{};
    std::span<const std::byte> data;
};

/// What stands next in a file of frames.
enum class FILE_STEP {
    FRAME,
    WHOLE,      // the file ended behind a frame
    CUT,        // the file ended within a frame
    NO_FRAMES,  // what stands here is no head of a frame
    FAILED,     // the file cannot be read on: errno
};

/// From the first frame to the last. A file may say anything: nothing is believed before the bytes are there. One
/// thread at a time.
class CFrameFileReader {
public:
    /// A head that tells more is none: no device sends such frames.
    static constexpr size_t LONGEST_FRAME = 67108864;

    CFrameFileReader() = default;
    ~CFrameFileReader() { Close(); }
    CFrameFileReader(const CFrameFileReader&) = delete;
    CFrameFileReader& operator=(const CFrameFileReader&) = delete;

    /// False with errno.
    bool Open(const char* pName);
    /// Reads from here on; the descriptor stays the caller's.
    void Attach(int fd);
    void Close();

    /// Reads the next frame. After anything but FRAME the result stays.
    FILE_STEP Next(FILE_FRAME& frame);

    /// Bytes of the frames read.
    tuint64 Position() const { return m_position; }

private:
    FILE_STEP ReadNext(FILE_FRAME& frame);
    bool Ensure(size_t size);
    bool ReadMore(size_t size);
    std::span<const std::byte> Waiting() const { return std::span(m_buffer).subspan(m_begin, m_end - m_begin); }

    int m_fd = -1;
    bool m_bOwn = false;
    FILE_STEP m_step = FILE_STEP::FRAME;  // of the last Next
    bool m_bFailed = false;               // a read failed, with the next as errno
    int m_error = 0;
    tuint64 m_position = 0;
    std::vector<std::byte> m_buffer;
    size_t m_begin = 0;  // of what was read and not taken, up to m_end
    size_t m_end = 0;
};

#include "main_utility/media/framefile/FrameFileReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "sdk_common/SystemFault.h"
#include "sdk_common/WireReader.h"

namespace {

constexpr size_t READ_SIZE = 262144;  // bytes asked for at a time

/// Zeros are what a file holds that lost its power.
bool IsHead(const SDK_FRAME_INFO& head) {
    const bool bZeros = head.frameType == DD_FRAME_TYPE_NONE && head.nLength == 0;
    return !bZeros && head.frameType <= DD_FRAME_TYPE_END && head.nLength <= CFrameFileReader::LONGEST_FRAME;
}

}  // namespace

bool CFrameFileReader::Open(const char* pName) {
    const int fd = SystemCall(SYSTEM_CALL::OPEN_FILE, -1, [&](size_t) { return open(pName, O_RDONLY | O_CLOEXEC); });
    Attach(fd);
    m_bOwn = fd >= 0;
    return m_bOwn;
}

void CFrameFileReader::Attach(int fd) {
    const int before = errno;
    Close();
    errno = before;
    m_fd = fd;
    m_step = FILE_STEP::FRAME;
    m_bFailed = false;
    m_position = 0;
    m_begin = m_end = 0;
}

void CFrameFileReader::Close() {
    if (m_bOwn) close(m_fd);
    m_fd = -1;
    m_bOwn = false;
}

FILE_STEP CFrameFileReader::Next(FILE_FRAME& frame) {
    frame = {};
    if (m_step == FILE_STEP::FRAME) m_step = ReadNext(frame);
    if (m_step == FILE_STEP::FAILED) errno = m_error;
    return m_step;
}

FILE_STEP CFrameFileReader::ReadNext(FILE_FRAME& frame) {
    if (!Ensure(sizeof(frame.head))) {
        if (m_bFailed) return FILE_STEP::FAILED;
        return m_begin == m_end ? FILE_STEP::WHOLE : FILE_STEP::CUT;
    }
    const auto head = CWireReader(Waiting()).Read<SDK_FRAME_INFO>();
    if (!IsHead(head)) return FILE_STEP::NO_FRAMES;
    const size_t size = sizeof(head) + size_t{head.nLength};
    if (!Ensure(size)) return m_bFailed ? FILE_STEP::FAILED : FILE_STEP::CUT;
    frame.head = head;
    frame.data = Waiting().subspan(sizeof(head), head.nLength);
    m_begin += size;
    m_position += size;
    return FILE_STEP::FRAME;
}

/// Reads on until `size` bytes wait. False when the file ends before, or cannot be read.
bool CFrameFileReader::Ensure(size_t size) {
    while (m_end - m_begin < size) {
        if (m_begin > 0) std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
        if (!ReadMore(READ_SIZE)) return false;
    }
    return true;
}

/// The buffer grows with the bytes that come, not with those that a head promises.
bool CFrameFileReader::ReadMore(size_t size) try {
    if (m_buffer.size() < m_end + size) m_buffer.resize(std::max(m_end + size, m_buffer.size() * 2));
    ssize_t got = -1;
    do {
        got = read(m_fd, m_buffer.data() + m_end, m_buffer.size() - m_end);
    } while (got < 0 && errno == EINTR);
    m_bFailed = got < 0;
    m_error = errno;
    if (got > 0) m_end += static_cast<size_t>(got);
    return got > 0;
} catch (const std::bad_alloc&) {
    m_bFailed = true;
    m_error = ENOMEM;
    return false;
}

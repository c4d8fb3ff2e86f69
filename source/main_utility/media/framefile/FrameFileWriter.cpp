#include "main_utility/media/framefile/FrameFileWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "sdk_common/SystemFault.h"
#include "sdk_common/WireReader.h"

bool CFrameFileWriter::Open(const char* pName) {
    Close();
    if (!m_buffer) m_buffer.reset(new (std::nothrow) char[BUFFER_SIZE]);
    if (!m_buffer) return errno = ENOMEM, false;
    // A pipe that nobody reads must not hold up the caller; one that is read is waited for.
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    m_fd = SystemCall(SYSTEM_CALL::OPEN_FILE, -1, [&](size_t) { return open(pName, FLAGS, 0666); });
    if (m_fd >= 0) fcntl(m_fd, F_SETFL, 0);
    m_error = 0;
    m_bytes = m_fileSize = m_used = 0;
    return m_fd >= 0;
}

bool CFrameFileWriter::Write(const SDK_FRAME_INFO& head, const void* pData) {
    const size_t size = sizeof(head) + size_t{head.nLength};
    m_bytes += size;
    if (m_fd < 0 || m_error) return false;
    if (size > BUFFER_SIZE - m_used && !Flush()) return false;
    if (size <= BUFFER_SIZE / 2) {
        std::memcpy(m_buffer.get() + m_used, &head, sizeof(head));
        if (head.nLength) std::memcpy(m_buffer.get() + m_used + sizeof(head), pData, head.nLength);
        m_used += size;
        return true;
    }
    // A large frame is not copied.
    if (!Flush()) return false;
    iovec pieces[] = {{const_cast<SDK_FRAME_INFO*>(&head), sizeof(head)}, {const_cast<void*>(pData), head.nLength}};
    if (!WriteOut(pieces, 2)) return Fail(0);
    m_fileSize += size;
    return true;
}

bool CFrameFileWriter::Flush() {
    if (m_fd < 0 || m_error) return false;
    iovec piece{m_buffer.get(), m_used};
    if (!WriteOut(&piece, 1)) return Fail(WholeFrames(m_lastWritten));
    m_fileSize += m_used;
    m_used = 0;
    return true;
}

bool CFrameFileWriter::Close() {
    if (m_fd < 0) return m_error == 0;
    Flush();
    if (close(m_fd) != 0 && m_error == 0 && errno != EINTR) m_error = errno;
    m_fd = -1;
    return m_error == 0;
}

/// m_lastWritten tells how far it came.
bool CFrameFileWriter::WriteOut(iovec* pPieces, int count) {
    m_lastWritten = 0;
    while (count > 0) {
        if (pPieces->iov_len == 0) {
            ++pPieces;
            --count;
            continue;
        }
        const ssize_t written = SystemCall(SYSTEM_CALL::WRITE_FILE, ssize_t{-1}, [&](size_t longest) {
            if (longest >= pPieces->iov_len) return writev(m_fd, pPieces, count);
            return write(m_fd, pPieces->iov_base, longest);
        });
        if (written <= 0) {
            m_error = written < 0 ? errno : EIO;
            return false;
        }
        m_lastWritten += static_cast<size_t>(written);
        for (size_t left = static_cast<size_t>(written); left > 0;) {
            const size_t taken = std::min(left, pPieces->iov_len);
            pPieces->iov_base = static_cast<char*>(pPieces->iov_base) + taken;
            pPieces->iov_len -= taken;
            left -= taken;
            if (pPieces->iov_len == 0 && left > 0) ++pPieces, --count;
        }
    }
    return true;
}

/// Takes off the file what went in by half, as far as that can be done.
bool CFrameFileWriter::Fail(tuint64 wholeBytes) {
    m_fileSize += wholeBytes;
    m_used = 0;
    if (ftruncate(m_fd, static_cast<off_t>(m_fileSize)) == 0) lseek(m_fd, static_cast<off_t>(m_fileSize), SEEK_SET);
    return false;
}

/// How much of the first `written` bytes of the buffer are whole frames.
size_t CFrameFileWriter::WholeFrames(size_t written) const {
    CWireReader reader(m_buffer.get(), written);
    for (size_t whole = 0;; whole = written - reader.Left()) {
        reader.Skip(reader.Read<SDK_FRAME_INFO>().nLength);
        if (!reader.Good()) return whole;
    }
}

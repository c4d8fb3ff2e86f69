#include "main_utility/media/avi/AVIFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "sdk_common/SystemFault.h"

bool CAVIFile::Create(const char* pPath) { return OpenLocked(pPath, O_RDWR | O_CREAT) && Truncate(0); }

bool CAVIFile::Open(const char* pPath) { return OpenLocked(pPath, O_RDWR); }

/// A file system without locks is written to without.
bool CAVIFile::OpenLocked(const char* pPath, int flags) {
    Close();
    // A name that leads to a pipe or a device must neither hold up the caller nor be written to.
    constexpr int ALWAYS = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    m_fd = SystemCall(SYSTEM_CALL::OPEN_FILE, -1, [&](size_t) { return open(pPath, flags | ALWAYS, 0666); });
    if (m_fd < 0) return false;
    struct stat state {};
    int error = EINVAL;
    if (fstat(m_fd, &state) == 0 && S_ISREG(state.st_mode)) {
        if (flock(m_fd, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
        error = EBUSY;
    }
    Close();
    errno = error;
    return false;
}

void CAVIFile::Close() {
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
}

bool CAVIFile::WriteAt(tint64 offset, std::string_view first, std::string_view second) {
    while (!first.empty() || !second.empty()) {
        const ssize_t written = SystemCall(SYSTEM_CALL::WRITE_FILE, ssize_t{-1}, [&](size_t longest) {
            const size_t ofFirst = std::min(first.size(), longest);
            const size_t ofSecond = std::min(second.size(), longest - ofFirst);
            const iovec pieces[] = {{const_cast<char*>(first.data()), ofFirst},
                                    {const_cast<char*>(second.data()), ofSecond}};
            return pwritev(m_fd, pieces, ofSecond > 0 ? 2 : 1, offset);
        });
        if (written <= 0) return false;
        const size_t ofFirst = std::min(first.size(), static_cast<size_t>(written));
        first.remove_prefix(ofFirst);
        second.remove_prefix(static_cast<size_t>(written) - ofFirst);
        offset += written;
    }
    return true;
}

size_t CAVIFile::ReadAt(tint64 offset, void* pData, size_t length) const {
    size_t done = 0;
    while (done < length) {
        const ssize_t taken =
            pread(m_fd, static_cast<char*>(pData) + done, length - done, offset + static_cast<tint64>(done));
        if (taken < 0 && errno == EINTR) continue;
        if (taken <= 0) break;
        done += static_cast<size_t>(taken);
    }
    return done;
}

bool CAVIFile::Truncate(tint64 size) { return ftruncate(m_fd, size) == 0; }

bool CAVIFile::Sync() { return fdatasync(m_fd) == 0; }

tint64 CAVIFile::Size() const {
    struct stat state {};
    return fstat(m_fd, &state) == 0 ? tint64{state.st_size} : 0;
}

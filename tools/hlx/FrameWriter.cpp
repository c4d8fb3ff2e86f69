#include "FrameWriter.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

namespace {

bool IsFile(int nFd) {
    struct stat status {};
    return fstat(nFd, &status) == 0 && S_ISREG(status.st_mode);
}

// A write to a ready pipe blocks if it is longer than PIPE_BUF; a file takes any length.
size_t PieceOf(int nFd) { return IsFile(nFd) ? size_t{1} << 20 : PIPE_BUF; }

constexpr int GIVE_UP_CHECK_MILLISECONDS = 100;

}  // namespace

CFrameWriter::CFrameWriter(int nFd, bool bOwn, std::function<void()> fnFailed)
    : m_nFd(nFd), m_bOwn(bOwn), m_nPiece(PieceOf(nFd)), m_fnFailed(std::move(fnFailed)) {
    m_thread = std::thread([this] { WriteProc(); });
}

CFrameWriter::~CFrameWriter() {
    CloseEntrance();
    m_bGiveUp = true;
    m_thread.join();
    if (m_bOwn) close(m_nFd);
}

bool CFrameWriter::Push(const uint8_t* pData, size_t nSize) {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock,
                   [&] { return m_bEntranceClosed || m_queue.size() + nSize <= LONGEST_QUEUE || m_queue.empty(); });
    if (m_bEntranceClosed) return false;
    m_queue.insert(m_queue.end(), pData, pData + nSize);
    m_changed.notify_all();
    return true;
}

void CFrameWriter::CloseEntrance() {
    std::lock_guard lock(m_lock);
    m_bEntranceClosed = true;
    m_changed.notify_all();
}

bool CFrameWriter::Drain(std::chrono::milliseconds longest) {
    CloseEntrance();
    std::unique_lock lock(m_lock);
    return m_changed.wait_for(lock, longest, [&] { return m_bDone; });
}

// Exchanges the empty block for the queued bytes; false when the end is reached.
bool CFrameWriter::TakeQueue(std::vector<uint8_t>& block) {
    block.clear();
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [&] { return m_bEntranceClosed || !m_queue.empty(); });
    block.swap(m_queue);
    m_changed.notify_all();
    return !block.empty();
}

int CFrameWriter::WriteBlock(const std::vector<uint8_t>& block) const {
    size_t nDone = 0;
    while (nDone < block.size()) {
        pollfd ready{m_nFd, POLLOUT, 0};
        if (poll(&ready, 1, GIVE_UP_CHECK_MILLISECONDS) <= 0) {
            if (m_bGiveUp) return EAGAIN;
            continue;
        }
        const ssize_t nWritten = write(m_nFd, block.data() + nDone, std::min(block.size() - nDone, m_nPiece));
        if (nWritten >= 0) nDone += static_cast<size_t>(nWritten);
        if (nWritten < 0 && errno != EINTR && errno != EAGAIN) return errno;
    }
    return 0;
}

// What stood in the file stays until there is something to take its place. 0, or the errno.
int CFrameWriter::EmptyFile() const { return m_bOwn && IsFile(m_nFd) && ftruncate(m_nFd, 0) != 0 ? errno : 0; }

void CFrameWriter::WriteProc() {
    std::vector<uint8_t> block;
    if (TakeQueue(block)) m_nErrno = EmptyFile();
    while (m_nErrno == 0 && !block.empty()) {
        m_nErrno = WriteBlock(block);
        if (m_nErrno == 0) TakeQueue(block);
    }
    {
        std::lock_guard lock(m_lock);
        m_bEntranceClosed = true;
        m_bDone = true;
        m_changed.notify_all();
    }
    if (m_nErrno != 0) m_fnFailed();
}

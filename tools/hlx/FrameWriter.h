#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// Writes a stream to a file or a pipe on a thread of its own, so that a slow disk or player does not hold up the thread
// that brings the frames. Up to LONGEST_QUEUE bytes wait; then Push blocks, the library's ring fills, and what it
// drops is counted as a gap.
class CFrameWriter {
public:
    static constexpr size_t LONGEST_QUEUE = 16u << 20;

    // Writes to nFd; if bOwn, the destructor closes it, and a file is emptied before the first byte. fnFailed is called
    // once, on the writer's thread, when a write fails.
    CFrameWriter(int nFd, bool bOwn, std::function<void()> fnFailed);
    ~CFrameWriter();  // gives up what a reader does not take
    CFrameWriter(const CFrameWriter&) = delete;
    CFrameWriter& operator=(const CFrameWriter&) = delete;

    // Queues a copy, from one thread. False after a failed write or after CloseEntrance.
    bool Push(const uint8_t* pData, size_t nSize);

    // Lets nothing more in and ends a blocked Push.
    void CloseEntrance();

    // Closes the entrance and waits until all that is queued is written; false when the time is over before.
    bool Drain(std::chrono::milliseconds longest);

    // errno of the write that failed, 0 if none did; EPIPE when the reader went away.
    int Error() const { return m_nErrno; }

private:
    void WriteProc();
    int EmptyFile() const;
    bool TakeQueue(std::vector<uint8_t>& block);
    int WriteBlock(const std::vector<uint8_t>& block) const;

    const int m_nFd;
    const bool m_bOwn;
    const size_t m_nPiece;  // bytes that a write may hold without blocking once the descriptor is ready
    const std::function<void()> m_fnFailed;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<uint8_t> m_queue;    // m_lock
    bool m_bEntranceClosed = false;  // m_lock
    bool m_bDone = false;            // m_lock; the thread writes no more
    std::atomic<bool> m_bGiveUp{false};
    std::atomic<int> m_nErrno{0};
    std::thread m_thread;  // runs WriteProc
};

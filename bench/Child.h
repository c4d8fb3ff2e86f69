// A process of our own to be measured from outside: what it costs, and what it holds.
#pragma once

#include <sys/types.h>

#include <functional>
#include <new>
#include <vector>

/// Runs `work` in a child process, which ends when `work` returns, with this object, or with the program. Made while
/// the program has one thread.
class CChild {
public:
    explicit CChild(const std::function<void()>& work);
    /// Runs another program, silent and without standard input.
    explicit CChild(const std::vector<const char*>& command);
    ~CChild();
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    /// Seconds of processor time that all its threads took.
    double ProcessorSeconds() const;
    /// Bytes of it that lie in memory.
    double ResidentBytes() const;
    int Threads() const;
    /// How often its threads went to sleep and were woken again.
    double WakeUps() const;

private:
    pid_t m_pid;
};

/// One object that this process and its children share.
void* SharedBlock(size_t size);
template <class Record>
Record& Shared() {
    return *new (SharedBlock(sizeof(Record))) Record;
}

/// Waits until `ready` is true, looking every millisecond; ends the program when that takes longer than 20 s.
void Await(const std::function<bool()>& ready, const char* pWhat);

/// Sleeps.
void Pause(double seconds);

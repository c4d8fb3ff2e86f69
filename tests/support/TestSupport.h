// What tests of every folder need: awaiting events, counting what a process holds, a place for files.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

/// What is never copied.
struct CUncopied {
    CUncopied() = default;
    CUncopied(const CUncopied&) = delete;
    CUncopied& operator=(const CUncopied&) = delete;
};

/// Looks at `predicate` every millisecond of real time until it is true (result true) or `timeout` is over (result
/// false).
bool WaitUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// Open descriptors of this process, those needed for counting left out.
int OpenDescriptorCount();

/// A link to that port of this machine, or -1. The caller closes it.
int ConnectLoopback(unsigned short port);

/// Threads of this process. A joined thread may be counted a moment longer: await the number with WaitUntil.
int ThreadCount();

/// The whole file; nothing where there is none.
std::string ReadBytes(const std::filesystem::path& path);

/// A directory of its own, removed with all that is in it.
class CTempDir : CUncopied {
public:
    CTempDir();
    ~CTempDir();

    const std::filesystem::path& Path() const { return m_path; }
    std::string File(const char* pName) const { return (m_path / pName).string(); }

private:
    std::filesystem::path m_path;
};

/// Stands for a disk that is full: no file of this process grows beyond `room` bytes. One at a time.
class CFullDisk : CUncopied {
public:
    explicit CFullDisk(size_t room);
    ~CFullDisk();

private:
    rlimit m_before{};
    void (*m_oldHandler)(int);
};

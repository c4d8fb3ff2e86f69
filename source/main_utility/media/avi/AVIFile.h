// A file that is written, and read again, at places that the caller names.
#pragma once

#include <string_view>

#include "protocol/WireTypes.h"

/// Regular files only. While one is open no other CAVIFile, of whatever process, gets hold of it, as far as the file
/// system knows locks. One thread at a time; calls block as long as the file system takes. The destructor closes.
class CAVIFile {
public:
    CAVIFile() = default;
    ~CAVIFile() { Close(); }
    CAVIFile(const CAVIFile&) = delete;
    CAVIFile& operator=(const CAVIFile&) = delete;

    /// Makes the file, or empties the one of that name. False with errno; EBUSY when it is open elsewhere.
    bool Create(const char* pPath);

    /// Opens a file that is there, for reading and writing. False as above.
    bool Open(const char* pPath);

    void Close();
    bool IsOpen() const { return m_fd >= 0; }

    /// Writes the two pieces one behind the other. False with errno when not all went in: how much did is not known.
    bool WriteAt(tint64 offset, std::string_view first, std::string_view second = {});

    /// Reads `length` bytes, fewer at the end of the file or on a failure. The number read.
    size_t ReadAt(tint64 offset, void* pData, size_t length) const;

    bool Truncate(tint64 size);

    /// Waits until the disk has what was written.
    bool Sync();

    /// Bytes, 0 on a failure.
    tint64 Size() const;

private:
    bool OpenLocked(const char* pPath, int flags);

    int m_fd = -1;
};

/// A record, or several, as bytes.
template <class Record>
std::string_view BytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

// What a simulated archive of recordings is made from, and what it holds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/ClassicRecordings.h"

struct ARCHIVE_CONFIG {
    unsigned days = 0;            // before the day that `end` is in, which has recordings too; 0: no recordings at all
    std::uint64_t seed = 1;       // the same seed, end, channels and clips make the same archive
    std::int64_t end = 0;         // seconds since 1970; 0: the recorder's start
    unsigned fileLength = 3600;   // seconds in a file of the schedule, 60 to 86400
    unsigned logCount = 20000;    // entries of the log
    unsigned eventCount = 20000;  // of the event list
    // Clips by file name; channel n records number n modulo their count.
    std::vector<std::string> firstClips{"main-704x576-25.h264", "sub-352x288-25.h265"};
    std::vector<std::string> secondClips{"sub-352x288-25.h265", "sub-352x288-25.h264"};
    // What a first stream of another picture size changes to in the middle of one file a day; empty: none does.
    std::string sChangeClip = "sub-352x288-25.h264";
};

/// A stretch of seconds since 1970; the last one does not belong to it.
struct ARCHIVE_SPAN {
    std::int64_t start = 0;
    std::int64_t stop = 0;

    /// Whether the two share time; either counts as one second at least.
    bool Overlaps(const ARCHIVE_SPAN& other) const {
        return start < (other.stop > other.start ? other.stop : other.start + 1) &&
               other.start < (stop > start ? stop : start + 1);
    }
    bool operator==(const ARCHIVE_SPAN&) const = default;
};

/// One file. Files of one channel do not overlap, and none goes over midnight.
struct ARCHIVE_FILE {
    ARCHIVE_SPAN span;
    std::int64_t changeAt = 0;  // from here on the first stream comes from the change clip; 0: never
    tuint32 channel = 0;
    tuint32 recType = 0;    // NET_REC_TYPE flags
    tuint32 partition = 0;  // with fileIndex the file's name
    tuint32 fileIndex = 0;
    bool bLocked = false;  // as it was made
    bool operator==(const ARCHIVE_FILE&) const = default;
};

struct ARCHIVE_REC_EVENT {
    ARCHIVE_SPAN span;
    tuint32 channel = 0;
    tuint32 recType = 0;  // NET_REC_TYPE flags
    bool operator==(const ARCHIVE_REC_EVENT&) const = default;
};

struct ARCHIVE_LOG {
    std::int64_t time = 0;
    tuint32 majorType = 0;
    tuint32 minorType = 0;
    std::string sUser;
    tuint32 remoteHost = 0;  // IPv4, network order
    std::string sContent;    // at most MAX_LOG_CONTENT bytes
    bool operator==(const ARCHIVE_LOG&) const = default;
};

struct ARCHIVE_EVENT {
    ARCHIVE_SPAN span;
    tuint32 channel = 0;
    tuint32 type = 0;  // a NET_EVENT_TYPE
    bool operator==(const ARCHIVE_EVENT&) const = default;
};

/// A number that depends on its arguments alone and looks like chance.
constexpr std::uint64_t ArchiveChance(std::uint64_t seed, std::uint64_t a, std::uint64_t b = 0, std::uint64_t c = 0) {
    std::uint64_t value = seed;
    for (const std::uint64_t part : {a, b, c}) {
        value += 0x9E3779B97F4A7C15ULL + part;
        value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
        value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
        value ^= value >> 31;
    }
    return value;
}

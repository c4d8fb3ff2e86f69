// Reads the chunks of an AVI file for itself, without the library's structures.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/TestSupport.h"

struct AVI_CHUNK {
    std::string id, bytes;
};

inline std::uint32_t NumberAt(const std::string& bytes, size_t offset) {
    std::uint32_t number = 0;
    return std::memcpy(&number, bytes.data() + offset, 4), number;
}

/// What stands between the head of 2048 bytes and the index; nothing for a file that is not complete.
inline std::vector<AVI_CHUNK> ReadAVI(const std::string& path) {
    const std::string bytes = ReadBytes(path);
    if (bytes.size() < 2048 || NumberAt(bytes, 4) + 8 != bytes.size() || NumberAt(bytes, 2020) != 0) return {};
    std::vector<AVI_CHUNK> chunks;
    for (size_t at = 2048; at + 8 <= bytes.size() && bytes.compare(at, 4, "idx1") != 0 && bytes[at] == '0';) {
        chunks.push_back({bytes.substr(at, 4), bytes.substr(at + 8, NumberAt(bytes, at + 4))});
        at += 8 + chunks.back().bytes.size();
    }
    return chunks;
}

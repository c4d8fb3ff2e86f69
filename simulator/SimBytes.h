// Reading and writing wire records in byte buffers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

using SIM_BYTES = std::vector<std::byte>;
using SIM_BYTE_VIEW = std::span<const std::byte>;

/// The record at the start of `bytes`, copied; nothing when they are too few.
template <class Record>
std::optional<Record> ReadRecord(SIM_BYTE_VIEW bytes) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (bytes.size() < sizeof(Record)) return std::nullopt;
    Record record;
    std::memcpy(&record, bytes.data(), sizeof(Record));
    return record;
}

/// The bytes of a record as they go out.
template <class Record>
SIM_BYTE_VIEW RecordBytes(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    return std::as_bytes(std::span<const Record, 1>(&record, 1));
}

inline void Append(SIM_BYTES& buffer, SIM_BYTE_VIEW bytes) { buffer.insert(buffer.end(), bytes.begin(), bytes.end()); }

/// FNV-1a, 64 bits. Start with DIGEST_START; feed the result back in to go on with more bytes.
constexpr std::uint64_t DIGEST_START = 0xCBF29CE484222325ULL;
constexpr std::uint64_t DigestBytes(SIM_BYTE_VIEW bytes, std::uint64_t digest = DIGEST_START) {
    for (const std::byte byte : bytes) digest = (digest ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3ULL;
    return digest;
}

// Bounds-checked reading of bytes that came from outside.
#pragma once

#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "protocol/WireTypes.h"

/// A cursor over received bytes. Reading past the end gives zeroes and empty spans and clears Good(); nothing is read
/// outside. The bytes are borrowed.
class CWireReader {
public:
    CWireReader(const void* pData, size_t length) : m_bytes(static_cast<const std::byte*>(pData), pData ? length : 0) {}
    explicit CWireReader(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    /// The next record, copied; a zeroed one when too few bytes are left.
    template <class Record>
    Record Read() {
        static_assert(std::is_trivially_copyable_v<Record>);
        Record record{};
        const auto bytes = Bytes(sizeof(Record));
        if (bytes.size() == sizeof(Record)) std::memcpy(&record, bytes.data(), sizeof(Record));
        return record;
    }

    /// The next `length` bytes, borrowed; empty when fewer are left.
    std::span<const std::byte> Bytes(size_t length) {
        if (length > m_bytes.size()) {
            m_bGood = false;
            m_bytes = {};
            return {};
        }
        const auto taken = m_bytes.first(length);
        m_bytes = m_bytes.subspan(length);
        return taken;
    }

    void Skip(size_t length) { Bytes(length); }

    /// A text field of `length` bytes that need not be terminated.
    std::string Text(size_t length) {
        const auto field = Bytes(length);
        const char* pText = reinterpret_cast<const char*>(field.data());
        return std::string(pText, field.empty() ? 0 : strnlen(pText, field.size()));
    }

    size_t Left() const { return m_bytes.size(); }
    std::span<const std::byte> Rest() const { return m_bytes; }

    /// False once anything was read past the end.
    bool Good() const { return m_bGood; }

private:
    std::span<const std::byte> m_bytes;
    bool m_bGood = true;
};

/// Copies a text into a fixed field, cut to fit, always terminated, the rest zeroed. A null text gives an empty field.
template <size_t SIZE>
void CopyText(char (&field)[SIZE], const char* pText) {
    const size_t length = pText ? strnlen(pText, SIZE - 1) : 0;
    std::memset(field, 0, SIZE);
    if (length) std::memcpy(field, pText, length);
}

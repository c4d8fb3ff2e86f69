// Integer names of the wire records, and the proof that each record must carry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

using tint8 = std::int8_t;
using tuint8 = std::uint8_t;
using tint16 = std::int16_t;
using tuint16 = std::uint16_t;
using tint32 = std::int32_t;
using tuint32 = std::uint32_t;
using tint64 = std::int64_t;
using tuint64 = std::uint64_t;

/// States that `record` has `size` bytes on the wire and may be copied as bytes. Stands right behind each packed
/// record.
#define HLX_WIRE_RECORD(record, size)                                                        \
    static_assert(sizeof(record) == (size), #record " has another size");                    \
    static_assert(std::is_trivially_copyable_v<record> && std::is_standard_layout_v<record>, \
                  #record " is no wire record")

/// States at which byte a member of a wire record stands.
#define HLX_WIRE_OFFSET(record, member, offset) \
    static_assert(offsetof(record, member) == (offset), #record "::" #member " stands elsewhere")

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "HLX.h"

extern "C" const unsigned long C99_LAYOUT[];

namespace {

struct ROW {
    const char* pName;
    size_t expected, cxx;
};

constexpr ROW ROWS[] = {
#define RECORD(record, size) {#record, size, sizeof(record)},
#define MEMBER(record, member, offset) {#record "::" #member, offset, offsetof(record, member)},
#include "Records.inc"
};

TEST(RecordLayout, IsTheSameInBothLanguages) {
    for (size_t i = 0; const ROW& row : ROWS) {
        EXPECT_EQ(row.cxx, row.expected) << row.pName;
        EXPECT_EQ(C99_LAYOUT[i++], row.expected) << row.pName << " in C";
    }
}

TEST(RecordLayout, SupportBitsCountFromTheLowest) {
    HLX_DEV_SUPPORT support{};
    support.supportVfd = 1;
    support.supportPassLine = 1;
    unsigned int word = 0;
    std::copy_n(reinterpret_cast<const char*>(&support), sizeof(word), reinterpret_cast<char*>(&word));
    EXPECT_EQ(word, 0b10010u);
}

}  // namespace

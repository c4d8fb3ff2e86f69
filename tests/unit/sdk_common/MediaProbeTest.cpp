#include "sdk_common/MediaProbe.h"
#include "support/Test.h"

#include <array>

namespace {

using BYTES = std::vector<unsigned char>;
using SIZE_RESULT = std::array<int, 3>;  // result, width, height
using PROBE = int (*)(const unsigned char*, int, int&, int&);

struct ROW {
    const char* pName;
    BYTES bytes;
    SIZE_RESULT expected;
    size_t needed;  // bytes up to the end of the size; 0 where that is not looked at
};

SIZE_RESULT Probe(PROBE probe, const BYTES& bytes) {
    SIZE_RESULT size{};
    size[0] = probe(bytes.data(), static_cast<int>(bytes.size()), size[1], size[2]);
    return size;
}

/// Probes the bytes and all their beginnings, each in an allocation of its own length, so that a read outside is seen.
void ExpectSize(PROBE probe, const ROW& row) {
    EXPECT_EQ(Probe(probe, row.bytes), row.expected) << row.pName;
    for (size_t length = 0; length < row.bytes.size(); ++length) {
        const auto size = Probe(probe, BYTES(row.bytes.data(), row.bytes.data() + length));
        EXPECT_TRUE(size == row.expected || size[0] <= 0) << row.pName << " cut to " << length;
        EXPECT_TRUE(!row.needed || (size[0] == 1) == (length >= row.needed)) << row.pName << " cut to " << length;
    }
}

BYTES FromHex(const std::string& text) {
    std::istringstream words(text);
    BYTES bytes;
    for (std::string word; words >> word;) bytes.push_back(static_cast<unsigned char>(std::stoul(word, nullptr, 16)));
    return bytes;
}

TEST(VideoSize, OfRealAndMadeSets) {
    const SIZE_RESULT cif{1, 352, 288}, full{1, 1920, 1088}, none{0, 0, 0}, bad{-1, 0, 0};
    const ROW rows[] = {
        {"baseline", FromHex("00 00 01 67 42 c0 0d d9 01 60 96 c0 44 00 00 03 00 04 00 00 03 00 c8 3c 50 a9 20"), cif,
         11},
        {"4-byte start", FromHex("00 00 00 01 67 42 c0 28 d9 00 78 02 27 e5 c0 44 00 00 03 00 04 00 00 03 00"), full,
         13},
        {"main", FromHex("00 00 01 67 4d 40 28 ec a0 3c 01 13 f2 e0 22 00 00 03 00 02 00 00 03 00 64 1e 30"), full, 12},
        {"high, behind", FromHex("00 00 01 09 f0 00 00 01 67 64 00 0d ac d9 41 60 96 c0 44 00 00 03 00 04 00"), cif,
         17},
        {"order type 1", FromHex("00 00 01 67 42 00 1e d0 85 62 04 a0 58 25"), cif, 0},
        {"order type 3", FromHex("00 00 01 67 42 00 1e c8 81 60 94"), bad, 0},
        {"cycle of 254",
         FromHex("00 00 01 67 42 00 1e d3 01 ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff "
                 "ff ff ff ff ff ff ff ff fa 05 82 50"),
         cif, 0},
        {"cycle of 255", FromHex("00 00 01 67 42 00 1e d3 00 80 20 58 25"), bad, 0},
        {"escaped zeroes", FromHex("00 00 01 67 42 00 1e d0 00 00 03 01 00 00 03 00 68 16 09 40"), cif, 0},
        {"scaling lists", FromHex("00 00 01 67 64 00 1e ad ff ff ec 78 7f ff ff ff ff ff ff ff d6 81 60 94"), cif, 0},
        {"full chroma", FromHex("00 00 01 67 64 00 1e 91 a0 01 68 16 09 40"), cif, 0},
        {"profile 101", FromHex("00 00 01 67 65 00 1e da 05 82 50"), none, 0},
        {"too wide", FromHex("00 00 01 67 42 00 1e da 00 00 03 00 00 ff ff ff ff 09 40"), none, 0},
        {"number of 65 bits", FromHex("00 00 01 67 42 00 1e da 00 00 03 00 00 40 00 00 03 00 3f"), none, 0},
        {"next unit begins", FromHex("00 00 01 67 42 00 1e 80 00 00 01 67 42 c0 01 a0 58 25"), none, 0},
        {"no set", FromHex("00 00 01 65 88 84 00 00 00 01 68 ce 3c 80"), none, 0},
    };
    for (const auto& row : rows) ExpectSize(getvideosize, row);
}

TEST(JpegSize, IsThatOfTheFirstBaselineFrame) {
    const std::string frame = "ff c0 00 11 08 00 f0 01 40 03 01 12 00 02 12 00 03 12 00";
    const SIZE_RESULT small{1, 320, 240}, none{0, 0, 0}, bad{-1, 0, 0};
    const ROW rows[] = {
        {"frame first", FromHex("ff d8 " + frame), small, 11},
        {"after segments", FromHex("ff d8 ff e0 00 04 ff c0 ff fe 00 02 ff ff ff 01 ff d0 " + frame), small, 27},
        {"progressive", FromHex("ff d8 ff c2 00 05 08 00 f0 ff da 00 02 " + frame), none, 0},
        {"no marker", FromHex("ff d8 00 " + frame), none, 0},
        {"segment of 1 byte", FromHex("ff d8 ff e0 00 01 " + frame), none, 0},
        {"segment past the end", FromHex("ff d8 ff e0 ff ff " + frame), none, 0},
        {"fill bytes", FromHex("ff d8 ff ff ff ff"), none, 0},
        {"no JPEG", FromHex("ff d9 " + frame), bad, 0},
    };
    for (const auto& row : rows) ExpectSize(GetJepgSize, row);
}

}  // namespace

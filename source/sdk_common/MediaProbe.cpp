#include "sdk_common/MediaProbe.h"

#include <algorithm>
#include <array>

#include "sdk_common/WireReader.h"

namespace {

std::span<const std::byte> AsBytes(const unsigned char* buf, int length) {
    return std::as_bytes(std::span(buf, buf && length > 0 ? static_cast<size_t>(length) : 0));
}

/// Reads bits of one H.264 unit; the bytes 03 that keep start codes out of it are left out. At the end of the unit it
/// gives zeroes and clears Good().
class CUnitBits {
public:
    explicit CUnitBits(std::span<const std::byte> bytes) : m_reader(bytes) {}

    bool Good() const { return m_bGood; }

    tuint32 Bits(int count) {
        tuint32 value = 0;
        while (count-- > 0) value = value << 1 | Bit();
        return value;
    }

    /// Unsigned Exp-Golomb number; one of more than 32 bits is an error.
    tuint32 Unsigned() {
        int zeroes = 0;
        while (m_bGood && Bit() == 0) ++zeroes;
        if (zeroes > 31) m_bGood = false;
        return m_bGood ? (1u << zeroes) - 1 + Bits(zeroes) : 0;
    }

    /// Signed Exp-Golomb number.
    tint64 Signed() {
        const tint64 code = Unsigned();
        return code % 2 ? (code + 1) / 2 : -(code / 2);
    }

private:
    tuint32 Bit() {
        if (m_left == 0) NextByte();
        if (!m_bGood) return 0;
        return m_byte >> --m_left & 1;
    }

    void NextByte() {
        m_byte = m_reader.Read<tuint8>();
        if (m_zeroBytes >= 2 && m_byte == 3) {
            m_zeroBytes = 0;
            m_byte = m_reader.Read<tuint8>();
        }
        const bool bNextUnit = m_zeroBytes >= 2 && m_byte < 3;
        m_bGood = m_bGood && m_reader.Good() && !bNextUnit;
        m_zeroBytes = m_byte == 0 ? m_zeroBytes + 1 : 0;
        m_left = 8;
    }

    CWireReader m_reader;
    tuint32 m_byte = 0;
    int m_left = 0;  // bits of m_byte not yet read
    int m_zeroBytes = 0;
    bool m_bGood = true;
};

void SkipScalingList(CUnitBits& bits, int size) {
    tint64 last = 8;
    tint64 next = 8;
    for (int i = 0; i < size && next != 0 && bits.Good(); ++i) {
        next = (last + bits.Signed()) & 0xFF;
        if (next != 0) last = next;
    }
}

/// The chroma format, bit depths and scaling lists, which only some profiles have.
void SkipChroma(CUnitBits& bits) {
    const bool bFullChroma = bits.Unsigned() == 3;
    if (bFullChroma) bits.Bits(1);
    bits.Unsigned();
    bits.Unsigned();
    bits.Bits(1);
    const int lists = bits.Bits(1) ? (bFullChroma ? 12 : 8) : 0;
    for (int i = 0; i < lists; ++i) {
        if (bits.Bits(1)) SkipScalingList(bits, i < 6 ? 16 : 64);
    }
}

/// False for a type or cycle length that does not exist.
bool SkipPictureOrder(CUnitBits& bits) {
    const tuint32 type = bits.Unsigned();
    if (type > 2) return false;
    if (type == 0) bits.Unsigned();
    if (type != 1) return true;
    bits.Bits(1);
    bits.Signed();
    bits.Signed();
    const tuint32 cycle = bits.Unsigned();
    if (cycle >= 255) return false;
    for (tuint32 i = 0; i < cycle; ++i) bits.Signed();
    return true;
}

/// `bits` stand behind the unit's type byte.
int SizeOfParameterSet(CUnitBits bits, int& width, int& height) {
    constexpr std::array<tuint32, 4> PROFILES_WITH_CHROMA{44, 83, 86, 100};
    constexpr tuint32 LARGEST = 1 << 20;  // macroblocks in a row or column: 2^24 samples
    const tuint32 profile = bits.Bits(8);
    if (profile > 100) return 0;
    bits.Bits(16);
    bits.Unsigned();
    if (std::ranges::find(PROFILES_WITH_CHROMA, profile) != PROFILES_WITH_CHROMA.end()) SkipChroma(bits);
    bits.Unsigned();
    if (!SkipPictureOrder(bits)) return bits.Good() ? -1 : 0;
    bits.Unsigned();
    bits.Bits(1);
    const tuint32 columns = bits.Unsigned();
    const tuint32 rows = bits.Unsigned();
    if (!bits.Good() || columns >= LARGEST || rows >= LARGEST) return 0;
    width = static_cast<int>(columns + 1) * 16;
    height = static_cast<int>(rows + 1) * 16;
    return 1;
}

tuint32 ReadBigEndian16(CWireReader& reader) {
    const tuint32 high = reader.Read<tuint8>();
    return high << 8 | reader.Read<tuint8>();
}

/// The next marker's second byte; fill bytes before it are passed over. 0 where no marker stands.
tuint8 ReadMarker(CWireReader& reader) {
    constexpr tuint8 FILL = 0xFF;
    if (reader.Read<tuint8>() != FILL) return 0;
    tuint8 marker = FILL;
    while (marker == FILL) marker = reader.Read<tuint8>();
    return marker;
}

/// `reader` stands behind the length of a start-of-frame segment.
int SizeOfFrame(CWireReader& reader, int& width, int& height) {
    reader.Skip(1);  // bits of a sample
    const tuint32 rows = ReadBigEndian16(reader);
    const tuint32 columns = ReadBigEndian16(reader);
    if (!reader.Good()) return 0;
    width = static_cast<int>(columns);
    height = static_cast<int>(rows);
    return 1;
}

}  // namespace

int getvideosize(const unsigned char* buf, int buf_size, int& width, int& height) {
    constexpr std::array START{std::byte{0}, std::byte{0}, std::byte{1}, std::byte{0x67}};
    const auto bytes = AsBytes(buf, buf_size);
    const auto found = std::search(bytes.begin(), bytes.end(), START.begin(), START.end());
    if (found == bytes.end()) return 0;
    return SizeOfParameterSet(CUnitBits({found + START.size(), bytes.end()}), width, height);
}

int GetJepgSize(const unsigned char* buffer, int length, int& weidth, int& height) {
    constexpr tuint8 START_OF_IMAGE = 0xD8, END_OF_IMAGE = 0xD9, START_OF_FRAME = 0xC0, START_OF_SCAN = 0xDA;
    CWireReader reader(AsBytes(buffer, length));
    if (ReadBigEndian16(reader) != (0xFF00u | START_OF_IMAGE)) return -1;
    while (reader.Good()) {
        const tuint8 marker = ReadMarker(reader);
        if (marker == START_OF_SCAN || marker == END_OF_IMAGE || marker == 0) return 0;
        const bool bBare = marker == 0x01 || (marker >= 0xD0 && marker <= START_OF_IMAGE);
        if (bBare) continue;
        const tuint32 size = ReadBigEndian16(reader);  // counts its own two bytes
        if (size < 2) return 0;
        if (marker == START_OF_FRAME) return SizeOfFrame(reader, weidth, height);
        reader.Skip(size - 2);
    }
    return 0;
}

#include "main_utility/media/avi/AVIHeader.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr tuint32 MAIN_FLAGS = 0x110;  // index present, interleaved
constexpr tuint32 BEST_QUALITY = 0xFFFFFFFF;
constexpr size_t EXTRA_OFFSET = 314;  // extra bytes of the audio format stand here, and move what follows
constexpr size_t JUNK_END = 530;      // what stands behind the head of the JUNK chunk does not move
constexpr tuint32 JUNK_SIZE = 1506;
constexpr size_t MOST_EXTRA = AVI_MARK_OFFSET - 4 - JUNK_END;

AVISTREAMHEADER StreamHeader(tuint32 type, tuint32 scale, tuint32 rate) {
    AVISTREAMHEADER header{};
    header.fcc = FourCC("strh");
    header.cb = sizeof(header) - 8;
    header.fccType = type;
    header.dwScale = scale;
    header.dwRate = rate;
    header.dwQuality = BEST_QUALITY;
    return header;
}

AVISTREAMHEADER TimeHeader(const AVISTREAMHEADER& stream) {
    AVISTREAMHEADER header = stream;
    header.fccType = FourCC("txts");
    header.fccHandler = FourCC("ftms");
    return header;
}

template <size_t COUNT>
void Set(tuint32 (&field)[COUNT], const tuint32 (&values)[COUNT]) {
    std::copy(values, values + COUNT, field);
}

template <size_t COUNT>
bool SameWithoutSize(const tuint32 (&field)[COUNT], const tuint32 (&expected)[COUNT]) {
    for (size_t i = 0; i < COUNT; ++i)
        if (i != 1 && field[i] != expected[i]) return false;
    return true;
}

}  // namespace

std::array<AVI_HEADER::ROW, 24> AVI_HEADER::Rows() {
    return {{
        {0, m_flagRIFF, sizeof(m_flagRIFF)},
        {12, m_flagList, sizeof(m_flagList)},
        {20, m_flagHeadList, sizeof(m_flagHeadList)},
        {24, &m_aviHeader, sizeof(m_aviHeader)},
        {88, m_flagStrList[0], sizeof(m_flagStrList[0])},
        {100, &m_strvhdr, sizeof(m_strvhdr)},
        {164, m_flagStrFormat[0], sizeof(m_flagStrFormat[0])},
        {172, &bmpInfo, sizeof(bmpInfo)},
        {212, m_flagStrList[1], sizeof(m_flagStrList[1])},
        {224, &m_strahdr, sizeof(m_strahdr)},
        {288, m_flagStrFormat[1], sizeof(m_flagStrFormat[1])},
        {296, &wFormat, m_bHasAudio ? sizeof(wFormat) : 0},  // without audio the place is passed over
        {314, m_flagStrList[2], sizeof(m_flagStrList[2])},
        {326, &m_strvTimehdr, sizeof(m_strvTimehdr)},
        {390, m_flagStrFormat[2], sizeof(m_flagStrFormat[2])},
        {398, m_TextFormat, sizeof(m_TextFormat)},
        {406, m_flagStrList[3], sizeof(m_flagStrList[3])},
        {418, &m_straTimehdr, sizeof(m_straTimehdr)},
        {482, m_flagStrFormat[2], sizeof(m_flagStrFormat[2])},
        {490, m_TextFormat, sizeof(m_TextFormat)},
        {498, m_flagTotalFrame, sizeof(m_flagTotalFrame)},
        {522, m_flagJunk, sizeof(m_flagJunk)},
        {AVI_MARK_OFFSET - 4, m_flagMark, sizeof(m_flagMark)},
        {AVI_MOVI_OFFSET, m_flagMovie, sizeof(m_flagMovie)},
    }};
}

size_t AVI_HEADER::PlaceOf(const ROW& row) const {
    return row.offset >= EXTRA_OFFSET && row.offset < JUNK_END ? row.offset + ExtraBytes() : row.offset;
}

void AVI_HEADER::MakeVideo(const BITMAPINFOHEADER& bmp, bool isPal) {
    m_strvhdr = StreamHeader(FourCC("vids"), isPal ? 1 : 1001, isPal ? 25 : 30000);
    m_strvhdr.fccHandler = bmp.biCompression;
    m_strvhdr.rcFrame.right = static_cast<tint16>(bmp.biWidth);
    m_strvhdr.rcFrame.bottom = static_cast<tint16>(bmp.biHeight);
    m_aviHeader.fcc = FourCC("avih");
    m_aviHeader.cb = sizeof(m_aviHeader) - 8;
    m_aviHeader.dwMicroSecPerFrame = static_cast<tuint32>(1000000.0 / m_strvhdr.dwRate * m_strvhdr.dwScale + 0.5);
    m_aviHeader.dwFlags = MAIN_FLAGS;
    m_aviHeader.dwWidth = static_cast<tuint32>(tint32{static_cast<tint16>(bmp.biWidth)});
    m_aviHeader.dwHeight = static_cast<tuint32>(tint32{static_cast<tint16>(bmp.biHeight)});
    bmpInfo = bmp;
}

void AVI_HEADER::MakeAudio(const WAVEFORMATEX& format) {
    m_strahdr = StreamHeader(FourCC("auds"), format.nBlockAlign, format.nAvgBytesPerSec);
    m_strahdr.dwSuggestedBufferSize = format.nAvgBytesPerSec;
    const tuint32 samples = std::max<tuint32>(format.nSamplesPerSec, 1);
    m_strahdr.dwSampleSize = std::max<tuint32>(format.nAvgBytesPerSec / samples, 1);
    wFormat = format;
}

bool AVI_HEADER::Make(const BITMAPINFOHEADER& bmp, const WAVEFORMATEX* pFormat, bool isPal, AVI_TYPE aviType) {
    *this = {};
    m_bHasAudio = pFormat != nullptr;
    const tuint32 extra = pFormat ? pFormat->cbSize : 0;
    if (extra > MOST_EXTRA) return false;
    MakeVideo(bmp, isPal);
    if (pFormat) MakeAudio(*pFormat);
    m_aviHeader.dwStreams = aviType == AVI_TYPE_STD ? 2 : 4;
    if (aviType != AVI_TYPE_STD) {
        m_strvTimehdr = TimeHeader(m_strvhdr);
        m_straTimehdr = TimeHeader(m_strahdr);
    }
    const tuint32 list = FourCC("LIST");
    Set(m_flagRIFF, {FourCC("RIFF"), AVI_CHUNKS_OFFSET - 8, FourCC("AVI ")});
    Set(m_flagList, {list, 502 + extra});
    Set(m_flagHeadList, {FourCC("hdrl")});
    const tuint32 sizes[] = {116, 94 + extra, 84, 84};
    for (size_t i = 0; i < 4; ++i) Set(m_flagStrList[i], {list, sizes[i], FourCC("strl")});
    const tuint32 formats[] = {sizeof(BITMAPINFOHEADER), tuint32{sizeof(WAVEFORMATEX)} + extra, sizeof(m_TextFormat)};
    for (size_t i = 0; i < 3; ++i) Set(m_flagStrFormat[i], {FourCC("strf"), formats[i]});
    Set(m_flagTotalFrame, {list, 16, FourCC("odml"), FourCC("dmlh"), 4, 0});
    Set(m_flagJunk, {FourCC("JUNK"), JUNK_SIZE - extra});
    Set(m_flagMark, {AVI_HEAD_VERSION, AVI_OPEN_MARK});
    Set(m_flagMovie, {list, 4, FourCC("movi")});
    if (aviType == AVI_TYPE_DEFSIZE) SetDefSize();
    return true;
}

bool AVI_HEADER::AddAudio(const WAVEFORMATEX& format) {
    if (m_bHasAudio || format.cbSize != 0) return false;
    MakeAudio(format);
    m_bHasAudio = true;
    return true;
}

void AVI_HEADER::SetDefSize() {
    m_flagRIFF[1] = AVI_DEF_RIFF_SIZE;
    m_flagMovie[1] = AVI_DEF_MOVI_SIZE;
}

/// Fields that follow each other at once go out together.
bool AVI_HEADER::Write(CAVIFile& file) {
    std::array<char, AVI_CHUNKS_OFFSET> image{};
    size_t begin = 0;
    size_t end = 0;
    const auto writeOut = [&] { return file.WriteAt(static_cast<tint64>(begin), {image.data() + begin, end - begin}); };
    for (const ROW& row : Rows()) {
        const size_t place = PlaceOf(row);
        if (row.offset == EXTRA_OFFSET && m_bHasAudio) end = place;  // the extra bytes are zero
        if (place != end && !writeOut()) return false;
        if (place != end) begin = place;
        if (row.size > 0) std::memcpy(image.data() + place, row.pField, row.size);
        end = place + row.size;
    }
    return writeOut();
}

bool AVI_HEADER::Read(const CAVIFile& file) {
    std::array<char, AVI_CHUNKS_OFFSET> image{};
    *this = {};
    m_bHasAudio = true;
    if (file.ReadAt(0, image.data(), image.size()) != image.size()) return false;
    for (const ROW& row : Rows()) {
        if (row.offset == EXTRA_OFFSET && ExtraBytes() > MOST_EXTRA) return false;  // the next ones move by it
        if (row.size > 0) std::memcpy(row.pField, image.data() + PlaceOf(row), row.size);
    }
    m_bHasAudio = m_strahdr.fcc != 0;
    return IsOurs();
}

bool AVI_HEADER::IsOurs() const {
    AVI_HEADER made;
    made.Make(bmpInfo, nullptr, true, AVI_TYPE_STD);
    bool bSame = SameWithoutSize(m_flagRIFF, made.m_flagRIFF) && SameWithoutSize(m_flagList, made.m_flagList) &&
                 SameWithoutSize(m_flagMovie, made.m_flagMovie) && SameWithoutSize(m_flagJunk, made.m_flagJunk) &&
                 m_flagHeadList[0] == made.m_flagHeadList[0] && m_flagMark[0] == made.m_flagMark[0] &&
                 std::equal(m_flagTotalFrame, m_flagTotalFrame + 5, made.m_flagTotalFrame);
    for (size_t i = 0; i < 4; ++i) bSame = bSame && SameWithoutSize(m_flagStrList[i], made.m_flagStrList[i]);
    for (size_t i = 0; i < 3; ++i) bSame = bSame && SameWithoutSize(m_flagStrFormat[i], made.m_flagStrFormat[i]);
    const bool bPal = m_strvhdr.dwScale == 1 && m_strvhdr.dwRate == 25;
    const bool bNtsc = m_strvhdr.dwScale == 1001 && m_strvhdr.dwRate == 30000;
    return bSame && (bPal || bNtsc) && m_aviHeader.fcc == made.m_aviHeader.fcc &&
           m_strvhdr.fccType == made.m_strvhdr.fccType;
}

bool AVI_HEADER::WriteMark(CAVIFile& file, tuint32 mark) {
    m_flagMark[1] = mark;
    return file.WriteAt(AVI_MARK_OFFSET, BytesOf(mark));
}

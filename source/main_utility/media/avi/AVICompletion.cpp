#include "main_utility/media/avi/AVICompletion.h"

namespace {

constexpr tuint32 HAS_INDEX = 0x10;  // of the main header's flags

bool Step(CAVIFile& file, AVI_SYNC sync) { return sync == AVI_SYNC::NO || file.Sync(); }

bool CompleteHead(CAVIFile& file, AVI_HEADER& header, AVI_SYNC sync) {
    return Step(file, sync) && header.Write(file) && Step(file, sync);
}

bool WriteIndex(CAVIFile& file, const CAVIIndex& index, tint64 end) {
    const auto entries = index.Entries();
    const tuint32 m_flagIndex[] = {FourCC("idx1"), static_cast<tuint32>(entries.size_bytes())};
    return file.WriteAt(IndexPlace(end), BytesOf(m_flagIndex),
                        {reinterpret_cast<const char*>(entries.data()), entries.size_bytes()});
}

}  // namespace

void SetGrowingSizes(AVI_HEADER& header, const CAVIIndex& index, tint64 end) {
    const tint64 place = IndexPlace(end);
    header.m_flagRIFF[1] = static_cast<tuint32>(place + static_cast<tint64>(index.Entries().size_bytes()));
    header.m_flagMovie[1] = static_cast<tuint32>(place) - (AVI_MOVI_OFFSET + 8);
    header.m_aviHeader.dwFlags |= HAS_INDEX;
}

bool CompleteGrowing(CAVIFile& file, AVI_HEADER& header, const CAVIIndex& index, tint64 end, AVI_SYNC sync) {
    SetGrowingSizes(header, index, end);
    // Nothing is written between the chunks and the index: those bytes are zero, as the file ends in front of them.
    if (WriteIndex(file, index, end))
        return CompleteHead(file, header, sync) && header.WriteMark(file, 0) && Step(file, sync);
    file.Truncate(end);
    header.m_flagRIFF[1] = static_cast<tuint32>(end - 8);
    header.m_flagMovie[1] = static_cast<tuint32>(end) - (AVI_MOVI_OFFSET + 8);
    header.m_aviHeader.dwFlags &= ~HAS_INDEX;
    CompleteHead(file, header, sync);
    return false;
}

bool CompleteDefSize(CAVIFile& file, AVI_HEADER& header, tuint32 entries, AVI_SYNC sync) {
    const tuint32 m_flagIndex[] = {FourCC("idx1"), entries * static_cast<tuint32>(sizeof(AVIINDEXENTRY))};
    return file.WriteAt(AVI_DEF_INDEX_OFFSET, BytesOf(m_flagIndex)) && CompleteHead(file, header, sync) &&
           header.WriteMark(file, 0) && Step(file, sync);
}

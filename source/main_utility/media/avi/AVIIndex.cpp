#include "main_utility/media/avi/AVIIndex.h"

#include "sdk_common/SystemFault.h"

namespace {
constexpr tuint32 INDEX_STEP = 18000;  // entries
}

bool CAVIIndex::Begin() {
    Free();
    return Grow();
}

void CAVIIndex::Free() {
    m_pIndexData.reset();
    m_nMaxIndex = 0;
    m_indexNum = 0;
}

bool CAVIIndex::Add(const AVIINDEXENTRY& entry) {
    if (m_indexNum >= AVI_MOST_ENTRIES) return false;
    if (m_indexNum == m_nMaxIndex && !Grow()) return false;
    m_pIndexData.get()[m_indexNum++] = entry;
    return true;
}

bool CAVIIndex::Grow() {
    const size_t bytes = (size_t{m_nMaxIndex} + INDEX_STEP) * sizeof(AVIINDEXENTRY);
    void* pGrown = SystemCall(SYSTEM_CALL::ALLOCATE, static_cast<void*>(nullptr),
                              [&](size_t) { return std::realloc(m_pIndexData.get(), bytes); });
    if (!pGrown) return false;
    (void)m_pIndexData.release();
    m_pIndexData.reset(static_cast<AVIINDEXENTRY*>(pGrown));
    m_nMaxIndex += INDEX_STEP;
    return true;
}

// The index of a growing file, held in memory until the file is complete.
#pragma once

#include <cstdlib>
#include <memory>
#include <span>

#include "main_utility/media/avi/AVILayout.h"

/// Grows in steps. One thread at a time.
class CAVIIndex {
public:
    /// Forgets all entries and takes memory for the first step. False when there is none.
    bool Begin();

    /// False when the index is full (AVI_MOST_ENTRIES) or there is no memory; nothing changes then.
    bool Add(const AVIINDEXENTRY& entry);

    /// Forgets the entries from `count` on.
    void CutTo(tuint32 count) { m_indexNum = count; }

    void Free();

    tuint32 Count() const { return m_indexNum; }
    std::span<const AVIINDEXENTRY> Entries() const { return {m_pIndexData.get(), m_indexNum}; }

private:
    bool Grow();

    struct CFree {
        void operator()(AVIINDEXENTRY* pEntries) const { std::free(pEntries); }
    };
    std::unique_ptr<AVIINDEXENTRY, CFree> m_pIndexData;
    tuint32 m_nMaxIndex = 0;  // entries that there is memory for
    tuint32 m_indexNum = 0;
};

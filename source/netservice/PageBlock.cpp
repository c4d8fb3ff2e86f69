#include "netservice/PageBlock.h"

#include <sys/mman.h>

#include "sdk_common/SystemFault.h"

bool CPageBlock::Allocate(size_t size) {
    Release();
    if (size == 0) return false;
    void* pData = SystemCall(SYSTEM_CALL::MAP_MEMORY, MAP_FAILED, [&](size_t) {
        return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    });
    if (pData == MAP_FAILED) return false;
    m_pData = static_cast<unsigned char*>(pData);
    m_size = size;
    return true;
}

void CPageBlock::Release() {
    if (m_pData) munmap(m_pData, m_size);
    m_pData = nullptr;
    m_size = 0;
}

void CPageBlock::GiveBackPages() {
    if (m_pData) madvise(m_pData, m_size, MADV_DONTNEED);
}

#include "netservice/BufferPool.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "protocol/WireTypes.h"

CBufferPool::CBufferPool() { PUB_InitLock(&m_lock); }

CBufferPool::~CBufferPool() { PUB_DestroyLock(&m_lock); }

bool CBufferPool::Init(int size) {
    CPUB_LockAction guard(&m_lock);
    m_iReadCursor = m_iWriteCursor = m_nBufferSize = 0;
    if (size < 1 || !m_pBuffer.Allocate(size)) return false;
    m_nBufferSize = size;
    return true;
}

int CBufferPool::DataSize() const {
    const int used = m_iWriteCursor - m_iReadCursor;
    return used < 0 ? used + m_nBufferSize : used;
}

int CBufferPool::FreeSize() const { return m_nBufferSize == 0 ? 0 : m_nBufferSize - 1 - DataSize(); }

int CBufferPool::GetTotalSize() {
    CPUB_LockAction guard(&m_lock);
    return m_nBufferSize == 0 ? 0 : m_nBufferSize - 1;
}

int CBufferPool::GetDataSize() {
    CPUB_LockAction guard(&m_lock);
    return DataSize();
}

int CBufferPool::GetFreeSize() {
    CPUB_LockAction guard(&m_lock);
    return FreeSize();
}

bool CBufferPool::PushData(const void* pData, int len) {
    CPUB_LockAction guard(&m_lock);
    if (len < 0 || len > FreeSize()) return false;
    if (len == 0) return true;
    if (!pData) return false;
    const int toEnd = std::min(len, m_nBufferSize - m_iWriteCursor);
    const auto* pBytes = static_cast<const unsigned char*>(pData);
    std::memcpy(m_pBuffer.Data() + m_iWriteCursor, pBytes, toEnd);
    std::memcpy(m_pBuffer.Data(), pBytes + toEnd, len - toEnd);
    m_iWriteCursor = len == toEnd ? (m_iWriteCursor + len) % m_nBufferSize : len - toEnd;
    return true;
}

int CBufferPool::PopData(void*, int len) {
    CPUB_LockAction guard(&m_lock);
    return std::clamp(len, 0, DataSize());
}

void CBufferPool::CopyOut(char* pTarget) const {
    const int size = DataSize();
    const int toEnd = std::min(size, m_nBufferSize - m_iReadCursor);
    std::memcpy(pTarget, m_pBuffer.Data() + m_iReadCursor, toEnd);
    std::memcpy(pTarget + toEnd, m_pBuffer.Data(), size - toEnd);
}

bool CBufferPool::TurnToStart() {
    const int size = DataSize();
    if (size > 0) {
        CPageBlock copy;
        if (!copy.Allocate(size)) return false;
        CopyOut(reinterpret_cast<char*>(copy.Data()));
        std::memcpy(m_pBuffer.Data(), copy.Data(), size);
    }
    m_iReadCursor = 0;
    m_iWriteCursor = size;
    return true;
}

char* CBufferPool::GetDataBuffer(int len) {
    CPUB_LockAction guard(&m_lock);
    if (len < 0 || len > DataSize()) return nullptr;
    if (len > m_nBufferSize - m_iReadCursor && !TurnToStart()) return nullptr;
    return reinterpret_cast<char*>(m_pBuffer.Data()) + m_iReadCursor;
}

char* CBufferPool::GetFreeBuffer(int len) {
    CPUB_LockAction guard(&m_lock);
    if (len < 0 || len > FreeSize()) return nullptr;
    const bool bWrapped = m_iWriteCursor < m_iReadCursor;
    if (!bWrapped && len > m_nBufferSize - m_iWriteCursor && !TurnToStart()) return nullptr;
    return reinterpret_cast<char*>(m_pBuffer.Data()) + m_iWriteCursor;
}

char* CBufferPool::GetBufferHead() {
    CPUB_LockAction guard(&m_lock);
    return reinterpret_cast<char*>(m_pBuffer.Data());
}

char* CBufferPool::GetBufferTail() {
    CPUB_LockAction guard(&m_lock);
    return reinterpret_cast<char*>(m_pBuffer.Data()) + m_nBufferSize;
}

void CBufferPool::FreeBuffer(int len) {
    CPUB_LockAction guard(&m_lock);
    if (m_nBufferSize == 0) return;
    const tint64 cursor = tint64{m_iReadCursor} + std::clamp(len, 0, DataSize());
    m_iReadCursor = static_cast<int>(cursor % m_nBufferSize);
}

void CBufferPool::FillBuffer(int len) {
    CPUB_LockAction guard(&m_lock);
    if (m_nBufferSize == 0) return;
    const tint64 cursor = tint64{m_iWriteCursor} + std::clamp(len, 0, FreeSize());
    m_iWriteCursor = static_cast<int>(cursor % m_nBufferSize);
}

bool CBufferPool::IncreaseSize(int size) {
    CPUB_LockAction guard(&m_lock);
    if (m_nBufferSize == 0) return Init(size);
    if (size < 1 || size > INT_MAX - m_nBufferSize) return false;
    CPageBlock larger;
    if (!larger.Allocate(static_cast<size_t>(m_nBufferSize) + size)) return false;
    CopyOut(reinterpret_cast<char*>(larger.Data()));
    m_iWriteCursor = DataSize();
    m_iReadCursor = 0;
    m_nBufferSize += size;
    m_pBuffer = std::move(larger);
    return true;
}

void CBufferPool::Empty() {
    CPUB_LockAction guard(&m_lock);
    m_iReadCursor = m_iWriteCursor = 0;
}

void CBufferPool::EmptyAndTrim() {
    CPUB_LockAction guard(&m_lock);
    m_iReadCursor = m_iWriteCursor = 0;
    m_pBuffer.GiveBackPages();
}

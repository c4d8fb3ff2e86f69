// The byte ring that holds what a link has still to send.
#pragma once

#include "netservice/PageBlock.h"
#include "sdk_common/PubLock.h"

/// A ring of bytes of which one always stays empty. Each operation is atomic by itself; a caller that uses a pointer
/// got here keeps others away from the pool until it is done with it. Memory is not touched before bytes lie in it.
/// Pointers stay the pool's.
class CBufferPool {
public:
    CBufferPool();
    ~CBufferPool();
    CBufferPool(const CBufferPool&) = delete;
    CBufferPool& operator=(const CBufferPool&) = delete;

    /// Takes `size` bytes, empty. False if memory is short or `size` is below 1.
    bool Init(int size);

    /// Bytes the ring can hold: one less than its size, 0 without a buffer.
    int GetTotalSize();
    int GetDataSize();
    int GetFreeSize();

    /// Copies `len` bytes in. False, with nothing stored, if they do not fit or the arguments make no sense.
    bool PushData(const void* pData, int len);

    /// How many of `len` bytes could be taken. Copies and moves nothing: readers use GetDataBuffer and FreeBuffer.
    int PopData(void* pData, int len);

    /// Start of the waiting bytes, at least `len` of them in one piece (the ring is turned if they wrap). Null if fewer
    /// wait or memory to turn it is short. Valid until the next Init, IncreaseSize, GetDataBuffer or GetFreeBuffer;
    /// bytes that FreeBuffer or Empty dropped may be overwritten.
    char* GetDataBuffer(int len);

    /// Where `len` bytes can be written in one piece; FillBuffer then counts them. Null if fewer are free or memory to
    /// turn the ring is short: when the piece before the ring's end is too short, the waiting bytes are moved to its
    /// start first, so pointers got earlier are void then. Valid until the next operation that stores, moves or drops
    /// bytes.
    char* GetFreeBuffer(int len);

    /// The ring's first byte, and the one behind its last. Valid until the next Init or IncreaseSize.
    char* GetBufferHead();
    char* GetBufferTail();

    /// Drops `len` bytes from the front; no more than wait are dropped.
    void FreeBuffer(int len);
    /// Counts `len` bytes written at GetFreeBuffer; no more than are free are counted.
    void FillBuffer(int len);

    /// Makes the ring `size` bytes larger and keeps what waits. False, with nothing changed, if that is not possible.
    bool IncreaseSize(int size);

    /// Drops everything.
    void Empty();
    /// Drops everything and gives the memory touched so far back to the system.
    void EmptyAndTrim();

private:
    int DataSize() const;  // these two with m_lock held
    int FreeSize() const;
    void CopyOut(char* pTarget) const;
    bool TurnToStart();

    int m_nBufferSize = 0;
    CPageBlock m_pBuffer;
    int m_iReadCursor = 0;
    int m_iWriteCursor = 0;
    PUB_lock_t m_lock;
};

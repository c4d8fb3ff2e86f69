// All frame rings of the process, by buffer id.
#pragma once

#include <memory>
#include <vector>

#include "HLX.h"
#include "netservice/NetDataBufferMan.h"
#include "sdk_common/PubLock.h"
#include "sdk_common/WaitEvent.h"
#include "sdk_common/Waker.h"

/// Bit 10 of a buffer id tells live rings from playback rings.
constexpr unsigned int LIVE_BUFFER_FLAG = 0x400;

constexpr unsigned int LIVE_BUFFER_ID(LONG userID, LONG lChannel, LONG streamType) {
    return static_cast<unsigned int>(streamType + userID * 2048 + lChannel * 4) | LIVE_BUFFER_FLAG;
}
constexpr unsigned int PLAYBACK_BUFFER_ID(LONG userID, LONG index) {
    return static_cast<unsigned int>((index & 15) + userID * 2048 + 120) & ~LIVE_BUFFER_FLAG;
}

struct NET_DATA_BUFFER_MAN;

/// Any thread; one producer and one consumer per ring. Lock order: m_bufferArrayLock, a ring's pReleaseLock, the ring's
/// own lock. m_bufferArrayLock is held only to find a ring, so rings do not wait for each other; a ring that is removed
/// meanwhile lives on until the operation is over.
class CMultiNetDataBufferMan {
public:
    static CMultiNetDataBufferMan* Instance();

    bool Initial();
    /// Removes all rings at once. Called when their readers have ended: runs not released are void after it, and a
    /// RemoveBuffer that waits for them ends.
    void Quit();

    /// Makes a ring of `size` bytes. True also if the id exists already, whose ring then stays as it is; one that is
    /// being removed does not count. `pWaker` (may be null) is woken by each frame that is stored, for a reader of
    /// several rings. False if memory is short.
    bool AddBuffer(unsigned int bufferID, int size, bool bLive, std::shared_ptr<CWaker> pWaker = nullptr);

    /// Takes a ring away. From the start its id is unknown but to ReleaseDataBuffer. Blocks until the reader has
    /// released every run that it took, so the reader must not call or wait for it.
    void RemoveBuffer(unsigned int bufferID);

    /// Stores a frame (data of `frame.length` bytes, copied). True when the producer is done with the frame: it was
    /// stored, dropped, or the id is unknown. False: the ring is full, try the same frame again after a while; the
    /// tenth try gives it up.
    bool PushData(unsigned int bufferID, const HLX_FRAME_INFO& frame, const unsigned char* pData);

    /// The next run of records; see CNetDataBufferMan. False for an unknown id or when nothing waits.
    bool GetDataBuffer(unsigned int bufferID, unsigned char*& pBuffer, int& len);

    /// Gives a run back, in the order of taking. Anything else than the oldest run with its length changes nothing.
    void ReleaseDataBuffer(unsigned int bufferID, unsigned char* pBuffer, int len);

    /// Forgets what waits in a ring; the reader's runs stay valid. Any thread.
    void DropData(unsigned int bufferID);

    /// The following give 0 for an unknown id.
    int GetFreeBufferSize(unsigned int bufferID);
    unsigned int GetLastFrameIndex(unsigned int bufferID);
    /// Frames given up since the ring was made, and those of their streams up to the next key frame.
    unsigned int GetLostFrames(unsigned int bufferID);

    /// Counts a frame that was lost before it came here; video waits for the next key frame. Any thread.
    void LoseFrame(unsigned int bufferID);

    void SetChannelNeedIFrame(unsigned int bufferID, LONG lDeviceID, LONG lChannel, DWORD streamAttrib, bool bNeed);

    /// Blocks the reader until data waits (true), or `ms` milliseconds are over, WakeReader is called or the ring is or
    /// gets removed (false). False at once for an unknown id. No lock is held while waiting.
    bool WaitForData(unsigned int bufferID, tuint32 ms);

    /// Ends the WaitForData under way or, if there is none, the next one.
    void WakeReader(unsigned int bufferID);

private:
    using BufferRef = std::shared_ptr<NET_DATA_BUFFER_MAN>;
    CMultiNetDataBufferMan() = default;
    bool IsAt(std::vector<BufferRef>::iterator place,
              unsigned int bufferID);  // these three with m_bufferArrayLock held
    std::vector<BufferRef>::iterator Place(unsigned int bufferID);
    BufferRef FindLive(unsigned int bufferID);
    BufferRef Find(unsigned int bufferID);
    BufferRef FindHolder(unsigned int bufferID, const unsigned char* pBuffer);
    BufferRef StartRemoval(unsigned int bufferID);
    void Erase(const BufferRef& entry);

    // Sorted by id; of one id the live ring, if there is one, before those being removed. Guarded by m_bufferArrayLock.
    std::vector<BufferRef> m_dataBufferArray;
    CPUB_Lock m_bufferArrayLock;
};

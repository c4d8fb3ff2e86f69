// The ring of frame records of one stream.
#pragma once

#include <atomic>
#include <list>

#include "HLX.h"
#include "netservice/PageBlock.h"
#include "protocol/WireTypes.h"
#include "sdk_common/PubLock.h"

struct NET_DATA_BUFFER_INFO {
    int bufferSize;
    int dataLen;      // bytes waiting to be taken by the reader
    int freeLen;      // bytes that may still be written
    int readOffset;   // start of what was not handed to the reader
    int writeOffset;  // where the next record goes
    int freeOffset;   // start of what the reader has not released
    int tailOffset;   // end of the data before a wrap, else bufferSize
    unsigned char* pBuffer;
};

struct NET_CHANNEL_STREAM_STATUS {
    LONG lDeviceID;
    LONG lChannel;
    DWORD streamAttrib;
    int bNeedKeyFrame;
    LONG lostTimes;  // frames of other streams since the last one of this
};

/// Bytes that a frame of `length` bytes takes in a ring: an HLX_FRAME_INFO, the data, zero bytes up to a multiple of 4.
constexpr tint64 FrameRecordSize(tuint32 length) {
    return static_cast<tint64>(sizeof(HLX_FRAME_INFO)) + ((static_cast<tint64>(length) + 3) & ~tint64{3});
}

/// One producer and one consumer. Records lie back to back; a record's `length` is the padded one. Runs of records are
/// handed out by pointer without a copy and given back in the same order.
class CNetDataBufferMan {
public:
    /// A new run starts at a multiple of this.
    static constexpr int RUN_ALIGNMENT = 4096;
    /// Pushes of one frame before it is dropped.
    static constexpr int PUSH_TRIES = 10;
    /// End-of-stream frames that are kept until there is room.
    static constexpr size_t MAXIMAL_END_FRAMES = 64;

    CNetDataBufferMan() = default;
    CNetDataBufferMan(const CNetDataBufferMan&) = delete;
    CNetDataBufferMan& operator=(const CNetDataBufferMan&) = delete;

    /// Takes `size` zeroed bytes. `bLiveData`: video of a stream starts at a key frame. False if memory is short or
    /// `size` below 1.
    bool Initial(int size, bool bLiveData);
    /// Ends the ring: pushes and takes fail from now on. The memory goes with the object.
    void Quit();

    /// Stores a frame. True also for video that is thrown away because its stream waits for a key frame; false when the
    /// ring is full, or too small for the frame.
    bool PushData(const HLX_FRAME_INFO& frame, const unsigned char* pData);

    /// Takes the result of PushData; true ends the producer's retries. After PUSH_TRIES failures on the same `pData`
    /// the frame is given up and its stream waits for a key frame; an end-of-stream frame is kept and follows when
    /// there is room.
    bool ProcessPushDataFailed(const HLX_FRAME_INFO& frame, bool bSuccess, const unsigned char* pData);

    /// The next run of whole records. False if there is none. The bytes stay valid until released.
    bool GetDataBuffer(unsigned char*& pBuffer, int& len);

    /// Gives the oldest run back, with the length it was handed out with. False, with nothing changed, for any other
    /// pointer or a length beyond the ring.
    bool ReleaseDataBuffer(const unsigned char* pBuffer, int len);

    /// Forgets what waits for the reader, end-of-stream frames that were kept too; video begins anew at a key frame.
    /// Runs that the reader holds stay valid.
    void DropData();

    int GetFreeBufferSize();
    unsigned int GetLastFrameIndex();
    void SetChannelNeedIFrame(LONG lDeviceID, LONG lChannel, DWORD streamAttrib, bool bNeed);

    /// True while bytes wait for the reader. Takes no lock.
    bool HasData() const { return m_bHasData; }
    /// Frames given up since Initial, and those of their streams up to the next key frame. Takes no lock.
    unsigned int GetLostFrames() const { return m_lostFrames; }
    /// A frame of any of its streams was lost before it came here.
    void LoseFrame();

private:
    // All with m_lock held.
    bool PassKeyFrameGate(const HLX_FRAME_INFO& frame);
    bool MatchStatus(NET_CHANNEL_STREAM_STATUS& status, const HLX_FRAME_INFO& frame, bool& bPush);
    bool FindPlace(int recordSize);
    bool FindPlaceBehind(int recordSize);
    bool FindPlaceInEmpty();
    void WriteRecord(const HLX_FRAME_INFO& frame, const unsigned char* pData, int recordSize);
    void TakeUpToWrite(unsigned char*& pBuffer, int& len);
    bool TakeUpToTail(unsigned char*& pBuffer, int& len);
    void KeepEndFrame(const HLX_FRAME_INFO& frame);
    void PushLostEndFrame();
    int RunEnd(int offset, int limit) const;
    void WrapFreeOffset();
    void NoteData() { m_bHasData = m_dataBufferInfo.dataLen > 0; }

    NET_DATA_BUFFER_INFO m_dataBufferInfo{};
    CPageBlock m_memory;
    CPUB_Lock m_lock;  // guards all but the atomics
    BOOL m_bLiveData = false;
    std::list<NET_CHANNEL_STREAM_STATUS> m_listChannelStatus;
    bool m_bQuiting = true;
    int m_tryTimes = 0;
    const unsigned char* m_pPrevDataPos = nullptr;  // only compared
    std::list<HLX_FRAME_INFO> m_endFrameList;
    unsigned int m_lastframeIndex = 0;
    std::atomic<bool> m_bHasData{false};
    std::atomic<unsigned int> m_lostFrames{0};
};

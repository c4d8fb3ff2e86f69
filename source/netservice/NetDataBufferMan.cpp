#include "netservice/NetDataBufferMan.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>

#include "sdk_common/Console.h"

namespace {

constexpr LONG FORGET_AFTER = 9999;  // frames of other streams

constexpr int RECORD_HEAD = sizeof(HLX_FRAME_INFO);
static_assert(RECORD_HEAD == 56, "readers walk the records by this size");

// Two streams without any attribute are one and the same.
bool SharesAttribute(DWORD left, DWORD right) { return (left & right) != 0 || left == right; }

NET_CHANNEL_STREAM_STATUS StatusOf(const HLX_FRAME_INFO& frame) {
    return {frame.deviceID, frame.channel, frame.frameAttrib, frame.keyFrame ? 0 : 1, 0};
}

}  // namespace

bool CNetDataBufferMan::Initial(int size, bool bLiveData) {
    const std::scoped_lock guard(m_lock);
    if (size < 1 || !m_memory.Allocate(static_cast<size_t>(size))) return false;
    m_dataBufferInfo = {};
    m_dataBufferInfo.bufferSize = m_dataBufferInfo.freeLen = m_dataBufferInfo.tailOffset = size;
    m_dataBufferInfo.pBuffer = m_memory.Data();
    m_bLiveData = bLiveData;
    m_bQuiting = false;
    return true;
}

void CNetDataBufferMan::Quit() {
    const std::scoped_lock guard(m_lock);
    m_bQuiting = true;
    m_dataBufferInfo.dataLen = 0;
    m_listChannelStatus.clear();
    m_endFrameList.clear();
    NoteData();
}

bool CNetDataBufferMan::PushData(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const std::scoped_lock guard(m_lock);
    const tint64 recordSize = FrameRecordSize(frame.length);
    m_lastframeIndex = frame.frameIndex;
    if (m_bQuiting || m_dataBufferInfo.freeLen <= 0 || (frame.length > 0 && !pData)) return false;
    if (m_bLiveData && frame.frameType == DD_FRAME_TYPE_VIDEO && !PassKeyFrameGate(frame)) {
        if (m_lostFrames > 0) ++m_lostFrames;  // not at a stream's start: what follows a dropped frame is lost with it
        return true;
    }
    if (recordSize > m_dataBufferInfo.bufferSize || !FindPlace(static_cast<int>(recordSize))) return false;
    WriteRecord(frame, pData, static_cast<int>(recordSize));
    return true;
}

// False: the stream waits for a key frame and this is none.
bool CNetDataBufferMan::PassKeyFrameGate(const HLX_FRAME_INFO& frame) {
    bool bPush = false;
    bool bFound = false;
    for (auto status = m_listChannelStatus.begin(); status != m_listChannelStatus.end();) {
        const bool bMatch = status->lDeviceID == frame.deviceID && status->lChannel == frame.channel &&
                            SharesAttribute(status->streamAttrib, frame.frameAttrib);
        if (bMatch) {
            if (frame.keyFrame) status->bNeedKeyFrame = 0;
            bPush = status->bNeedKeyFrame == 0;
            bFound = true;
        }
        status->lostTimes = bMatch ? 0 : status->lostTimes + 1;
        status = status->lostTimes > FORGET_AFTER ? m_listChannelStatus.erase(status) : std::next(status);
    }
    if (bFound) return bPush;
    try {
        m_listChannelStatus.push_back(StatusOf(frame));
    } catch (const std::bad_alloc&) {
        // The stream is taken for a new one again at its next frame.
    }
    return frame.keyFrame != 0;
}

// Sets writeOffset to where the record fits. A failure may still have wrapped the ring.
bool CNetDataBufferMan::FindPlace(int recordSize) {
    const NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (info.writeOffset > info.freeOffset) return FindPlaceBehind(recordSize);
    if (info.writeOffset == info.freeOffset) return FindPlaceInEmpty();
    return recordSize <= info.freeOffset - info.writeOffset;
}

bool CNetDataBufferMan::FindPlaceBehind(int recordSize) {
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (recordSize <= info.bufferSize - info.writeOffset) return true;
    if (info.readOffset == info.writeOffset && info.dataLen == 0) info.readOffset = 0;
    info.tailOffset = info.writeOffset;
    info.writeOffset = 0;
    info.freeLen = info.freeOffset;
    return recordSize <= info.freeOffset;
}

bool CNetDataBufferMan::FindPlaceInEmpty() {
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (info.writeOffset != info.readOffset || info.dataLen > 0) {
        info.freeLen = 0;
        return false;
    }
    if (info.freeLen == 0) return false;
    info.writeOffset = info.readOffset = info.freeOffset = 0;
    info.freeLen = info.tailOffset = info.bufferSize;
    return true;
}

void CNetDataBufferMan::WriteRecord(const HLX_FRAME_INFO& frame, const unsigned char* pData, int recordSize) {
    HLX_FRAME_INFO head = frame;
    head.length = static_cast<DWORD>(recordSize - RECORD_HEAD);
    unsigned char* pRecord = m_dataBufferInfo.pBuffer + m_dataBufferInfo.writeOffset;
    std::memcpy(pRecord, &head, RECORD_HEAD);
    if (frame.length > 0) std::memcpy(pRecord + RECORD_HEAD, pData, frame.length);
    std::memset(pRecord + RECORD_HEAD + frame.length, 0, head.length - frame.length);
    m_dataBufferInfo.writeOffset += recordSize;
    m_dataBufferInfo.dataLen += recordSize;
    m_dataBufferInfo.freeLen -= recordSize;
    NoteData();
}

bool CNetDataBufferMan::ProcessPushDataFailed(const HLX_FRAME_INFO& frame, bool bSuccess, const unsigned char* pData) {
    const std::scoped_lock guard(m_lock);
    if (bSuccess) {
        m_pPrevDataPos = nullptr;
        m_tryTimes = 0;
        return true;
    }
    m_tryTimes = m_pPrevDataPos == pData ? m_tryTimes + 1 : 1;
    m_pPrevDataPos = pData;
    if (m_tryTimes < PUSH_TRIES) return false;
    m_pPrevDataPos = nullptr;
    m_tryTimes = 0;
    ++m_lostFrames;
    SetChannelNeedIFrame(frame.deviceID, frame.channel, frame.frameAttrib, true);
    if (frame.frameType == DD_FRAME_TYPE_END) KeepEndFrame(frame);
    return true;
}

void CNetDataBufferMan::KeepEndFrame(const HLX_FRAME_INFO& frame) {
    if (m_endFrameList.size() >= MAXIMAL_END_FRAMES) return;
    try {
        m_endFrameList.push_back(frame);
    } catch (const std::bad_alloc&) {
        return;
    }
    m_endFrameList.back().length = 0;
}

bool CNetDataBufferMan::GetDataBuffer(unsigned char*& pBuffer, int& len) {
    const std::scoped_lock guard(m_lock);
    const NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    PushLostEndFrame();
    if (info.dataLen == 0) return false;
    if (info.writeOffset > info.readOffset) {
        TakeUpToWrite(pBuffer, len);
    } else if (!TakeUpToTail(pBuffer, len)) {
        return false;
    }
    PushLostEndFrame();
    NoteData();
    return true;
}

// The gap up to the next aligned offset goes with the run and comes back with its release.
void CNetDataBufferMan::TakeUpToWrite(unsigned char*& pBuffer, int& len) {
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    pBuffer = info.pBuffer + info.readOffset;
    len = info.writeOffset - info.readOffset;
    const int end = RunEnd(info.writeOffset, info.bufferSize);
    info.freeLen -= end - info.writeOffset;
    info.writeOffset = info.readOffset = end;
    info.dataLen = 0;
}

bool CNetDataBufferMan::TakeUpToTail(unsigned char*& pBuffer, int& len) {
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (info.tailOffset == info.readOffset) return false;
    pBuffer = info.pBuffer + info.readOffset;
    len = info.tailOffset - info.readOffset;
    info.dataLen = info.writeOffset;
    info.readOffset = 0;
    return true;
}

void CNetDataBufferMan::PushLostEndFrame() {
    if (!m_endFrameList.empty() && PushData(m_endFrameList.front(), nullptr)) m_endFrameList.pop_front();
}

// Where the next run starts behind one that ends at `offset`.
int CNetDataBufferMan::RunEnd(int offset, int limit) const {
    const tint64 aligned = (tint64{offset} + RUN_ALIGNMENT - 1) / RUN_ALIGNMENT * RUN_ALIGNMENT;
    return static_cast<int>(std::min<tint64>(aligned, limit));
}

bool CNetDataBufferMan::ReleaseDataBuffer(const unsigned char* pBuffer, int len) {
    const std::scoped_lock guard(m_lock);
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (!info.pBuffer || pBuffer != info.pBuffer + info.freeOffset) {
        PrintConsoleF("pBuffer:%p, pHead:%p, freeOffset:%d\n", static_cast<const void*>(pBuffer),
                      static_cast<const void*>(info.pBuffer), info.freeOffset);
        return false;
    }
    if (len < 0 || len > info.tailOffset - info.freeOffset) {
        PrintConsoleF("pBuffer:%p, pHead:%p, dataLen:%d\n", static_cast<const void*>(pBuffer),
                      static_cast<const void*>(info.pBuffer), len);
        return false;
    }
    const int end = RunEnd(info.freeOffset + len, info.tailOffset);
    info.freeLen += end - info.freeOffset;
    info.freeOffset = end;
    if (end == info.tailOffset) WrapFreeOffset();
    PushLostEndFrame();
    return true;
}

void CNetDataBufferMan::WrapFreeOffset() {
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    info.freeOffset = 0;
    info.tailOffset = info.bufferSize;
    if (info.writeOffset < info.tailOffset) {
        info.freeLen = info.bufferSize - info.writeOffset;
        return;
    }
    info.readOffset = info.writeOffset = info.dataLen = 0;
    info.freeLen = info.bufferSize;
    NoteData();
}

void CNetDataBufferMan::DropData() {
    const std::scoped_lock guard(m_lock);
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    m_listChannelStatus.clear();
    m_endFrameList.clear();
    m_pPrevDataPos = nullptr;
    m_tryTimes = 0;
    if (info.dataLen == 0) return;
    if (info.writeOffset <= info.readOffset) info.tailOffset = info.bufferSize;  // what waits is what passed the end
    info.writeOffset = info.readOffset;
    info.dataLen = 0;
    info.freeLen = info.bufferSize;
    if (info.freeOffset == info.readOffset) {
        info.writeOffset = info.readOffset = info.freeOffset = 0;
        info.tailOffset = info.bufferSize;
    }
    GetFreeBufferSize();
    NoteData();
}

int CNetDataBufferMan::GetFreeBufferSize() {
    const std::scoped_lock guard(m_lock);
    NET_DATA_BUFFER_INFO& info = m_dataBufferInfo;
    if (info.writeOffset > info.freeOffset) {
        info.freeLen = info.bufferSize - info.writeOffset + info.freeOffset;
    } else if (info.writeOffset < info.freeOffset) {
        info.freeLen = info.freeOffset - info.writeOffset;
    } else {
        const bool bEmpty = info.writeOffset == info.readOffset && info.dataLen == 0;
        info.freeLen = bEmpty && info.freeLen != 0 ? info.bufferSize : 0;
    }
    return info.freeLen;
}

void CNetDataBufferMan::LoseFrame() {
    const std::scoped_lock guard(m_lock);
    ++m_lostFrames;
    for (NET_CHANNEL_STREAM_STATUS& status : m_listChannelStatus) status.bNeedKeyFrame = 1;
}

unsigned int CNetDataBufferMan::GetLastFrameIndex() {
    const std::scoped_lock guard(m_lock);
    return m_lastframeIndex;
}

void CNetDataBufferMan::SetChannelNeedIFrame(LONG lDeviceID, LONG lChannel, DWORD streamAttrib, bool bNeed) {
    const std::scoped_lock guard(m_lock);
    for (NET_CHANNEL_STREAM_STATUS& status : m_listChannelStatus) {
        if (status.lDeviceID != lDeviceID || status.lChannel != lChannel || status.streamAttrib != streamAttrib)
            continue;
        status.bNeedKeyFrame = bNeed ? 1 : 0;
    }
}

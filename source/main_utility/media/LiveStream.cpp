// The thread of one live stream: from its ring to the application's callbacks.
#include <cstring>
#include <mutex>
#include <utility>

#include "main_utility/media/LiveMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/InCallback.h"
#include "sdk_common/RunFlag.h"

namespace {

constexpr size_t FRAME_HEAD = sizeof(HLX_FRAME_INFO);
constexpr tuint32 READER_WAIT = 1000;  // milliseconds that an idle thread waits for its ring at a time

/// What marks the frames of each stream type.
constexpr DWORD STREAM_ATTRIB[] = {DD_LIVE_FRAME_FIRST_STREAM, DD_LIVE_FRAME_SECOND_STREAM, DD_LIVE_FRAME_THIRD_STREAM,
                                   DD_LIVE_FRAME_FOURTH_STREAM};

using InCallback = CInCallback<CLiveMan>;

bool IsVideo(DWORD frameType) { return frameType == DD_FRAME_TYPE_VIDEO || frameType == DD_FRAME_TYPE_VIDEO_FORMAT; }

/// Video belongs to the stream that its attribute names; everything else to all streams of the channel.
bool BelongsTo(const LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame) {
    return !IsVideo(frame.frameType) || (frame.frameAttrib & STREAM_ATTRIB[stream.streamType]) != 0;
}

/// Keeps a format that a frame brings; a shorter one is no format.
template <class Format>
bool KeepFormat(Format& format, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (frame.length < sizeof(Format)) return false;
    std::memcpy(&format, pData, sizeof(Format));
    return true;
}

}  // namespace

bool CLiveMan::InFrameCallback() { return InCallback::OnThisThread(); }

void* CLiveMan::LiveDataProcThread(void* pParam) {
    auto* pStream = static_cast<LIVE_STREAM_INFO*>(pParam);
    pStream->pUser->LiveDataProc(*pStream);
    return nullptr;
}

void CLiveMan::LiveDataProc(LIVE_STREAM_INFO& stream) {
    while (RunFlagSet(stream.bProcessing)) {
        unsigned char* pRun = nullptr;
        int length = 0;
        if (!m_pDataBufferMan->GetDataBuffer(stream.bufferID, pRun, length)) {
            m_pDataBufferMan->WaitForData(stream.bufferID, READER_WAIT);
            continue;
        }
        WalkRun(stream, pRun, static_cast<size_t>(length));
        m_pDataBufferMan->ReleaseDataBuffer(stream.bufferID, pRun, length);
    }
}

/// Hands out the records of a run until its end or until the stream is stopped.
void CLiveMan::WalkRun(LIVE_STREAM_INFO& stream, const unsigned char* pRun, size_t length) {
    size_t position = 0;
    while (length - position >= FRAME_HEAD && RunFlagSet(stream.bProcessing)) {
        HLX_FRAME_INFO frame;
        std::memcpy(&frame, pRun + position, FRAME_HEAD);
        const size_t recordSize = FRAME_HEAD + size_t{frame.length};
        if (recordSize > length - position) return;
        if (frame.deviceID == static_cast<DWORD>(stream.lDeviceHandle) &&
            frame.channel == static_cast<DWORD>(stream.channel))
            stream.tStreamDataLastTime = MonotonicSeconds();
        if (BelongsTo(stream, frame)) ProcessFrame(stream, frame, pRun + position);
        position += recordSize;
    }
}

void CLiveMan::ProcessFrame(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pRecord) {
    const unsigned char* pData = pRecord + FRAME_HEAD;
    if (frame.frameType == DD_FRAME_TYPE_VIDEO_FORMAT) {
        if (!KeepFormat(stream.bmpInfo, frame, pData)) return;
        stream.bVFormatArrived = false;
        return SaveNewFormat(stream, true);
    }
    if (frame.frameType == DD_FRAME_TYPE_AUDIO_FORMAT) {
        if (KeepFormat(stream.waveInfo, frame, pData)) SaveNewFormat(stream, false);
        return;
    }
    if (frame.frameType == DD_FRAME_TYPE_JPEG) return TakePicture(stream, pData, frame.length);
    CallApplication(stream, frame, pRecord);
    SaveFrame(stream, frame, pData);
}

void CLiveMan::CallApplication(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pRecord) {
    LIVE_CALLBACKS callbacks;
    {
        std::lock_guard guard(stream.callbackLock);
        callbacks = stream.callbacks;
        if (std::exchange(stream.bNewCallbacks, false)) stream.bVFormatArrived = stream.bAFormatArrived = false;
    }
    if (!callbacks.pLiveDataCallback && !callbacks.pLiveDataCallbackEx) return;
    DeliverFormats(stream, callbacks, frame);
    const bool bTold = frame.frameType == DD_FRAME_TYPE_VIDEO   ? stream.bVFormatArrived
                       : frame.frameType == DD_FRAME_TYPE_AUDIO ? stream.bAFormatArrived
                                                                : false;
    if (bTold) Deliver(stream, callbacks, frame, pRecord);
}

/// Tells the formats that are known and not told yet: video first, sound only behind it.
void CLiveMan::DeliverFormats(LIVE_STREAM_INFO& stream, const LIVE_CALLBACKS& callbacks, const HLX_FRAME_INFO& frame) {
    const auto tell = [&](DWORD frameType, const auto& format) {
        HLX_FRAME_INFO info = frame;
        info.frameType = frameType;
        info.length = sizeof(format);
        unsigned char record[FRAME_HEAD + sizeof(format)];
        std::memcpy(record, &info, FRAME_HEAD);
        std::memcpy(record + FRAME_HEAD, &format, sizeof(format));
        Deliver(stream, callbacks, info, record);
    };
    if (!stream.bVFormatArrived && stream.bmpInfo.biSize == sizeof(BITMAPINFOHEADER)) {
        stream.bVFormatArrived = true;
        tell(DD_FRAME_TYPE_VIDEO_FORMAT, stream.bmpInfo);
    }
    if (stream.bVFormatArrived && !stream.bAFormatArrived && stream.waveInfo.nAvgBytesPerSec != 0) {
        stream.bAFormatArrived = true;
        tell(DD_FRAME_TYPE_AUDIO_FORMAT, stream.waveInfo);
    }
}

/// Calls the application. The bytes are lent for the call.
void CLiveMan::Deliver(const LIVE_STREAM_INFO& stream, const LIVE_CALLBACKS& callbacks, const HLX_FRAME_INFO& frame,
                       const unsigned char* pRecord) {
    const InCallback inCallback;
    auto* pBytes = const_cast<BYTE*>(pRecord);
    if (callbacks.pLiveDataCallback)
        callbacks.pLiveDataCallback(stream.lLiveHandle, frame, pBytes + FRAME_HEAD, callbacks.pLiveDataCBParam);
    if (callbacks.pLiveDataCallbackEx)
        callbacks.pLiveDataCallbackEx(stream.lLiveHandle, frame.frameType, pBytes,
                                      static_cast<UINT>(FRAME_HEAD + frame.length), callbacks.pLiveDataCBParam);
}

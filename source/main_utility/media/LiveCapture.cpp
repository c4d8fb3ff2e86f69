// Pictures that the device makes: taken from its JPEG stream, which runs while somebody waits for one.
#include <algorithm>
#include <cstring>
#include <mutex>

#include "main_utility/device/NetDeviceMan.h"
#include "main_utility/media/LiveMan.h"
#include "netservice/MultiNetDataBufferMan.h"
#include "sdk_common/TimeSource.h"

namespace {

constexpr tint64 PICTURE_WAIT = 10000000;  // microseconds
constexpr tuint32 PICTURE_ROUND = 50;      // milliseconds after which the link is looked at
constexpr LONG MAX_CAPTURE_CHANNEL = 255;  // a ring's id has room for no more

/// The picture without the zeroes with which the ring fills it up to a multiple of 4: a picture ends with FF D9.
size_t PictureSize(const unsigned char* pData, size_t length) {
    for (size_t fill = 0; fill < 4 && length >= fill + 2; ++fill) {
        const unsigned char* pEnd = pData + length - fill;
        if (pEnd[-2] == 0xFF && pEnd[-1] == 0xD9) return length - fill;
        if (pEnd[-1] != 0) break;
    }
    return length;
}

/// Settles a capture that is not settled yet.
void Fail(LIVE_CAPTURE& capture, DWORD error) {
    {
        std::lock_guard guard(capture.lock);
        if (!capture.isCapturing) return;
        capture.isCapturing = false;
        capture.error = error;
    }
    capture.captured.SetEvent();
}

bool IsSettled(LIVE_CAPTURE& capture) {
    std::lock_guard guard(capture.lock);
    return !capture.isCapturing;
}

/// The number of a JPEG stream that could not be started.
DWORD StartFailure(DWORD error) {
    return error == HLX_SUCCESS || error == HLX_NETWORK_SEND_ERROR ? DWORD{HLX_CREATEJPEGSTREAM_FAIL} : error;
}

}  // namespace

BOOL CLiveMan::CapturePicture(LONG lUserID, LONG lChannel, char* pBuffer, DWORD dwSize, LPDWORD pReturned) {
    if (InFrameCallback()) return Failure(HLX_OPER_NOPERMIT);
    if (!pBuffer || !pReturned) return Failure(HLX_PARAMETER_ERROR);
    if (!m_pDeviceMan->GetDeviceResByUserID(lUserID)) return Failure(HLX_PARAMETER_ERROR);
    if (lChannel < 0 || lChannel > MAX_CAPTURE_CHANNEL) return Failure(HLX_CHANNEL_ERROR);
    const auto capture = std::make_shared<LIVE_CAPTURE>();
    capture->pCaptureBuffer = pBuffer;
    capture->captureBufSize = dwSize;
    capture->captured.CreateWaitEvent();
    if (!BeginCapture(lUserID, lChannel, capture)) return 0;
    WaitForPicture(lUserID, *capture);
    EndCapture(capture);
    if (capture->error != HLX_SUCCESS) return Failure(static_cast<HLX_ERROR>(capture->error));
    if (capture->captureBufSize == 0) return Failure(HLX_NOENOUGH_BUF);
    *pReturned = static_cast<DWORD>(capture->captureBufSize);
    return 1;
}

/// The stream that takes pictures of the channel; null when neither it is there nor can be made.
LIVE_STREAM_INFO* CLiveMan::CaptureStream(LONG lUserID, LONG lChannel) {
    for (const Stream& stream : m_streamInfoArray) {
        if (stream->lDeviceHandle != lUserID || stream->channel != lChannel || stream->streamType != HLX_THIRD_STREAM)
            continue;
        // A live stream that is just being stopped still has the ring.
        return stream->bEnding ? Failure(HLX_NORESOURCE, static_cast<LIVE_STREAM_INFO*>(nullptr)) : stream.get();
    }
    auto stream = std::make_unique<LIVE_STREAM_INFO>();
    stream->lLiveHandle = reinterpret_cast<POINTERHANDLE>(stream.get());
    stream->lDeviceHandle = stream->lPrimalDeviceHandle = lUserID;
    stream->channel = lChannel;
    stream->streamType = HLX_THIRD_STREAM;
    stream->bCapture = true;
    stream->captures.reserve(1);  // from here on the first capture needs no memory
    stream->pUser = this;
    m_streamInfoArray.push_back(std::move(stream));
    LIVE_STREAM_INFO* pStream = m_streamInfoArray.back().get();
    if (StartStream(*pStream)) return pStream;
    EndStream(*pStream);
    m_streamInfoArray.pop_back();
    return Failure(HLX_NORESOURCE, static_cast<LIVE_STREAM_INFO*>(nullptr));
}

bool CLiveMan::BeginCapture(LONG lUserID, LONG lChannel, const std::shared_ptr<LIVE_CAPTURE>& capture) {
    {
        std::lock_guard guard(m_streamLock);
        LIVE_STREAM_INFO* pStream = CaptureStream(lUserID, lChannel);
        if (!pStream) return false;
        {
            std::lock_guard captureGuard(pStream->captureLock);
            pStream->captures.push_back(capture);
        }
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
        if (m_pDeviceMan->StartJpegStream(lUserID, lChannel)) return true;
    }
    const DWORD error = CThreadState::Instance()->GetLastError();
    EndCapture(capture);
    return Failure(static_cast<HLX_ERROR>(StartFailure(error)));
}

void CLiveMan::WaitForPicture(LONG lUserID, LIVE_CAPTURE& capture) {
    const tint64 end = TimeSource().MonotonicMicroseconds() + PICTURE_WAIT;
    while (!IsSettled(capture)) {
        if (!IsConnected(lUserID)) return Fail(capture, HLX_NETWORK_NOT_CONNECT);
        if (TimeSource().MonotonicMicroseconds() >= end) return Fail(capture, HLX_NETWORK_RECV_TIMEOUT);
        capture.captured.WaitForCond(PICTURE_ROUND, [&] { return IsSettled(capture); });
    }
}

/// True if the stream had the capture and has none left.
bool CLiveMan::RemoveCapture(LIVE_STREAM_INFO& stream, const std::shared_ptr<LIVE_CAPTURE>& capture) {
    std::lock_guard guard(stream.captureLock);
    return std::erase(stream.captures, capture) != 0 && stream.captures.empty();
}

/// The last capture of a stream stops the JPEG stream, and ends a stream that was made for it. The stream may be gone.
void CLiveMan::EndCapture(const std::shared_ptr<LIVE_CAPTURE>& capture) {
    std::lock_guard guard(m_streamLock);
    const auto left =
        std::ranges::find_if(m_streamInfoArray, [&](const Stream& stream) { return RemoveCapture(*stream, capture); });
    if (left == m_streamInfoArray.end()) return;
    m_pDeviceMan->StopJpegStream((*left)->lDeviceHandle, (*left)->channel);
    if (!(*left)->bCapture) return;
    // Under the lock, so that the next capture does not find the ring of this one. The thread calls no application.
    EndStream(**left);
    m_streamInfoArray.erase(left);
}

/// Gives a picture to all that wait for one. Stream's thread.
void CLiveMan::TakePicture(LIVE_STREAM_INFO& stream, const unsigned char* pData, size_t length) {
    const size_t size = PictureSize(pData, length);
    std::lock_guard guard(stream.captureLock);
    for (const auto& capture : stream.captures) {
        {
            std::lock_guard captureGuard(capture->lock);
            if (!capture->isCapturing) continue;
            const bool bFits = size <= capture->captureBufSize;
            if (bFits) std::memcpy(capture->pCaptureBuffer, pData, size);
            capture->captureBufSize = bFits ? size : 0;
            capture->isCapturing = false;
        }
        capture->captured.SetEvent();
    }
}

/// The stream ends: nobody will get a picture from it.
void CLiveMan::DropCaptures(LIVE_STREAM_INFO& stream) {
    std::lock_guard guard(stream.captureLock);
    for (const auto& capture : stream.captures) Fail(*capture, HLX_NETWORK_NOT_CONNECT);
}

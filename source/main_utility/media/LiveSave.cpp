// Saving a live stream to a file.
#include <memory>
#include <mutex>

#include "main_utility/media/LiveMan.h"
#include "sdk_common/ThreadState.h"

namespace {

bool SaveFormat(CAVISave& save, const HLX_FRAME_INFO& frame, DWORD frameType, const void* pFormat, size_t size) {
    HLX_FRAME_INFO info = frame;
    info.frameType = frameType;
    info.length = static_cast<DWORD>(size);
    return save.SaveFile(info, static_cast<const unsigned char*>(pFormat));
}

}  // namespace

/// A file that is being saved already is completed first: the new one may have its name.
BOOL CLiveMan::SaveLiveData(POINTERHANDLE lLiveHandle, const char* sFileName) {
    const Stream stream = FindShared(lLiveHandle);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    auto pSave = std::make_unique<CAVISave>(AVI_SAVE_KIND::LIVE);
    if (!pSave->Start(sFileName)) return 0;
    LIVE_SAVEDATA& data = stream->DataInfo;
    std::lock_guard guard(data.lock);
    data.pSave.reset();
    data.pSave = std::move(pSave);
    data.bNeedVFormat = data.bNeedAFormat = true;
    return 1;
}

BOOL CLiveMan::StopSaveLiveData(POINTERHANDLE lLiveHandle) {
    const Stream stream = FindShared(lLiveHandle);
    if (!stream) return Failure(HLX_PARAMETER_ERROR);
    EndSave(*stream);
    return 1;
}

void CLiveMan::EndSave(LIVE_STREAM_INFO& stream) {
    std::lock_guard guard(stream.DataInfo.lock);
    stream.DataInfo.pSave.reset();
}

/// The next frame of its kind brings the format to the file. Stream's thread, as the next.
void CLiveMan::SaveNewFormat(LIVE_STREAM_INFO& stream, bool bVideo) {
    std::lock_guard guard(stream.DataInfo.lock);
    (bVideo ? stream.DataInfo.bNeedVFormat : stream.DataInfo.bNeedAFormat) = true;
}

/// Frames wait for their format. What cannot be written is lost, as the saver logs; the stream goes on.
void CLiveMan::SaveFrame(LIVE_STREAM_INFO& stream, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    LIVE_SAVEDATA& data = stream.DataInfo;
    std::lock_guard guard(data.lock);
    if (!data.pSave) return;
    const CThreadState::OwnNumber ownNumber;
    if (frame.frameType == DD_FRAME_TYPE_VIDEO) {
        if (data.bNeedVFormat && stream.bmpInfo.biSize == sizeof(BITMAPINFOHEADER)) {
            SaveFormat(*data.pSave, frame, DD_FRAME_TYPE_VIDEO_FORMAT, &stream.bmpInfo, sizeof(stream.bmpInfo));
            data.bNeedVFormat = false;
        }
        if (!data.bNeedVFormat) data.pSave->SaveFile(frame, pData);
    } else if (frame.frameType == DD_FRAME_TYPE_AUDIO) {
        if (data.bNeedAFormat && stream.waveInfo.nAvgBytesPerSec != 0) {
            SaveFormat(*data.pSave, frame, DD_FRAME_TYPE_AUDIO_FORMAT, &stream.waveInfo, sizeof(stream.waveInfo));
            data.bNeedAFormat = false;
        }
        if (!data.bNeedAFormat) data.pSave->SaveFile(frame, pData);
    }
}

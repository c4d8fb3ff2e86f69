#include "FrameConverter.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "sdk_common/ThreadState.h"

namespace {

constexpr uint64_t ASK_EVERY = 256;  // frames

HLX_FRAME_INFO RingFrame(const SDK_FRAME_INFO& head) {
    HLX_FRAME_INFO frame{};
    frame.frameType = head.frameType;
    frame.length = head.nLength;
    frame.keyFrame = head.keyFrame;
    frame.width = head.nWidth;
    frame.height = head.nHeight;
    frame.time = head.nStamp;
    return frame;
}

std::string PartOf(const std::string& strName) { return strName + ".part"; }

}  // namespace

CFrameConverter::CFrameConverter(std::string strOutput, std::function<bool(uint64_t)> fnGoOn)
    : m_strOutput(std::move(strOutput)), m_fnGoOn(std::move(fnGoOn)) {}

CONVERTED CFrameConverter::Convert(const std::string& strInput) {
    CFrameFileReader reader;
    m_result = {};
    const auto fnEnd = [this](CONVERT_END eEnd, int nErrno) {
        m_result.eEnd = eEnd;
        m_result.nErrno = nErrno;
        return m_result;
    };
    if (!reader.Open(strInput.c_str())) return fnEnd(CONVERT_END::READ_FAILED, errno);
    FILE_FRAME frame;
    FILE_STEP eStep = FILE_STEP::FRAME;
    bool bEnd = false;
    while ((eStep = reader.Next(frame)) == FILE_STEP::FRAME) {
        if (m_result.nFrames++ % ASK_EVERY == 0 && !m_fnGoOn(reader.Position())) {
            m_save.reset();
            if (m_bBegun) unlink(PartOf(NameOf(m_result.files.size())).c_str());
            return fnEnd(CONVERT_END::INTERRUPTED, 0);
        }
        bEnd = frame.head.frameType == DD_FRAME_TYPE_END;
        if (!TakeFrame(frame)) return m_result;
    }
    const int nErrno = errno;
    if (!EndFile()) return m_result;
    if (eStep == FILE_STEP::FAILED) return fnEnd(CONVERT_END::READ_FAILED, nErrno);
    if (m_result.files.empty()) return fnEnd(CONVERT_END::NO_PICTURES, 0);
    if (eStep == FILE_STEP::NO_FRAMES) return fnEnd(CONVERT_END::BROKEN, 0);
    return fnEnd(bEnd && eStep == FILE_STEP::WHOLE ? CONVERT_END::WHOLE : CONVERT_END::CUT, 0);
}

bool CFrameConverter::TakeFrame(const FILE_FRAME& frame) {
    switch (frame.head.frameType) {
        case DD_FRAME_TYPE_VIDEO_FORMAT:
        case DD_FRAME_TYPE_AUDIO_FORMAT:
            return TakeFormat(frame);
        case DD_FRAME_TYPE_VIDEO:
        case DD_FRAME_TYPE_AUDIO:
            if (IsNextFile(frame) && !EndFile()) return false;
            return (m_save || BeginFile()) && Save(frame);
        default:
            return true;
    }
}

// A video format that differs ends the file, which the saver would begin anew.
bool CFrameConverter::TakeFormat(const FILE_FRAME& frame) {
    const bool bVideo = frame.head.frameType == DD_FRAME_TYPE_VIDEO_FORMAT;
    std::vector<std::byte>& format = bVideo ? m_videoFormat : m_audioFormat;
    const bool bSame = std::equal(frame.data.begin(), frame.data.end(), format.begin(), format.end());
    if (bSame || frame.data.size() < (bVideo ? sizeof(BITMAPINFOHEADER) : sizeof(WAVEFORMATEX))) return true;
    format.assign(frame.data.begin(), frame.data.end());
    if (bVideo && m_bBegun) return EndFile();
    return !m_save || Save(frame);
}

bool CFrameConverter::IsNextFile(const FILE_FRAME& frame) const {
    if (!m_bBegun || frame.head.frameType != DD_FRAME_TYPE_VIDEO || frame.head.keyFrame == 0) return false;
    const bool bSize = frame.head.nWidth != 0 && frame.head.nHeight != 0;
    const bool bOther = frame.head.nWidth != m_key.nWidth || frame.head.nHeight != m_key.nHeight;
    return (bSize && bOther) || m_nBytes + frame.data.size() > LARGEST_AVI;
}

// What the saver does not take without a failure cannot be in an AVI file.
bool CFrameConverter::Save(const FILE_FRAME& frame) {
    CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    const bool bSaved =
        m_save->SaveFile(RingFrame(frame.head), reinterpret_cast<const unsigned char*>(frame.data.data()));
    const DWORD dwError = CThreadState::Instance()->GetLastError();
    if (!bSaved && (dwError == HLX_CREATEFILE_ERROR || dwError == HLX_WRITEFILE_FAILED)) return WriteFailed(errno);
    const bool bVideo = frame.head.frameType == DD_FRAME_TYPE_VIDEO;
    const bool bMedia = bVideo || frame.head.frameType == DD_FRAME_TYPE_AUDIO;
    if (!bSaved && bMedia) ++m_result.nLost;
    if (bSaved && bVideo && !m_bBegun) m_key = frame.head;
    if (bSaved && bVideo) m_bBegun = true;
    m_nBytes += frame.data.size();
    return true;
}

bool CFrameConverter::BeginFile() {
    m_save = std::make_unique<CAVISave>(AVI_SAVE_KIND::DOWNLOAD);
    m_bBegun = false;
    m_nBytes = 0;
    if (!m_save->Start(PartOf(NameOf(m_result.files.size())).c_str())) return WriteFailed(ENAMETOOLONG);
    return SaveFormats();
}

bool CFrameConverter::SaveFormats() {
    const auto fnSave = [this](const std::vector<std::byte>& format, WORD wType) {
        FILE_FRAME frame;
        frame.head.frameType = wType;
        frame.head.nLength = static_cast<unsigned>(format.size());
        frame.data = format;
        return format.empty() || Save(frame);
    };
    return fnSave(m_videoFormat, DD_FRAME_TYPE_VIDEO_FORMAT) && fnSave(m_audioFormat, DD_FRAME_TYPE_AUDIO_FORMAT);
}

// Completes the file; one without a picture was never made.
bool CFrameConverter::EndFile() {
    m_save.reset();
    if (!m_bBegun) return true;
    m_bBegun = false;
    const std::string strName = NameOf(m_result.files.size());
    if (std::rename(PartOf(strName).c_str(), strName.c_str()) != 0) return WriteFailed(errno);
    m_result.files.push_back(strName);
    return true;
}

// What was written stays under its .part name.
bool CFrameConverter::WriteFailed(int nErrno) {
    m_save.reset();
    m_result.eEnd = CONVERT_END::WRITE_FAILED;
    m_result.nErrno = nErrno;
    return false;
}

std::string CFrameConverter::NameOf(size_t nFile) const {
    if (nFile == 0) return m_strOutput;
    const size_t nSlash = m_strOutput.rfind('/') + 1;  // 0 without a folder
    const size_t nDot = m_strOutput.rfind('.');
    const size_t nStem = nDot == std::string::npos || nDot <= nSlash ? m_strOutput.size() : nDot;
    return fmt::format("{}-{}{}", m_strOutput.substr(0, nStem), nFile + 1, m_strOutput.substr(nStem));
}

#include "Recording.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

using namespace std::chrono_literals;

namespace {

constexpr auto LONGEST_HOLE = 10s;  // that a hole of the stream has in the file

// Where the numbers stand in the head of a file.
constexpr size_t HEAD_SIZE = 2048;
constexpr size_t RIFF_SIZE = 4;  // bytes of the file behind this number
constexpr size_t VIDEO_SCALE = 128;
constexpr size_t VIDEO_RATE = 132;
constexpr size_t VIDEO_LENGTH = 140;
constexpr size_t OPEN_MARK = 2020;  // 0 once the file is complete

}  // namespace

CRecording::CRecording(CInterrupt& interrupt, CStreamReceiver& receiver, std::string strFile,
                       std::chrono::milliseconds length)
    : m_interrupt(interrupt), m_receiver(receiver), m_strFile(std::move(strFile)), m_length(length) {}

void CRecording::OnFrame(POINTERHANDLE lLiveHandle, HLX_FRAME_INFO frameInfo, BYTE* pBuffer, void* pUser) {
    auto* pThis = static_cast<CRecording*>(pUser);
    if (frameInfo.frameType == DD_FRAME_TYPE_VIDEO) pThis->Before(lLiveHandle, frameInfo);
    CStreamReceiver::OnFrame(lLiveHandle, frameInfo, pBuffer, &pThis->m_receiver);
}

void CRecording::Before(POINTERHANDLE lLiveHandle, const HLX_FRAME_INFO& info) {
    if (m_eEnd != END::NONE) return;
    if (!m_bSaving) return Begin(lLiveHandle, info);
    if (const END eEnd = EndAt(info); eEnd != END::NONE) {
        HLX_StopSaveLiveData(lLiveHandle);
        Finish(eEnd);
    }
}

void CRecording::Begin(POINTERHANDLE lLiveHandle, const HLX_FRAME_INFO& info) {
    if (!info.keyFrame) return;
    m_bSaving = HLX_SaveLiveData(lLiveHandle, m_strFile.c_str());
    m_dwWidth = info.width;
    m_dwHeight = info.height;
    m_nLastTime = info.time;
    m_begun = CStreamReceiver::Clock::now();
    if (m_bSaving) return;
    m_dwError = HLX_GetLastError();
    Finish(END::REFUSED);
}

// A device whose clock stands still or runs back does not record for ever.
CRecording::END CRecording::EndAt(const HLX_FRAME_INFO& info) {
    // The library would begin the file anew, and what is recorded would be gone.
    if (info.keyFrame && (info.width != m_dwWidth || info.height != m_dwHeight)) return END::FORMAT;
    const std::chrono::microseconds step(
        static_cast<int64_t>(static_cast<uint64_t>(info.time) - static_cast<uint64_t>(m_nLastTime)));
    m_nLastTime = info.time;
    m_recorded += std::clamp<std::chrono::microseconds>(step, 0us, LONGEST_HOLE);
    if (m_length == 0us) return END::NONE;
    const bool bOver = m_recorded >= m_length || CStreamReceiver::Clock::now() >= m_begun + 2 * m_length + 1min;
    return bOver ? END::LENGTH : END::NONE;
}

void CRecording::Finish(END eEnd) {
    m_receiver.Close();
    m_eEnd = eEnd;
    m_interrupt.Wake();
}

std::optional<RECORDED_FILE> ReadRecorded(const std::string& strFile) {
    std::array<char, HEAD_SIZE> head{};
    std::ifstream file(strFile, std::ios::binary);
    if (!file.read(head.data(), head.size()) || memcmp(head.data(), "RIFF", 4) != 0) return {};
    const auto fnNumber = [&head](size_t nOffset) {
        uint32_t dwNumber = 0;
        memcpy(&dwNumber, head.data() + nOffset, sizeof dwNumber);
        return dwNumber;
    };
    std::error_code error;
    RECORDED_FILE recorded;
    recorded.nBytes = std::filesystem::file_size(strFile, error);
    if (error) return {};
    recorded.nFrames = fnNumber(VIDEO_LENGTH);
    const uint32_t dwRate = std::max(fnNumber(VIDEO_RATE), 1u);
    recorded.dSeconds = static_cast<double>(recorded.nFrames) * fnNumber(VIDEO_SCALE) / dwRate;
    recorded.bComplete = fnNumber(OPEN_MARK) == 0 && recorded.nBytes >= uint64_t{fnNumber(RIFF_SIZE)} + 8;
    return recorded;
}

#include "main_utility/media/AVISave.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "sdk_common/ThreadState.h"
#include "sdk_common/YLog4C.h"

/// What the callers differ in.
struct AVI_SAVE_RULES {
    bool bAnyFrameOpens;       // sound and a video frame that is no key frame open the file, too
    bool bAlwaysSound;         // the file has a track of SAVED_SOUND, whatever the stream has
    bool bSilenceByTime;       // sound is held to the frames' times, else to the length of the video in the file
    bool bNewSoundStartsAnew;  // a changed sound format does
    bool bUndecodedAsItIs;     // sound that cannot be decoded is written as it came
    bool bPackedADPCM;         // tag 3 is another number for ADPCM
    DWORD noFileYet;           // number for a frame that may not open the file; 0: none is set
    DWORD unknownFrame;        // number for a frame of another type; 0: none is set
};

namespace {

constexpr AVI_SAVE_RULES RULES[] = {
    {.bAnyFrameOpens = false,
     .bAlwaysSound = true,
     .bSilenceByTime = false,
     .bNewSoundStartsAnew = true,
     .bUndecodedAsItIs = false,
     .bPackedADPCM = false,
     .noFileYet = HLX_WRITEFILE_FAILED,
     .unknownFrame = HLX_NOSUPPORT},  // LIVE
    {.bAnyFrameOpens = true,
     .bAlwaysSound = false,
     .bSilenceByTime = true,
     .bNewSoundStartsAnew = true,
     .bUndecodedAsItIs = false,
     .bPackedADPCM = false,
     .noFileYet = HLX_WRITEFILE_FAILED,
     .unknownFrame = HLX_NOSUPPORT},  // PLAYBACK
    {.bAnyFrameOpens = false,
     .bAlwaysSound = true,
     .bSilenceByTime = false,
     .bNewSoundStartsAnew = false,
     .bUndecodedAsItIs = true,
     .bPackedADPCM = true,
     .noFileYet = HLX_SUCCESS,
     .unknownFrame = HLX_SUCCESS},  // DOWNLOAD
};
static_assert(std::size(RULES) == static_cast<size_t>(AVI_SAVE_KIND::DOWNLOAD) + 1);

constexpr WORD PACKED_ADPCM = 3;              // another number that devices give to AUDIO_TAG_ADPCM
constexpr tint64 SECOND = 1000000;            // microseconds, as the next four
constexpr tint64 LONGEST_HOLE = 10 * SECOND;  // of the stream, in the file
constexpr tint64 PAL_FRAME = 40000;
constexpr tint64 NTSC_FRAME = 33366;
constexpr tint64 LONGEST_SILENCE = 3600 * SECOND;
constexpr tint64 ALLOWED_LAG = 1000;  // milliseconds that sound may lie behind the video
constexpr std::array<unsigned char, 16000> SILENCE{};

/// Times come from outside; what does not fit is the largest or smallest there is.
tint64 Sum(tint64 a, tint64 b) {
    using Limits = std::numeric_limits<tint64>;
    tint64 sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? (b < 0 ? Limits::min() : Limits::max()) : sum;
}
tint64 Difference(tint64 a, tint64 b) {
    using Limits = std::numeric_limits<tint64>;
    tint64 difference = 0;
    return __builtin_sub_overflow(a, b, &difference) ? (b < 0 ? Limits::max() : Limits::min()) : difference;
}

/// Pictures higher than 15/22 of their width, as 704x576 and 352x288, are of 25 a second.
bool IsPal(const BITMAPINFOHEADER& format) { return tint64{format.biHeight} * 22 > tint64{format.biWidth} * 15; }

bool IsSize(DWORD pixels) { return pixels > 0 && pixels <= 0x7FFF; }

template <class Format>
bool ReadFormat(Format& format, const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (frame.length < sizeof(Format)) return false;
    std::memcpy(&format, pData, sizeof(Format));
    return true;
}

}  // namespace

CAVISave::CAVISave(AVI_SAVE_KIND kind) : m_rules(RULES[static_cast<size_t>(kind)]) {}

CAVISave::~CAVISave() { Stop(); }

bool CAVISave::Start(const char* sFileName) {
    const size_t length = sFileName ? strnlen(sFileName, LONGEST_NAME + 1) : 0;
    if (length == 0 || length > LONGEST_NAME) return Failure(HLX_PARAMETER_ERROR);
    Stop();
    m_sFileName.assign(sFileName, length);
    m_state = STATE::WAITING;
    return true;
}

void CAVISave::Stop() {
    if (m_state == STATE::OPEN) {
        const bool bComplete = m_writer.Close();
        YLOG(bComplete ? YLOG_INFO : YLOG_ERROR, "AVI file %s %s", m_sFileName.c_str(),
             bComplete ? "is complete" : "ends without what was written last or without its index");
    }
    m_state = STATE::IDLE;
    m_toldVideoInfo = m_videoInfo = {};
    m_sound.Close();
    m_bHasAudio = m_bLossTold = false;
    m_firstFrameTime = m_lastFrameTime = m_writtenAudioTime = 0;
}

bool CAVISave::Refused(DWORD error) {
    if (error != HLX_SUCCESS) CThreadState::Instance()->SetLastError(error);
    return false;
}

bool CAVISave::SaveFile(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (m_state == STATE::IDLE) return Refused(m_rules.noFileYet);
    switch (frame.frameType) {
        case DD_FRAME_TYPE_VIDEO_FORMAT:
            return TakeVideoFormat(frame, pData);
        case DD_FRAME_TYPE_AUDIO_FORMAT:
            return TakeAudioFormat(frame, pData);
        case DD_FRAME_TYPE_VIDEO:
            return SaveVideo(frame, pData);
        case DD_FRAME_TYPE_AUDIO:
            return SaveAudio(frame, pData);
        default:
            return Refused(m_rules.unknownFrame);
    }
}

/// Compared with what was told before and not with the file's format, which has the size of the key frames.
bool CAVISave::TakeVideoFormat(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    BITMAPINFOHEADER format;
    if (!ReadFormat(format, frame, pData) || format.biSize != sizeof(format)) return Refused(m_rules.unknownFrame);
    if (std::memcmp(&format, &m_toldVideoInfo, sizeof(format)) == 0) return true;
    m_toldVideoInfo = m_videoInfo = format;
    StartAnew();
    return true;
}

bool CAVISave::TakeAudioFormat(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    WAVEFORMATEX format;
    if (!ReadFormat(format, frame, pData) || !CAVISaveSound::IsUsable(format)) return Refused(m_rules.unknownFrame);
    if (m_rules.bPackedADPCM && format.wFormatTag == PACKED_ADPCM) format.wFormatTag = AUDIO_TAG_ADPCM;
    if (m_sound.IsSame(format)) return true;
    const bool bFirstFormat = !m_sound.IsKnown();
    m_sound.SetFormat(format);
    if (m_state == STATE::OPEN) AddSound(bFirstFormat);
    return true;
}

/// A file that is open hears of a sound format. The first one costs no video that was written: a file without a sound
/// track gets it now.
void CAVISave::AddSound(bool bFirstFormat) {
    if (!bFirstFormat) {
        if (m_rules.bNewSoundStartsAnew) StartAnew();
    } else if (!m_bHasAudio) {
        m_audioInfo = m_sound.DecodedFormat();
        m_bHasAudio = m_writer.AddAudio(m_audioInfo);
    }
}

/// The next frame that may open a file opens it again under the same name. What a failed write left stays.
void CAVISave::StartAnew() {
    if (m_state != STATE::OPEN) return;
    m_writer.Close();
    m_state = STATE::WAITING;
}

bool CAVISave::MayOpen(const HLX_FRAME_INFO& frame) const {
    if (m_videoInfo.biSize == 0) return false;
    return m_rules.bAnyFrameOpens || (frame.frameType == DD_FRAME_TYPE_VIDEO && frame.keyFrame != 0);
}

bool CAVISave::IsOtherSize(const HLX_FRAME_INFO& frame) const {
    return IsSize(frame.width) && IsSize(frame.height) &&
           (static_cast<int>(frame.width) != m_videoInfo.biWidth ||
            static_cast<int>(frame.height) != m_videoInfo.biHeight);
}

void CAVISave::TakeSize(const HLX_FRAME_INFO& frame) {
    if (frame.frameType != DD_FRAME_TYPE_VIDEO || !IsOtherSize(frame)) return;
    m_videoInfo.biWidth = static_cast<int>(frame.width);
    m_videoInfo.biHeight = static_cast<int>(frame.height);
}

bool CAVISave::OpenWith(const HLX_FRAME_INFO& frame) {
    TakeSize(frame);
    if (!CreateAVIFile()) return false;
    m_firstFrameTime = m_lastFrameTime = frame.time;
    m_writtenAudioTime = 0;
    return true;
}

/// A failure is tried again with the next frame that may open the file, and logged once.
bool CAVISave::CreateAVIFile() {
    StartAnew();
    m_bPal = IsPal(m_videoInfo);
    m_audioInfo = m_rules.bAlwaysSound ? SAVED_SOUND : m_sound.DecodedFormat();
    m_bHasAudio = m_rules.bAlwaysSound || m_sound.IsKnown();
    m_firstFrameTime = 0;
    if (m_writer.Open(m_sFileName.c_str(), m_videoInfo, m_bHasAudio ? &m_audioInfo : nullptr, m_bPal, AVI_TYPE_STD,
                      0)) {
        m_state = STATE::OPEN;
        m_bLossTold = false;
        YLOG(YLOG_INFO, "AVI file %s begins", m_sFileName.c_str());
        return true;
    }
    if (!m_bLossTold) YLOG(YLOG_ERROR, "AVI file %s cannot be made", m_sFileName.c_str());
    m_bLossTold = true;
    return Failure(HLX_CREATEFILE_ERROR);
}

bool CAVISave::SaveVideo(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (m_state == STATE::LOST) return Failure(HLX_WRITEFILE_FAILED);
    const bool bNewSize = m_state == STATE::OPEN && frame.keyFrame != 0 && IsOtherSize(frame);
    const bool bOpen = m_state == STATE::WAITING || bNewSize;
    if (bOpen && !MayOpen(frame)) return Refused(m_rules.noFileYet);
    if (bOpen && !OpenWith(frame)) return false;
    const tint64 position = bOpen ? 0 : PositionOf(frame.time);
    return m_writer.WriteData(pData, frame.length, position, true, frame.keyFrame != 0, false) == 0 || WriteFailed();
}

/// The place of a video frame, in frames since the first. A longer hole in the stream becomes one of 10 s.
tint64 CAVISave::PositionOf(tint64 frameTime) {
    const tint64 gap = Difference(frameTime, m_lastFrameTime);
    if (gap > LONGEST_HOLE) m_firstFrameTime = Sum(m_firstFrameTime, gap - LONGEST_HOLE);
    m_lastFrameTime = frameTime;
    const tint64 elapsed = m_firstFrameTime > 0 ? Difference(frameTime, m_firstFrameTime) : 0;
    return elapsed / (m_bPal ? PAL_FRAME : NTSC_FRAME);
}

bool CAVISave::SaveAudio(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    if (m_state == STATE::LOST) return Failure(HLX_WRITEFILE_FAILED);
    if (!m_sound.IsKnown()) return Refused(m_rules.noFileYet);
    if (m_state == STATE::WAITING && !MayOpen(frame)) return Refused(m_rules.noFileYet);
    if (m_state == STATE::WAITING && !OpenWith(frame)) return false;
    if (!m_bHasAudio) return Refused(m_rules.unknownFrame);
    if (!FillSilence(frame.time)) return WriteFailed();
    if (!m_sound.IsPCM()) return WriteDecoded(frame, pData);
    return WriteSound(pData, frame.length) || WriteFailed();
}

bool CAVISave::WriteDecoded(const HLX_FRAME_INFO& frame, const unsigned char* pData) {
    const auto write = [this](const unsigned char* pPiece, size_t size) { return WriteSound(pPiece, size); };
    switch (m_sound.Decode(pData, frame.length, write)) {
        case CAVISaveSound::DECODED::ALL:
            return true;
        case CAVISaveSound::DECODED::FAILED:
            return m_rules.bUndecodedAsItIs && (WriteSound(pData, frame.length) || WriteFailed());
        default:
            return WriteFailed();
    }
}

bool CAVISave::FillSilence(tint64 frameTime) { return m_rules.bSilenceByTime ? FillByTime(frameTime) : FillByLength(); }

/// Fills up when the sound in the file lies more than a second behind the video in it.
bool CAVISave::FillByLength() {
    const tint64 audioTime = tint64{m_writer.GetAudioLength()} * 1000 / m_audioInfo.nAvgBytesPerSec;
    const tint64 lag = tint64{m_writer.GetWriteVideoTime()} - audioTime;
    return lag <= ALLOWED_LAG || WriteSilence(lag * m_audioInfo.nAvgBytesPerSec / 1000);
}

/// Fills up to the frame's time. Over more than an hour, which no recording without sound explains, nothing is written.
bool CAVISave::FillByTime(tint64 frameTime) {
    const tint64 missing = Difference(Difference(frameTime, m_firstFrameTime), m_writtenAudioTime);
    if (missing <= 0) return true;
    if (missing <= LONGEST_SILENCE) return WriteSilence(missing * m_audioInfo.nAvgBytesPerSec / SECOND);
    m_writtenAudioTime = Sum(m_writtenAudioTime, missing);
    return true;
}

/// Whole samples only, so that those behind the silence stay whole.
bool CAVISave::WriteSilence(tint64 bytes) {
    tint64 left = bytes - bytes % m_audioInfo.nBlockAlign;
    while (left > 0) {
        const auto size = static_cast<size_t>(std::min<tint64>(left, SILENCE.size()));
        if (!WriteSound(SILENCE.data(), size)) return false;
        left -= static_cast<tint64>(size);
    }
    return true;
}

/// Counts what the writer takes: it drops sound ahead of the first key frame.
bool CAVISave::WriteSound(const unsigned char* pData, size_t length) {
    const tint64 before = m_writer.GetAudioLength();
    if (m_writer.WriteData(pData, static_cast<unsigned>(length), 0, false, false, false) != 0) return false;
    const tint64 written = m_writer.GetAudioLength() - before;
    m_writtenAudioTime = Sum(m_writtenAudioTime, written * SECOND / m_audioInfo.nAvgBytesPerSec);
    return true;
}

/// What is in the file gets its index now, while it can be had.
bool CAVISave::WriteFailed() {
    m_writer.Close();
    m_state = STATE::LOST;
    YLOG(YLOG_ERROR, "AVI file %s: writing failed or the file is full; the frames from here on are lost",
         m_sFileName.c_str());
    return Failure(HLX_WRITEFILE_FAILED);
}

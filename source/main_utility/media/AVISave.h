// Saving a stream's frames to an AVI file: one class for live streams, playback and downloads.
#pragma once

#include <string>

#include "HLX.h"
#include "main_utility/media/avi/AVIWriter.h"
#include "main_utility/media/AVISaveSound.h"
#include "protocol/WireTypes.h"

/// Whose frames are saved; AVISave.cpp has a row of rules for each.
enum class AVI_SAVE_KIND { LIVE, PLAYBACK, DOWNLOAD };
struct AVI_SAVE_RULES;

/// Makes one AVI file out of the frames of one stream, format frames included.
///
/// The file begins with the first frame that may open it, once a video format is known. A video format that differs
/// from the one before, or a key frame of another size, starts the file anew under the same name; so does a changed
/// sound format, except of a download. The first sound format never does: a live file and a download have a sound track
/// from the start, which is filled with silence, and a playback's file that was begun without one gets it then. Coded
/// sound becomes PCM of 8000 Hz, 16 bits, mono.
///
/// After a failed write, or once the file has the size at which the writer refuses, the file is completed and stays as
/// it is; frames are lost until the next Start. Losses are logged once.
///
/// Not locked: one thread at a time. Blocks as long as the disk does; no frame that lies about its time makes more than
/// an hour of silence or 10 s of empty pictures. Throws bad_alloc at Start only.
class CAVISave {
public:
    static constexpr size_t LONGEST_NAME = 255;  // bytes

    explicit CAVISave(AVI_SAVE_KIND kind);
    /// As Stop.
    ~CAVISave();
    CAVISave(const CAVISave&) = delete;
    CAVISave& operator=(const CAVISave&) = delete;

    /// Completes the file before and waits for the first frames of a new one; no file is made yet. False with
    /// HLX_PARAMETER_ERROR for a name that is null, empty or longer than LONGEST_NAME.
    bool Start(const char* sFileName);

    /// Takes a frame with its `frame.length` bytes of payload, which are borrowed for the call. False for one that did
    /// not go into the file. The last error is then HLX_CREATEFILE_ERROR or HLX_WRITEFILE_FAILED for a file that cannot
    /// be made or written, and except for a download HLX_WRITEFILE_FAILED for a frame that may not open the file and
    /// HLX_NOSUPPORT for one of no known type or with a format that makes no sense; sound that cannot be decoded leaves
    /// the decoder's number.
    bool SaveFile(const HLX_FRAME_INFO& frame, const unsigned char* pData);

    /// Completes the file, index included, and forgets the formats.
    void Stop();

    /// Time of the frame that opened the file, microseconds since 1970, moved on by what holes in the stream were
    /// shortened; 0 before.
    tint64 FirstFrameTime() const { return m_firstFrameTime; }

private:
    enum class STATE { IDLE, WAITING, OPEN, LOST };  // LOST: the file was completed after a failed write

    bool TakeVideoFormat(const HLX_FRAME_INFO& frame, const unsigned char* pData);
    bool TakeAudioFormat(const HLX_FRAME_INFO& frame, const unsigned char* pData);
    void StartAnew();
    void AddSound(bool bFirstFormat);

    bool SaveVideo(const HLX_FRAME_INFO& frame, const unsigned char* pData);
    bool SaveAudio(const HLX_FRAME_INFO& frame, const unsigned char* pData);
    bool MayOpen(const HLX_FRAME_INFO& frame) const;
    bool OpenWith(const HLX_FRAME_INFO& frame);
    bool CreateAVIFile();
    void TakeSize(const HLX_FRAME_INFO& frame);
    bool IsOtherSize(const HLX_FRAME_INFO& frame) const;
    tint64 PositionOf(tint64 frameTime);

    bool FillSilence(tint64 frameTime);
    bool FillByLength();
    bool FillByTime(tint64 frameTime);
    bool WriteSilence(tint64 bytes);
    bool WriteSound(const unsigned char* pData, size_t length);
    bool WriteDecoded(const HLX_FRAME_INFO& frame, const unsigned char* pData);

    bool WriteFailed();
    static bool Refused(DWORD error);

    const AVI_SAVE_RULES& m_rules;
    STATE m_state = STATE::IDLE;
    std::string m_sFileName;
    CAVIWriter m_writer;
    BITMAPINFOHEADER m_toldVideoInfo{};  // as a format frame told it
    BITMAPINFOHEADER m_videoInfo{};      // of the file: with the size that key frames have
    CAVISaveSound m_sound;
    WAVEFORMATEX m_audioInfo{};     // of the file's sound track
    bool m_bHasAudio = false;       // the open file has a sound track
    bool m_bPal = true;             // 25 pictures a second, else 29.97
    bool m_bLossTold = false;       // the log knows that no file can be made
    tint64 m_firstFrameTime = 0;    // microseconds, as the next two
    tint64 m_lastFrameTime = 0;     // of video
    tint64 m_writtenAudioTime = 0;  // that the sound written so far plays
};

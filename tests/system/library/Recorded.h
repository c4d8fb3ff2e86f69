// What tests of recordings compare with a simulated recorder's archive, and how they play it.
#pragma once

#include <span>

#include "System.h"

/// Local time of seconds since 1970.
DD_TIME Time(std::int64_t seconds);

/// The DD_FRAME_TYPE_* of a recorded frame.
DWORD TypeOf(const ARCHIVE_FRAME& frame);

/// What a recorded frame brings: sound without the four bytes ahead of each block, all padded to a multiple of 4.
std::string DataOf(const ARCHIVE_FRAME& frame);

/// Places of an archive that tests look at.
struct ARCHIVE_PLACES {
    explicit ARCHIVE_PLACES(const CSimArchive& archive);

    ARCHIVE_FILE change;  // of channel 0, in the middle of which the picture's size changes
    ARCHIVE_FILE last;    // of channel 1
    ARCHIVE_SPAN gap;     // between recordings of channel 0
};

struct PLAYED_FRAME {
    HLX_FRAME_INFO info;
    std::int64_t came;  // microseconds of the library's clock
    std::string data;
};

/// Keeps what a playback brings, and stops it when it goes.
class CPlayed {
public:
    CPlayed() = default;
    ~CPlayed() { HLX_StopPlayBack(m_lHandle); }

    /// Starts a playback from the first second on to before the second one.
    void Play(LONG lUserID, std::vector<LONG> channels, std::int64_t from, std::int64_t to, bool bFirst = true);
    BOOL Control(HLX_PLAYCTRL_TYPE code, std::int64_t value = 0) const;

    std::vector<PLAYED_FRAME> Frames() const;
    /// What came since the last start or seek.
    std::vector<PLAYED_FRAME> LastRun() const;
    /// Pictures and the end alone.
    std::vector<PLAYED_FRAME> Pictures() const;
    /// How many pictures came since the last start or seek.
    size_t RunPictures() const;
    void Forget();
    bool HasEnd() const;
    /// Waits for the end frame behind the last start or seek.
    bool Ended() const;

    POINTERHANDLE m_lHandle = 0;
    std::function<void(const HLX_FRAME_INFO&)> m_inCallback;

private:
    static void OnFrame(POINTERHANDLE lHandle, HLX_FRAME_INFO info, BYTE* pData, void* pUser);

    mutable std::mutex m_lock;
    std::vector<PLAYED_FRAME> m_frames;  // m_lock
};

/// Expects the frames, which came in this order, to be those of the archive.
void ExpectRecorded(std::span<const PLAYED_FRAME> came, std::span<const ARCHIVE_FRAME> recorded);

/// A recorder with an archive, and a session.
class CRecordedTest : public CSystemTest {
protected:
    void Open(CLASSIC_RECORDER_CONFIG config = Fast(4));
    ARCHIVE_SEQUENCE Expected(std::vector<tuint32> channels, std::int64_t start, std::int64_t stop,
                              bool bFirst = true) const {
        return m_pRecorder->RecordedFrames({std::move(channels), bFirst, {start, stop}});
    }

    CTempDir m_folder;
    CClassicRecorder* m_pRecorder = nullptr;
    std::atomic<LONG> m_lUserID{0};
    std::optional<ARCHIVE_PLACES> m_places;
};

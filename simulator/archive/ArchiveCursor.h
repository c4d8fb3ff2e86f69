// A walk through the recordings of one channel.
#pragma once

#include <optional>
#include <vector>

#include "simulator/archive/ArchiveMedia.h"
#include "simulator/archive/SimArchive.h"

/// A frame of a recording. The data lives as long as the archive's media, that of a format frame as long as the cursor.
struct ARCHIVE_FRAME {
    tuint32 channel = 0;
    tuint32 frameType = 0;  // a FRAME_TYPE
    bool bKeyFrame = false;
    tuint32 width = 0;  // 0 for sound and the end
    tuint32 height = 0;
    std::int64_t time = 0;  // microseconds since 1970
    SIM_BYTE_VIEW data;
};

enum class ARCHIVE_MODE {
    ALL,            // every frame, forward
    KEYS_FORWARD,   // key frames alone
    KEYS_BACKWARD,  // key frames alone, from late to early
};

/// Gives the frames of one channel from the key frame at the start or the last before it in the same file on, up to but
/// without the stop. A format frame stands ahead of the first picture and of a picture of another clip; that of the
/// sound stands behind the first one. Files that are deleted meanwhile are left out from then on. One thread uses it.
class CArchiveCursor {
public:
    /// The archive and the media outlive the cursor. The span is in seconds.
    CArchiveCursor(const CSimArchive& archive, const CArchiveMedia& media, tuint32 channel, bool bFirst,
                   const ARCHIVE_SPAN& span);

    tuint32 Channel() const { return m_channel; }

    /// Time of the frame that comes next; none behind the last.
    std::optional<std::int64_t> NextTime();

    /// The frame that comes next, after NextTime() gave a time; valid until Pop().
    void Peek(ARCHIVE_FRAME& frame);

    /// Takes that frame.
    void Pop();

    /// Key frames alone go on from the frame taken last, and so does what comes behind them with the key frame that
    /// follows.
    void SetMode(ARCHIVE_MODE mode);
    void SetSound(bool bSound);

    /// Up to where there are recordings: the stop, or the end of the last file before it; microseconds.
    std::int64_t End() const;

private:
    enum class NEXT { PICTURE_FORMAT, SOUND_FORMAT, PICTURE, SOUND };

    const ARCHIVE_FILE& File(size_t place) const { return m_archive.Files()[m_files[place]]; }
    bool IsFileGone() const { return m_archive.IsDeleted(m_files[m_file]); }
    const ARCHIVE_SECTION& Section() const { return m_sections[m_section]; }
    const SIM_FRAME& Picture() const { return Section().Picture(m_number); }
    void Begin();
    void LoadFile(size_t place);
    void EnterFile(size_t place);
    void GoTo(size_t section, std::int64_t number);
    void GoToKeyBehind(std::int64_t time);
    void GoToKeyBefore(std::int64_t time);
    void GoOn();
    void NextPicture();
    std::int64_t PictureTime() const;
    std::int64_t SoundTime() const;
    NEXT Next() const;

    const CSimArchive& m_archive;
    const CArchiveMedia& m_media;
    const std::span<const size_t> m_files;  // numbers, in the order of time
    const tuint32 m_channel;
    const bool m_bFirst;
    const std::int64_t m_start;  // microseconds
    const std::int64_t m_stop;
    std::int64_t m_begin = 0;  // time of the first frame
    ARCHIVE_MODE m_mode = ARCHIVE_MODE::ALL;
    bool m_bSound = true;

    // What comes next.
    bool m_bOver = false;
    size_t m_file = 0;  // place in m_files
    std::vector<ARCHIVE_SECTION> m_sections;
    size_t m_section = 0;       // their number: the file has no more pictures
    std::int64_t m_number = 0;  // of the picture in its section
    std::int64_t m_sound = 0;   // of the sound frame in the file

    // What was taken.
    std::optional<std::int64_t> m_last;     // time of the frame taken last
    const CSimClip* m_pToldClip = nullptr;  // whose format was told
    bool m_bSoundTold = false;
    SIM_BYTES m_format;
};

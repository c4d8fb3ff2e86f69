// What the files of an archive consist of.
#pragma once

#include <memory>
#include <vector>

#include "simulator/archive/ArchiveTypes.h"
#include "simulator/SimClip.h"

/// A stretch of a file with pictures of one clip. Times are microseconds since 1970. Picture n stands at the start plus n
/// frame times of the clip and is the clip's frame n, round and round; so the first one is a key frame.
struct ARCHIVE_SECTION {
    std::int64_t start = 0;
    std::int64_t stop = 0;  // not included
    const CSimClip* pClip = nullptr;

    std::int64_t TimeOf(std::int64_t number) const { return start + number * pClip->FrameTime(); }
    const SIM_FRAME& Picture(std::int64_t number) const {
        return pClip->Frames()[static_cast<size_t>(number) % pClip->Frames().size()];
    }

    /// Number of the first key frame behind `time`; it may stand behind the section's end.
    std::int64_t KeyBehind(std::int64_t time) const;

    /// Number of the last key frame of the section before `time`; -1 when there is none.
    std::int64_t KeyBefore(std::int64_t time) const;
};

/// The clips behind files. Does not change after the making.
class CArchiveMedia {
public:
    struct SOURCES {
        std::vector<std::shared_ptr<const CSimClip>> first;  // never empty; channel n records number n modulo the count
        std::vector<std::shared_ptr<const CSimClip>> second;  // likewise
        std::shared_ptr<const CSimClip> pChange;              // null: no picture size changes
        std::shared_ptr<const CSimClip> pSound;
        unsigned soundUnits = 1;  // units in a sound frame
    };

    CArchiveMedia() = default;
    explicit CArchiveMedia(SOURCES sources);

    /// Puts the sections of a file, one or two, into `sections` in the order of time.
    void GetSections(const ARCHIVE_FILE& file, bool bFirst, std::vector<ARCHIVE_SECTION>& sections) const;

    /// When sound frame `number` of a file begins, in microseconds since 1970.
    std::int64_t SoundTime(const ARCHIVE_FILE& file, std::int64_t number) const;

    /// Number of the first sound frame of a file at `time` or behind it.
    std::int64_t SoundFrom(const ARCHIVE_FILE& file, std::int64_t time) const;

    /// The data of sound frame `number` of any file: units with their prefixes.
    SIM_BYTE_VIEW Sound(std::int64_t number) const;

private:
    std::int64_t SoundLength() const;

    SOURCES m_sources;
    SIM_BYTES m_sound;  // the clip's units with their prefixes, then the first ones once more
};

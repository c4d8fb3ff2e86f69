// Makes up the files of an archive.
#pragma once

#include <vector>

#include "simulator/archive/ArchiveTypes.h"

/// The files of all channels in the order of their start, then of their channel. Days are filled by a schedule from 6
/// o'clock on and by motion and sensors before; there are gaps of seconds and of hours, days without anything, and, where
/// clocks are changed, the last day with a change. The last two hours before the end have no gap. Around noon a file
/// changes its picture size.
class CArchiveMaker {
public:
    /// `config.end` must be a time.
    CArchiveMaker(const ARCHIVE_CONFIG& config, unsigned channels) : m_config(config), m_channels(channels) {}

    std::vector<ARCHIVE_FILE> Make();

private:
    struct SLOT {
        ARCHIVE_SPAN day;
        ARCHIVE_SPAN span;  // a file's place in the schedule
        tuint32 channel;
        std::uint64_t chance;
        unsigned Hour() const { return static_cast<unsigned>((span.start - day.start) / 3600); }
    };

    std::vector<ARCHIVE_SPAN> Days() const;
    void FillDay(const ARCHIVE_SPAN& day, tuint32 channel);
    void FillSlot(const SLOT& slot);
    void FillNight(const SLOT& slot);
    bool IsOutage(const SLOT& slot) const;
    void AddFile(const SLOT& slot, const ARCHIVE_SPAN& span, tuint32 recType);
    void NameFiles();

    const ARCHIVE_CONFIG m_config;
    const unsigned m_channels;
    std::vector<ARCHIVE_FILE> m_files;
};

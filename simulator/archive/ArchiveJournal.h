// The log and the event list of an archive, made up entry by entry.
#pragma once

#include "simulator/archive/ArchiveTypes.h"

/// Holds no entries: each is computed from its number. Does not change after the making, any thread may ask.
class CArchiveJournal {
public:
    CArchiveJournal() = default;

    /// Spreads the entries of the config over `span`; none over a span without length.
    CArchiveJournal(const ARCHIVE_CONFIG& config, unsigned channels, const ARCHIVE_SPAN& span);

    size_t LogCount() const { return m_logCount; }
    size_t EventCount() const { return m_eventCount; }

    /// Entry `number`, below the count. A higher number is not earlier.
    ARCHIVE_LOG Log(size_t number) const;
    ARCHIVE_EVENT Event(size_t number) const;

private:
    std::int64_t TimeOf(size_t number, size_t count, std::uint64_t chance) const;

    ARCHIVE_SPAN m_span;
    std::uint64_t m_seed = 0;
    unsigned m_channels = 1;
    size_t m_logCount = 0;
    size_t m_eventCount = 0;
};

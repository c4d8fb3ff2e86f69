#include "simulator/archive/ArchiveJournal.h"

#include <iterator>

namespace {

struct LOG_ROW {
    tuint32 majorType;
    tuint32 minorType;
    const char* pText;
};
constexpr LOG_ROW LOG_ROWS[] = {
    {1, 1, "Recorder started"},
    {1, 2, "Disk check: no faults on disk "},
    {2, 1, "Configuration changed: encoder of channel "},
    {2, 2, "Schedule changed: channel "},
    {3, 1, "Playback of channel "},
    {3, 2, "Backup of channel "},
    {4, 1, "Logged in, link "},
    {4, 2, "Logged out, link "},
    {5, 1, "Motion on channel "},
    {5, 2, "Alarm input "},
};
constexpr const char* USERS[] = {"admin", "operator", "guard", "system"};
constexpr tuint32 FIRST_HOST = 0x006433C6;  // 198.51.100.0, network order

}  // namespace

CArchiveJournal::CArchiveJournal(const ARCHIVE_CONFIG& config, unsigned channels, const ARCHIVE_SPAN& span)
    : m_span(span), m_seed(config.seed), m_channels(channels) {
    if (span.stop <= span.start) return;
    m_logCount = config.logCount;
    m_eventCount = config.eventCount;
}

std::int64_t CArchiveJournal::TimeOf(size_t number, size_t count, std::uint64_t chance) const {
    // Each entry has a piece of the span to itself.
    const double piece = static_cast<double>(m_span.stop - m_span.start) / static_cast<double>(count);
    const double place = static_cast<double>(number) + static_cast<double>(chance % 1000) / 1000;
    return m_span.start + static_cast<std::int64_t>(piece * place);
}

ARCHIVE_LOG CArchiveJournal::Log(size_t number) const {
    const std::uint64_t chance = ArchiveChance(m_seed, number, 2);
    const LOG_ROW& row = LOG_ROWS[chance % std::size(LOG_ROWS)];
    ARCHIVE_LOG log;
    log.time = TimeOf(number, m_logCount, chance >> 8);
    log.majorType = row.majorType;
    log.minorType = row.minorType;
    log.sUser = USERS[(chance >> 24) % std::size(USERS)];
    log.remoteHost = FIRST_HOST | static_cast<tuint32>((chance >> 32) % 254 + 1) << 24;
    log.sContent = row.pText + std::to_string((chance >> 40) % m_channels + 1);
    // Some texts are long, some have no letters of ASCII.
    if (chance % 97 == 0) log.sContent.resize(MAX_LOG_CONTENT, '.');
    if (chance % 101 == 0)
        log.sContent =
            "\xC3\x9C"
            "berwachung: " +
            log.sContent.substr(0, MAX_LOG_CONTENT - 16);
    return log;
}

ARCHIVE_EVENT CArchiveJournal::Event(size_t number) const {
    const std::uint64_t chance = ArchiveChance(m_seed, number, 3);
    ARCHIVE_EVENT event;
    event.span.start = TimeOf(number, m_eventCount, chance >> 8);
    event.span.stop = event.span.start + 1 + static_cast<std::int64_t>((chance >> 24) % 120);
    event.channel = static_cast<tuint32>((chance >> 32) % m_channels);
    event.type = 1u << ((chance >> 40) % 4);
    return event;
}

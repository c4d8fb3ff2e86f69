#include "simulator/archive/SimArchive.h"

#include <algorithm>

#include "simulator/archive/ArchiveCalendar.h"
#include "simulator/archive/ArchiveMaker.h"

CSimArchive::CSimArchive(const ARCHIVE_CONFIG& config, unsigned channels)
    : m_files(CArchiveMaker(config, channels).Make()),
      m_flags(std::make_unique<std::atomic<std::uint8_t>[]>(m_files.size())),
      m_byChannel(channels) {
    IndexFiles();
    // The day with a change of clocks may lie far back.
    if (config.days > 0) {
        m_journal = CArchiveJournal(config, channels, {LocalDayBefore(config.end, config.days).start, config.end});
    }
}

void CSimArchive::IndexFiles() {
    if (!m_files.empty()) m_span = m_files.front().span;
    for (size_t number = 0; number < m_files.size(); ++number) {
        const ARCHIVE_FILE& file = m_files[number];
        m_span.stop = std::max(m_span.stop, file.span.stop);
        m_byChannel[file.channel].push_back(number);
        if (m_byPartition.size() <= file.partition) m_byPartition.resize(file.partition + 1);
        m_byPartition[file.partition].push_back(number);
        m_flags[number] = file.bLocked ? LOCKED : 0;
    }
}

void CSimArchive::SetLocked(size_t file, bool bLocked) {
    if (bLocked) {
        m_flags[file] |= LOCKED;
    } else {
        m_flags[file] &= static_cast<std::uint8_t>(~LOCKED);
    }
}

std::optional<size_t> CSimArchive::FindFile(tuint32 channel, tuint32 partition, tuint32 fileIndex) const {
    if (partition >= m_byPartition.size() || fileIndex >= m_byPartition[partition].size()) return std::nullopt;
    const size_t number = m_byPartition[partition][fileIndex];
    if (m_files[number].channel != channel || IsDeleted(number)) return std::nullopt;
    return number;
}

bool CSimArchive::Matches(size_t file, const QUERY& query) const {
    const ARCHIVE_FILE& facts = m_files[file];
    return (query.channel == ALL_CHANNELS || query.channel == facts.channel) && (facts.recType & query.recType) != 0 &&
           !IsDeleted(file) && facts.span.Overlaps(query.span);
}

std::vector<NET_REC_DATE_INFO> CSimArchive::Days() const {
    std::vector<NET_REC_DATE_INFO> days;
    ARCHIVE_SPAN day;
    for (size_t number = 0; number < m_files.size(); ++number) {
        if (IsDeleted(number) || m_files[number].span.start < day.stop) continue;
        day = LocalDay(m_files[number].span.start);
        days.push_back(LocalDate(day.start));
    }
    return days;
}

std::vector<size_t> CSimArchive::FindFiles(const QUERY& query) const {
    std::vector<size_t> found;
    for (size_t number = 0; number < m_files.size(); ++number) {
        if (Matches(number, query)) found.push_back(number);
    }
    return found;
}

std::vector<std::pair<tuint32, ARCHIVE_SPAN>> CSimArchive::FindTimes(const QUERY& query) const {
    // Grown together before the time is looked at, since a stretch comes whole.
    QUERY always = query;
    always.span = {INT64_MIN, INT64_MAX};
    std::vector<std::pair<tuint32, ARCHIVE_SPAN>> found;
    for (tuint32 channel = 0; channel < Channels(); ++channel) {
        const size_t first = found.size();
        for (const size_t number : m_byChannel[channel]) {
            if (!Matches(number, always)) continue;
            const ARCHIVE_SPAN& span = m_files[number].span;
            if (found.size() > first && found.back().second.stop == span.start) {
                found.back().second.stop = span.stop;
            } else {
                found.emplace_back(channel, span);
            }
        }
    }
    std::erase_if(found, [&](const auto& time) { return !time.second.Overlaps(query.span); });
    std::ranges::sort(found, {}, [](const auto& time) { return std::pair(time.second.start, time.first); });
    return found;
}

std::vector<ARCHIVE_REC_EVENT> CSimArchive::FindRecEvents(const QUERY& query) const {
    std::vector<ARCHIVE_REC_EVENT> found;
    const auto add = [&](const ARCHIVE_REC_EVENT& event) {
        if ((event.recType & query.recType) != 0 && event.span.Overlaps(query.span)) found.push_back(event);
    };
    for (const size_t number : FindFiles(query)) {
        const ARCHIVE_FILE& file = m_files[number];
        const bool bMixed = (file.recType & NET_REC_SCHEDULE) != 0 && file.recType != NET_REC_SCHEDULE;
        add({file.span, file.channel, bMixed ? NET_REC_SCHEDULE : file.recType});
        if (!bMixed) continue;
        const std::int64_t length = file.span.stop - file.span.start;
        add({{file.span.start + length / 4, file.span.start + length / 2},
             file.channel,
             file.recType & ~tuint32{NET_REC_SCHEDULE}});
    }
    std::ranges::stable_sort(found, {}, [](const auto& event) { return event.span.start; });
    return found;
}

std::vector<ARCHIVE_LOG> CSimArchive::FindLogs(const ARCHIVE_SPAN& span, tuint32 majorType) const {
    std::vector<ARCHIVE_LOG> found;
    for (size_t number = 0; number < m_journal.LogCount(); ++number) {
        ARCHIVE_LOG log = m_journal.Log(number);
        if (log.time > span.stop) break;
        if (log.time >= span.start && (majorType == 0xFFFFFFFF || majorType == log.majorType))
            found.push_back(std::move(log));
    }
    return found;
}

std::vector<ARCHIVE_EVENT> CSimArchive::FindEvents(const ARCHIVE_SPAN& span, tuint32 types, tuint64 channelMask) const {
    std::vector<ARCHIVE_EVENT> found;
    for (size_t number = 0; number < m_journal.EventCount(); ++number) {
        const ARCHIVE_EVENT event = m_journal.Event(number);
        const bool bWanted = (event.type & types) != 0 && ((channelMask >> event.channel) & 1) != 0;
        if (bWanted && event.span.Overlaps(span)) found.push_back(event);
    }
    return found;
}

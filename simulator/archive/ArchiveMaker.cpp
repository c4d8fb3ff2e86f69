#include "simulator/archive/ArchiveMaker.h"

#include <algorithm>

#include "simulator/archive/ArchiveCalendar.h"

namespace {

constexpr std::int64_t HOUR = 3600;
constexpr std::int64_t WHOLE_BEFORE_END = 2 * HOUR;
constexpr unsigned SCHEDULE_HOUR = 6;  // of a day's own hours
constexpr unsigned SECONDS_GAP_HOUR = 8;
constexpr unsigned CHANGE_HOUR = 12;
constexpr unsigned OUTAGE_HOURS = 2;
constexpr tuint32 PARTITIONS = 2;

}  // namespace

std::vector<ARCHIVE_SPAN> CArchiveMaker::Days() const {
    std::vector<ARCHIVE_SPAN> days;
    for (unsigned before = m_config.days + 1; before-- > 0;) {
        const bool bEmpty = before >= 2 && (before + m_config.seed) % 5 == 3;
        if (!bEmpty) days.push_back(LocalDayBefore(m_config.end, before));
    }
    const auto change = LastClockChange(m_config.end);
    if (change && std::find(days.begin(), days.end(), *change) == days.end()) days.insert(days.begin(), *change);
    return days;
}

std::vector<ARCHIVE_FILE> CArchiveMaker::Make() {
    m_files.clear();
    if (m_config.days == 0) return {};
    for (const ARCHIVE_SPAN& day : Days()) {
        for (tuint32 channel = 0; channel < m_channels; ++channel) FillDay(day, channel);
    }
    std::ranges::sort(m_files, {}, [](const ARCHIVE_FILE& file) { return std::pair(file.span.start, file.channel); });
    NameFiles();
    return std::move(m_files);
}

void CArchiveMaker::FillDay(const ARCHIVE_SPAN& day, tuint32 channel) {
    const std::int64_t end = std::min(day.stop, m_config.end);
    for (std::int64_t start = day.start; start < end; start += m_config.fileLength) {
        const std::int64_t stop = std::min<std::int64_t>(start + m_config.fileLength, end);
        FillSlot(
            {day, {start, stop}, channel, ArchiveChance(m_config.seed, static_cast<std::uint64_t>(start), channel)});
    }
}

void CArchiveMaker::FillSlot(const SLOT& slot) {
    if (slot.span.stop > m_config.end - WHOLE_BEFORE_END) return AddFile(slot, slot.span, NET_REC_SCHEDULE);
    if (slot.Hour() < SCHEDULE_HOUR) return FillNight(slot);
    if (IsOutage(slot)) return;
    ARCHIVE_SPAN span = slot.span;
    const bool bGap = slot.Hour() == SECONDS_GAP_HOUR || slot.chance % 4 == 0;
    if (bGap) span.stop -= 2 + static_cast<std::int64_t>((slot.chance >> 8) % 8);
    tuint32 recType = NET_REC_SCHEDULE;
    if (slot.chance % 5 == 0) recType |= NET_REC_MOTION;
    if (slot.chance % 50 == 1) recType = NET_REC_MANUAL;
    if (span.stop > span.start) AddFile(slot, span, recType);
}

void CArchiveMaker::FillNight(const SLOT& slot) {
    // Up to three files, each within its own third.
    const std::int64_t part = (slot.span.stop - slot.span.start) / 3;
    for (std::uint64_t n = 0; n < slot.chance % 4 && part >= 10; ++n) {
        const std::uint64_t chance = ArchiveChance(slot.chance, n);
        const auto start = slot.span.start + part * static_cast<std::int64_t>(n) +
                           static_cast<std::int64_t>(chance % 1000) * (part / 2) / 1000;
        const auto length = std::min<std::int64_t>(part / 2, 5 + static_cast<std::int64_t>((chance >> 16) % 300));
        const tuint32 recType = (chance >> 32) % 3 == 0 ? NET_REC_SENSOR : NET_REC_MOTION;
        AddFile(slot, {start, start + length}, recType);
    }
}

bool CArchiveMaker::IsOutage(const SLOT& slot) const {
    // Every other day of a channel, in the afternoon.
    const auto chance = ArchiveChance(m_config.seed, static_cast<std::uint64_t>(slot.day.start), slot.channel, 1);
    const unsigned from = CHANGE_HOUR + 1 + (chance >> 8) % 6;
    return chance % 2 == 0 && slot.Hour() >= from && slot.Hour() < from + OUTAGE_HOURS;
}

void CArchiveMaker::AddFile(const SLOT& slot, const ARCHIVE_SPAN& span, tuint32 recType) {
    ARCHIVE_FILE& file = m_files.emplace_back();
    file.span = span;
    file.channel = slot.channel;
    file.recType = recType;
    file.bLocked = slot.chance % 16 == 2;
    file.partition = static_cast<tuint32>((slot.chance >> 40) % PARTITIONS);
    const std::int64_t noon = slot.day.start + CHANGE_HOUR * HOUR;
    if (span.start <= noon && noon < span.stop) file.changeAt = span.start + (span.stop - span.start) / 2;
}

void CArchiveMaker::NameFiles() {
    tuint32 next[PARTITIONS] = {};
    for (ARCHIVE_FILE& file : m_files) file.fileIndex = next[file.partition]++;
}

#include "simulator/archive/ArchiveCursor.h"

#include <algorithm>

#include "simulator/FrameFormat.h"

namespace {

constexpr std::int64_t SECOND = 1000000;
constexpr std::int64_t NEVER = INT64_MAX;

}  // namespace

CArchiveCursor::CArchiveCursor(const CSimArchive& archive, const CArchiveMedia& media, tuint32 channel, bool bFirst,
                               const ARCHIVE_SPAN& span)
    : m_archive(archive),
      m_media(media),
      m_files(archive.FilesOf(channel)),
      m_channel(channel),
      m_bFirst(bFirst),
      m_start(span.start * SECOND),
      m_stop(span.stop * SECOND) {
    Begin();
}

void CArchiveCursor::Begin() {
    const auto first = std::ranges::partition_point(
        m_files, [&](size_t number) { return m_archive.Files()[number].span.stop * SECOND <= m_start; });
    EnterFile(static_cast<size_t>(first - m_files.begin()));
    if (m_bOver) return;
    for (size_t section = m_sections.size(); section-- > 0;) {
        const std::int64_t number = m_sections[section].KeyBefore(m_start + 1);
        if (number < 0) continue;
        GoTo(section, number);
        break;
    }
    m_begin = PictureTime();
}

void CArchiveCursor::LoadFile(size_t place) {
    m_file = place;
    m_media.GetSections(File(place), m_bFirst, m_sections);
}

void CArchiveCursor::EnterFile(size_t place) {
    while (place < m_files.size() && m_archive.IsDeleted(m_files[place])) ++place;
    m_bOver = place >= m_files.size() || File(place).span.start * SECOND >= m_stop;
    if (m_bOver) return;
    LoadFile(place);
    GoTo(0, 0);
}

void CArchiveCursor::GoTo(size_t section, std::int64_t number) {
    m_bOver = false;
    m_section = section;
    m_number = number;
    m_sound = m_media.SoundFrom(File(m_file), PictureTime());
}

void CArchiveCursor::GoToKeyBehind(std::int64_t time) {
    const auto first = std::ranges::partition_point(
        m_files, [&](size_t number) { return m_archive.Files()[number].span.stop * SECOND <= time; });
    m_bOver = true;
    for (auto place = static_cast<size_t>(first - m_files.begin()); place < m_files.size(); ++place) {
        if (File(place).span.start * SECOND >= m_stop) return;
        if (m_archive.IsDeleted(m_files[place])) continue;
        LoadFile(place);
        for (size_t section = 0; section < m_sections.size(); ++section) {
            const std::int64_t number = m_sections[section].KeyBehind(time);
            if (m_sections[section].TimeOf(number) < std::min(m_sections[section].stop, m_stop))
                return GoTo(section, number);
        }
    }
}

void CArchiveCursor::GoToKeyBefore(std::int64_t time) {
    const auto behind = std::ranges::partition_point(
        m_files, [&](size_t number) { return m_archive.Files()[number].span.start * SECOND < time; });
    m_bOver = true;
    for (auto place = static_cast<size_t>(behind - m_files.begin()); place-- > 0;) {
        if (m_archive.IsDeleted(m_files[place])) continue;
        LoadFile(place);
        for (size_t section = m_sections.size(); section-- > 0;) {
            const std::int64_t number = m_sections[section].KeyBefore(time);
            if (number < 0) continue;
            if (m_sections[section].TimeOf(number) >= m_begin) GoTo(section, number);
            return;
        }
    }
}

void CArchiveCursor::GoOn() {
    if (m_mode == ARCHIVE_MODE::KEYS_BACKWARD) {
        GoToKeyBefore(m_last.value_or(m_begin));
    } else {
        GoToKeyBehind(m_last.value_or(m_begin - 1));
    }
}

void CArchiveCursor::SetMode(ARCHIVE_MODE mode) {
    if (mode == m_mode) return;
    m_mode = mode;
    GoOn();
}

void CArchiveCursor::SetSound(bool bSound) {
    if (bSound && !m_bSound && !m_bOver && m_last) m_sound = m_media.SoundFrom(File(m_file), *m_last + 1);
    m_bSound = bSound;
}

std::int64_t CArchiveCursor::PictureTime() const {
    if (m_section >= m_sections.size()) return NEVER;
    return Section().TimeOf(m_number);
}

std::int64_t CArchiveCursor::SoundTime() const {
    if (!m_bSound || m_mode != ARCHIVE_MODE::ALL) return NEVER;
    const ARCHIVE_FILE& file = File(m_file);
    const std::int64_t time = m_media.SoundTime(file, m_sound);
    return time < std::min(file.span.stop * SECOND, m_stop) ? time : NEVER;
}

std::optional<std::int64_t> CArchiveCursor::NextTime() {
    while (!m_bOver) {
        const std::int64_t time = std::min(PictureTime(), SoundTime());
        if (time != NEVER && !IsFileGone()) return time;
        if (m_mode == ARCHIVE_MODE::ALL) {
            EnterFile(m_file + 1);
        } else {
            GoOn();
        }
    }
    return std::nullopt;
}

CArchiveCursor::NEXT CArchiveCursor::Next() const {
    if (SoundTime() < PictureTime()) return NEXT::SOUND;
    if (Picture().bKeyFrame && Section().pClip != m_pToldClip) return NEXT::PICTURE_FORMAT;
    return m_bSoundTold ? NEXT::PICTURE : NEXT::SOUND_FORMAT;
}

void CArchiveCursor::Peek(ARCHIVE_FRAME& frame) {
    const NEXT next = Next();
    frame = {};
    frame.channel = m_channel;
    frame.time = next == NEXT::SOUND ? SoundTime() : PictureTime();
    if (next == NEXT::SOUND || next == NEXT::SOUND_FORMAT) {
        frame.frameType = next == NEXT::SOUND ? FRAME_TYPE_AUDIO : FRAME_TYPE_AUDIO_FORMAT;
        frame.data = next == NEXT::SOUND ? m_media.Sound(m_sound) : SoundFormat();
        return;
    }
    frame.width = Section().pClip->Width();
    frame.height = Section().pClip->Height();
    frame.frameType = next == NEXT::PICTURE ? FRAME_TYPE_VIDEO : FRAME_TYPE_VIDEO_FORMAT;
    frame.bKeyFrame = next == NEXT::PICTURE && Picture().bKeyFrame;
    if (next == NEXT::PICTURE_FORMAT) m_format = PictureFormat(*Section().pClip);
    frame.data = next == NEXT::PICTURE ? Picture().data : SIM_BYTE_VIEW(m_format);
}

void CArchiveCursor::Pop() {
    switch (Next()) {
        case NEXT::PICTURE_FORMAT:
            m_pToldClip = Section().pClip;
            break;
        case NEXT::SOUND_FORMAT:
            m_bSoundTold = true;
            break;
        case NEXT::SOUND:
            m_last = SoundTime();
            ++m_sound;
            break;
        case NEXT::PICTURE:
            m_last = PictureTime();
            NextPicture();
            break;
    }
}

void CArchiveCursor::NextPicture() {
    if (m_mode != ARCHIVE_MODE::ALL) return GoOn();
    ++m_number;
    if (PictureTime() < std::min(Section().stop, m_stop)) return;
    ++m_section;
    m_number = 0;
    if (m_section < m_sections.size() && Section().start >= m_stop) m_section = m_sections.size();
}

std::int64_t CArchiveCursor::End() const {
    for (size_t place = m_files.size(); place-- > 0;) {
        const ARCHIVE_SPAN& span = File(place).span;
        if (span.start * SECOND < m_stop && !m_archive.IsDeleted(m_files[place]))
            return std::min(span.stop * SECOND, m_stop);
    }
    return m_start;
}

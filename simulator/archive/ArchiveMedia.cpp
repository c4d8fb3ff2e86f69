#include "simulator/archive/ArchiveMedia.h"

#include <algorithm>

#include "simulator/FrameFormat.h"

namespace {

constexpr std::int64_t SECOND = 1000000;
constexpr std::int64_t UNIT_TIME = 40000;
// Sound never begins together with a picture of 25 a second.
constexpr std::int64_t SOUND_SHIFT = 20000;

}  // namespace

std::int64_t ARCHIVE_SECTION::KeyBehind(std::int64_t time) const {
    const auto count = static_cast<std::int64_t>(pClip->Frames().size());
    const std::int64_t number = time < start ? 0 : (time - start) / pClip->FrameTime() + 1;
    const std::int64_t place = number % count;
    const auto key = static_cast<std::int64_t>(pClip->NextKeyFrame(static_cast<size_t>(place)));
    return number - place + (key < place ? count + key : key);
}

std::int64_t ARCHIVE_SECTION::KeyBefore(std::int64_t time) const {
    time = std::min(time, stop);
    if (time <= start) return -1;
    const auto count = static_cast<std::int64_t>(pClip->Frames().size());
    const std::int64_t number = (time - start - 1) / pClip->FrameTime();
    const std::int64_t place = number % count;
    return number - place + static_cast<std::int64_t>(pClip->KeyFrameAt(static_cast<size_t>(place)));
}

CArchiveMedia::CArchiveMedia(SOURCES sources) : m_sources(std::move(sources)) {
    const auto& units = m_sources.pSound->Frames();
    for (size_t n = 0; n < units.size() + m_sources.soundUnits; ++n) {
        Append(m_sound, SoundPrefix());
        Append(m_sound, units[n % units.size()].data);
    }
}

void CArchiveMedia::GetSections(const ARCHIVE_FILE& file, bool bFirst, std::vector<ARCHIVE_SECTION>& sections) const {
    const auto& clips = bFirst ? m_sources.first : m_sources.second;
    const CSimClip* pClip = clips[file.channel % clips.size()].get();
    const CSimClip* pChange = m_sources.pChange.get();
    sections.clear();
    sections.push_back({file.span.start * SECOND, file.span.stop * SECOND, pClip});
    const bool bChange = bFirst && file.changeAt != 0 && pChange &&
                         (pChange->Width() != pClip->Width() || pChange->Height() != pClip->Height());
    if (!bChange) return;
    sections.front().stop = file.changeAt * SECOND;
    sections.push_back({file.changeAt * SECOND, file.span.stop * SECOND, pChange});
}

std::int64_t CArchiveMedia::SoundLength() const { return UNIT_TIME * m_sources.soundUnits; }

std::int64_t CArchiveMedia::SoundTime(const ARCHIVE_FILE& file, std::int64_t number) const {
    return file.span.start * SECOND + SOUND_SHIFT + number * SoundLength();
}

std::int64_t CArchiveMedia::SoundFrom(const ARCHIVE_FILE& file, std::int64_t time) const {
    const std::int64_t behind = time - SoundTime(file, 0);
    return behind <= 0 ? 0 : (behind + SoundLength() - 1) / SoundLength();
}

SIM_BYTE_VIEW CArchiveMedia::Sound(std::int64_t number) const {
    const size_t units = m_sound.size() / AUDIO_BLOCK_SIZE - m_sources.soundUnits;
    const size_t first = static_cast<size_t>(number) % units * m_sources.soundUnits % units;
    return SIM_BYTE_VIEW(m_sound).subspan(first * AUDIO_BLOCK_SIZE, m_sources.soundUnits * AUDIO_BLOCK_SIZE);
}

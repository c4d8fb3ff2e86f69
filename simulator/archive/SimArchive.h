// The recordings of a simulated recorder.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "simulator/archive/ArchiveJournal.h"
#include "simulator/archive/ArchiveTypes.h"

/// Files, log and events. Any thread may ask; files are locked, unlocked and deleted by one. What is found comes in the
/// order of its start.
class CSimArchive {
public:
    /// An empty archive.
    CSimArchive() = default;

    /// `config.end` must be a time.
    CSimArchive(const ARCHIVE_CONFIG& config, unsigned channels);

    struct QUERY {
        ARCHIVE_SPAN span;
        tuint32 channel = ALL_CHANNELS;
        tuint32 recType = 0xFFFFFFFF;  // NET_REC_TYPE flags, of which a file has one at least
    };

    unsigned Channels() const { return static_cast<unsigned>(m_byChannel.size()); }

    /// From the start of the first file to the end of the last, as the archive was made.
    ARCHIVE_SPAN Span() const { return m_span; }

    /// All files as they were made, deleted ones too; the place of a file in it is its number.
    const std::vector<ARCHIVE_FILE>& Files() const { return m_files; }
    bool IsLocked(size_t file) const { return (m_flags[file] & LOCKED) != 0; }
    bool IsDeleted(size_t file) const { return (m_flags[file] & DELETED) != 0; }

    /// Numbers of the files of a channel.
    std::span<const size_t> FilesOf(tuint32 channel) const { return m_byChannel[channel]; }

    /// Days with files that are not deleted.
    std::vector<NET_REC_DATE_INFO> Days() const;

    /// Numbers of files.
    std::vector<size_t> FindFiles(const QUERY& query) const;

    /// Stretches without a gap between files.
    std::vector<std::pair<tuint32, ARCHIVE_SPAN>> FindTimes(const QUERY& query) const;

    std::vector<ARCHIVE_REC_EVENT> FindRecEvents(const QUERY& query) const;

    /// Entries at the start, at the stop and between; `majorType` 0xFFFFFFFF: of all types.
    std::vector<ARCHIVE_LOG> FindLogs(const ARCHIVE_SPAN& span, tuint32 majorType) const;

    /// `types`: NET_EVENT_TYPE flags; bit n of `channelMask` asks for channel n.
    std::vector<ARCHIVE_EVENT> FindEvents(const ARCHIVE_SPAN& span, tuint32 types, tuint64 channelMask) const;

    /// The number of the file of this name; none when there is none or it is deleted.
    std::optional<size_t> FindFile(tuint32 channel, tuint32 partition, tuint32 fileIndex) const;

    void SetLocked(size_t file, bool bLocked);
    void Delete(size_t file) { m_flags[file] |= DELETED; }

private:
    enum FLAG : std::uint8_t { LOCKED = 1, DELETED = 2 };

    void IndexFiles();
    bool Matches(size_t file, const QUERY& query) const;

    ARCHIVE_SPAN m_span;
    std::vector<ARCHIVE_FILE> m_files;
    std::unique_ptr<std::atomic<std::uint8_t>[]> m_flags;  // by file
    std::vector<std::vector<size_t>> m_byChannel;
    std::vector<std::vector<size_t>> m_byPartition;  // place: fileIndex
    CArchiveJournal m_journal;
};

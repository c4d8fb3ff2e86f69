// Makes a file whole that its writer did not complete.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "main_utility/media/avi/AVIFile.h"
#include "main_utility/media/avi/AVIHeader.h"
#include "main_utility/media/avi/AVIIndex.h"

enum class AVI_REPAIR {
    REPAIRED,  // sizes, counts and index are those of the chunks that are there
    WHOLE,     // nothing to do, the file is untouched
    NOT_OURS,  // no file of CAVIWriter, untouched
    CLOSED,    // was completed, but does not agree with itself: untouched, as this was not forced
    WORSE,     // its index knows more chunks than can be found: untouched
    REFUSED,   // the system refused something: see error. What is in the file can be repaired again
};

struct AVI_REPAIR_REPORT {
    AVI_REPAIR result = AVI_REPAIR::REFUSED;
    int error = 0;            // errno; EBUSY while the file is being written
    tuint32 frames = 0;       // of video with a payload
    tuint32 emptyFrames = 0;  // those that fill gaps
    tuint32 audioBytes = 0;
    tint64 milliseconds = 0;  // of video
    tint64 damagedBytes = 0;  // between chunks, passed over by players from now on
    tint64 droppedBytes = 0;  // at the end: a chunk that is not whole
};

/// Works in place on what CAVIWriter has written, in any layout. A run that is broken off leaves a file that can be
/// repaired again. Memory: the index. In growing files chunks are found by walking from one to the next; where that ends
/// in damage the walk goes on at the next run of chunks within 64 MiB, and the damage becomes a JUNK chunk. In the 64 MiB
/// layout old chunks lie behind the new ones, so that there only what the file's index knows is kept. One call for each
/// object.
class CAVIRepair {
public:
    /// Repairs the file when its mark says that it was not completed; with `bForce` also one that was completed and does
    /// not agree with itself. Blocks as long as reading its chunk heads and writing the index takes.
    AVI_REPAIR_REPORT Repair(const char* pPath, bool bForce);

private:
    struct HOLE {
        tint64 begin;
        tint64 end;
    };
    AVI_REPAIR Judge(bool bForce);
    bool FindChunks();
    bool FindIndexedChunks();
    bool TakeChunk(const AVI_CHUNK_HEAD& head, tuint32 flags);
    std::optional<AVI_CHUNK_HEAD> HeadAt(tint64 place);
    std::optional<AVI_CHUNK_HEAD> ChunkAt(tint64 place);
    std::string_view Window(tint64 place, size_t least, size_t most);
    bool SkipDamage();
    bool IsRunOfChunks(tint64 place);
    void SetHeader();
    bool IsIndexInFile();
    tuint32 EntriesInFile();
    bool Rebuild();
    void Fill(AVI_REPAIR_REPORT& report) const;

    CAVIFile m_file;
    AVI_HEADER m_header{};
    CAVIIndex m_index;
    std::vector<HOLE> m_holes;
    bool m_bDefSize = false;
    bool m_bTimeStamps = false;
    tint64 m_size = 0;   // of the file
    tint64 m_limit = 0;  // chunks end here at the latest
    tint64 m_end = 0;    // behind the last chunk found
    tuint32 m_emptyFrames = 0;
    std::array<char, 65536> m_window{};
    tint64 m_windowBegin = 0;
    size_t m_windowSize = 0;
};

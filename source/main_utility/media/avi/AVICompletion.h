// The last steps of a file, for the writer and for the repair.
#pragma once

#include "main_utility/media/avi/AVIFile.h"
#include "main_utility/media/avi/AVIHeader.h"
#include "main_utility/media/avi/AVIIndex.h"

enum class AVI_SYNC { NO, EACH_STEP };  // the latter waits for the disk, so that the steps reach it in their order

/// Sizes and counts in `header` become those of a growing file whose chunks end at byte `end` and stand in `index`.
void SetGrowingSizes(AVI_HEADER& header, const CAVIIndex& index, tint64 end);

/// Where the index of such a file begins: at the next multiple of 4, and where `end` is one already 4 bytes behind it.
constexpr tint64 IndexPlace(tint64 end) { return end + 4 - end % 4; }

/// Writes the index behind the chunks, then the head, and takes the mark away last. Without room for the index the file
/// ends behind its last chunk, the head says so, and the mark stays. True when all is in the file.
bool CompleteGrowing(CAVIFile& file, AVI_HEADER& header, const CAVIIndex& index, tint64 end, AVI_SYNC sync);

/// The same for the 64 MiB layout, whose index entries, `entries` of them, are in the file already.
bool CompleteDefSize(CAVIFile& file, AVI_HEADER& header, tuint32 entries, AVI_SYNC sync);

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "main_utility/media/AVISave.h"
#include "main_utility/media/framefile/FrameFileReader.h"

// How the conversion of a file of frames ended.
enum class CONVERT_END {
    WHOLE,        // the end frame was read
    CUT,          // the file ends without it: what it has is converted
    BROKEN,       // from somewhere on it is no file of frames: what stands before is converted
    NO_PICTURES,  // nothing in it can begin an AVI file
    READ_FAILED,  // CONVERTED::nErrno, as in the next
    WRITE_FAILED,
    INTERRUPTED,
};

// What a conversion made.
struct CONVERTED {
    CONVERT_END eEnd = CONVERT_END::NO_PICTURES;
    int nErrno = 0;  // 0 where none is known
    uint64_t nFrames = 0;
    uint64_t nLost = 0;              // pictures and sounds that no AVI file could take, as those ahead of a key frame
    std::vector<std::string> files;  // complete
};

// Makes AVI files out of a file of frames: one for each picture size or video format in its order, named x.avi, x-2.avi
// and so on, another one also behind LARGEST_AVI bytes. Each has its name with .part behind it until it is complete.
class CFrameConverter {
public:
    static constexpr uint64_t LARGEST_AVI = uint64_t{1} << 31;  // more than this is read by some players only

    // fnGoOn is asked now and then with the bytes read so far; false ends the conversion.
    CFrameConverter(std::string strOutput, std::function<bool(uint64_t)> fnGoOn);

    CONVERTED Convert(const std::string& strInput);

private:
    bool TakeFrame(const FILE_FRAME& frame);
    bool TakeFormat(const FILE_FRAME& frame);
    bool IsNextFile(const FILE_FRAME& frame) const;
    bool Save(const FILE_FRAME& frame);
    bool SaveFormats();
    bool BeginFile();
    bool EndFile();
    bool WriteFailed(int nErrno);
    std::string NameOf(size_t nFile) const;

    const std::string m_strOutput;
    const std::function<bool(uint64_t)> m_fnGoOn;
    CONVERTED m_result;
    std::unique_ptr<CAVISave> m_save;  // of the file that is being made
    bool m_bBegun = false;             // it has a picture
    uint64_t m_nBytes = 0;             // that went into it
    SDK_FRAME_INFO m_key{};            // of its first picture
    std::vector<std::byte> m_videoFormat;
    std::vector<std::byte> m_audioFormat;
};

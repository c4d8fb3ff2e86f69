// A file of frames that says anything, read to its end.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "main_utility/media/framefile/FrameFileReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    static const int fd = memfd_create("frames", MFD_CLOEXEC);
    if (ftruncate(fd, 0) != 0 || pwrite(fd, pData, size, 0) != static_cast<ssize_t>(size)) std::abort();
    lseek(fd, 0, SEEK_SET);
    CFrameFileReader reader;
    reader.Attach(fd);
    FILE_FRAME frame;
    size_t position = 0;
    FILE_STEP step;
    while ((step = reader.Next(frame)) == FILE_STEP::FRAME) {
        const uint8_t* pFrame = pData + position;
        position += sizeof(frame.head) + frame.data.size();
        if (position > size || reader.Position() != position) std::abort();
        if (memcmp(pFrame, &frame.head, sizeof(frame.head)) != 0) std::abort();
        if (memcmp(pFrame + sizeof(frame.head), frame.data.data(), frame.data.size()) != 0) std::abort();
    }
    if ((step == FILE_STEP::WHOLE) != (position == size) || step == FILE_STEP::FAILED) std::abort();
    return 0;
}

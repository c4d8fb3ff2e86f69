// Any bytes as a file to repair. The first byte chooses: forced or not, and whether the file is of the 64 MiB layout; then the
// input's last 256 bytes stand where that one has its index. What was repaired must be whole.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "main_utility/media/avi/AVIRepair.h"

namespace {

void Check(bool bGood) {
    if (!bGood) std::abort();
}

void Put(int fd, const std::string& bytes, tint64 at) {
    Check(pwrite(fd, bytes.data(), bytes.size(), at) == static_cast<ssize_t>(bytes.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    if (size < 1) return 0;
    const std::string bytes(reinterpret_cast<const char*>(pData) + 1, size - 1);
    const bool bDefSize = pData[0] & 2;
    const size_t indexPart = bDefSize ? std::min<size_t>(bytes.size(), 256) : 0;
    const int fd = memfd_create("fuzz", MFD_CLOEXEC);
    Check(fd >= 0 && (!bDefSize || ftruncate(fd, AVI_DEF_FILE_SIZE) == 0));
    Put(fd, bytes.substr(0, bytes.size() - indexPart), 0);
    Put(fd, bytes.substr(bytes.size() - indexPart), bDefSize ? AVI_DEF_INDEX_OFFSET : 0);
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    const auto first = CAVIRepair().Repair(path.c_str(), pData[0] & 1);
    const auto second = CAVIRepair().Repair(path.c_str(), false);
    Check(first.result != AVI_REPAIR::REPAIRED || second.result == AVI_REPAIR::WHOLE);
    close(fd);
    return 0;
}

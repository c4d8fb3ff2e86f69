#include "simulator/SimClip.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace {

struct CODEC_SUFFIX {
    const char* pSuffix;
    SIM_CODEC codec;
};
constexpr CODEC_SUFFIX CODEC_SUFFIXES[] = {
    {".h264", SIM_CODEC::H264}, {".h265", SIM_CODEC::H265}, {".mjpeg", SIM_CODEC::MJPEG}, {".alaw", SIM_CODEC::ALAW}};

bool ReadWholeFile(const std::filesystem::path& file, SIM_BYTES& bytes) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return false;
    const std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    Append(bytes, std::as_bytes(std::span(content)));
    return !stream.bad();
}

}  // namespace

bool CSimClip::TakeName(const std::filesystem::path& file) {
    const auto found = std::find_if(std::begin(CODEC_SUFFIXES), std::end(CODEC_SUFFIXES),
                                    [&](const CODEC_SUFFIX& row) { return file.extension() == row.pSuffix; });
    if (found == std::end(CODEC_SUFFIXES)) return false;
    m_codec = found->codec;
    if (m_codec == SIM_CODEC::ALAW) return true;

    // <name>-<width>x<height>-<rate>: what stands from the last dash but one on.
    const std::string sStem = file.stem().string();
    const size_t rateDash = sStem.rfind('-');
    const size_t sizeDash = rateDash == 0 ? std::string::npos : sStem.rfind('-', rateDash - 1);
    if (rateDash == std::string::npos || sizeDash == std::string::npos) return false;
    unsigned rate = 0;
    int length = 0;
    const std::string sFacts = sStem.substr(sizeDash);
    const int fields = std::sscanf(sFacts.c_str(), "-%5ux%5u-%3u%n", &m_width, &m_height, &rate, &length);
    if (fields != 3 || static_cast<size_t>(length) != sFacts.size() || rate == 0) return false;
    m_frameTime = 1000000 / rate;
    return true;
}

std::shared_ptr<const CSimClip> CSimClip::Load(const std::filesystem::path& file, std::string& sError) {
    const std::shared_ptr<CSimClip> pClip(new CSimClip);
    if (!pClip->TakeName(file)) {
        sError = "The name " + file.filename().string() +
                 " does not say what the clip is; <name>-<width>x<height>-<rate>.h264, .h265, .mjpeg or <name>.alaw is "
                 "wanted.";
        return nullptr;
    }
    if (!ReadWholeFile(file, pClip->m_bytes)) {
        sError = "The clip " + file.string() + " cannot be read.";
        return nullptr;
    }
    pClip->m_frames = SplitClip(pClip->m_codec, pClip->m_bytes);
    if (pClip->m_frames.empty()) {
        sError = "The clip " + file.string() + " holds no key frame.";
        return nullptr;
    }
    return pClip;
}

size_t CSimClip::NextKeyFrame(size_t from) const {
    while (from < m_frames.size() && !m_frames[from].bKeyFrame) ++from;
    return from < m_frames.size() ? from : 0;
}

size_t CSimClip::KeyFrameAt(size_t from) const {
    while (!m_frames[from].bKeyFrame) --from;
    return from;
}

std::filesystem::path FindMediaFolder(const std::string& sChosen) {
    if (!sChosen.empty()) return sChosen;
    const char* pEnvironment = std::getenv("HLX_MEDIA");
    if (pEnvironment && *pEnvironment) return pEnvironment;

    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path candidates[] = {program.parent_path().parent_path() / "share/hlx/media",
                                                HLX_SIM_INSTALLED_MEDIA, HLX_SIM_SOURCE_MEDIA};
    for (const auto& folder : candidates) {
        if (std::filesystem::is_directory(folder, error)) return folder;
    }
    return HLX_SIM_INSTALLED_MEDIA;
}

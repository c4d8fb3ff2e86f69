#include "SoundFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <samplerate.h>
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>

#include "Output.h"

namespace {

using SndFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;
using Resampler = std::unique_ptr<SRC_STATE, decltype(&src_delete)>;

constexpr sf_count_t BLOCK = 4096;  // frames of a file that are read at once

// A file, mixed to one channel and brought to TALK_RATE.
class CFileSource : public CSoundSource {
public:
    CFileSource(SndFile file, const SF_INFO& info, Resampler resampler)
        : m_file(std::move(file)), m_info(info), m_resampler(std::move(resampler)) {}

    SAMPLES Read(size_t nMost, bool& bEnd) override {
        while (m_ready.size() < nMost && !m_bFileEnd) Fill();
        const size_t nCount = std::min(nMost, m_ready.size());
        SAMPLES samples(m_ready.begin(), m_ready.begin() + static_cast<long>(nCount));
        m_ready.erase(m_ready.begin(), m_ready.begin() + static_cast<long>(nCount));
        bEnd = samples.empty() && m_bFileEnd;
        return samples;
    }

private:
    // Takes one block of the file in.
    void Fill() {
        const auto nChannels = static_cast<size_t>(m_info.channels);
        std::vector<float> frames(static_cast<size_t>(BLOCK) * nChannels);
        const auto nRead = static_cast<size_t>(sf_readf_float(m_file.get(), frames.data(), BLOCK));
        m_bFileEnd = nRead == 0;
        std::vector<float> mono(nRead);
        for (size_t i = 0; i < nRead; ++i) {
            const auto first = frames.begin() + static_cast<long>(i * nChannels);
            mono[i] =
                std::accumulate(first, first + static_cast<long>(nChannels), 0.0F) / static_cast<float>(nChannels);
        }
        const double ratio = double{TALK_RATE} / m_info.samplerate;
        std::vector<float> out(static_cast<size_t>(static_cast<double>(nRead) * ratio) + BLOCK);
        SRC_DATA data{};
        data.data_in = mono.data();
        data.input_frames = static_cast<long>(nRead);
        data.data_out = out.data();
        data.output_frames = static_cast<long>(out.size());
        data.src_ratio = ratio;
        data.end_of_input = m_bFileEnd ? 1 : 0;
        if (src_process(m_resampler.get(), &data) != 0) m_bFileEnd = true;
        const auto nOld = m_ready.size();
        m_ready.resize(nOld + static_cast<size_t>(data.output_frames_gen));
        src_float_to_short_array(out.data(), m_ready.data() + nOld, static_cast<int>(data.output_frames_gen));
    }

    SndFile m_file;
    SF_INFO m_info;
    Resampler m_resampler;
    SAMPLES m_ready;
    bool m_bFileEnd = false;
};

// Raw PCM on standard input, which may come slowly.
class CInputSource : public CSoundSource {
public:
    SAMPLES Read(size_t nMost, bool& bEnd) override {
        bEnd = false;
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        while (m_bytes.size() < nMost * 2 && poll(&input, 1, 0) > 0) {
            char sBytes[8192];
            const ssize_t nRead = read(STDIN_FILENO, sBytes, std::min(sizeof sBytes, nMost * 2 - m_bytes.size()));
            if (nRead < 0 && errno == EINTR) continue;
            bEnd = nRead <= 0;
            if (bEnd) break;
            m_bytes.append(sBytes, static_cast<size_t>(nRead));
        }
        SAMPLES samples(m_bytes.size() / 2);
        if (!samples.empty()) memcpy(samples.data(), m_bytes.data(), samples.size() * 2);
        m_bytes.erase(0, samples.size() * 2);
        bEnd = bEnd && samples.empty();
        return samples;
    }

private:
    std::string m_bytes;
};

class CFileSink : public CSoundSink {
public:
    explicit CFileSink(SndFile file) : m_file(std::move(file)) {}

    int Write(const SAMPLES& samples) override {
        const auto nCount = static_cast<sf_count_t>(samples.size());
        errno = 0;
        if (sf_write_short(m_file.get(), samples.data(), nCount) == nCount) return 0;
        return errno != 0 ? errno : EIO;
    }

private:
    SndFile m_file;
};

class COutputSink : public CSoundSink {
public:
    int Write(const SAMPLES& samples) override {
        return PrintData({reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(samples[0])});
    }
};

}  // namespace

std::unique_ptr<CSoundSource> CSoundSource::Open(const std::string& strFile, std::string& strError) {
    if (strFile == "-") return std::make_unique<CInputSource>();
    SF_INFO info{};
    SndFile file(sf_open(strFile.c_str(), SFM_READ, &info), sf_close);
    if (!file) {
        strError = fmt::format("cannot read {}: {}", strFile, sf_strerror(nullptr));
        return nullptr;
    }
    const double ratio = double{TALK_RATE} / std::max(info.samplerate, 1);
    int nError = 0;
    Resampler resampler(src_new(SRC_SINC_MEDIUM_QUALITY, 1, &nError), src_delete);
    if (!resampler || !src_is_valid_ratio(ratio)) {
        strError = fmt::format("cannot read {}: its {} samples a second are out of range", strFile, info.samplerate);
        return nullptr;
    }
    return std::make_unique<CFileSource>(std::move(file), info, std::move(resampler));
}

std::unique_ptr<CSoundSink> CSoundSink::Create(const std::string& strFile, std::string& strError) {
    if (strFile == "-") return std::make_unique<COutputSink>();
    SF_INFO info{};
    info.samplerate = TALK_RATE;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SndFile file(sf_open(strFile.c_str(), SFM_WRITE, &info), sf_close);
    if (!file) {
        strError = fmt::format("cannot write {}: {}", strFile, sf_strerror(nullptr));
        return nullptr;
    }
    sf_command(file.get(), SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return std::make_unique<CFileSink>(std::move(file));
}

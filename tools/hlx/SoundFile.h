#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Sound as devices talk: PCM of 16 bits, 8000 samples a second, mono.
inline constexpr int TALK_RATE = 8000;

using SAMPLES = std::vector<int16_t>;

// Where the sound to be spoken comes from.
class CSoundSource {
public:
    virtual ~CSoundSource() = default;

    // At most nMost samples; fewer when no more are there yet; none, with bEnd set, at the end.
    virtual SAMPLES Read(size_t nMost, bool& bEnd) = 0;

    // A sound file of any kind, rate and number of channels; "-": raw PCM on standard input. Null with a sentence in
    // strError.
    static std::unique_ptr<CSoundSource> Open(const std::string& strFile, std::string& strError);
};

// Where the sound that was heard goes.
class CSoundSink {
public:
    virtual ~CSoundSink() = default;

    // 0, or the errno of the write that failed; EIO where the file's library does not tell one.
    virtual int Write(const SAMPLES& samples) = 0;

    // A WAV file, which can be played at any time, or "-": raw PCM on standard output. Null with a sentence in
    // strError.
    static std::unique_ptr<CSoundSink> Create(const std::string& strFile, std::string& strError);
};

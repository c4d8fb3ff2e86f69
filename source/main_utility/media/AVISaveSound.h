// The sound of an AVI file that is being saved: what the device sends, turned into what the file holds.
#pragma once

#include <array>
#include <functional>

#include "HLX.h"
#include "main_utility/media/audio/AudioCodec.h"

/// What all coded sound becomes.
constexpr WAVEFORMATEX SAVED_SOUND{AUDIO_TAG_PCM, 1, 8000, 16000, 2, 16, 0};

/// The format of one stream's sound and its decoder. One thread at a time.
class CAVISaveSound {
public:
    static constexpr size_t BUFFER_SIZE = 16000;          // bytes; decoded sound comes in pieces of at most so many
    static constexpr DWORD MOST_BYTES_A_SECOND = 384000;  // of PCM; more is no sound of a camera

    CAVISaveSound() = default;
    ~CAVISaveSound() { Close(); }
    CAVISaveSound(const CAVISaveSound&) = delete;
    CAVISaveSound& operator=(const CAVISaveSound&) = delete;

    /// True for a format that makes sense.
    static bool IsUsable(const WAVEFORMATEX& format);
    bool IsKnown() const { return m_format.wFormatTag != 0; }
    bool IsSame(const WAVEFORMATEX& format) const;
    bool IsPCM() const { return m_format.wFormatTag == AUDIO_TAG_PCM; }

    /// Takes a usable format and opens its decoder. A format without a decoder is kept, its sound cannot be decoded.
    void SetFormat(const WAVEFORMATEX& format);

    /// PCM as the device sends it, else what coded sound becomes.
    WAVEFORMATEX DecodedFormat() const;

    /// Takes a piece of decoded sound; false ends the decoding.
    using PIECE_TAKER = std::function<bool(const unsigned char* pPiece, size_t size)>;
    enum class DECODED { ALL, FAILED, REFUSED };

    /// Decodes a frame of coded sound piece by piece. FAILED: there is no decoder, it failed (the last error is its
    /// own), or the frame is shorter than the decoder reads. REFUSED: `take` gave false.
    DECODED Decode(const unsigned char* pData, size_t length, const PIECE_TAKER& take);

    /// Forgets the format and closes the decoder.
    void Close();

private:
    static constexpr POINTERHANDLE NO_DECODER = -1;

    WAVEFORMATEX m_format{};  // as the device told it
    POINTERHANDLE m_lDecoder = NO_DECODER;
    size_t m_least = 0;  // bytes that the decoder reads at a time at least
    size_t m_most = 0;   // bytes that decode into m_buffer; 0: cannot be decoded
    std::array<unsigned char, BUFFER_SIZE> m_buffer{};
};

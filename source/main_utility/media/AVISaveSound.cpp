#include "main_utility/media/AVISaveSound.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "main_utility/media/AudioCodecMan.h"

namespace {

constexpr LONG PROBE = 1000;  // bytes of input to ask a codec's output for

}  // namespace

bool CAVISaveSound::IsUsable(const WAVEFORMATEX& format) {
    if (format.wFormatTag == AUDIO_TAG_G726) return format.wBitsPerSample >= 2 && format.wBitsPerSample <= 5;
    if (format.wFormatTag != AUDIO_TAG_PCM) return format.wFormatTag != 0;
    return format.nBlockAlign != 0 && format.nSamplesPerSec != 0 && format.nAvgBytesPerSec >= format.nBlockAlign &&
           format.nAvgBytesPerSec <= MOST_BYTES_A_SECOND;
}

bool CAVISaveSound::IsSame(const WAVEFORMATEX& format) const {
    return std::memcmp(&m_format, &format, sizeof(format)) == 0;
}

void CAVISaveSound::SetFormat(const WAVEFORMATEX& format) {
    Close();
    m_format = format;
    if (IsPCM()) return;
    CAudioCodecMan& codecs = *CAudioCodecMan::Instance();
    m_lDecoder = codecs.OpenAudioCodec(&m_format, sizeof(m_format));
    if (m_lDecoder == NO_DECODER) return;
    const LONG needed = codecs.NeededInput(m_lDecoder);
    const LONG decoded = codecs.DecodedSize(m_lDecoder, PROBE);
    m_least = static_cast<size_t>(std::max<LONG>(needed, 1));
    if (decoded > 0) m_most = needed > 0 ? m_least : BUFFER_SIZE * PROBE / static_cast<size_t>(decoded);
}

WAVEFORMATEX CAVISaveSound::DecodedFormat() const {
    if (!IsPCM()) return SAVED_SOUND;
    WAVEFORMATEX format = m_format;
    format.cbSize = 0;  // no more bytes came with it
    return format;
}

CAVISaveSound::DECODED CAVISaveSound::Decode(const unsigned char* pData, size_t length, const PIECE_TAKER& take) {
    if (m_most == 0 || length < m_least) return DECODED::FAILED;
    for (size_t size = 0; length >= m_least; pData += size, length -= size) {
        size = std::min(length, m_most);
        LONG decoded = 0;
        if (!CAudioCodecMan::Instance()->DecodeBounded(m_lDecoder, pData, static_cast<LONG>(size), m_buffer.data(),
                                                       BUFFER_SIZE, &decoded))
            return DECODED::FAILED;
        if (!take(m_buffer.data(), static_cast<size_t>(decoded))) return DECODED::REFUSED;
    }
    return DECODED::ALL;
}

void CAVISaveSound::Close() {
    m_format = {};
    m_least = m_most = 0;
    const POINTERHANDLE lDecoder = std::exchange(m_lDecoder, NO_DECODER);
    if (lDecoder != NO_DECODER) CAudioCodecMan::Instance()->CloseAudioCodec(lDecoder);
}

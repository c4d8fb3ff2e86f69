// Any sound format and any frames of it, through the manager.
// Input: 18 bytes of WAVEFORMATEX, then frames: a byte that chooses what is done, two bytes of length, the frame. Buffers
// are of just the size that the interface asks for.
#include <algorithm>
#include <memory>

#include "main_utility/media/AudioCodecMan.h"
#include "sdk_common/ThreadState.h"
#include "sdk_common/WireReader.h"

namespace {

constexpr WORD TAGS[] = {AUDIO_TAG_ALAW, AUDIO_TAG_ULAW, AUDIO_TAG_G726, AUDIO_TAG_ADPCM};
constexpr int MAX_FRAMES = 16;  // of one input: long inputs find nothing that short ones do not

enum CHOICE : tuint8 { DECODE = 1, BOUNDED = 2, SHORT_ROOM = 4 };

void Require(bool bHolds) {
    if (!bHolds) __builtin_trap();
}

class CFuzzedCodec {
public:
    explicit CFuzzedCodec(WAVEFORMATEX format) {
        if (format.wFormatTag > 255) format.wFormatTag = TAGS[format.wFormatTag % std::size(TAGS)];
        m_bUsable = format.wFormatTag != AUDIO_TAG_G726 || (format.wBitsPerSample >= 2 && format.wBitsPerSample <= 5);
        m_handle = m_man.OpenAudioCodec(&format, sizeof(format));
    }
    ~CFuzzedCodec() { Require(m_man.CloseAudioCodec(m_handle) == (m_handle != -1)); }

    void Frame(CWireReader& script) {
        const auto choice = script.Read<tuint8>();
        const auto bytes = script.Bytes(std::min<size_t>(script.Read<tuint16>(), script.Left()));
        const bool bDecode = choice & DECODE;
        size_t size = bytes.size();
        // Who uses the open form owes what it reads.
        if (bDecode && !(choice & BOUNDED))
            size = std::max(size, size_t(std::max(m_man.NeededInput(m_handle), LONG{0})));
        const std::unique_ptr<BYTE[]> in(new BYTE[size]());
        std::copy_n(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size(), in.get());
        const LONG lMade = bDecode ? m_man.DecodedSize(m_handle, LONG(size)) : m_man.EncodedSize(m_handle, LONG(size));
        const bool bShort = (choice & BOUNDED) && (choice & SHORT_ROOM) && lMade > 0;
        const LONG lRoom = std::max(lMade, LONG{0}) - bShort;
        const std::unique_ptr<BYTE[]> out(new BYTE[size_t(lRoom)]);
        LONG lOutLen = -1;
        const bool bDone = Convert(choice, in.get(), LONG(size), out.get(), lRoom, lOutLen);
        Require(bDone ? m_bUsable && lOutLen == lMade : lOutLen == -1);
        Require(!bShort || !bDone);
        if (!(choice & BOUNDED)) Require(bDone == (m_handle != -1 && m_bUsable));
    }

private:
    bool Convert(tuint8 choice, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG lRoom, LONG& lOutLen) {
        switch (choice & (DECODE | BOUNDED)) {
            case DECODE:
                return m_man.DecodeAudioFrame(m_handle, pIn, inLen, pOut, &lOutLen);
            case BOUNDED:
                return m_man.EncodeBounded(m_handle, pIn, inLen, pOut, lRoom, &lOutLen);
            case DECODE | BOUNDED:
                return m_man.DecodeBounded(m_handle, pIn, inLen, pOut, lRoom, &lOutLen);
            default:
                return m_man.EncodeAudioFrame(m_handle, pIn, inLen, pOut, &lOutLen);
        }
    }

    CAudioCodecMan& m_man = *CAudioCodecMan::Instance();
    POINTERHANDLE m_handle = -1;
    bool m_bUsable;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t size) {
    CWireReader script(pData, size);
    CFuzzedCodec codec(script.Read<WAVEFORMATEX>());
    for (int i = 0; i < MAX_FRAMES && script.Left(); ++i) codec.Frame(script);
    return 0;
}

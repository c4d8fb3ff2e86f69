// Audio codecs by handle.
#pragma once

#include "HLX.h"
#include "main_utility/media/audio/AudioCodec.h"
#include "sdk_common/MyList.h"
#include "sdk_common/PubLock.h"

/// Turns sound payloads into PCM of 8000 Hz, 16 bits, mono, and back. Lives as long as the process; handles outlive
/// HLX_Cleanup. Any thread; one call runs at a time, and a codec is not closed during a call of it. Nothing throws.
/// Decoding and encoding fail with HLX_PARAMETER_ERROR for an unknown handle, a null pointer or a negative length, and
/// with HLX_AUDIO_MODE_ERROR when the codec was opened with a format that it cannot do; nothing is written then.
class CAudioCodecMan {
public:
    static CAudioCodecMan* Instance();
    ~CAudioCodecMan();
    CAudioCodecMan(const CAudioCodecMan&) = delete;
    CAudioCodecMan& operator=(const CAudioCodecMan&) = delete;

    bool Initial() { return true; }
    void Quit() {}

    /// Reads the 18 bytes of a WAVEFORMATEX, at any address; `infoLen` is not looked at. A codec handle for both
    /// directions, or -1: HLX_PARAMETER_ERROR null pointer, HLX_AUDIO_MODE_ERROR another tag than those of
    /// AUDIO_FORMAT_TAG that need a codec, HLX_ALLOC_RESOURCE_ERROR.
    POINTERHANDLE OpenAudioCodec(const void* pAudioInfo, LONG infoLen);

    /// The format of decoded sound. An unknown handle leaves the record as it is.
    void GetPCMWaveFormat(POINTERHANDLE lCodecHandle, WAVEFORMATEX* pWaveFormat);

    /// `pOut` is trusted to have room for EncodedSize or DecodedSize, and `pIn` to hold NeededInput. For bytes of a
    /// peer use the bounded forms.
    BOOL EncodeAudioFrame(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG* pOutLen);
    BOOL DecodeAudioFrame(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG* pOutLen);

    /// The same with `lOutSize` bytes of room, and `inLen` bytes of input that are all there are: a frame that would
    /// read or write more is refused with HLX_PARAMETER_ERROR, and the codec's state stays.
    BOOL EncodeBounded(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG lOutSize,
                       LONG* pOutLen);
    BOOL DecodeBounded(POINTERHANDLE lCodecHandle, const BYTE* pIn, LONG inLen, BYTE* pOut, LONG lOutSize,
                       LONG* pOutLen);

    /// False for an unknown handle, which changes nothing, the last error included.
    BOOL CloseAudioCodec(POINTERHANDLE lCodecHandle);

    /// Bytes that decoding a frame reads whatever its length is told as: 840 with ADPCM, else 0; -1 for an unknown
    /// handle.
    LONG NeededInput(POINTERHANDLE lCodecHandle);

    /// Bytes that decoding or encoding `inLen` bytes makes; -1 for an unknown handle or a negative length. No error
    /// number is set.
    LONG DecodedSize(POINTERHANDLE lCodecHandle, LONG inLen);
    LONG EncodedSize(POINTERHANDLE lCodecHandle, LONG inLen);

private:
    struct _audio_codec_info {
        POINTERHANDLE lCodecHandle;  // address of the codec
        CAudioCodec* pAudioCodec;    // owned
    };
    using CODEC_LIST = CMyList<_audio_codec_info>;

    enum class DIRECTION { ENCODE, DECODE };
    struct FRAME {
        const BYTE* pIn;
        LONG inLen;
        BYTE* pOut;
        LONG* pOutLen;
        LONG lOutSize;  // NO_BOUND: the buffers are trusted
    };
    static constexpr LONG NO_BOUND = -1;

    CAudioCodecMan() = default;
    CODEC_LIST::POS Find(POINTERHANDLE lCodecHandle);  // m_audioCodecLock held
    CAudioCodec* Codec(POINTERHANDLE lCodecHandle);    // m_audioCodecLock held; null for an unknown handle
    BOOL Convert(DIRECTION direction, POINTERHANDLE lCodecHandle, const FRAME& frame);

    CPUB_Lock m_audioCodecLock;  // held through a whole frame
    CODEC_LIST m_listAudioCodec;
};

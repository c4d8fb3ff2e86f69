// Codecs as tests use them.
#pragma once

#include "main_utility/media/AudioCodecMan.h"
#include "sdk_common/ThreadState.h"
#include "support/Test.h"

using CODE_BYTES = std::vector<BYTE>;
using SAMPLES = std::vector<short>;

/// A codec of the manager. Buffers are of just the size that the interface asks for, so that sanitizers see every step
/// outside.
class CTestCodec {
public:
    explicit CTestCodec(WORD wTag, WORD wBits = 0) {
        const WAVEFORMATEX format{wTag, 1, 8000, 8000, 1, wBits, 0};
        m_handle = m_man.OpenAudioCodec(&format, sizeof(format));
        CThreadState::Instance()->SetLastError(HLX_SUCCESS);
    }
    ~CTestCodec() { m_man.CloseAudioCodec(m_handle); }

    SAMPLES Decode(const CODE_BYTES& codes) {
        SAMPLES pcm(static_cast<size_t>(m_man.DecodedSize(m_handle, LONG(codes.size())) / 2));
        pcm.reserve(1);  // there is an address even for no samples
        LONG lOutLen = -1;
        EXPECT_TRUE(m_man.DecodeAudioFrame(m_handle, codes.data(), LONG(codes.size()), Bytes(pcm), &lOutLen));
        EXPECT_EQ(lOutLen, LONG(pcm.size() * 2));
        return pcm;
    }
    CODE_BYTES Encode(const SAMPLES& pcm) {
        return Encode(reinterpret_cast<const BYTE*>(pcm.data()), LONG(pcm.size() * 2));
    }
    CODE_BYTES Encode(const BYTE* pPcm, LONG lBytes) {
        CODE_BYTES codes(static_cast<size_t>(m_man.EncodedSize(m_handle, lBytes)));
        codes.reserve(1);
        LONG lOutLen = -1;
        EXPECT_TRUE(m_man.EncodeAudioFrame(m_handle, pPcm, lBytes, codes.data(), &lOutLen));
        EXPECT_EQ(lOutLen, LONG(codes.size()));
        return codes;
    }
    static BYTE* Bytes(SAMPLES& pcm) { return reinterpret_cast<BYTE*>(pcm.data()); }

    CAudioCodecMan& m_man = *CAudioCodecMan::Instance();
    POINTERHANDLE m_handle;
};

inline DWORD LastNumber() { return CThreadState::Instance()->GetLastError(); }

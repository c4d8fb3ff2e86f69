// AES-128 for command data.
#pragma once

#include <vector>

#include "protocol/WireTypes.h"

/// Encrypts block by block (ECB), the key given as 32 hexadecimal digits. Keys come from each session; none is kept.
class CDataEncryption {
public:
    static constexpr int BLOCK_SIZE = 16;  // bytes

    /// Pads `len` bytes with zeros to a multiple of 16 and encrypts them to `out`, which has room for `outLen` bytes;
    /// `outLen` becomes the bytes written. False for wrong arguments, a wrong key or too little room.
    static bool EncryptCmdData(const void* in, int len, const char* key, void* out, int& outLen);

    /// Undoes it; the padding stays. `len` is a multiple of 16 above 0.
    static bool DecryptCmdData(const void* in, int len, const char* key, void* out, int& outLen);

    /// Encrypts `len` bytes, a multiple of 16 above 0, to `out` with as much room (`outLen` as above). `crc` becomes
    /// the CRC-32 of the plain bytes.
    static bool EncryptDataWithKey(const void* data, int len, const char* hexKey, void* out, int& outLen, tuint32& crc);

    /// Undoes it. False too, with nothing written, if the plain bytes do not have that CRC-32.
    static bool DecryptDataWithKey(const void* data, int len, tuint32 crc, const char* hexKey, void* out);

    /// The bytes of `in`, followed by zeros up to a multiple of 16 (the spelling is the interface's).
    static std::vector<unsigned char> ResizeBufToMuitiple(const void* in, int len);
};

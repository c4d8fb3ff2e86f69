#include "sdk_common/DataEncryption.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "sdk_common/Digest.h"

namespace {

constexpr int KEY_SIZE = 16;  // bytes

struct FreeContext {
    void operator()(EVP_CIPHER_CTX* pContext) const { EVP_CIPHER_CTX_free(pContext); }
};

/// A key in the clear; leaves no copy in memory.
struct KEY {
    explicit KEY(const char* pHexKey) {
        const size_t length = pHexKey ? strnlen(pHexKey, KEY_SIZE * 2 + 1) : 0;
        bGood = length == KEY_SIZE * 2 && HexToBin(pHexKey, KEY_SIZE * 2, bytes, KEY_SIZE) == KEY_SIZE;
    }
    ~KEY() { OPENSSL_cleanse(bytes, sizeof(bytes)); }
    KEY(const KEY&) = delete;
    KEY& operator=(const KEY&) = delete;

    unsigned char bytes[KEY_SIZE] = {};
    bool bGood = false;
};

bool IsWholeBlocks(const void* in, int len) { return in && len > 0 && len % CDataEncryption::BLOCK_SIZE == 0; }

bool RunCipher(const void* in, int len, const char* pHexKey, void* out, bool bEncrypt) {
    const KEY key(pHexKey);
    const std::unique_ptr<EVP_CIPHER_CTX, FreeContext> context(EVP_CIPHER_CTX_new());
    if (!key.bGood || !context) return false;
    int written = 0;
    int last = 0;
    auto* pOut = static_cast<unsigned char*>(out);
    return EVP_CipherInit_ex(context.get(), EVP_aes_128_ecb(), nullptr, key.bytes, nullptr, bEncrypt) == 1 &&
           EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
           EVP_CipherUpdate(context.get(), pOut, &written, static_cast<const unsigned char*>(in), len) == 1 &&
           EVP_CipherFinal_ex(context.get(), pOut + written, &last) == 1 && written + last == len;
}

}  // namespace

std::vector<unsigned char> CDataEncryption::ResizeBufToMuitiple(const void* in, int len) {
    const auto length = static_cast<size_t>(len);
    std::vector<unsigned char> padded((length + BLOCK_SIZE - 1) / BLOCK_SIZE * BLOCK_SIZE);
    std::memcpy(padded.data(), in, length);
    return padded;
}

bool CDataEncryption::EncryptCmdData(const void* in, int len, const char* key, void* out, int& outLen) try {
    if (!in || len <= 0 || len > INT_MAX - BLOCK_SIZE) return false;
    const auto padded = ResizeBufToMuitiple(in, len);
    tuint32 crc = 0;
    return EncryptDataWithKey(padded.data(), static_cast<int>(padded.size()), key, out, outLen, crc);
} catch (const std::bad_alloc&) {
    return false;
}

bool CDataEncryption::DecryptCmdData(const void* in, int len, const char* key, void* out, int& outLen) {
    if (!IsWholeBlocks(in, len) || !out || outLen < len || !RunCipher(in, len, key, out, false)) return false;
    outLen = len;
    return true;
}

bool CDataEncryption::EncryptDataWithKey(const void* data, int len, const char* hexKey, void* out, int& outLen,
                                         tuint32& crc) {
    if (!IsWholeBlocks(data, len) || !out || outLen < len) return false;
    crc = GetCRC32(0, data, len);
    if (!RunCipher(data, len, hexKey, out, true)) return false;
    outLen = len;
    return true;
}

bool CDataEncryption::DecryptDataWithKey(const void* data, int len, tuint32 crc, const char* hexKey, void* out) try {
    if (!IsWholeBlocks(data, len) || !out) return false;
    std::vector<unsigned char> plain(static_cast<size_t>(len));
    if (!RunCipher(data, len, hexKey, plain.data(), false) || GetCRC32(0, plain.data(), len) != crc) return false;
    std::memcpy(out, plain.data(), plain.size());
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

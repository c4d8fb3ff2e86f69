#include "sdk_common/Digest.h"

#include <openssl/evp.h>

#include <array>

namespace {

constexpr char UPPER_DIGITS[] = "0123456789ABCDEF";
constexpr char LOWER_DIGITS[] = "0123456789abcdef";

constexpr std::array<tuint32, 256> CRC_TABLE = [] {
    std::array<tuint32, 256> table{};
    for (tuint32 byte = 0; byte < 256; ++byte) {
        tuint32 value = byte;
        for (int bit = 0; bit < 8; ++bit) value = value & 1 ? value >> 1 ^ 0xEDB88320U : value >> 1;
        table[byte] = value;
    }
    return table;
}();

void PrintHex(const unsigned char* pBytes, size_t length, const char* pDigits, char* pOut) {
    for (size_t index = 0; index < length; ++index) {
        *pOut++ = pDigits[pBytes[index] >> 4];
        *pOut++ = pDigits[pBytes[index] & 15];
    }
    *pOut = '\0';
}

bool DigestText(const EVP_MD* pKind, const void* data, int len, const char* pDigits, char* out) {
    if (!out) return false;
    *out = '\0';
    if (len < 0 || (!data && len > 0)) return false;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (EVP_Digest(data, static_cast<size_t>(len), digest, &size, pKind, nullptr) != 1) return false;
    PrintHex(digest, size, pDigits, out);
    return true;
}

/// The value of a hexadecimal digit, or -1.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

}  // namespace

bool PUB_MD5Encrypt(const void* data, int len, char* out, bool bUpper) {
    return DigestText(EVP_md5(), data, len, bUpper ? UPPER_DIGITS : LOWER_DIGITS, out);
}

bool PUB_SHA1Encrypt(const void* data, int len, char* out) {
    return DigestText(EVP_sha1(), data, len, UPPER_DIGITS, out);
}

tuint32 GetCRC32(tuint32 seed, const void* data, int len) {
    const auto* pBytes = static_cast<const unsigned char*>(data);
    tuint32 value = ~seed;
    for (int index = 0; pBytes && index < len; ++index) value = CRC_TABLE[(value ^ pBytes[index]) & 255] ^ value >> 8;
    return ~value;
}

int HexToBin(const char* pHex, int length, void* pOut, int room) {
    if (!pHex || !pOut || length < 0 || length % 2 != 0 || length / 2 > room) return -1;
    auto* pBytes = static_cast<unsigned char*>(pOut);
    for (int index = 0; index < length; index += 2) {
        const int high = DigitValue(pHex[index]);
        const int low = DigitValue(pHex[index + 1]);
        if (high < 0 || low < 0) return -1;
        *pBytes++ = static_cast<unsigned char>(high << 4 | low);
    }
    return length / 2;
}

int BinToHex(const void* pIn, int length, char* pOut, int room) {
    if (!pIn || !pOut || length < 0 || room <= 0 || length > (room - 1) / 2) return -1;
    PrintHex(static_cast<const unsigned char*>(pIn), static_cast<size_t>(length), UPPER_DIGITS, pOut);
    return length * 2;
}

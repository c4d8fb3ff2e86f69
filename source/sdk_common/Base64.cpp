#include "sdk_common/Base64.h"

#include <openssl/evp.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace {

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char LINE_BREAK[] = "\r\n";
constexpr int MAX_SOURCE = INT_MAX / 8;  // bytes whose text, broken after each character too, stays countable

std::string WithoutSpace(std::string_view text) {
    std::string packed;
    std::copy_if(text.begin(), text.end(), std::back_inserter(packed),
                 [](char character) { return !std::strchr(" \t\r\n", character) || character == '\0'; });
    return packed;
}

/// How many = stand at the end; -1 if the text is no Base64.
int Padding(const std::string& text) {
    const size_t length = std::min(text.find_first_not_of(ALPHABET), text.size());
    const size_t padding = text.size() - length;
    const bool bPadded = padding <= 2 && text.find_first_not_of('=', length) == std::string::npos;
    return bPadded && text.size() % 4 == 0 ? static_cast<int>(padding) : -1;
}

std::string WithLineBreaks(const std::string& text, size_t lineLength) {
    std::string broken;
    for (size_t start = 0; start < text.size(); start += lineLength) {
        if (start > 0) broken += LINE_BREAK;
        broken += text.substr(start, lineLength);
    }
    return broken;
}

}  // namespace

int CBase64::Encode(const void* src, int len, char* dst, int dstLen) const try {
    if (!src || !dst || len < 0 || len > MAX_SOURCE) return -1;
    std::string text((static_cast<size_t>(len) + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), static_cast<const unsigned char*>(src), len);
    if (m_lineMaxLen > 0) text = WithLineBreaks(text, static_cast<size_t>(m_lineMaxLen));
    if (static_cast<int>(text.size()) >= dstLen) return -1;
    std::memcpy(dst, text.c_str(), text.size() + 1);
    return static_cast<int>(text.size());
} catch (const std::bad_alloc&) {
    return -1;
}

int CBase64::Decode(const char* src, int len, void* dst, int dstLen) const try {
    if (!src || !dst || len < 0) return -1;
    const std::string text = WithoutSpace({src, static_cast<size_t>(len)});
    const int padding = Padding(text);
    if (padding < 0) return -1;
    std::string bytes(text.size() / 4 * 3, '\0');
    const int length = static_cast<int>(bytes.size()) - padding;
    if (length > dstLen) return -1;
    if (EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size())) < 0)
        return -1;
    std::memcpy(dst, bytes.data(), static_cast<size_t>(length));
    return length;
} catch (const std::bad_alloc&) {
    return -1;
}

// Base64 text.
#pragma once

/// Standard Base64, alphabet with + and /, padded with =.
class CBase64 {
public:
    /// Encode breaks lines (CR LF) after `length` characters; 0, as at first, or less never.
    void SetLineMaxLen(int length) { m_lineMaxLen = length > 0 ? length : 0; }

    /// Writes the text of `len` bytes and a terminator. The characters written, or -1 for wrong arguments or a text
    /// that `dstLen` bytes do not take; without line breaks ((len + 2) / 3) * 4 + 1 bytes are needed.
    int Encode(const void* src, int len, char* dst, int dstLen) const;

    /// Writes the bytes of `len` characters; white space between them counts for nothing. The bytes written, or -1 for
    /// wrong arguments, a text that is no Base64 or more bytes than `dstLen`.
    int Decode(const char* src, int len, void* dst, int dstLen) const;

private:
    int m_lineMaxLen = 0;
};

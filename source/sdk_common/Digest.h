// Digests, checksums and hexadecimal text.
#pragma once

#include "protocol/WireTypes.h"

/// Bytes of the texts below with their terminators.
constexpr int MD5_TEXT_SIZE = 33;
constexpr int SHA1_TEXT_SIZE = 41;

/// The MD5 of `len` bytes as 32 hexadecimal digits and a terminator to `out`; capital letters unless `bUpper` is
/// false. False, and an empty text, for null pointers, a negative length or a system that refuses the algorithm.
bool PUB_MD5Encrypt(const void* data, int len, char* out, bool bUpper = true);

/// The same with SHA-1: 40 digits, capital letters.
bool PUB_SHA1Encrypt(const void* data, int len, char* out);

/// CRC-32 (reflected polynomial EDB88320, inverted at both ends) of `len` bytes behind those whose value is `seed`; 0
/// begins. A null pointer or a length below 1 gives the seed.
tuint32 GetCRC32(tuint32 seed, const void* data, int len);

/// Turns `length` hexadecimal digits, capital or small, into bytes. The bytes written, or -1 for an odd length, another
/// character or more bytes than `room`.
int HexToBin(const char* pHex, int length, void* pOut, int room);

/// Prints `length` bytes as capital hexadecimal digits and a terminator. The digits written, or -1 if `room` bytes do
/// not take them.
int BinToHex(const void* pIn, int length, char* pOut, int room);

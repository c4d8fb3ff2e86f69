// Digests, checksums, hexadecimal, Base64 and AES against published vectors.
#include "sdk_common/Digest.h"

#include <climits>

#include "sdk_common/Base64.h"
#include "sdk_common/DataEncryption.h"
#include "support/Test.h"

namespace {

// The key, a plain block and its cipher block of the AES standard's example.
constexpr char KEY[] = "000102030405060708090a0b0c0d0e0f";
constexpr char PLAIN_HEX[] = "00112233445566778899AABBCCDDEEFF";
constexpr char CIPHER_HEX[] = "69C4E0D86A7B0430D8CDB78070B4C55A";

std::string Bytes(const std::string& hex) {
    std::string bytes(hex.size() / 2, '\0');
    EXPECT_EQ(HexToBin(hex.data(), static_cast<int>(hex.size()), bytes.data(), static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
    return bytes;
}

std::string Hex(const void* pBytes, int length) {
    std::string hex(static_cast<size_t>(length) * 2 + 1, '?');
    EXPECT_EQ(BinToHex(pBytes, length, hex.data(), static_cast<int>(hex.size())), length * 2);
    hex.pop_back();
    return hex;
}

TEST(Digests, PublishedVectors) {
    const std::string million(1000000, 'a');
    const std::tuple<std::string, const char*, const char*, tuint32> rows[] = {
        {"", "D41D8CD98F00B204E9800998ECF8427E", "DA39A3EE5E6B4B0D3255BFEF95601890AFD80709", 0},
        {"abc", "900150983CD24FB0D6963F7D28E17F72", "A9993E364706816ABA3E25717850C26C9CD0D89D", 0x352441C2},
        {"123456789", "25F9E794323B453885F5181F1B624D0B", "F7C3BC1D808E04732ADF679965CCC34CA7AE3441", 0xCBF43926},
        {million, "7707D6AE4E027C70EEA2A935C2296F21", "34AA973CD4C4DAA4F61EEB2BDBAD27316534016F", 0xDC25BFBC},
    };
    for (const auto& [text, pMd5, pSha1, crc] : rows) {
        const int length = static_cast<int>(text.size());
        char md5[MD5_TEXT_SIZE], sha1[SHA1_TEXT_SIZE];
        EXPECT_TRUE(PUB_MD5Encrypt(text.data(), length, md5) && PUB_SHA1Encrypt(text.data(), length, sha1));
        EXPECT_STREQ(md5, pMd5);
        EXPECT_STREQ(sha1, pSha1);
        EXPECT_EQ(GetCRC32(0, text.data(), length), crc);
        const int first = length / 3;
        EXPECT_EQ(GetCRC32(GetCRC32(0, text.data(), first), text.data() + first, length - first), crc);
    }
    char text[MD5_TEXT_SIZE] = "old";
    EXPECT_TRUE(PUB_MD5Encrypt("abc", 3, text, false));
    EXPECT_STREQ(text, "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_FALSE(PUB_MD5Encrypt(nullptr, 3, text));
    EXPECT_STREQ(text, "");
    EXPECT_FALSE(PUB_MD5Encrypt("abc", -1, text));
    EXPECT_FALSE(PUB_SHA1Encrypt("abc", 3, nullptr));
}

TEST(Hexadecimal, WrongTextAndRoomAreRefused) {
    char out[8] = {};
    EXPECT_EQ(HexToBin("aBcD09", 6, out, 3), 3);
    EXPECT_EQ(Hex(out, 3), "ABCD09");
    const std::tuple<const char*, int, int> rows[] = {{"abc", 3, 8}, {"ag", 2, 8},   {"/0", 2, 8}, {"@1", 2, 8},
                                                      {"0:", 2, 8},  {"abcd", 4, 1}, {"ab", -2, 8}};
    for (const auto& [pHex, length, room] : rows) EXPECT_EQ(HexToBin(pHex, length, out, room), -1) << pHex;
    EXPECT_EQ(BinToHex("ab", 2, out, 5), 4);
    EXPECT_EQ(BinToHex("ab", 2, out, 4), -1);
    EXPECT_EQ(BinToHex("ab", INT_MAX, out, 4), -1);
}

TEST(Base64, PublishedVectorsBothWays) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"fooba", "Zm9vYmE="}, {"\xFB\xFF\xBF", "+/+/"}};
    const CBase64 base64;
    for (const auto& [sPlain, sText] : rows) {
        const int plainLength = static_cast<int>(sPlain.size()), textLength = static_cast<int>(sText.size());
        std::string text(sText.size() + 1, '?');
        EXPECT_EQ(base64.Encode(sPlain.data(), plainLength, text.data(), textLength + 1), textLength);
        EXPECT_STREQ(text.c_str(), sText.c_str());
        EXPECT_EQ(base64.Encode(sPlain.data(), plainLength, text.data(), textLength), -1) << sText;
        std::string plain(sPlain.size() + 1, '?');
        EXPECT_EQ(base64.Decode(sText.data(), textLength, plain.data(), plainLength), plainLength);
        EXPECT_EQ(plain, sPlain + "?");
    }
    char out[16];
    for (const char* pWrong : {"Zg=", "Zg", "Z===", "=Zg=", "Zg=A", "Zm9v====", "Zm-v"})
        EXPECT_EQ(base64.Decode(pWrong, static_cast<int>(std::string(pWrong).size()), out, 16), -1) << pWrong;
    EXPECT_EQ(base64.Decode("Zm\0v", 4, out, 16), -1);
    EXPECT_EQ(base64.Decode("Zm9v", 4, out, 2), -1);
    CBase64 lines;
    lines.SetLineMaxLen(4);
    char text[32];
    EXPECT_EQ(lines.Encode("foobarfo", 8, text, 16), -1);
    EXPECT_EQ(lines.Encode("foobarfo", 8, text, sizeof(text)), 16);
    EXPECT_STREQ(text, "Zm9v\r\nYmFy\r\nZm8=");
    EXPECT_EQ(base64.Decode("Zm9v\r\n YmFy\tZm8=\n", 17, out, 8), 8);
    EXPECT_EQ(std::string(out, 8), "foobarfo");
}

TEST(DataEncryption, StandardBlockAndItsChecksum) {
    const std::string plain = Bytes(PLAIN_HEX);
    char out[16];
    int length = sizeof(out);
    tuint32 crc = 0;
    ASSERT_TRUE(CDataEncryption::EncryptDataWithKey(plain.data(), 16, KEY, out, length, crc));
    EXPECT_EQ(length, 16);
    EXPECT_EQ(Hex(out, 16), CIPHER_HEX);
    EXPECT_EQ(crc, GetCRC32(0, plain.data(), 16));
    char back[16] = {};
    EXPECT_FALSE(CDataEncryption::DecryptDataWithKey(out, 16, crc + 1, KEY, back));
    EXPECT_EQ(std::string(back, 16), std::string(16, '\0'));
    ASSERT_TRUE(CDataEncryption::DecryptDataWithKey(out, 16, crc, KEY, back));
    EXPECT_EQ(std::string(back, 16), plain);
}

TEST(DataEncryption, CommandsArePaddedToWholeBlocks) {
    for (const auto& [length, padded] : {std::pair{1, 16}, {16, 16}, {17, 32}, {1000, 1008}}) {
        const std::string plain(static_cast<size_t>(length), 'x');
        std::string cipher(static_cast<size_t>(padded), '?'), back = cipher;
        int room = padded - 1;
        EXPECT_FALSE(CDataEncryption::EncryptCmdData(plain.data(), length, KEY, cipher.data(), room));
        room = padded;
        ASSERT_TRUE(CDataEncryption::EncryptCmdData(plain.data(), length, KEY, cipher.data(), room));
        EXPECT_EQ(room, padded);
        ASSERT_TRUE(CDataEncryption::DecryptCmdData(cipher.data(), padded, KEY, back.data(), room));
        EXPECT_EQ(back, plain + std::string(static_cast<size_t>(padded - length), '\0'));
    }
}

TEST(DataEncryption, WrongKeysAndLengthsAreRefused) {
    const std::string longKey = std::string(KEY) + "00";
    char out[64] = {};
    const auto expectRefused = [&](const char* pKey, int length) {
        int room = sizeof(out);
        EXPECT_FALSE(CDataEncryption::EncryptCmdData(out, length, pKey, out, room)) << length;
        EXPECT_FALSE(CDataEncryption::DecryptCmdData(out, length, pKey, out, room)) << length;
    };
    for (const char* pKey :
         {static_cast<const char*>(nullptr), "", "00", "000102030405060708090a0b0c0d0e0g", longKey.c_str()})
        expectRefused(pKey, 16);
    for (const int length : {0, -16}) expectRefused(KEY, length);
    int room = sizeof(out);
    EXPECT_FALSE(CDataEncryption::DecryptCmdData(out, 17, KEY, out, room));
    EXPECT_FALSE(CDataEncryption::DecryptDataWithKey(out, 15, 0, KEY, out));
}

}  // namespace

#include <gtest/gtest.h>

#include <openssl/evp.h>

#include <cstdio>
#include <random>
#include <string>

#include "Md5.h"
#include "RandomBytes.h"
#include "Sha256.h"

using namespace ScObjects;

namespace {

std::string hex(const unsigned char* bytes, std::size_t size)
{
    std::string out;
    for (std::size_t i = 0; i < size; ++i) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", bytes[i]);
        out += two;
    }
    return out;
}

std::string md5(const std::string& text)
{
    Md5 digest;
    digest.update(text.data(), text.size());
    unsigned char out[Md5::kSize];
    digest.final(out);
    return hex(out, sizeof out);
}

std::string sha(const std::string& text)
{
    unsigned char out[kSha256Size];
    sha256(text.data(), text.size(), out);
    return hex(out, sizeof out);
}

// The reference: the system's crypto library.
std::string reference(const std::string& text, const EVP_MD* type)
{
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EXPECT_EQ(EVP_Digest(text.data(), text.size(), out, &size, type, nullptr), 1);
    return hex(out, size);
}

} // namespace

TEST(Digest, PublishedVectors)
{
    // RFC 1321's test suite.
    EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
        "57edf4a22be3c955ac49da2e2107b67a");
    // FIPS 180-2's examples.
    EXPECT_EQ(sha("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
        "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(sha(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Digest, EveryLengthAroundTheBlockBoundariesMatchesTheReference)
{
    // Padding differs on either side of 55/56 and 63/64 bytes: every length
    // up to three blocks, fed to MD5 in uneven pieces as the wire format does.
    std::mt19937 random(7);
    std::string text;
    for (std::size_t length = 0; length <= 200; ++length) {
        EXPECT_EQ(sha(text), reference(text, EVP_sha256())) << length;
        Md5 pieces;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t piece = std::min<std::size_t>(text.size() - at, random() % 70);
            pieces.update(text.data() + at, piece);
            at += piece;
        }
        unsigned char out[Md5::kSize];
        pieces.final(out);
        EXPECT_EQ(hex(out, sizeof out), reference(text, EVP_md5())) << length;
        text += char(random());
    }
}

TEST(Digest, RandomBytesFillTheWholeBufferDifferentlyEachTime)
{
    unsigned char first[4096] = {};
    unsigned char second[4096] = {};
    ASSERT_TRUE(randomBytes(first, sizeof first));
    ASSERT_TRUE(randomBytes(second, sizeof second));
    EXPECT_NE(std::string(reinterpret_cast<char*>(first), sizeof first),
        std::string(reinterpret_cast<char*>(second), sizeof second));
    // A buffer left partly unfilled would end in a run of zeros.
    int zeros = 0;
    for (std::size_t i = sizeof first - 64; i < sizeof first; ++i)
        zeros += first[i] == 0;
    EXPECT_LT(zeros, 8);
}

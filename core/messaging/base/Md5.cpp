#include "Md5.h"

#include <cstring>

namespace ScObjects {

namespace {

constexpr std::uint32_t kSine[64] = {0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a,
    0xa8304613, 0xfd469501, 0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e,
    0x49b40821, 0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a, 0xfffa3942,
    0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70, 0x289b7ec6, 0xeaa127fa,
    0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665, 0xf4292244, 0x432aff97, 0xab9423a7,
    0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1, 0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1,
    0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
constexpr unsigned kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

inline std::uint32_t rotate(std::uint32_t x, unsigned n)
{
    return (x << n) | (x >> (32 - n));
}

} // namespace

Md5::Md5()
    : m_state{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}
{
}

void Md5::block(const unsigned char* data)
{
    std::uint32_t word[16];
    for (int i = 0; i < 16; ++i)
        word[i] = std::uint32_t(data[4 * i]) | std::uint32_t(data[4 * i + 1]) << 8
            | std::uint32_t(data[4 * i + 2]) << 16 | std::uint32_t(data[4 * i + 3]) << 24;
    std::uint32_t a = m_state[0], b = m_state[1], c = m_state[2], d = m_state[3];
    // One loop per round, each with its own function and word order,
    // unrolled into straight code: the indexes and shifts become constants.
    auto step = [&](std::uint32_t f, unsigned i, unsigned g, unsigned shift) {
        const std::uint32_t next = b + rotate(a + f + kSine[i] + word[g], shift);
        a = d;
        d = c;
        c = b;
        b = next;
    };
#pragma GCC unroll 16
    for (unsigned i = 0; i < 16; ++i)
        step(d ^ (b & (c ^ d)), i, i, kShift[0][i % 4]);
#pragma GCC unroll 16
    for (unsigned i = 16; i < 32; ++i)
        step(c ^ (d & (b ^ c)), i, (5 * i + 1) % 16, kShift[1][i % 4]);
#pragma GCC unroll 16
    for (unsigned i = 32; i < 48; ++i)
        step(b ^ c ^ d, i, (3 * i + 5) % 16, kShift[2][i % 4]);
#pragma GCC unroll 16
    for (unsigned i = 48; i < 64; ++i)
        step(c ^ (b | ~d), i, (7 * i) % 16, kShift[3][i % 4]);
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
}

void Md5::update(const void* data, std::size_t size)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    std::size_t used = std::size_t(m_length % 64);
    m_length += size;
    if (used) {
        const std::size_t take = size < 64 - used ? size : 64 - used;
        std::memcpy(m_buffer + used, bytes, take);
        bytes += take;
        size -= take;
        if (used + take < 64)
            return;
        block(m_buffer);
    }
    for (; size >= 64; bytes += 64, size -= 64)
        block(bytes);
    std::memcpy(m_buffer, bytes, size);
}

void Md5::final(unsigned char out[kSize])
{
    const std::uint64_t bits = m_length * 8;
    static const unsigned char pad[64] = {0x80};
    const std::size_t used = std::size_t(m_length % 64);
    update(pad, used < 56 ? 56 - used : 120 - used);
    unsigned char length[8];
    for (int i = 0; i < 8; ++i)
        length[i] = static_cast<unsigned char>(bits >> (8 * i));
    update(length, 8);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j)
            out[4 * i + j] = static_cast<unsigned char>(m_state[i] >> (8 * j));
    }
}

} // namespace ScObjects

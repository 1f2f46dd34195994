#include "OriginalRawData.h"

#include <algorithm>

#include <openssl/evp.h>
#include <zlib.h>

namespace lumen {

namespace {

constexpr std::size_t kBlockSize = 65536;

void putBigEndian(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value)
{
    out[at] = std::uint8_t(value >> 24);
    out[at + 1] = std::uint8_t(value >> 16);
    out[at + 2] = std::uint8_t(value >> 8);
    out[at + 3] = std::uint8_t(value);
}

std::uint32_t getBigEndian(const std::uint8_t* p)
{
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}

} // namespace

std::vector<std::uint8_t> packOriginal(const std::uint8_t* data, std::size_t size)
{
    const std::size_t blocks = (size + kBlockSize - 1) / kBlockSize;
    std::vector<std::uint8_t> out(4 + (blocks + 1) * 4);
    putBigEndian(out, 0, std::uint32_t(size));
    for (std::size_t b = 0; b < blocks; ++b) {
        putBigEndian(out, 4 + b * 4, std::uint32_t(out.size()));
        const std::size_t length = std::min(kBlockSize, size - b * kBlockSize);
        uLongf packed = compressBound(uLong(length));
        const std::size_t at = out.size();
        out.resize(at + packed);
        compress2(out.data() + at, &packed, data + b * kBlockSize, uLong(length), Z_DEFAULT_COMPRESSION);
        out.resize(at + packed);
    }
    putBigEndian(out, 4 + blocks * 4, std::uint32_t(out.size()));
    out.insert(out.end(), 4, 0); // no resource fork
    return out;
}

bool unpackOriginal(const std::uint8_t* blob, std::size_t size, std::vector<std::uint8_t>& data)
{
    data.clear();
    if (!blob || size < 4)
        return false;
    const std::size_t length = getBigEndian(blob);
    const std::size_t blocks = (length + kBlockSize - 1) / kBlockSize;
    if ((size - 4) / 4 < blocks + 1)
        return false;
    data.resize(length);
    for (std::size_t b = 0; b < blocks; ++b) {
        const std::size_t begin = getBigEndian(blob + 4 + b * 4);
        const std::size_t end = getBigEndian(blob + 4 + (b + 1) * 4);
        if (begin > end || end > size) {
            data.clear();
            return false;
        }
        const std::size_t expected = std::min(kBlockSize, length - b * kBlockSize);
        uLongf produced = uLongf(expected);
        if (uncompress(data.data() + b * kBlockSize, &produced, blob + begin, uLong(end - begin)) != Z_OK ||
            produced != expected) {
            data.clear();
            return false;
        }
    }
    return true;
}

void md5Digest(const std::uint8_t* data, std::size_t size, std::uint8_t (&digest)[16])
{
    unsigned int length = 0;
    EVP_Digest(data, size, digest, &length, EVP_md5(), nullptr);
}

} // namespace lumen

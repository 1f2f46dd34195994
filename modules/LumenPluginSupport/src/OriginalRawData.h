// The embedded original raw file. Its packed form is the DNG one: the data
// fork as a 4-byte big-endian length, then (length + 65535) / 65536 + 1
// big-endian 4-byte offsets counted from the start of the length, then each
// 64 KiB block deflated on its own; an empty resource fork (a zero length)
// follows. A reader can thus inflate any block without the others.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumen {

std::vector<std::uint8_t> packOriginal(const std::uint8_t* data, std::size_t size);

// Restores the data fork; false when the blob is malformed or a block does
// not inflate to its expected size.
bool unpackOriginal(const std::uint8_t* blob, std::size_t size, std::vector<std::uint8_t>& data);

// MD5 of `size` bytes.
void md5Digest(const std::uint8_t* data, std::size_t size, std::uint8_t (&digest)[16]);

} // namespace lumen

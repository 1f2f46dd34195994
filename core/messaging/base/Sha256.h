// SHA-256 (FIPS 180-4), for the fixed-length stand-in of an endpoint name
// too long for a socket path. One call, whole input: that is all its user
// needs.
#pragma once

#include <cstddef>

namespace ScObjects {

constexpr std::size_t kSha256Size = 32;

void sha256(const void* data, std::size_t size, unsigned char out[kSha256Size]);

} // namespace ScObjects

// Random bytes from the kernel's generator, for identifiers and numbers
// that other processes must not guess.
#pragma once

#include <cstddef>

namespace ScObjects {

// Fills out with size random bytes; false (out unspecified) when the
// kernel's generator cannot be had.
bool randomBytes(void* out, std::size_t size);

} // namespace ScObjects

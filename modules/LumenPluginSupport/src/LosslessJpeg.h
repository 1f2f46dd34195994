// A lossless JPEG (process 14, predictor 1) encoder for DNG tiles. Debian's
// JPEG library has no lossless mode, so the raw data is encoded here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumen {

// Encodes `height` rows of `width` pixels of `components` interleaved
// samples (row-major, rows `stride` samples apart; 0 means packed rows) with
// the given precision (2 to 16 bits; every sample must be below
// 2^precision). Each
// component gets its own Huffman table, optimised for this image. Returns the
// complete JPEG stream from SOI to EOI; empty when an argument is out of range
// (zero size, more than 4 components or a size above 65535).
std::vector<std::uint8_t> encodeLosslessJpeg(const std::uint16_t* samples, unsigned width, unsigned height,
                                             unsigned components, unsigned precision, std::size_t stride = 0);

} // namespace lumen

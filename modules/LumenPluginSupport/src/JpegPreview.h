// Baseline JPEG encoding of an 8-bit RGB preview with the system's JPEG library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lumen {

// Encodes `width` x `height` RGB pixels with 2x2 chroma subsampling. False
// with a reason when the library refuses.
bool encodeJpeg(const std::vector<std::uint8_t>& rgb, std::uint32_t width, std::uint32_t height, int quality,
                std::vector<std::uint8_t>& jpeg, std::string& error);

} // namespace lumen

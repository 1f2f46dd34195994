// What a DNG is made of, independent of where it came from: the camera's
// description, the pixels and their levels, an optional preview and an
// optional embedded original.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lumen {

struct CameraInfo {
    std::string make;
    std::string model;
    std::string uniqueModel;
    std::uint16_t orientation = 1; // TIFF orientation
    std::string dateTime;          // "YYYY:MM:DD HH:MM:SS", empty when unknown
    float colorMatrix[9] = {};     // XYZ (D65) to camera, row-major
    float asShotNeutral[3] = {1, 1, 1};
};

// Borrowed pixels: `height` rows of `width` pixels, `samplesPerPixel` samples
// each, rows `stride` samples apart.
struct ImageView {
    const std::uint16_t* data = nullptr;
    std::size_t stride = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t samplesPerPixel = 1;
};

// Black and white levels. The black levels repeat over blackRows x blackCols
// pixels from the active area's origin, one value per sample per position.
struct Levels {
    std::uint16_t blackRows = 1;
    std::uint16_t blackCols = 1;
    std::vector<float> black{0.0f};
    std::uint32_t white = 65535;
};

// The colour filter array of a mosaic image. The pattern (0 red, 1 green,
// 2 blue) starts at the active area's origin; the active area is the part of
// the sensor that holds image, the rest is masked border.
struct CfaLayout {
    std::uint32_t activeTop = 0;
    std::uint32_t activeLeft = 0;
    std::uint32_t activeWidth = 0;
    std::uint32_t activeHeight = 0;
    std::uint16_t patternRows = 2;
    std::uint16_t patternCols = 2;
    std::vector<std::uint8_t> pattern;
};

struct JpegPreview {
    std::vector<std::uint8_t> jpeg;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

struct EmbeddedOriginal {
    std::string name;
    std::vector<std::uint8_t> blob; // the packed form, see OriginalRawData.h
    std::uint8_t digest[16] = {};   // MD5 of the blob
};

} // namespace lumen

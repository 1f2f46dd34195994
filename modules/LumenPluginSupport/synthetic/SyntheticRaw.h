// Raw files made at test time, so that every pixel of a conversion can be
// checked: a mosaic DNG with a chosen pattern, bit depth, size and border,
// written uncompressed with libtiff, and what LibRaw reads back from a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct SyntheticRaw {
    unsigned width = 0;  // whole sensor, borders included
    unsigned height = 0;
    unsigned top = 0;    // active area
    unsigned left = 0;
    unsigned activeWidth = 0;
    unsigned activeHeight = 0;
    std::uint8_t pattern[4] = {0, 1, 1, 2}; // 2x2, 0 red, 1 green, 2 blue
    unsigned bits = 12;
    unsigned black = 0;
    std::string make = "Corvane";
    std::string model = "Synthetic S1";
    std::uint16_t orientation = 6; // rotated: the converter must carry it over
    std::string dateTime = "2024:05:17 10:20:30";
    std::vector<std::uint16_t> pixels; // width * height
};

// Smooth gradients with noise; every value below 2^bits. `extremes` mixes in
// full-range jumps, the hardest case for the entropy coder.
SyntheticRaw makeSyntheticRaw(unsigned width, unsigned height, unsigned bits, unsigned seed, bool extremes = false);

// Writes `raw` as an uncompressed mosaic DNG, bit-packed to its depth. With
// `keep` below 1 only that part of the image data is written, as in a file
// whose image was cut short.
bool writeSyntheticDng(const SyntheticRaw& raw, const std::string& path, double keep = 1.0);

struct DecodedRaw {
    bool ok = false;
    std::string make, model;
    unsigned rawWidth = 0, rawHeight = 0, width = 0, height = 0, top = 0, left = 0;
    unsigned filters = 0;
    unsigned maximum = 0;
    std::vector<unsigned> blackAt; // the black level of each of the 2x2 pixels at the visible origin
    float camXyz[9] = {};
    int flip = 0;
    long long timestamp = 0;
    std::vector<std::uint16_t> raw; // rawWidth * rawHeight, empty for a linear file
    std::vector<std::uint16_t> rgb; // linear files: three samples per visible pixel
};

// What LibRaw unpacks from `path`.
DecodedRaw decodeWithLibRaw(const std::string& path);

// LibRaw's own linear rendering, with the converter's settings: camera colour
// space, no white balance, linear, three samples per visible pixel.
std::vector<std::uint16_t> renderLinearWithLibRaw(const std::string& path);

std::vector<std::uint8_t> readFile(const std::string& path);
bool writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes);

// Writes a DNG 1.4 file with libtiff: the sensor data in the first IFD
// (a mosaic or a linear RGB image, lossless-JPEG tiles or uncompressed
// strips), the JPEG preview in a sub-IFD, the embedded original in the
// first IFD.
#pragma once

#include <string>

#include "DngImage.h"

namespace lumen {

struct DngContent {
    CameraInfo camera;
    ImageView image;   // one sample per pixel for a mosaic, three for linear
    CfaLayout layout;  // mosaic only
    Levels levels;
    bool compressed = true;
    const JpegPreview* preview = nullptr;
    const EmbeddedOriginal* original = nullptr;
};

// Writes the DNG to the open, empty file `fd`, which stays open and is left
// positioned nowhere in particular. Tiles are encoded on all cores. False
// with a reason; the file's content is then unspecified.
bool writeDng(int fd, const DngContent& content, std::string& error);

// Side length of the square lossless-JPEG tiles.
constexpr unsigned kDngTileSize = 256;

} // namespace lumen

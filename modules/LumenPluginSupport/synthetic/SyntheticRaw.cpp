#include "SyntheticRaw.h"

#include <cstring>
#include <fstream>
#include <memory>
#include <random>

#include <libraw/libraw.h>
#include <tiffio.h>

SyntheticRaw makeSyntheticRaw(unsigned width, unsigned height, unsigned bits, unsigned seed, bool extremes)
{
    SyntheticRaw raw;
    raw.width = width;
    raw.height = height;
    raw.activeWidth = width;
    raw.activeHeight = height;
    raw.bits = bits;
    raw.pixels.resize(std::size_t(width) * height);
    std::mt19937 random(seed);
    const unsigned top = (1u << bits) - 1;
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            unsigned v = (x * 7 + y * 3 + (x & 1) * top / 5 + (y & 1) * top / 9) % (top / 2 + 1) + random() % 16;
            if (extremes && random() % 8 == 0)
                v = random() % 2 ? top : 0;
            raw.pixels[std::size_t(y) * width + x] = std::uint16_t(std::min(v, top));
        }
    return raw;
}

bool writeSyntheticDng(const SyntheticRaw& raw, const std::string& path, double keep)
{
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif)
        return false;
    static const std::uint8_t version[4] = {1, 4, 0, 0};
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, raw.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, raw.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, raw.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, 32803);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, raw.height);
    TIFFSetField(tif, TIFFTAG_MAKE, raw.make.c_str());
    TIFFSetField(tif, TIFFTAG_MODEL, raw.model.c_str());
    TIFFSetField(tif, TIFFTAG_ORIENTATION, raw.orientation);
    TIFFSetField(tif, TIFFTAG_DATETIME, raw.dateTime.c_str());
    TIFFSetField(tif, TIFFTAG_UNIQUECAMERAMODEL, (raw.make + " " + raw.model).c_str());
    TIFFSetField(tif, TIFFTAG_DNGVERSION, version);
    TIFFSetField(tif, TIFFTAG_DNGBACKWARDVERSION, version);
    const std::uint16_t dims[2] = {2, 2};
    TIFFSetField(tif, TIFFTAG_CFAREPEATPATTERNDIM, dims);
    TIFFSetField(tif, TIFFTAG_CFAPATTERN, std::uint16_t(4), raw.pattern);
    const std::uint32_t active[4] = {raw.top, raw.left, raw.top + raw.activeHeight, raw.left + raw.activeWidth};
    TIFFSetField(tif, TIFFTAG_ACTIVEAREA, active);
    const float black = float(raw.black);
    TIFFSetField(tif, TIFFTAG_BLACKLEVEL, std::uint16_t(1), &black);
    const std::uint32_t white = (1u << raw.bits) - 1;
    TIFFSetField(tif, TIFFTAG_WHITELEVEL, std::uint16_t(1), &white);
    const float matrix[9] = {0.9f, -0.3f, -0.1f, -0.4f, 1.2f, 0.2f, -0.1f, 0.2f, 0.6f};
    TIFFSetField(tif, TIFFTAG_COLORMATRIX1, std::uint16_t(9), matrix);
    TIFFSetField(tif, TIFFTAG_CALIBRATIONILLUMINANT1, std::uint16_t(21));
    const float neutral[3] = {0.5f, 1.0f, 0.7f};
    TIFFSetField(tif, TIFFTAG_ASSHOTNEUTRAL, std::uint16_t(3), neutral);

    // Rows start on a byte boundary; samples are packed most significant bit first.
    const std::size_t rowBytes = (std::size_t(raw.width) * raw.bits + 7) / 8;
    std::vector<std::uint8_t> data(rowBytes * raw.height, 0);
    for (unsigned y = 0; y < raw.height; ++y) {
        if (raw.bits == 16) {
            std::memcpy(data.data() + y * rowBytes, raw.pixels.data() + std::size_t(y) * raw.width, rowBytes);
            continue;
        }
        std::size_t bit = 0;
        for (unsigned x = 0; x < raw.width; ++x) {
            const unsigned v = raw.pixels[std::size_t(y) * raw.width + x];
            for (int b = int(raw.bits) - 1; b >= 0; --b, ++bit)
                if (v >> b & 1)
                    data[y * rowBytes + bit / 8] |= std::uint8_t(0x80 >> (bit % 8));
        }
    }
    data.resize(std::size_t(double(data.size()) * keep));
    const bool ok = TIFFWriteRawStrip(tif, 0, data.data(), tmsize_t(data.size())) == tmsize_t(data.size());
    TIFFClose(tif);
    return ok;
}

DecodedRaw decodeWithLibRaw(const std::string& path)
{
    DecodedRaw out;
    auto raw = std::make_unique<LibRaw>();
    if (raw->open_file(path.c_str()) != LIBRAW_SUCCESS || raw->unpack() != LIBRAW_SUCCESS)
        return out;
    const auto& s = raw->imgdata.sizes;
    out.make = raw->imgdata.idata.make;
    out.model = raw->imgdata.idata.model;
    out.rawWidth = s.raw_width;
    out.rawHeight = s.raw_height;
    out.width = s.width;
    out.height = s.height;
    out.top = s.top_margin;
    out.left = s.left_margin;
    out.flip = s.flip;
    out.timestamp = raw->imgdata.other.timestamp;
    out.filters = raw->imgdata.idata.filters;
    const auto& color = raw->imgdata.rawdata.color;
    for (int r = 0; r < 2; ++r)
        for (int c = 0; c < 2; ++c) {
            unsigned black = color.black + color.cblack[raw->COLOR(r, c) & 3];
            if (color.cblack[4] && color.cblack[5])
                black += color.cblack[6 + (r % color.cblack[4]) * color.cblack[5] + c % color.cblack[5]];
            out.blackAt.push_back(black);
        }
    for (int i = 0; i < 9; ++i)
        out.camXyz[i] = color.cam_xyz[i / 3][i % 3];
    out.maximum = raw->imgdata.rawdata.color.maximum;
    if (raw->imgdata.rawdata.raw_image) {
        const std::size_t pitch = s.raw_pitch / 2;
        for (unsigned y = 0; y < s.raw_height; ++y)
            out.raw.insert(out.raw.end(), raw->imgdata.rawdata.raw_image + y * pitch,
                           raw->imgdata.rawdata.raw_image + y * pitch + s.raw_width);
    } else if (raw->imgdata.rawdata.color3_image || raw->imgdata.rawdata.color4_image) {
        if (raw->raw2image() != LIBRAW_SUCCESS)
            return out;
        const std::size_t pixels = std::size_t(raw->imgdata.sizes.iwidth) * raw->imgdata.sizes.iheight;
        for (std::size_t i = 0; i < pixels; ++i)
            for (int c = 0; c < 3; ++c)
                out.rgb.push_back(raw->imgdata.image[i][c]);
    }
    out.ok = true;
    return out;
}

std::vector<std::uint16_t> renderLinearWithLibRaw(const std::string& path)
{
    std::vector<std::uint16_t> rgb;
    auto raw = std::make_unique<LibRaw>();
    auto& p = raw->imgdata.params;
    p.output_color = 0;
    p.gamm[0] = p.gamm[1] = 1.0;
    p.no_auto_bright = 1;
    for (float& m : p.user_mul)
        m = 1.0f;
    p.user_flip = 0;
    if (raw->open_file(path.c_str()) != LIBRAW_SUCCESS || raw->unpack() != LIBRAW_SUCCESS ||
        raw->dcraw_process() != LIBRAW_SUCCESS)
        return rgb;
    const std::size_t pixels = std::size_t(raw->imgdata.sizes.iwidth) * raw->imgdata.sizes.iheight;
    for (std::size_t i = 0; i < pixels; ++i)
        for (int c = 0; c < 3; ++c)
            rgb.push_back(raw->imgdata.image[i][c]);
    return rgb;
}

std::vector<std::uint8_t> readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

bool writeFile(const std::string& path, const std::vector<std::uint8_t>& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return bool(out);
}

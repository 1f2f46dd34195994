#include "DngWriter.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <mutex>
#include <thread>

#include <tiffio.h>
#include <unistd.h>

#include "LosslessJpeg.h"
#include "TiffBlob.h"

namespace lumen {

namespace {

constexpr ttag_t kTagPreviewColorSpace = 50970;
constexpr ttag_t kTagOriginalRawFileDigest = 50973;
constexpr std::uint16_t kPhotometricCfa = 32803;
constexpr std::uint16_t kPhotometricLinearRaw = 34892;
constexpr std::uint16_t kIlluminantD65 = 21;

// Tags that libtiff does not know yet.
const TIFFFieldInfo kExtraFields[] = {
    {kTagPreviewColorSpace, 1, 1, TIFF_LONG, FIELD_CUSTOM, 1, 0, const_cast<char*>("PreviewColorSpace")},
    {kTagOriginalRawFileDigest, 16, 16, TIFF_BYTE, FIELD_CUSTOM, 1, 0, const_cast<char*>("OriginalRawFileDigest")},
};

// libtiff forgets merged fields with every new directory; the extender adds
// them back each time.
TIFFExtendProc g_previousExtender = nullptr;

void extendTags(TIFF* tif)
{
    TIFFMergeFieldInfo(tif, kExtraFields, sizeof kExtraFields / sizeof kExtraFields[0]);
    if (g_previousExtender)
        g_previousExtender(tif);
}

void installTagExtender()
{
    static std::once_flag once;
    std::call_once(once, [] { g_previousExtender = TIFFSetTagExtender(extendTags); });
}

int onTiffError(TIFF*, void* user, const char* module, const char* format, va_list args)
{
    auto* message = static_cast<std::string*>(user);
    if (message->empty()) {
        char text[512];
        std::vsnprintf(text, sizeof text, format, args);
        *message = std::string("libtiff: ") + (module ? module : "") + ": " + text;
    }
    return 1;
}

int onTiffWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

struct TileGrid {
    unsigned tileWidth = 0;
    unsigned tileHeight = 0;
    unsigned across = 0;
    unsigned down = 0;
    unsigned components = 1; // JPEG components per tile
    unsigned count() const { return across * down; }
};

// A copy of one tile; pixels beyond the image repeat its last row and column.
void copyTile(const ImageView& image, const TileGrid& grid, unsigned index, std::vector<std::uint16_t>& tile)
{
    const unsigned spp = image.samplesPerPixel;
    const unsigned x0 = (index % grid.across) * grid.tileWidth;
    const unsigned y0 = (index / grid.across) * grid.tileHeight;
    tile.resize(std::size_t(grid.tileWidth) * grid.tileHeight * spp);
    for (unsigned y = 0; y < grid.tileHeight; ++y) {
        const unsigned sy = std::min(y0 + y, image.height - 1);
        const std::uint16_t* src = image.data + sy * image.stride;
        std::uint16_t* dst = tile.data() + std::size_t(y) * grid.tileWidth * spp;
        const unsigned inside = x0 < image.width ? std::min(grid.tileWidth, image.width - x0) : 0;
        std::copy(src + std::size_t(x0) * spp, src + std::size_t(x0 + inside) * spp, dst);
        for (unsigned x = inside; x < grid.tileWidth; ++x)
            std::copy(src + std::size_t(image.width - 1) * spp, src + std::size_t(image.width) * spp,
                      dst + std::size_t(x) * spp);
    }
}

// Encodes the tiles on all cores and hands each, in order, to `write`.
bool encodeTiles(const ImageView& image, const TileGrid& grid, unsigned precision,
                 const std::function<bool(unsigned, std::vector<std::uint8_t>&)>& write, std::string& error)
{
    const unsigned count = grid.count();
    std::vector<std::vector<std::uint8_t>> encoded(count);
    std::vector<char> ready(count, 0);
    std::mutex mutex;
    std::condition_variable readyChanged;
    std::atomic<unsigned> next{0};
    std::atomic<bool> failed{false};
    const unsigned jpegWidth = grid.tileWidth * image.samplesPerPixel / grid.components;

    auto work = [&] {
        std::vector<std::uint16_t> tile;
        for (unsigned i; !failed && (i = next++) < count;) {
            const unsigned x0 = (i % grid.across) * grid.tileWidth;
            const unsigned y0 = (i / grid.across) * grid.tileHeight;
            std::vector<std::uint8_t> jpeg;
            // Tiles inside the image are coded in place; only those on the
            // right and bottom edges need a padded copy.
            if (x0 + grid.tileWidth <= image.width && y0 + grid.tileHeight <= image.height) {
                jpeg = encodeLosslessJpeg(image.data + y0 * image.stride + std::size_t(x0) * image.samplesPerPixel,
                                          jpegWidth, grid.tileHeight, grid.components, precision, image.stride);
            } else {
                copyTile(image, grid, i, tile);
                jpeg = encodeLosslessJpeg(tile.data(), jpegWidth, grid.tileHeight, grid.components, precision);
            }
            if (jpeg.empty())
                failed = true;
            std::lock_guard<std::mutex> lock(mutex);
            encoded[i] = std::move(jpeg);
            ready[i] = 1;
            readyChanged.notify_all();
        }
    };
    const unsigned threads = std::max(1u, std::min(std::thread::hardware_concurrency(), count));
    std::vector<std::thread> workers;
    for (unsigned t = 0; t < threads; ++t)
        workers.emplace_back(work);

    bool ok = true;
    for (unsigned i = 0; i < count && ok; ++i) {
        std::vector<std::uint8_t> tile;
        {
            std::unique_lock<std::mutex> lock(mutex);
            readyChanged.wait(lock, [&] { return ready[i] || failed; });
            if (!ready[i] || encoded[i].empty()) {
                ok = false;
                break;
            }
            tile = std::move(encoded[i]);
        }
        ok = write(i, tile);
    }
    failed = failed || !ok;
    for (auto& worker : workers)
        worker.join();
    if (!ok && error.empty())
        error = "lossless JPEG encoding failed";
    return ok;
}

void setCameraTags(TIFF* tif, const DngContent& c)
{
    static const std::uint8_t kDngVersion[4] = {1, 4, 0, 0};
    static const std::uint8_t kDngBackwardVersion[4] = {1, 1, 0, 0};
    TIFFSetField(tif, TIFFTAG_MAKE, c.camera.make.c_str());
    TIFFSetField(tif, TIFFTAG_MODEL, c.camera.model.c_str());
    TIFFSetField(tif, TIFFTAG_UNIQUECAMERAMODEL, c.camera.uniqueModel.c_str());
    TIFFSetField(tif, TIFFTAG_ORIENTATION, c.camera.orientation);
    TIFFSetField(tif, TIFFTAG_SOFTWARE, "Tessel LumenPluginSupport");
    if (!c.camera.dateTime.empty())
        TIFFSetField(tif, TIFFTAG_DATETIME, c.camera.dateTime.c_str());
    TIFFSetField(tif, TIFFTAG_DNGVERSION, kDngVersion);
    TIFFSetField(tif, TIFFTAG_DNGBACKWARDVERSION, kDngBackwardVersion);
    TIFFSetField(tif, TIFFTAG_COLORMATRIX1, 9, c.camera.colorMatrix);
    TIFFSetField(tif, TIFFTAG_CALIBRATIONILLUMINANT1, kIlluminantD65);
    TIFFSetField(tif, TIFFTAG_ASSHOTNEUTRAL, 3, c.camera.asShotNeutral);
}

void setLevelTags(TIFF* tif, const DngContent& c)
{
    const unsigned spp = c.image.samplesPerPixel;
    const Levels& levels = c.levels;
    std::vector<float> black;
    for (float value : levels.black)
        black.insert(black.end(), spp, value);
    const std::uint16_t repeat[2] = {levels.blackRows, levels.blackCols};
    TIFFSetField(tif, TIFFTAG_BLACKLEVELREPEATDIM, repeat);
    TIFFSetField(tif, TIFFTAG_BLACKLEVEL, std::uint16_t(black.size()), black.data());
    const std::vector<std::uint32_t> white(spp, levels.white);
    TIFFSetField(tif, TIFFTAG_WHITELEVEL, std::uint16_t(spp), white.data());
}

void setMosaicTags(TIFF* tif, const DngContent& c)
{
    static const std::uint8_t kPlaneColors[3] = {0, 1, 2};
    const CfaLayout& layout = c.layout;
    const std::uint16_t repeat[2] = {layout.patternRows, layout.patternCols};
    TIFFSetField(tif, TIFFTAG_CFAREPEATPATTERNDIM, repeat);
    TIFFSetField(tif, TIFFTAG_CFAPATTERN, std::uint16_t(layout.pattern.size()), layout.pattern.data());
    TIFFSetField(tif, TIFFTAG_CFAPLANECOLOR, std::uint16_t(3), kPlaneColors);
    TIFFSetField(tif, TIFFTAG_CFALAYOUT, std::uint16_t(1));
    const std::uint32_t active[4] = {layout.activeTop, layout.activeLeft, layout.activeTop + layout.activeHeight,
                                     layout.activeLeft + layout.activeWidth};
    TIFFSetField(tif, TIFFTAG_ACTIVEAREA, active);
    const float cropOrigin[2] = {0, 0};
    const float cropSize[2] = {float(layout.activeWidth), float(layout.activeHeight)};
    TIFFSetField(tif, TIFFTAG_DEFAULTCROPORIGIN, cropOrigin);
    TIFFSetField(tif, TIFFTAG_DEFAULTCROPSIZE, cropSize);
}

bool writeUncompressed(TIFF* tif, const ImageView& image, std::string& error)
{
    const std::size_t rowSamples = std::size_t(image.width) * image.samplesPerPixel;
    const unsigned rowsPerStrip = std::max<unsigned>(1, unsigned((256 * 1024) / (rowSamples * 2)));
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    std::vector<std::uint16_t> strip;
    for (unsigned y = 0, s = 0; y < image.height; y += rowsPerStrip, ++s) {
        const unsigned rows = std::min(rowsPerStrip, image.height - y);
        strip.resize(rows * rowSamples);
        for (unsigned r = 0; r < rows; ++r)
            std::copy_n(image.data + (y + r) * image.stride, rowSamples, strip.data() + r * rowSamples);
        if (TIFFWriteEncodedStrip(tif, s, strip.data(), tmsize_t(strip.size() * 2)) < 0) {
            if (error.empty())
                error = "cannot write the image data";
            return false;
        }
    }
    return true;
}

bool writeLossless(TIFF* tif, const DngContent& c, std::string& error)
{
    const ImageView& image = c.image;
    // Sixteen bits hold any sample without a pass over the image to find the
    // largest; the precision costs nothing in the coded size.
    const unsigned precision = 16;

    TileGrid grid;
    const bool tiled = image.width >= kDngTileSize;
    if (tiled) {
        // Tiles narrower than the image: readers that wrap rows at the image
        // width would misplace the padding of a tile wider than the image.
        grid.tileWidth = grid.tileHeight = kDngTileSize;
        TIFFSetField(tif, TIFFTAG_TILEWIDTH, grid.tileWidth);
        TIFFSetField(tif, TIFFTAG_TILELENGTH, grid.tileHeight);
    } else {
        if (image.height > 65535) {
            error = "image too tall for one lossless JPEG strip";
            return false;
        }
        grid.tileWidth = image.width;
        grid.tileHeight = image.height;
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, image.height);
    }
    grid.across = (image.width + grid.tileWidth - 1) / grid.tileWidth;
    grid.down = (image.height + grid.tileHeight - 1) / grid.tileHeight;
    // A mosaic is coded as two interleaved components so that each sample
    // is predicted from its same-coloured neighbour.
    if (image.samplesPerPixel == 1)
        grid.components = grid.tileWidth % 2 == 0 ? 2 : 1;
    else
        grid.components = image.samplesPerPixel;

    return encodeTiles(
        image, grid, precision,
        [&](unsigned index, std::vector<std::uint8_t>& jpeg) {
            const tmsize_t size = tmsize_t(jpeg.size());
            return (tiled ? TIFFWriteRawTile(tif, index, jpeg.data(), size)
                          : TIFFWriteRawStrip(tif, index, jpeg.data(), size)) == size;
        },
        error);
}

bool writePreview(TIFF* tif, const JpegPreview& preview)
{
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, preview.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, preview.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_JPEG);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
    TIFFSetField(tif, TIFFTAG_YCBCRSUBSAMPLING, 2, 2);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, preview.height);
    TIFFSetField(tif, kTagPreviewColorSpace, std::uint32_t(2)); // sRGB
    const tmsize_t size = tmsize_t(preview.jpeg.size());
    return TIFFWriteRawStrip(tif, 0, const_cast<std::uint8_t*>(preview.jpeg.data()), size) == size &&
           TIFFWriteDirectory(tif);
}

} // namespace

bool writeDng(int fd, const DngContent& c, std::string& error)
{
    const ImageView& image = c.image;
    if (!image.data || image.width == 0 || image.height == 0 ||
        (image.samplesPerPixel != 1 && image.samplesPerPixel != 3)) {
        error = "no image to write";
        return false;
    }
    const int own = dup(fd);
    if (own < 0) {
        error = "cannot duplicate the output descriptor";
        return false;
    }
    std::string tiffError;
    installTagExtender();
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, onTiffError, &tiffError);
    TIFFOpenOptionsSetWarningHandlerExtR(options, onTiffWarning, nullptr);
    TIFF* tif = TIFFFdOpenExt(own, "dng", "w", options);
    TIFFOpenOptionsFree(options);
    if (!tif) {
        close(own);
        error = tiffError.empty() ? "cannot start the DNG" : tiffError;
        return false;
    }
    const bool mosaic = image.samplesPerPixel == 1;
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, image.samplesPerPixel);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, mosaic ? kPhotometricCfa : kPhotometricLinearRaw);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, c.compressed ? COMPRESSION_JPEG : COMPRESSION_NONE);
    setCameraTags(tif, c);
    setLevelTags(tif, c);
    if (mosaic)
        setMosaicTags(tif, c);
    if (c.original) {
        // A placeholder that appendTagBlob replaces once libtiff is done.
        static const std::uint8_t kPlaceholder[4] = {};
        const std::string& name = c.original->name;
        TIFFSetField(tif, TIFFTAG_ORIGINALRAWFILENAME, std::uint16_t(name.size() + 1), name.c_str());
        TIFFSetField(tif, TIFFTAG_ORIGINALRAWFILEDATA, std::uint16_t(4), kPlaceholder);
        TIFFSetField(tif, kTagOriginalRawFileDigest, c.original->digest);
    }
    if (c.preview) {
        const toff_t subIfds[1] = {0};
        TIFFSetField(tif, TIFFTAG_SUBIFD, std::uint16_t(1), subIfds);
    }

    bool ok = c.compressed ? writeLossless(tif, c, error) : writeUncompressed(tif, image, error);
    ok = ok && TIFFWriteDirectory(tif);
    if (ok && c.preview)
        ok = writePreview(tif, *c.preview);
    TIFFClose(tif);
    if (!ok) {
        if (error.empty())
            error = tiffError.empty() ? "cannot write the DNG" : tiffError;
        return false;
    }
    if (!tiffError.empty()) {
        error = tiffError;
        return false;
    }
    if (c.preview && !retypeEntry(fd, TIFFTAG_SUBIFD, TIFF_LONG, error))
        return false;
    return !c.original || appendTagBlob(fd, TIFFTAG_ORIGINALRAWFILEDATA, c.original->blob, error);
}

} // namespace lumen

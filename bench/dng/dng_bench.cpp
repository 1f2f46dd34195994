// dng_bench [runs]: converts a synthesised 24-megapixel raw to DNG, lossless
// and uncompressed, and times it against the peer in the same run: LibRaw
// unpacking the same raw and libtiff writing its pixels uncompressed. Prints
// min/median/max of each, the ratios and the output sizes, and whether the
// targets hold (lossless at most 1.5x the peer, its file at most 60% of the
// uncompressed one).
#include <algorithm>
#include <chrono>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <libraw/libraw.h>
#include <tiffio.h>
#include <unistd.h>

#include "lumen/DngConverter.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned kWidth = 6016;
constexpr unsigned kHeight = 4016;
constexpr unsigned kBits = 14;

// A mosaic DNG with smooth scenery and sensor noise, 14 bits in 16.
bool synthesise(const std::string& path)
{
    std::vector<std::uint16_t> row(kWidth);
    std::mt19937 random(42);
    std::normal_distribution<float> noise(0.0f, 6.0f);
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    if (!tif)
        return false;
    static const std::uint8_t version[4] = {1, 4, 0, 0};
    static const std::uint8_t pattern[4] = {0, 1, 1, 2};
    static const std::uint16_t dims[2] = {2, 2};
    const float black = 512;
    const std::uint32_t white = (1u << kBits) - 1;
    const float matrix[9] = {0.9f, -0.3f, -0.1f, -0.4f, 1.2f, 0.2f, -0.1f, 0.2f, 0.6f};
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, 32803);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tif, TIFFTAG_MAKE, "Corvane");
    TIFFSetField(tif, TIFFTAG_MODEL, "Bench 24");
    TIFFSetField(tif, TIFFTAG_DNGVERSION, version);
    TIFFSetField(tif, TIFFTAG_CFAREPEATPATTERNDIM, dims);
    TIFFSetField(tif, TIFFTAG_CFAPATTERN, std::uint16_t(4), pattern);
    TIFFSetField(tif, TIFFTAG_BLACKLEVEL, std::uint16_t(1), &black);
    TIFFSetField(tif, TIFFTAG_WHITELEVEL, std::uint16_t(1), &white);
    TIFFSetField(tif, TIFFTAG_COLORMATRIX1, std::uint16_t(9), matrix);
    for (unsigned y = 0; y < kHeight; ++y) {
        for (unsigned x = 0; x < kWidth; ++x) {
            const float scene = 3000.0f + 2500.0f * std::sin(x * 0.002f) * std::cos(y * 0.003f) +
                                1500.0f * ((x / 400 + y / 300) % 3) + ((x & 1) ^ (y & 1) ? 800.0f : 0.0f);
            const float v = black + scene + noise(random);
            row[x] = std::uint16_t(std::clamp(v, 0.0f, float(white)));
        }
        if (TIFFWriteScanline(tif, row.data(), y) < 0) {
            TIFFClose(tif);
            return false;
        }
    }
    TIFFClose(tif);
    return true;
}

// The peer: LibRaw's unpack, then the pixels written uncompressed by libtiff.
bool peer(const std::string& source, const std::string& target)
{
    auto raw = std::make_unique<LibRaw>();
    if (raw->open_file(source.c_str()) != LIBRAW_SUCCESS || raw->unpack() != LIBRAW_SUCCESS)
        return false;
    const auto& s = raw->imgdata.rawdata.sizes;
    TIFF* tif = TIFFOpen(target.c_str(), "w");
    if (!tif)
        return false;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, unsigned(s.raw_width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, unsigned(s.raw_height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, 32803);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
    bool ok = true;
    for (unsigned y = 0; y < s.raw_height && ok; ++y)
        ok = TIFFWriteScanline(tif, raw->imgdata.rawdata.raw_image + y * (s.raw_pitch / 2), y) >= 0;
    TIFFClose(tif);
    return ok;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

struct Series {
    const char* name;
    std::vector<double> ms;  // wall clock
    std::vector<double> cpu; // all threads of the process
    double median() const { return ::median(ms); }
    double min() const { return *std::min_element(ms.begin(), ms.end()); }
    double max() const { return *std::max_element(ms.begin(), ms.end()); }
};

double cpuMs()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    const fs::path dir = fs::temp_directory_path() / ("dng_bench." + std::to_string(::getpid()));
    fs::create_directories(dir);
    const std::string source = (dir / "source.dng").string();
    if (!synthesise(source)) {
        std::fprintf(stderr, "dng_bench: cannot write %s\n", source.c_str());
        return 1;
    }
    lumen::DngOptions lossless;
    lossless.preview = lumen::PreviewSize::None;
    lumen::DngOptions uncompressed = lossless;
    uncompressed.compressed = false;

    Series series[3] = {{"peer: LibRaw unpack + libtiff uncompressed", {}, {}},
                        {"ours: lossless", {}, {}},
                        {"ours: uncompressed", {}, {}}};
    const std::string outputs[3] = {(dir / "peer.tif").string(), (dir / "lossless.dng").string(),
                                    (dir / "uncompressed.dng").string()};
    const std::function<bool()> jobs[3] = {
        [&] { return peer(source, outputs[0]); },
        [&] { return bool(lumen::convertToDng(source, outputs[1], lossless)); },
        [&] { return bool(lumen::convertToDng(source, outputs[2], uncompressed)); },
    };
    // Interleaved, so that every contender sees the same machine.
    for (int run = 0; run < runs; ++run)
        for (int j = 0; j < 3; ++j) {
            const auto start = std::chrono::steady_clock::now();
            const double cpuStart = cpuMs();
            if (!jobs[j]()) {
                std::fprintf(stderr, "dng_bench: %s failed\n", series[j].name);
                return 1;
            }
            series[j].ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                                       .count());
            series[j].cpu.push_back(cpuMs() - cpuStart);
        }

    std::printf("%u x %u, %u-bit mosaic, %d runs (ms)\n", kWidth, kHeight, kBits, runs);
    std::printf("%-44s %9s %9s %9s %11s %12s\n", "", "min", "median", "max", "cpu median", "bytes");
    for (int j = 0; j < 3; ++j)
        std::printf("%-44s %9.1f %9.1f %9.1f %11.1f %12ju\n", series[j].name, series[j].min(), series[j].median(),
                    series[j].max(), median(series[j].cpu), std::uintmax_t(fs::file_size(outputs[j])));
    const double timeRatio = series[1].median() / series[0].median();
    const double sizeRatio = double(fs::file_size(outputs[1])) / double(fs::file_size(outputs[2]));
    std::printf("lossless / peer time (median): %.2f  (target <= 1.50: %s)\n", timeRatio,
                timeRatio <= 1.5 ? "met" : "missed");
    std::printf("lossless / peer time (min): %.2f, cpu time (median): %.2f\n", series[1].min() / series[0].min(),
                median(series[1].cpu) / median(series[0].cpu));
    std::printf("uncompressed / peer time (median): %.2f\n", series[2].median() / series[0].median());
    std::printf("lossless / uncompressed size: %.2f  (target <= 0.60: %s)\n", sizeRatio,
                sizeRatio <= 0.6 ? "met" : "missed");
    fs::remove_all(dir);
    return 0;
}

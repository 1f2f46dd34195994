#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <tiffio.h>

#include "SyntheticRaw.h"
#include "TestSupport.h"
#include "lumen/DngConverter.h"

namespace {

using lumen::DngOptions;
using lumen::PreviewSize;

DngOptions options(bool compressed, PreviewSize preview = PreviewSize::None, bool linear = false,
                   bool embed = false)
{
    DngOptions o;
    o.compressed = compressed;
    o.preview = preview;
    o.linear = linear;
    o.embedOriginal = embed;
    return o;
}

// The mosaic LibRaw reads from the DNG must be the one it reads from the
// source, pixel for pixel, borders included, with the same layout and levels.
void expectSameMosaic(const std::string& source, const std::string& dng)
{
    const DecodedRaw in = decodeWithLibRaw(source);
    const DecodedRaw out = decodeWithLibRaw(dng);
    ASSERT_TRUE(in.ok);
    ASSERT_TRUE(out.ok) << dng;
    EXPECT_EQ(out.make, in.make);
    EXPECT_EQ(out.model, in.model);
    EXPECT_EQ(out.rawWidth, in.rawWidth);
    EXPECT_EQ(out.rawHeight, in.rawHeight);
    EXPECT_EQ(out.width, in.width);
    EXPECT_EQ(out.height, in.height);
    EXPECT_EQ(out.top, in.top);
    EXPECT_EQ(out.left, in.left);
    EXPECT_EQ(out.filters, in.filters);
    EXPECT_EQ(out.blackAt, in.blackAt);
    EXPECT_EQ(out.maximum, in.maximum);
    EXPECT_EQ(out.flip, in.flip);
    EXPECT_EQ(out.timestamp, in.timestamp);
    ASSERT_EQ(out.raw.size(), in.raw.size());
    std::size_t differing = 0;
    for (std::size_t i = 0; i < in.raw.size(); ++i)
        differing += in.raw[i] != out.raw[i];
    EXPECT_EQ(differing, 0u) << "of " << in.raw.size() << " samples";
}

std::string validate(const std::string& path)
{
    return run("exiftool -validate -warning -error -a '" + path + "'");
}

struct MosaicCase {
    const char* name;
    unsigned width, height, bits;
    std::uint8_t pattern[4];
    unsigned top, left, black;
    bool extremes;
};

const MosaicCase kMosaicCases[] = {
    {"rggb 12-bit, tiles with ragged edges", 517, 389, 12, {0, 1, 1, 2}, 0, 0, 0, false},
    {"bggr 14-bit, masked border", 600, 300, 14, {2, 1, 1, 0}, 4, 6, 512, false},
    {"grbg 16-bit, full-range jumps", 300, 270, 16, {1, 0, 2, 1}, 0, 0, 0, true},
    {"gbrg 8-bit", 257, 257, 8, {1, 2, 0, 1}, 0, 0, 0, false},
    {"narrower than a tile, odd width", 101, 77, 12, {0, 1, 1, 2}, 0, 0, 0, false},
    {"narrower than a tile, even width", 130, 23, 10, {1, 0, 2, 1}, 0, 0, 0, true},
};

} // namespace

TEST(DngConverter, MosaicComesBackBitExact)
{
    ScratchFolder dir;
    int seed = 1;
    for (const MosaicCase& c : kMosaicCases) {
        for (bool compressed : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (compressed ? ", lossless" : ", uncompressed"));
            SyntheticRaw raw = makeSyntheticRaw(c.width, c.height, c.bits, seed++, c.extremes);
            std::copy(c.pattern, c.pattern + 4, raw.pattern);
            raw.top = c.top;
            raw.left = c.left;
            raw.activeWidth = c.width - 2 * c.left;
            raw.activeHeight = c.height - 2 * c.top;
            raw.black = c.black;
            const std::string source = dir / "source.dng", target = dir / "out.dng";
            ASSERT_TRUE(writeSyntheticDng(raw, source));
            const auto result = lumen::convertToDng(source, target, options(compressed));
            ASSERT_TRUE(result) << result.error;
            expectSameMosaic(source, target);
        }
    }
}

TEST(DngConverter, LinearMatchesLibRawsOwnRendering)
{
    ScratchFolder dir;
    SyntheticRaw raw = makeSyntheticRaw(310, 202, 12, 3);
    raw.top = 2;
    raw.left = 4;
    raw.activeWidth = 300;
    raw.activeHeight = 198;
    ASSERT_TRUE(writeSyntheticDng(raw, dir / "source.dng"));
    const std::vector<std::uint16_t> expected = renderLinearWithLibRaw(dir / "source.dng");
    ASSERT_EQ(expected.size(), 300u * 198u * 3u);
    for (bool compressed : {true, false}) {
        SCOPED_TRACE(compressed ? "lossless" : "uncompressed");
        const auto result =
            lumen::convertToDng(dir / "source.dng", dir / "linear.dng", options(compressed, PreviewSize::None, true));
        ASSERT_TRUE(result) << result.error;
        const DecodedRaw out = decodeWithLibRaw(dir / "linear.dng");
        ASSERT_TRUE(out.ok);
        EXPECT_EQ(out.filters, 0u);
        EXPECT_EQ(out.width, 300u);
        EXPECT_EQ(out.height, 198u);
        ASSERT_EQ(out.rgb.size(), expected.size());
        int worst = 0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            worst = std::max(worst, std::abs(int(out.rgb[i]) - int(expected[i])));
        EXPECT_LE(worst, 1);
    }
}

TEST(DngConverter, EmbeddedOriginalComesBackByteForByte)
{
    ScratchFolder dir;
    // Larger than one 64 KiB block of the packed form.
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(400, 300, 16, 11, true), dir / "source.dng"));
    const auto converted =
        lumen::convertToDng(dir / "source.dng", dir / "out.dng", options(true, PreviewSize::None, false, true));
    ASSERT_TRUE(converted) << converted.error;
    const auto extracted = lumen::extractOriginalRaw(dir / "out.dng", dir / "back.dng");
    ASSERT_TRUE(extracted) << extracted.error;
    EXPECT_EQ(readFile(dir / "back.dng"), readFile(dir / "source.dng"));

    // A DNG without one says so and writes nothing.
    ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "plain.dng", options(true)));
    EXPECT_FALSE(lumen::extractOriginalRaw(dir / "plain.dng", dir / "none.raw"));
    EXPECT_FALSE(std::filesystem::exists(dir / "none.raw"));

    // A flipped byte in the embedded data fails the digest.
    std::vector<std::uint8_t> bytes = readFile(dir / "out.dng");
    bytes[bytes.size() - 100] ^= 0x40;
    ASSERT_TRUE(writeFile(dir / "damaged.dng", bytes));
    const auto damaged = lumen::extractOriginalRaw(dir / "damaged.dng", dir / "bad.raw");
    EXPECT_FALSE(damaged);
    EXPECT_NE(damaged.error.find("digest"), std::string::npos) << damaged.error;
}

TEST(DngConverter, PreviewSitsInASubIfdAtTheAskedSize)
{
    ScratchFolder dir;
    SyntheticRaw raw = makeSyntheticRaw(2100, 1400, 12, 5);
    ASSERT_TRUE(writeSyntheticDng(raw, dir / "source.dng"));
    struct Row {
        PreviewSize size;
        unsigned width, height; // 0: no preview
    } rows[] = {{PreviewSize::None, 0, 0}, {PreviewSize::Medium, 1024, 682}, {PreviewSize::Full, 2100, 1400}};
    for (const Row& row : rows) {
        SCOPED_TRACE(int(row.size));
        ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "out.dng", options(true, row.size)));
        TIFF* tif = TIFFOpen((dir / "out.dng").c_str(), "r");
        ASSERT_NE(tif, nullptr);
        std::uint16_t count = 0;
        toff_t* offsets = nullptr;
        const bool hasSubIfd = TIFFGetField(tif, TIFFTAG_SUBIFD, &count, &offsets);
        EXPECT_EQ(hasSubIfd, row.width != 0);
        if (hasSubIfd) {
            ASSERT_EQ(count, 1);
            ASSERT_TRUE(TIFFSetSubDirectory(tif, offsets[0]));
            std::uint32_t width = 0, height = 0, type = 0;
            std::uint16_t compression = 0;
            TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
            TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
            TIFFGetField(tif, TIFFTAG_SUBFILETYPE, &type);
            TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
            EXPECT_EQ(width, row.width);
            EXPECT_EQ(height, row.height);
            EXPECT_EQ(type, unsigned(FILETYPE_REDUCEDIMAGE));
            EXPECT_EQ(compression, COMPRESSION_JPEG);
        }
        TIFFClose(tif);
    }
}

TEST(DngConverter, KeepsTheColourDescription)
{
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(64, 48, 12, 2), dir / "source.dng"));
    for (bool linear : {false, true}) {
        SCOPED_TRACE(linear ? "linear" : "mosaic");
        ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "out.dng", options(true, PreviewSize::None, linear)));
        const DecodedRaw in = decodeWithLibRaw(dir / "source.dng");
        const DecodedRaw out = decodeWithLibRaw(dir / "out.dng");
        for (int i = 0; i < 9; ++i)
            EXPECT_NEAR(out.camXyz[i], in.camXyz[i], 1e-4) << i;

        TIFF* tif = TIFFOpen((dir / "out.dng").c_str(), "r");
        ASSERT_NE(tif, nullptr);
        std::uint16_t count = 0;
        float* values = nullptr;
        ASSERT_TRUE(TIFFGetField(tif, TIFFTAG_ASSHOTNEUTRAL, &count, &values));
        ASSERT_EQ(count, 3);
        EXPECT_NEAR(values[0], 0.5f, 1e-3);
        EXPECT_NEAR(values[1], 1.0f, 1e-3);
        EXPECT_NEAR(values[2], 0.7f, 1e-3);
        char* unique = nullptr;
        ASSERT_TRUE(TIFFGetField(tif, TIFFTAG_UNIQUECAMERAMODEL, &unique));
        EXPECT_STREQ(unique, "Corvane Synthetic S1");
        TIFFClose(tif);
    }
}

TEST(DngConverter, ValidatesAndIdentifiesInEveryVariant)
{
    if (!haveProgram("exiftool") || !haveProgram("raw-identify"))
        GTEST_SKIP() << "exiftool or raw-identify is not installed";
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(700, 500, 14, 9), dir / "source.dng"));
    for (bool compressed : {true, false})
        for (bool linear : {false, true})
            for (PreviewSize preview : {PreviewSize::None, PreviewSize::Medium})
                for (bool embed : {false, true}) {
                    SCOPED_TRACE(testing::Message() << compressed << linear << int(preview) << embed);
                    const std::string out = dir / "out.dng";
                    ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", out,
                                                    options(compressed, preview, linear, embed)));
                    EXPECT_NE(validate(out).find("Validate                        : OK"), std::string::npos)
                        << validate(out);
                    EXPECT_NE(run("raw-identify '" + out + "'").find("is a Corvane Synthetic S1 image"),
                              std::string::npos);
                }
}

TEST(DngConverter, KodakSampleInEveryVariant)
{
    const std::string sample = rawSample("RAW_KODAK_DC50.KDC");
    if (sample.empty())
        GTEST_SKIP() << "the shared raw samples are not present";
    ScratchFolder dir;
    for (bool compressed : {true, false})
        for (PreviewSize preview : {PreviewSize::None, PreviewSize::Medium, PreviewSize::Full}) {
            SCOPED_TRACE(testing::Message() << compressed << int(preview));
            const auto result = lumen::convertToDng(sample, dir / "k.dng", options(compressed, preview, false, true));
            ASSERT_TRUE(result) << result.error;
            expectSameMosaic(sample, dir / "k.dng");
            ASSERT_TRUE(lumen::extractOriginalRaw(dir / "k.dng", dir / "k.kdc"));
            EXPECT_EQ(readFile(dir / "k.kdc"), readFile(sample));
            if (haveProgram("exiftool")) {
                EXPECT_NE(validate(dir / "k.dng").find(": OK"), std::string::npos) << validate(dir / "k.dng");
            }
        }
    if (haveProgram("raw-identify")) {
        EXPECT_NE(run("raw-identify '" + (dir / "k.dng") + "'").find("is a Kodak DC50 image"), std::string::npos);
    }
}

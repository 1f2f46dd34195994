#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "SyntheticRaw.h"
#include "TestSupport.h"
#include "lumen/DngConverter.h"

namespace fs = std::filesystem;

namespace {

// A failed conversion leaves the folder as it found it: an existing target
// untouched, no new file, no temporary left over.
void expectFailsCleanly(const std::string& source, const ScratchFolder& dir, const char* expectedReason = nullptr)
{
    const std::string target = dir / "out.dng";
    const std::vector<std::uint8_t> previous = {'o', 'l', 'd'};
    ASSERT_TRUE(writeFile(target, previous));
    const auto before = dir.entries();
    lumen::DngOptions options;
    options.embedOriginal = true;
    const auto result = lumen::convertToDng(source, target, options);
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.error.empty());
    if (expectedReason) {
        EXPECT_NE(result.error.find(expectedReason), std::string::npos) << result.error;
    }
    EXPECT_EQ(readFile(target), previous);
    EXPECT_EQ(dir.entries(), before);
}

} // namespace

TEST(DngFailure, StrippedAndTruncatedSamplesFailCleanly)
{
    const char* samples[] = {"stripped_CanonRaw.cr2", "stripped_FujiFilm.raf", "stripped_Nikon.nef",
                             "stripped_Panasonic.rw2", "truncated_IMG_1361.dng"};
    if (rawSample(samples[0]).empty())
        GTEST_SKIP() << "the shared raw samples are not present";
    for (const char* name : samples) {
        SCOPED_TRACE(name);
        ScratchFolder dir;
        fs::copy_file(rawSample(name), dir / name);
        expectFailsCleanly(dir / name, dir);
        EXPECT_EQ(readFile(dir / name), readFile(rawSample(name)));
    }
}

TEST(DngFailure, ShortenedSyntheticFilesAreRefused)
{
    ScratchFolder dir;
    const SyntheticRaw raw = makeSyntheticRaw(300, 200, 12, 4);
    // Image data cut at its start, half-way and a kilobyte before its end.
    for (double keep : {0.1, 0.5, 1.0 - 1024.0 / (300 * 200 * 1.5)}) {
        SCOPED_TRACE(keep);
        ASSERT_TRUE(writeSyntheticDng(raw, dir / "cut.dng", keep));
        expectFailsCleanly(dir / "cut.dng", dir);
    }
}

namespace {

std::uint32_t le32(const std::vector<std::uint8_t>& b, std::size_t at)
{
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | std::uint32_t(b[at + 3]) << 24;
}

// Points the last tile of the first IFD at `offset` (a little-endian file).
bool moveLastTile(std::vector<std::uint8_t>& file, std::uint32_t offset)
{
    const std::uint32_t ifd = le32(file, 4);
    const unsigned entries = file[ifd] | file[ifd + 1] << 8;
    for (unsigned i = 0; i < entries; ++i) {
        const std::size_t entry = ifd + 2 + 12 * i;
        if ((file[entry] | file[entry + 1] << 8) != 324) // TileOffsets
            continue;
        const std::uint32_t count = le32(file, entry + 4);
        const std::size_t last = count == 1 ? entry + 8 : le32(file, entry + 8) + 4 * (count - 1);
        for (int k = 0; k < 4; ++k)
            file[last + k] = std::uint8_t(offset >> (8 * k));
        return true;
    }
    return false;
}

// Sets the inline value of `tag` in the first IFD (a little-endian file).
bool setInlineValue(std::vector<std::uint8_t>& file, std::uint16_t tag, std::uint32_t value)
{
    const std::uint32_t ifd = le32(file, 4);
    const unsigned entries = file[ifd] | file[ifd + 1] << 8;
    for (unsigned i = 0; i < entries; ++i) {
        const std::size_t entry = ifd + 2 + 12 * i;
        if ((file[entry] | file[entry + 1] << 8) != tag)
            continue;
        const bool isShort = (file[entry + 2] | file[entry + 3] << 8) == 3;
        for (int k = 0; k < (isShort ? 2 : 4); ++k)
            file[entry + 8 + k] = std::uint8_t(value >> (8 * k));
        return true;
    }
    return false;
}

} // namespace

// Found by the fuzzer: a kilobyte that claims 6144 x 6144 pixels decoded
// "successfully" into a huge image of zeros and took half a minute.
TEST(DngFailure, TinyFileClaimingAHugeImageIsRefusedAtOnce)
{
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(24, 24, 12, 4), dir / "source.dng"));
    lumen::DngOptions options;
    options.preview = lumen::PreviewSize::None;
    ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "small.dng", options));
    std::vector<std::uint8_t> file = readFile(dir / "small.dng");
    ASSERT_TRUE(setInlineValue(file, 256, 6144)); // ImageWidth
    ASSERT_TRUE(setInlineValue(file, 257, 6144)); // ImageLength
    ASSERT_TRUE(writeFile(dir / "huge.dng", file));
    const auto start = std::chrono::steady_clock::now();
    expectFailsCleanly(dir / "huge.dng", dir, "shorter than the image");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

// LibRaw decodes a tile that lies past the end as nothing and reports
// success; the converter must not.
TEST(DngFailure, TileBeyondTheEndIsRefused)
{
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(600, 300, 12, 4), dir / "source.dng"));
    lumen::DngOptions options;
    options.preview = lumen::PreviewSize::None;
    ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "tiled.dng", options));
    std::vector<std::uint8_t> file = readFile(dir / "tiled.dng");
    ASSERT_TRUE(moveLastTile(file, std::uint32_t(file.size() + 4096)));
    ASSERT_TRUE(writeFile(dir / "tiled.dng", file));
    expectFailsCleanly(dir / "tiled.dng", dir, "shorter than the image");
}

TEST(DngFailure, NonRawInputIsRefused)
{
    ScratchFolder dir;
    struct Row {
        const char* name;
        std::vector<std::uint8_t> bytes;
    } rows[] = {
        {"empty", {}},
        {"text", {'h', 'e', 'l', 'l', 'o', '\n'}},
        {"tiff header only", {'I', 'I', 42, 0, 8, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(writeFile(dir / "input.raw", row.bytes));
        expectFailsCleanly(dir / "input.raw", dir);
    }
    expectFailsCleanly(dir / "missing.raw", dir, "cannot open");
}

TEST(DngFailure, TargetIsReplacedWholeOrNotAtAll)
{
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(64, 64, 12, 1), dir / "source.dng"));
    EXPECT_FALSE(lumen::convertToDng(dir / "source.dng", dir / "absent/out.dng", lumen::DngOptions{}));
    ASSERT_TRUE(writeFile(dir / "out.dng", {'o', 'l', 'd'}));
    ASSERT_TRUE(lumen::convertToDng(dir / "source.dng", dir / "out.dng", lumen::DngOptions{}));
    EXPECT_GT(readFile(dir / "out.dng").size(), 3u);
    EXPECT_EQ(dir.entries(), (std::vector<std::string>{"out.dng", "source.dng"}));
}

TEST(RawDngTool, ExitStatusAndMessages)
{
    ScratchFolder dir;
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(64, 64, 12, 1), dir / "source.dng"));
    ASSERT_TRUE(writeFile(dir / "junk.raw", {'x'}));
    const std::string tool = RAWDNG_PATH;
    struct Row {
        std::string arguments;
        int status;
        const char* output;
    } rows[] = {
        {"--help", 0, "Usage: rawdng"},
        {"", 2, "expected an input and an output file"},
        {"--preview huge a b", 2, "unknown preview size: huge"},
        {"--fast a b", 2, "unknown option: --fast"},
        {"a b c", 2, "too many arguments: c"},
        {"'" + (dir / "junk.raw") + "' '" + (dir / "j.dng") + "'", 1, "not a raw file"},
        {"--preview full --uncompressed --linear --embed '" + (dir / "source.dng") + "' '" + (dir / "s.dng") + "'", 0,
         ""},
        {"--extract '" + (dir / "s.dng") + "' '" + (dir / "back.dng") + "'", 0, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments);
        int status = -1;
        const std::string output = run(tool + " " + row.arguments, &status);
        EXPECT_EQ(status, row.status) << output;
        EXPECT_NE(output.find(row.output), std::string::npos) << output;
    }
    EXPECT_FALSE(fs::exists(dir / "j.dng"));
    EXPECT_EQ(readFile(dir / "back.dng"), readFile(dir / "source.dng"));
}

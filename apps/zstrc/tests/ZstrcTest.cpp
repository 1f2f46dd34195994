#include "Dictionary.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string readBytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const fs::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// Runs zstrc with args; stderr goes to `errors` when given.
int zstrc(const std::string& args, const fs::path& errors = "/dev/null")
{
    const std::string command = std::string(ZSTRC_PATH) + " " + args + " 2>" + errors.string();
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

quire::Dictionary load(const fs::path& path)
{
    quire::Dictionary d;
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(d.Read(in)) << path;
    return d;
}

std::vector<fs::path> sourceDictionaries()
{
    std::vector<fs::path> files;
    for (const auto& dir : fs::directory_iterator(fs::path(TESSEL_SOURCE_DIR) / "assets" / "locales")) {
        if (fs::exists(dir.path() / "SkiffStrings.txt"))
            files.push_back(dir.path() / "SkiffStrings.txt");
    }
    return files;
}

class Zstrc : public testing::Test {
protected:
    void SetUp() override
    {
        m_dir = fs::temp_directory_path() / ("zstrc_test_" + std::to_string(::getpid()));
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }
    fs::path m_dir;
};

} // namespace

TEST_F(Zstrc, SourceDictionariesCompileInBothByteOrdersAndAnswerAlike)
{
    const auto sources = sourceDictionaries();
    ASSERT_GE(sources.size(), 3u);
    for (const fs::path& source : sources) {
        SCOPED_TRACE(source.string());
        const fs::path big = m_dir / "big.dct";
        const fs::path little = m_dir / "little.dct";
        ASSERT_EQ(zstrc("compile --big-endian --locale xx_yy " + source.string() + " " + big.string()), 0);
        ASSERT_EQ(zstrc("compile --little-endian --locale xx_yy " + source.string() + " " + little.string()), 0);
        EXPECT_NE(readBytes(big), readBytes(little));

        quire::Dictionary text = load(source);
        const quire::Dictionary fromBig = load(big);
        const quire::Dictionary fromLittle = load(little);
        EXPECT_EQ(fromBig.Locale(), "xx_yy");
        EXPECT_GT(text.NumKeys(), 0u);
        EXPECT_EQ(fromBig.NumKeys(), text.NumKeys());
        EXPECT_EQ(fromLittle.NumKeys(), text.NumKeys());
        for (text.ReSetKeyEnumeration(); text.HasMoreKey();) {
            const std::string literal = "$$$" + text.NextKey() + "=not found";
            const std::u16string expected = text.Lookup(literal.c_str()).Text();
            EXPECT_NE(expected, u"not found") << literal;
            EXPECT_EQ(fromBig.Lookup(literal.c_str()).Text(), expected) << literal;
            EXPECT_EQ(fromLittle.Lookup(literal.c_str()).Text(), expected) << literal;
        }
    }
}

TEST_F(Zstrc, BinaryToTextToBinaryKeepsTheBytes)
{
    for (const fs::path& source : sourceDictionaries()) {
        for (const char* order : {"--big-endian", "--little-endian"}) {
            for (const char* encoding : {"--utf16le", "--utf16be", "--utf8"}) {
                SCOPED_TRACE(source.string() + " " + order + " " + encoding);
                const fs::path first = m_dir / "first.dct";
                const fs::path text = m_dir / "text.txt";
                const fs::path second = m_dir / "second.dct";
                const std::string locale = " --locale de_de ";
                ASSERT_EQ(zstrc(std::string("compile ") + order + locale + source.string() + " " + first.string()), 0);
                ASSERT_EQ(zstrc(std::string("decompile ") + encoding + " " + first.string() + " " + text.string()), 0);
                ASSERT_EQ(zstrc(std::string("compile ") + order + locale + text.string() + " " + second.string()), 0);
                EXPECT_EQ(readBytes(first), readBytes(second));
            }
        }
    }
}

TEST_F(Zstrc, CheckListsMalformedLinesByNumber)
{
    const fs::path bad = m_dir / "bad.txt";
    writeBytes(bad, "\"$$$/Good=gut\"\n$$/Two=zwei\r\n\n\"$$$/NoEquals\"\n$$$=leer\n\"$$$/Good2=gut\"\n");
    const fs::path errors = m_dir / "errors.txt";
    EXPECT_EQ(zstrc("check " + bad.string(), errors), 1);
    const std::string report = readBytes(errors);
    const std::string prefix = bad.string() + ":";
    EXPECT_NE(report.find(prefix + "2: starts with \"$\" but not with \"$$$\""), std::string::npos) << report;
    EXPECT_NE(report.find(prefix + "4: no \"=\" between key and value"), std::string::npos) << report;
    EXPECT_NE(report.find(prefix + "5: empty key"), std::string::npos) << report;
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 3) << report;

    for (const fs::path& source : sourceDictionaries())
        EXPECT_EQ(zstrc("check " + source.string()), 0) << source;
}

TEST_F(Zstrc, BadInputLeavesTheOutputAlone)
{
    const fs::path bad = m_dir / "bad.txt";
    const fs::path output = m_dir / "out.dct";
    writeBytes(bad, "$$/broken=x\n");
    writeBytes(output, "previous");
    EXPECT_EQ(zstrc("compile " + bad.string() + " " + output.string()), 1);
    EXPECT_EQ(readBytes(output), "previous");

    const fs::path corrupt = m_dir / "corrupt.dct";
    writeBytes(corrupt, std::string("ZString Binary Format\2\1\0\0", 25) + "garbage");
    EXPECT_EQ(zstrc("decompile " + corrupt.string() + " " + output.string()), 1);
    EXPECT_EQ(readBytes(output), "previous");
    EXPECT_EQ(zstrc("compile " + (m_dir / "missing.txt").string() + " " + output.string()), 2);
    EXPECT_EQ(zstrc("frobnicate"), 2);
}

TEST_F(Zstrc, DecompileWritesAValueEndingInABackslash)
{
    const fs::path source = m_dir / "paths.txt";
    writeBytes(source, "$$$/Paths/Temp=C:\\Temp\\\n\"$$$/Paths/Quoted=say \\\"hi\\\"\"\n");
    for (const char* encoding : {"--utf16le", "--utf8"}) {
        SCOPED_TRACE(encoding);
        const fs::path binary = m_dir / "paths.dct";
        const fs::path text = m_dir / "paths_back.txt";
        ASSERT_EQ(zstrc("compile " + source.string() + " " + binary.string()), 0);
        ASSERT_EQ(zstrc(std::string("decompile ") + encoding + " " + binary.string() + " " + text.string()), 0);
        EXPECT_EQ(zstrc("check " + text.string()), 0);
        const quire::Dictionary back = load(text);
        EXPECT_EQ(back.Lookup("$$$/Paths/Temp=x").Text(), u"C:\\Temp\\");
        EXPECT_EQ(back.Lookup("$$$/Paths/Quoted=x").Text(), u"say \\\"hi\\\"");
    }
}

TEST_F(Zstrc, CheckReportsInvalidUtf8AndCompileRefusesIt)
{
    const fs::path bad = m_dir / "latin1.txt";
    writeBytes(bad, "\"$$$/Good=gr\xc3\xbc\xc3\x9f" "e\"\n\"$$$/Latin1=gr\xfc\xdf" "e\"\n");
    const fs::path errors = m_dir / "errors.txt";
    EXPECT_EQ(zstrc("check " + bad.string(), errors), 1);
    const std::string report = readBytes(errors);
    EXPECT_NE(report.find(bad.string() + ":2: invalid UTF-8 at byte 15, which a read drops"), std::string::npos)
        << report;
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 1) << report;
    EXPECT_EQ(zstrc("compile " + bad.string() + " " + (m_dir / "out.dct").string()), 1);
    EXPECT_FALSE(fs::exists(m_dir / "out.dct"));
}

TEST_F(Zstrc, CheckNamesBothKeysOfAnAccessKeyClash)
{
    const fs::path text = m_dir / "clash.txt";
    writeBytes(text, "\"$$$/Dlg/LossLess=&Compress\xc3\xa9\"\n\"$$$/Dlg/Preserve=&Conserver\"\n"
                     "\"$$$/Other/Yes=&Conserver\"\n");
    const fs::path binary = m_dir / "clash.dct";
    ASSERT_EQ(zstrc("compile " + text.string() + " " + binary.string()), 0);
    for (const fs::path& file : {text, binary}) {
        const fs::path errors = m_dir / "errors.txt";
        EXPECT_EQ(zstrc("check " + file.string(), errors), 1) << file;
        EXPECT_EQ(readBytes(errors),
                  file.string() + ": access key \"C\" taken by both /Dlg/LossLess and /Dlg/Preserve\n");
    }
}

TEST_F(Zstrc, EveryShippedLocalePassesCheck)
{
    std::vector<fs::path> files = sourceDictionaries();
    // en_us has a panel form but no dictionary: its texts are the defaults.
    for (const auto& dir : fs::directory_iterator(fs::path(TESSEL_STAGE_DIR) / "shared_assets" / "locales"))
        if (fs::exists(dir.path() / "SkiffStrings.dct"))
            files.push_back(dir.path() / "SkiffStrings.dct");
    ASSERT_GE(files.size(), 6u);
    for (const fs::path& file : files) {
        const fs::path errors = m_dir / "errors.txt";
        EXPECT_EQ(zstrc("check " + file.string(), errors), 0) << file << "\n" << readBytes(errors);
    }
}

// The dictionaries of the stage tree against the ZString literals that the
// sources actually use: a literal without a translation shows up in English.
#include "Dictionary.h"
#include "basic_ifstream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace fs = std::filesystem;

namespace {

const char* const kShippedLocales[] = {"de_de", "fr_fr", "ja_jp"};

bool skippedDirectory(const fs::path& dir)
{
    const std::string name = dir.filename().string();
    // Tests and benchmarks use made-up keys on purpose; build trees and the
    // dictionary sources only repeat what they were made from.
    return name == ".git" || name.rfind("build", 0) == 0 || name == "tests" || name == "bench"
        || name == "testdata" || name == "locales" || name == "stage";
}

bool scannedFile(const fs::path& file)
{
    static const std::set<std::string> extensions = {".cpp", ".h", ".ui", ".js", ".xml", ".qml", ".sh", ".py"};
    return extensions.count(file.extension().string()) > 0;
}

// key -> default text, for every "$$$/..." literal in the repository's sources.
std::map<std::string, std::string> literalsInSources()
{
    std::map<std::string, std::string> literals;
    const std::regex literal(R"(\$\$\$(/[A-Za-z0-9_/.\-]+)=([^"<\n]*))");
    fs::recursive_directory_iterator it(TESSEL_SOURCE_DIR), end;
    for (; it != end; ++it) {
        if (it->is_directory() && skippedDirectory(it->path())) {
            it.disable_recursion_pending();
            continue;
        }
        if (!it->is_regular_file() || !scannedFile(it->path()))
            continue;
        std::ifstream in(it->path(), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(in), {});
        for (std::sregex_iterator m(text.begin(), text.end(), literal), mend; m != mend; ++m)
            literals.emplace((*m)[1].str(), (*m)[2].str());
    }
    return literals;
}

} // namespace

TEST(ShippedDictionaries, EveryLiteralInTheSourcesIsTranslated)
{
    const auto literals = literalsInSources();
    // The plug-in's own button texts must be among them, or the scan is broken.
    ASSERT_TRUE(literals.count("/PtZString/Yes")) << "scanned " << literals.size() << " literals";
    for (const char* locale : kShippedLocales) {
        SCOPED_TRACE(locale);
        const fs::path path = fs::path(TESSEL_STAGE_DIR) / "shared_assets" / "locales" / locale / "SkiffStrings.dct";
        quire::basic_ifstream in(path.c_str());
        quire::Dictionary dictionary;
        ASSERT_TRUE(dictionary.Read(in)) << path;
        std::size_t translated = 0;
        for (const auto& [key, defaultText] : literals) {
            EXPECT_TRUE(dictionary.HasKey(key.c_str())) << "no " << locale << " entry for $$$" << key;
            const std::string lookup = "$$$" + key + "=" + defaultText;
            const quire::Dictionary english;
            translated += dictionary.Lookup(lookup.c_str()).Text() != english.Lookup(lookup.c_str()).Text();
        }
        // Product names and paths stay as they are; everything else must
        // really be in the dictionary's language.
        EXPECT_GT(translated * 4, literals.size() * 3) << translated << " of " << literals.size();
    }
}

TEST(ShippedDictionaries, BothFormsAreShipped)
{
    std::set<bool> binary;
    for (const char* locale : kShippedLocales) {
        const fs::path path = fs::path(TESSEL_STAGE_DIR) / "shared_assets" / "locales" / locale / "SkiffStrings.dct";
        std::ifstream in(path, std::ios::binary);
        std::string head(21, '\0');
        in.read(head.data(), 21);
        binary.insert(head == "ZString Binary Format");
        if (head != "ZString Binary Format") {
            EXPECT_EQ(head.substr(0, 2), "\xff\xfe") << locale << " is not UTF-16 text";
        }
    }
    EXPECT_EQ(binary.size(), 2u);
}

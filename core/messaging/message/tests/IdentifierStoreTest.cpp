#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "TempHome.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;

using IdentifierStore = TempHome;

TEST_F(IdentifierStore, CreatesPrivateFileOnceAndReusesIt)
{
    const SoString first = TesselTalkUtils::getID("userid");
    // 16 bytes, each one or two upper-case hex digits.
    EXPECT_TRUE(std::regex_match(first.c_str(), std::regex("[0-9A-F]{16,32}"))) << first.c_str();
    EXPECT_EQ(TesselTalkUtils::getID("userid"), first);
    EXPECT_EQ(TesselTalkUtils::getUserID(), first);
    EXPECT_EQ(TesselTalkUtils::getSignature(), first);

    struct stat folder, file;
    ASSERT_EQ(stat((m_home + "/.corvane").c_str(), &folder), 0);
    ASSERT_EQ(stat((m_home + "/.corvane/userid").c_str(), &file), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0771u);
    EXPECT_EQ(file.st_mode & 0777, 0600u);
    std::ifstream in(m_home + "/.corvane/userid");
    std::stringstream content;
    content << in.rdbuf();
    EXPECT_EQ(content.str(), first.c_str());
    EXPECT_NE(TesselTalkUtils::getID("other"), first);
}

TEST_F(IdentifierStore, ExistingFileIsTheIdentifierAsItIs)
{
    storeIdentifier("userid", "given id\n");
    EXPECT_EQ(TesselTalkUtils::getID("userid"), "given id\n");
}

TEST_F(IdentifierStore, KeyFileOver4096BytesIsReadWhole)
{
    // The digest key is the first 40 bytes of the file, whatever its size.
    std::string key;
    for (int i = 0; key.size() < 40; ++i)
        key += std::to_string(i);
    key.resize(40);
    const std::string text = "signed text";
    storeIdentifier("md5", key);
    const SoString shortFileDigest = TesselTalkUtils::getMD5(text.c_str(), long(text.size()));
    ASSERT_FALSE(shortFileDigest.isEmpty());

    for (const std::size_t size : {4095u, 4096u, 4097u, 100000u}) {
        std::string content = key;
        content.resize(size, 'k');
        storeIdentifier("md5", content);
        storeIdentifier("big", content);
        // A new HOME value reloads the cached key.
        setenv("HOME", (m_home + std::string(size % 7 + 1, '/')).c_str(), 1);
        EXPECT_EQ(TesselTalkUtils::getID("big").length(), long(size));
        EXPECT_EQ(TesselTalkUtils::getDigestKey(), key.c_str()) << size;
        EXPECT_EQ(TesselTalkUtils::getMD5(text.c_str(), long(text.size())), shortFileDigest) << size;
    }
}

TEST_F(IdentifierStore, UnusableNamesAndHomesGiveEmpty)
{
    EXPECT_TRUE(TesselTalkUtils::getID("../escape").isEmpty());
    EXPECT_TRUE(TesselTalkUtils::getID("").isEmpty());
    EXPECT_TRUE(TesselTalkUtils::getID(nullptr).isEmpty());
    unsetenv("HOME");
    EXPECT_TRUE(TesselTalkUtils::getID("userid").isEmpty());
    EXPECT_TRUE(TesselTalkUtils::getDigestKey().isEmpty());
    setenv("HOME", (m_home + "/missing/deeper").c_str(), 1);
    EXPECT_TRUE(TesselTalkUtils::getID("userid").isEmpty());
}

TEST_F(IdentifierStore, DigestPrintsBytesWithoutZeroPadding)
{
    // Expected values from an independent MD5; each digest has bytes below 0x10.
    struct Row { const char* key; const char* text; const char* digest; };
    const Row rows[] = {
        {"K3Y", "hello", "EA48F9DA18FDBFCDCFD74D4BA726487"},  // ..04.. prints as 4
        {"K3Y", "", "93EFFBA59713717E343F832F6955E4D"},       // leading 09 prints as 9
        {"0A1B", "x", "8218E2A0E01515CA8D98694E98FEAE"},      // 0a 0e at the end
        {"abc", "abc", "D41143C2622EDEF38B751E10364AC4B0"},
    };
    int n = 0;
    for (const Row& row : rows) {
        // The key is kept per HOME, so each row gets a home of its own.
        const std::string home = m_home + "/" + std::to_string(n++);
        std::filesystem::create_directories(home + "/.corvane");
        std::ofstream(home + "/.corvane/md5") << row.key;
        setenv("HOME", home.c_str(), 1);
        EXPECT_EQ(TesselTalkUtils::getMD5(row.text, long(strlen(row.text))), row.digest) << row.key;
    }
}

TEST_F(IdentifierStore, DigestWithoutHomeUsesNoKey)
{
    unsetenv("HOME");
    EXPECT_EQ(TesselTalkUtils::getMD5("", 0), "25FBBEEAB6BBC745EF65576317FBF6D");
}

TEST(TesselTalkUtils, LocaleComesFromTheEnvironment)
{
    struct Row { const char* lcAll; const char* lang; const char* locale; };
    const Row rows[] = {
        {"", "de_DE.UTF-8", "de_de"},
        {"fr_CA@euro", "de_DE", "fr_ca"},
        {"", "C", "en_us"},
        {"", "", "en_us"},
        {"POSIX", "", "en_us"},
    };
    unsetenv("LC_MESSAGES");
    for (const Row& row : rows) {
        setenv("LC_ALL", row.lcAll, 1);
        setenv("LANG", row.lang, 1);
        EXPECT_EQ(TesselTalkUtils::getCurrentLocale(), row.locale) << row.lcAll << " " << row.lang;
    }
}

TEST(TesselTalkUtils, SenderIdAndClocks)
{
    EXPECT_EQ(TesselTalkUtils::getSenderID(), ("localhost:mac" + std::to_string(getpid())).c_str());
    const double ms = TesselTalkUtils::getUTCTimeMilliSeconds();
    const double s = double(TesselTalkUtils::getTimeSeconds());
    EXPECT_NEAR(ms / 1000.0, s, 2.0);
}

#include <gtest/gtest.h>

#include <string>

#include "FakeRegistry.h"
#include "Specifier.h"

using ScObjects::SoString;
using ScObjects::TesselTalk::Specifier;

TEST(Specifier, PartsCatalogue)
{
    struct Row { const char* text; const char* app; const char* inst; const char* ver; const char* loc; const char* suf; };
    const Row rows[] = {
        {"tessel_2-4.0-en_us#main", "tessel", "2", "4.0", "en_us", "main"},
        {"tessel-en_us", "tessel", "", "", "en_us", ""},
        {"tessel-4", "tessel", "", "4", "", ""},
        {"Tessel", "tessel", "", "", "", ""},
        {"tessel#ping", "tessel", "", "", "", "ping"},
        {"tessel_7#main", "tessel", "7", "", "", "main"},
        {"tessel-4.0#a-b_c", "tessel", "", "4.0", "", "a-b_c"},     // suffix text is the suffix's alone
        {"tessel#x-3", "tessel", "", "", "", "x-3"},
        {"tessel-photo", "tessel", "", "", "photo", ""},            // a group name is no version
        {"tessel_2-en_us", "tessel", "2", "", "en_us", ""},
        {"tessel-", "tessel", "", "", "", ""},
        {"_x", "", "x", "", "", ""},
        {"", "", "", "", "", ""},
        {"#", "", "", "", "", ""},
        {"a-4-", "a", "", "4", "", ""},
    };
    for (const Row& row : rows) {
        const Specifier s(row.text, false);
        EXPECT_EQ(s.appName(), row.app) << row.text;
        EXPECT_EQ(s.instance(), row.inst) << row.text;
        EXPECT_EQ(s.version(), row.ver) << row.text;
        EXPECT_EQ(s.locale(), row.loc) << row.text;
        EXPECT_EQ(s.suffix(), row.suf) << row.text;
    }
}

TEST(Specifier, LengthLimitAndLowerCase)
{
    EXPECT_TRUE(Specifier(std::string(256, 'a').c_str(), false).isEmpty());
    EXPECT_TRUE(Specifier(std::string(256, 'a').c_str(), true).isEmpty());
    EXPECT_EQ(Specifier(std::string(255, 'A').c_str(), false).length(), 255);
    EXPECT_TRUE(Specifier(nullptr, true).isEmpty());
    EXPECT_EQ(Specifier("Tessel", false), "tessel");
    EXPECT_EQ(Specifier("Tessel", true), "tessel") << "no registry: completion keeps the text";
    EXPECT_EQ(Specifier("TESSEL-4.0-EN_US#Main", true), "tessel-4.0-en_us#main");
}

TEST(Specifier, SettersRebuildCanonically)
{
    Specifier s("tessel-4.0-en_us#main", false);
    EXPECT_TRUE(s.setInstance("3"));
    EXPECT_EQ(s, "tessel_3-4.0-en_us#main");
    EXPECT_TRUE(s.setSuffix(""));
    EXPECT_EQ(s, "tessel_3-4.0-en_us");
    EXPECT_TRUE(s.setAppName("Folio"));
    EXPECT_EQ(s, "folio_3-4.0-en_us");
    EXPECT_TRUE(s.setInstance(""));
    EXPECT_TRUE(s.setSuffix("Ping"));
    EXPECT_EQ(s, "folio-4.0-en_us#ping");
    EXPECT_FALSE(s.setVersion("5.0")) << "nothing registered";
    EXPECT_FALSE(s.setLocale("de_de"));
    EXPECT_EQ(s, "folio-4.0-en_us#ping");
    EXPECT_FALSE(s.isInstalled());
    EXPECT_FALSE(s.isRunning());
    EXPECT_EQ(s.preferred("suite", "x"), s) << "without a registry the specifier prefers itself";
}

using SpecifierSetters = WithRegistry;

TEST_F(SpecifierSetters, VersionAndLocaleOnlyToRegisteredApplications)
{
    registry.entries = {"name-3.0-de_de", "name-3.5-de_de", "name-3.5-fr_fr"};
    Specifier s("name-3.0-de_de#x", false);
    EXPECT_TRUE(s.setVersion("3.50"));
    EXPECT_EQ(s, "name-3.50-de_de#x");
    EXPECT_FALSE(s.setVersion("4"));
    EXPECT_EQ(s, "name-3.50-de_de#x");
    EXPECT_TRUE(s.setLocale("FR_FR"));
    EXPECT_EQ(s, "name-3.50-fr_fr#x");
    EXPECT_FALSE(s.setVersion("3.0")) << "3.0 exists only in de_de";
    EXPECT_FALSE(s.setLocale("en_us"));

    Specifier g("name_2#x", false);
    EXPECT_TRUE(g.setGroup("3"));
    EXPECT_EQ(g, "name-3.5-de_de") << "group text completes like a version";
}

TEST_F(SpecifierSetters, RegistryForwarding)
{
    registry.paths["tessel-4.0"] = "/opt/tessel/tessel";
    registry.self = "skiff-4.0";
    registry.preferredAnswer = "tessel-4.0";
    const Specifier installed("tessel-4.0", false);
    EXPECT_TRUE(installed.isInstalled());
    EXPECT_EQ(installed.getApplicationPath(), "/opt/tessel/tessel");
    EXPECT_FALSE(Specifier("tessel-3.0", false).isInstalled());
    EXPECT_EQ(installed.preferred("suite", "tessel"), "tessel-4.0");
    EXPECT_EQ(installed.preferred("none", "tessel"), "tessel") << "no answer falls back to the default";
    SoString group;
    EXPECT_TRUE(Specifier("skiff-4.0", false).group(&group));
    EXPECT_EQ(group, "suite");
    EXPECT_TRUE(Specifier("new-1.0", false).registerApplication("/p", "New", false));
    EXPECT_EQ(registry.entries.back(), "new-1.0");
}

#include <gtest/gtest.h>

#include "FakeRegistry.h"
#include "Specifier.h"

using ScObjects::TesselTalk::Specifier;

using SpecifierCompletion = WithRegistry;

TEST_F(SpecifierCompletion, PicksTheVersionWithinTheAskedRange)
{
    registry.entries = {"name-3.0", "name-3.5", "name-4.0", "other-9.0"};
    struct Row { const char* text; const char* completed; };
    const Row rows[] = {
        {"name-3", "name-3.5"},
        {"name", "name-4.0"},
        {"Name", "name-4.0"},
        {"name-3.0", "name-3.0"},
        {"name-3.00", "name-3.0"},           // exact versions compare as numbers
        {"name-4", "name-4.0"},
        {"name-5", "name-5"},                // nothing in range: as given
        {"name-3.7", "name-3.7"},
        {"name_2", "name_2-4.0"},            // the instance is put back
        {"name#ping", "name-4.0#ping"},      // and the suffix
        {"name_2-3#main", "name_2-3.5#main"},
        {"name-en_us", "name-en_us"},        // a locale stops the version search
        {"unknown", "unknown"},
        {"", ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Specifier(row.text, true), row.completed) << row.text;
    EXPECT_TRUE(registry.probed.size() > 0) << "a bare name asks whether a registered version runs";
}

TEST_F(SpecifierCompletion, CurrentLocaleAgainstOtherLocales)
{
    struct Row { std::vector<std::string> entries; const char* text; const char* completed; };
    const Row rows[] = {
        // A current-locale 3.0 loses against an other-locale 3.5.
        {{"name-3.0-de_de", "name-3.5-fr_fr"}, "name-3", "name-3.5-fr_fr"},
        {{"name-3.5-fr_fr", "name-3.0-de_de"}, "name", "name-3.5-fr_fr"},
        // Same version: the current locale wins.
        {{"name-3.5-fr_fr", "name-3.5-de_de"}, "name-3", "name-3.5-de_de"},
        {{"name-3.5-de_de", "name-3.5-fr_fr"}, "name-3", "name-3.5-de_de"},
        // An exact version takes the first current-locale (or locale-free) entry at once...
        {{"name-3.0-fr_fr", "name-3.0-de_de", "name-3.0"}, "name-3.0", "name-3.0-de_de"},
        {{"name-3.0-fr_fr", "name-3.0", "name-3.0-de_de"}, "name-3.0", "name-3.0"},
        // ...and otherwise the last other-locale one.
        {{"name-3.0-fr_fr", "name-3.0-it_it"}, "name-3.0", "name-3.0-it_it"},
        // Later candidates of equal version replace earlier ones.
        {{"name-3.5-fr_fr", "name-3.5-it_it", "name-3.0-de_de"}, "name-3", "name-3.5-it_it"},
    };
    for (const Row& row : rows) {
        registry.entries = row.entries;
        EXPECT_EQ(Specifier(row.text, true), row.completed) << row.text << " with " << row.entries.front();
    }
}

TEST_F(SpecifierCompletion, RunningRegisteredApplicationWinsForABareName)
{
    registry.entries = {"name-3.0", "name-3.5", "name-4.0"};
    registry.running = {"name_2-3.5#main"};
    EXPECT_EQ(Specifier("name_2#main", true), "name_2-3.5#main");
    EXPECT_EQ(registry.probed, (std::vector<std::string>{"name_2-3.0#main", "name_2-3.5#main"}))
        << "entries are probed in registry order with the caller's instance and suffix";
    EXPECT_EQ(Specifier("name", true), "name-4.0") << "nothing running: the version search decides";
}

TEST_F(SpecifierCompletion, SharedContextPrefersItsGroupMember)
{
    registry.entries = {"name-3.0", "name-4.0"};
    registry.self = "skiff-4.0";
    registry.preferredAnswer = "name-3.0";
    EXPECT_EQ(Specifier("name_5#x", true), "name_5-3.0#x");
    EXPECT_TRUE(registry.probed.empty()) << "the context's answer needs no probing";

    Specifier withoutContext("name", false);
    withoutContext.fixUp(false);
    EXPECT_EQ(withoutContext, "name-4.0") << "without useContext the registry decides";

    registry.preferredAnswer = "";
    EXPECT_EQ(Specifier("name", true), "name-4.0") << "no preference: the version search decides";
}

TEST_F(SpecifierCompletion, UnknownApplicationKeepsItsTextAsGiven)
{
    // Completion that finds nothing must not pass the text through the
    // canonical rebuild, which drops empty parts and separators.
    registry.entries = {"name-4.0", "other-1.0"};
    const char* const texts[] = {"ping-", "tessel-#x", "-", "#x", "_", "ping_#x", "ping--de_de", "x-#", "name-5#"};
    for (const char* text : texts) {
        EXPECT_EQ(Specifier(text, true), text) << "completed";
        Specifier withoutContext(text, false);
        withoutContext.fixUp(false);
        EXPECT_EQ(withoutContext, text) << "fixUp(false)";
    }
    ScObjects::TesselTalk::setSpecifierContext(nullptr);
    for (const char* text : texts)
        EXPECT_EQ(Specifier(text, true), text) << "without a registry";
}

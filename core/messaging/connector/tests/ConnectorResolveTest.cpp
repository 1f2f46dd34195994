#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "RegistryFixture.h"

using namespace ScObjects;
using ScObjects::TesselTalk::Specifier;

using ConnectorResolve = RegistryFixture;

// Subgroups of group g, in file order; a reader walks them from the end.
//   g/1: a-1.0 b-1.0   g/2: a-2.0 b-2.0   g/3: b-3.0   g/4: b-4.0 a-4.0
TEST_F(ConnectorResolve, FindPreferredAppTakesTheLastSubgroupHoldingBoth)
{
    for (const char* spec : {"b-1.0", "b-2.0", "b-3.0", "b-4.0"})
        install(spec);
    const std::pair<const char*, const char*> entries[] = {{"g/1", "a-1.0"}, {"g/1", "b-1.0"}, {"g/2", "a-2.0"},
        {"g/2", "b-2.0"}, {"g/3", "b-3.0"}, {"g/4", "b-4.0"}, {"g/4", "a-4.0"}, {"h/1", "b-1.0"}};
    for (const auto& entry : entries)
        ASSERT_TRUE(connector->addToGroup(entry.first, Specifier(entry.second, false)));

    struct Row {
        const char* caller;
        const char* wanted;
        const char* group;
        const char* answer;
    };
    const Row rows[] = {
        {"a-2.0", "b", "g", "b-2.0"},  // candidate first, then the caller's version
        {"a-1.5", "b", "g", "b-1.0"},  // a-2.0 is newer than the caller
        {"a-9", "b", "g", "b-4.0"},    // the caller's entry after the candidate
        {"a-4.0", "b", "g", "b-4.0"},
        {"a", "b", "g", "b-4.0"},      // no version matches any
        {"a-0.5", "b", "g", "b-4.0"},  // no subgroup fits: the group's first B from the end
        {"a-2.0", "b", "none", "b-4.0"}, // not in the group: the wanted one completed
        {"a-2.0", "b-3.0", "g", "b-2.0"},
        {"", "b", "g", "b-4.0"},
        {"a-2.0", "", "g", ""},
        {"skiff-4.0", "b", "h", "b-1.0"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(connector->findPreferredApp(SoString(row.caller), SoString(row.wanted), SoString(row.group)),
            row.answer)
            << row.caller << " wants " << row.wanted << " in " << row.group;
    }
}

TEST_F(ConnectorResolve, ResolveSpecifierWildcardsAndRunningVersions)
{
    for (const char* spec : {"b-2.0", "b-7.5"})
        install(spec);
    TTConnectorAppInfo range(SoString("b-7.99"));
    ASSERT_TRUE(connector->doRegisterApplication(range)); // registered, not installed

    struct Row {
        const char* spec;
        const char* preferred;
        const char* running;
        const char* answer;
    };
    const Row rows[] = {
        {"b-2.0", "", "", "b-2.0"},
        {"b", "", "", ""},            // completes to 7.99, which is not installed
        {"x", "b-2.0", "", "b-2.0"},  // the preferred text wins
        {"b-2.*", "", "", "b-2.0"},   // completion finds the exact major
        {"b-7.*", "", "b-7.5", "b-7.5"},
        {"b-7.*", "", "", "b-7.99"}, // nobody runs: the range itself
        {"b-5.*", "", "", ""},        // no 5.99 to set
        {"b-3", "", "", ""},          // not installed and no wildcard
        {"", "", "", ""},
    };
    for (const Row& row : rows) {
        context.running.clear();
        if (*row.running)
            context.running.insert(row.running);
        EXPECT_EQ(resolveSpecifier(*connector, SoString(row.spec), SoString(row.preferred)), row.answer)
            << row.spec << " / " << row.preferred;
    }
}

TEST_F(ConnectorResolve, CompletionAgainstRegisteredVersions)
{
    for (const char* spec : {"name-3.0", "name-3.5", "name-4.0", "loc-3.0-de_de", "loc-3.5-fr_fr", "tessel-4.0",
             "tessel-3.0", "tessel-5.0"})
        install(spec);
    struct Row {
        const char* self;
        const char* text;
        const char* completed;
    };
    const Row rows[] = {
        {"", "name-3", "name-3.5"},
        {"", "name", "name-4.0"},
        {"", "Name-3.0#main", "name-3.0#main"},
        {"", "loc-3", "loc-3.5-fr_fr"}, // the current locale's 3.0 loses to the other's 3.5
        {"", "tessel", "tessel-5.0"},
        {"skiff-4.0", "tessel", "tessel-4.0"}, // the suite says which version goes with the caller
        {"skiff-4.0", "tessel_2#main", "tessel_2-4.0#main"},
        {"", "unknown-1", "unknown-1"},
    };
    for (const Row& row : rows) {
        context.self = row.self;
        EXPECT_EQ(Specifier(row.text, true), row.completed) << row.self << " completes " << row.text;
    }
    Specifier spec("name-3.0", false);
    EXPECT_TRUE(spec.setVersion("4"));
    EXPECT_EQ(spec, "name-4");
    EXPECT_FALSE(spec.setVersion("4.5"));
    EXPECT_TRUE(Specifier("name-4.0", false).isInstalled());
    EXPECT_FALSE(Specifier("name-4.5", false).isInstalled());
}

TEST_F(ConnectorResolve, ANameCompletesAsItStandsOnlyWhileNothingRegisteredHasIt)
{
    install("other-1.0");
    context.self = "skiff-4.0";
    EXPECT_EQ(Specifier("late_2#x", true), "late_2#x");

    // Another process registers: seen once the cache is refreshed.
    TesselTalkConnector elsewhere(SoString("default"));
    TTConnectorAppInfo info{SoString("late-2.0")};
    info.path = "/bin/true";
    ASSERT_TRUE(elsewhere.doRegisterApplication(info));
    connector->updateCache(false);
    EXPECT_EQ(Specifier("late_2#x", true), "late_2-2.0#x");
    ASSERT_TRUE(connector->unregisterApplication(Specifier("late-2.0", false)));
    EXPECT_EQ(Specifier("late_2#x", true), "late_2#x");

    install("late-1.0");
    EXPECT_EQ(Specifier("late_2#x", true), "late_2-1.0#x") << "a registration in this process";
}

TEST_F(ConnectorResolve, CacheRefreshesWhileOtherThreadsAsk)
{
    install("steady-1.0");
    std::vector<std::thread> threads;
    threads.emplace_back([this] {
        for (int i = 0; i < 40; ++i)
            connector->updateCache(i % 2 == 0);
    });
    threads.emplace_back([this] {
        for (int i = 0; i < 20; ++i) {
            const std::string spec = "app" + std::to_string(i) + "-1.0";
            EXPECT_TRUE(connector->registerApplication(Specifier(spec.c_str(), false), "/bin/true", nullptr, true));
        }
    });
    threads.emplace_back([this] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(connector->getApplicationPath(SoString("steady-1.0")).isEmpty(), false);
            connector->findPreferredApp(SoString("skiff-4.0"), SoString("steady"), SoString("vx"));
            connector->getApplicationSpecifier(i % 5);
        }
    });
    threads.emplace_back([this] {
        for (int i = 0; i < 200; ++i)
            EXPECT_EQ(Specifier("steady", true), "steady-1.0");
    });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(connector->getNumberOfRegisteredApplications(), 21);
}

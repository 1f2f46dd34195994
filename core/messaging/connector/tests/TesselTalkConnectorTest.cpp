#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>
#include <string>

#include "ConnectorConfig.h"
#include "ConnectorStore.h"
#include "RegistryFixture.h"

using namespace ScObjects;
using ScObjects::TesselTalk::Specifier;
namespace CC = ScObjects::ConnectorConfig;

using TesselTalkConnectorTest = RegistryFixture;

TEST_F(TesselTalkConnectorTest, RegistrationSurvivesAFreshConnector)
{
    ASSERT_TRUE(connector->registerApplication(Specifier("viewer-2.0", false), "/opt/viewer/viewer.bin", "Viewer", false));
    EXPECT_FALSE(connector->registerApplication(Specifier("viewer-2.0", false), "/elsewhere", "Other", false));
    connector->setProcessID(SoString("viewer-2.0"), 4242);

    TesselTalkConnector fresh{SoString("default")};
    TTConnectorAppInfo info;
    ASSERT_TRUE(fresh.getAppInfo(SoString("viewer-2.0"), info));
    EXPECT_EQ(info.path, "/opt/viewer/viewer.bin");
    EXPECT_EQ(info.executablePath, "/opt/viewer/viewer.bin");
    EXPECT_EQ(info.executableBasename, "viewer");
    EXPECT_EQ(info.displayName, "Viewer");
    EXPECT_EQ(info.processID, 0u); // identifiers are not stored
    EXPECT_EQ(connector->getProcessID(SoString("viewer-2.0")), 4242u);

    connector->updateCache(true);
    EXPECT_EQ(connector->getProcessID(SoString("viewer-2.0")), 4242u) << "a refresh keeps process identifiers";

    ASSERT_TRUE(connector->unregisterApplication(Specifier("viewer-2.0", false)));
    EXPECT_FALSE(connector->unregisterApplication(Specifier("viewer-2.0", false)));
    EXPECT_TRUE(connector->getApplicationPath(SoString("viewer-2.0")).isEmpty());
}

TEST_F(TesselTalkConnectorTest, RefusesRecordsThatWouldNotReadBack)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Viewer-2.0", "upper case"}, {"", "empty"}, {"groups", "the group list's name"}, {"-2.0", "no appname"}};
    for (const auto& row : rows)
        EXPECT_FALSE(connector->doRegisterApplication(TTConnectorAppInfo(SoString(row.first)))) << row.second;
    TTConnectorAppInfo info(SoString("viewer"));
    info.displayName = "two\nlines";
    EXPECT_FALSE(connector->doRegisterApplication(info));
    info.displayName = "a</Data>b";
    EXPECT_FALSE(connector->doRegisterApplication(info));
    info.displayName = "fine";
    info.tesselTalkVersion = 1.0 / 0.0;
    EXPECT_FALSE(connector->doRegisterApplication(info));
    EXPECT_FALSE(std::filesystem::exists(userFolder)) << "nothing written";
}

TEST_F(TesselTalkConnectorTest, UserRecordsHideSystemOnesAndFoldersAreReadAtUse)
{
    TTConnectorAppInfo info(SoString("viewer-2.0"));
    info.path = "/sys1/viewer";
    writeFile(systemFolder + "/viewer-2.0.xml", CC::writeAppConfig(info, {}, true).c_str());
    info.path = "/sys2/viewer";
    writeFile(otherSystemFolder + "/viewer-2.0.xml", CC::writeAppConfig(info, {}, true).c_str());
    info.specifier = "other";
    writeFile(otherSystemFolder + "/anything.xml", CC::writeAppConfig(info, {}, true).c_str());

    EXPECT_EQ(connector->getApplicationPath(SoString("viewer-2.0")), "/sys1/viewer");
    EXPECT_EQ(connector->getApplicationPath(SoString("other")), "/sys2/viewer");
    EXPECT_EQ(connector->getNumberOfRegisteredApplications(), 2);
    EXPECT_EQ(connector->getApplicationSpecifier(0), "other");
    EXPECT_EQ(connector->getApplicationSpecifier(1), "viewer-2.0");
    EXPECT_TRUE(connector->getApplicationSpecifier(2).isEmpty());

    ASSERT_TRUE(connector->registerApplication(Specifier("viewer-2.0", false), "/home/viewer", nullptr, true));
    EXPECT_EQ(connector->getApplicationPath(SoString("viewer-2.0")), "/home/viewer");
    ASSERT_TRUE(connector->unregisterApplication(Specifier("viewer-2.0", false)));
    EXPECT_EQ(connector->getApplicationPath(SoString("viewer-2.0")), "/sys1/viewer") << "the system record shows again";

    // Another writer's file is seen at the next refresh, not before.
    info.specifier = "late";
    writeFile(userFolder + "/late.xml", CC::writeAppConfig(info, {}, true).c_str());
    EXPECT_TRUE(connector->getApplicationPath(SoString("late")).isEmpty());
    connector->updateCache(false);
    EXPECT_EQ(connector->getApplicationPath(SoString("late")), "/sys2/viewer");

    setenv("XDG_DATA_DIRS", "relative/only", 1);
    connector->updateCache(false);
    EXPECT_TRUE(connector->getApplicationPath(SoString("other")).isEmpty());
}

TEST_F(TesselTalkConnectorTest, CorruptFilesAreSkippedWithOneWarningEach)
{
    install("good-1.0");
    const std::string good = readFile(userFolder + "/good-1.0.xml");
    writeFile(userFolder + "/torn.xml", good.substr(0, good.find("\t</Other>")));
    writeFile(systemFolder + "/binary.xml", std::string("\0\x01\x02garbage", 10));
    writeFile(systemFolder + "/.hidden-temp.xml", "ignored, a writer's temporary file");
    std::filesystem::create_directories(systemFolder + "/folder.xml");

    testing::internal::CaptureStderr();
    connector->updateCache(true);
    connector->updateCache(true);
    const std::string warnings = testing::internal::GetCapturedStderr();

    EXPECT_EQ(connector->getNumberOfRegisteredApplications(), 1);
    EXPECT_EQ(connector->getApplicationSpecifier(0), "good-1.0");
    const std::string expected = "TesselTalkConnector: skipping corrupt registry file '" + userFolder
        + "/torn.xml': missing </Configuration> (line 9)\n"
          "TesselTalkConnector: skipping corrupt registry file '"
        + systemFolder
        + "/binary.xml': not an XML configuration (line 1)\n"
          "TesselTalkConnector: skipping corrupt registry file '"
        + systemFolder + "/folder.xml': not a regular file\n";
    EXPECT_EQ(warnings, expected);
}

// A writer killed at a random moment leaves the old file or the new one.
TEST_F(TesselTalkConnectorTest, RegistrationSurvivesAWriterKilledHalfWay)
{
    TTConnectorAppInfo a(SoString("big-1.0"));
    a.path = "/a";
    a.displayName = std::string(300000, 'a').c_str();
    TTConnectorAppInfo b(a);
    b.path = "/b";
    b.displayName = std::string(200000, 'b').c_str();
    ASSERT_TRUE(connector->doRegisterApplication(a));
    const std::string file = userFolder + "/big-1.0.xml";

    std::mt19937 random(7);
    int killedWhileWriting = 0;
    for (int round = 0; round < 20; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            TesselTalkConnector writer{SoString("default")};
            for (unsigned i = 0;; ++i)
                writer.doRegisterApplication(i % 2 ? a : b);
        }
        usleep(2000 + random() % 20000);
        ASSERT_EQ(kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));

        CC::Contents contents;
        SoString error;
        const std::string text = readFile(file);
        ASSERT_TRUE(CC::read(text.data(), long(text.size()), contents, error)) << error.c_str();
        EXPECT_TRUE(contents.record == a || contents.record == b);
        for (const auto& entry : std::filesystem::directory_iterator(userFolder))
            killedWhileWriting += entry.path().filename().string()[0] == '.';
    }
    connector->updateCache(true);
    EXPECT_EQ(connector->getNumberOfRegisteredApplications(), 1) << "left-over temporary files are not records";
    RecordProperty("temporaries_left_by_kills", killedWhileWriting);
}

TEST_F(TesselTalkConnectorTest, GroupsAddRemoveAndLookup)
{
    EXPECT_EQ(connector->findGroupForSpecifier(SoString("skiff-4.0")), "vx");
    EXPECT_EQ(connector->findGroupForSpecifier(SoString("skiff")), "vx");
    EXPECT_TRUE(connector->findGroupForSpecifier(SoString("skiff-5.0")).isEmpty());

    ASSERT_TRUE(connector->addToGroup("g/1", Specifier("b-1.0", false)));
    ASSERT_TRUE(connector->addToGroup("g", Specifier("b-2.0-fr_fr", false)));
    EXPECT_TRUE(connector->addToGroup("g", Specifier("b-2.0", false))) << "already there";
    EXPECT_FALSE(connector->addToGroup("", Specifier("b-2.0", false)));
    EXPECT_FALSE(connector->addToGroup("g/x/y", Specifier("b-2.0", false)));
    EXPECT_EQ(connector->findSpecifierInGroup(SoString("g"), SoString("b")), "b-2.0");

    TesselTalkConnector fresh{SoString("default")};
    const std::vector<SoString> cache = fresh.getGroupsCache();
    ASSERT_EQ(cache.size(), builtInSuite().size() + 2);
    EXPECT_EQ(cache[cache.size() - 2], "g/1/b-1.0");
    EXPECT_EQ(cache.back(), "g/0/b-2.0");

    ASSERT_TRUE(connector->removeFromGroup("g", Specifier("b-2.0", false)));
    EXPECT_FALSE(connector->removeFromGroup("g", Specifier("b-2.0", false)));
    EXPECT_EQ(connector->findSpecifierInGroup(SoString("g"), SoString("b")), "b-1.0");
}

TEST_F(TesselTalkConnectorTest, ValidateNamesWhatTheOtherLacks)
{
    install("alpha-1.0");
    install("beta-1.0");
    ASSERT_TRUE(connector->addToGroup("g/1", Specifier("alpha-1.0", false)));
    connector->updateCache(true);

    setenv("XDG_DATA_HOME", (userFolder + "/other").c_str(), 1);
    TesselTalkConnector other{SoString("default")};
    TTConnectorAppInfo changed(SoString("beta-1.0"));
    changed.path = "/elsewhere";
    ASSERT_TRUE(other.doRegisterApplication(changed));
    EXPECT_EQ(connector->validate(other),
        "TesselTalkConnector validation failed: Can't find group entry for 'g/1/alpha-1.0'\n"
        "TesselTalkConnector validation failed: Can't find app info for 'alpha-1.0'\n"
        "TesselTalkConnector validation failed: Can't find app info for 'beta-1.0'\n");
    EXPECT_FALSE(other.isEqual(*connector));

    ASSERT_TRUE(other.importFrom(*connector));
    EXPECT_TRUE(other.isEqual(*connector)) << other.validate(*connector).c_str();
    ASSERT_TRUE(other.removeAll());
    EXPECT_EQ(other.getNumberOfRegisteredApplications(), 0);
    EXPECT_EQ(other.getGroupsCache().size(), builtInSuite().size());
}

TEST(TTConnectorAppInfoList, UpdateFindRemoveAndRedirectChains)
{
    TTConnectorAppInfoList list;
    const char* const chain[][2] = {{"a", "b"}, {"b", "c"}, {"c", ""}, {"x", "y"}, {"y", "x"}, {"u", "gone"}};
    for (const auto& link : chain) {
        TTConnectorAppInfo info{SoString(link[0])};
        info.redirectTo = link[1];
        list.update(info);
    }
    TTConnectorAppInfo replaced{SoString("c")};
    replaced.path = "/c";
    list.update(replaced);
    EXPECT_EQ(list.count(), 6);
    long index = -2;
    ASSERT_NE(list.find(SoString("c"), &index), nullptr);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(list.get(2)->path, "/c");
    EXPECT_EQ(list.find(SoString("none"), &index), nullptr);
    EXPECT_EQ(index, -1);

    list.resolveRedirectTo();
    const std::pair<const char*, const char*> resolved[] = {
        {"a", "c"}, {"b", "c"}, {"c", ""}, {"x", "y"}, {"y", "x"}, {"u", "gone"}};
    for (const auto& row : resolved)
        EXPECT_EQ(list.find(SoString(row.first), nullptr)->redirectTo, row.second) << row.first;

    EXPECT_TRUE(list.setProcessID(SoString("a"), 9));
    EXPECT_FALSE(list.setProcessID(SoString("none"), 9));
    EXPECT_TRUE(list.remove(SoString("a")));
    EXPECT_FALSE(list.isInList(SoString("a")));
    EXPECT_EQ(list.get(0)->specifier, "b");
}

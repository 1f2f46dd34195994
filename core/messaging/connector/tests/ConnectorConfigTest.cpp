#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ConnectorConfig.h"
#include "RegistryFixture.h"

using namespace ScObjects;
namespace CC = ScObjects::ConnectorConfig;

namespace {

TTConnectorAppInfo fullRecord()
{
    TTConnectorAppInfo info(SoString("tessel-4.0"));
    info.path = "/usr/bin/tessel";
    info.executablePath = "/usr/bin/tessel";
    info.winClassName = "TesselMain";
    info.bundleIdentifier = "com.corvane.tessel";
    info.displayName = "Tessel";
    info.tesselTalkVersion = 2.0;
    info.allowMultipleInstances = true;
    info.isShellTool = true;
    info.messageAuthentication = false;
    info.messageDigest = false;
    info.supportsCGTK = true;
    info.executableBasename = "tessel";
    info.executableExtension = "bin";
    info.omvDictionary = "tessel.omv";
    info.developerInstallPath = "/opt/dev/tessel";
    info.redirectTo = "tessel-5.0";
    return info;
}

const char kFullRecordText[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<Configuration>\n"
                               "\t<Payload>\n"
                               "\t\t<Data key=\"TesselTalkCode\">/corvane/tesseltalk/tessel-4.0</Data>\n"
                               "\t</Payload>\n"
                               "\n"
                               "\t<Other corvaneCode=\"/corvane/tesseltalk/tessel-4.0\">\n"
                               "\t\t<Data key=\"Specifier\">tessel-4.0</Data>\n"
                               "\t\t<Data key=\"WindowClassName\">TesselMain</Data>\n"
                               "\t\t<Data key=\"BundleIdentifier\">com.corvane.tessel</Data>\n"
                               "\t\t<Data key=\"DisplayName\">Tessel</Data>\n"
                               "\t\t<Data key=\"TesselTalkVersion\">2</Data>\n"
                               "\t\t<Data key=\"AllowMultipleInstances\">true</Data>\n"
                               "\t\t<Data key=\"IsShellTool\">true</Data>\n"
                               "\t\t<Data key=\"MessageAuthentication\">false</Data>\n"
                               "\t\t<Data key=\"MessageDigest\">false</Data>\n"
                               "\t\t<Data key=\"SupportsCGTK\">true</Data>\n"
                               "\t\t<Data key=\"ExecutableBasename\">tessel</Data>\n"
                               "\t\t<Data key=\"ExecutableExtensionMac\">bin</Data>\n"
                               "\t\t<Data key=\"OMVDictionary\">tessel.omv</Data>\n"
                               "\t\t<Data key=\"DeveloperInstallPath\">/opt/dev/tessel</Data>\n"
                               "\t\t<Data key=\"RedirectTo\">tessel-5.0</Data>\n"
                               "\t</Other>\n"
                               "\t<Other corvaneCode=\"/corvane/tesseltalk/groups\">\n"
                               "\t\t<Data key=\"Group000\">/corvane/tesseltalk/groups/vx/3/tessel-4.0</Data>\n"
                               "\t</Other>\n"
                               "</Configuration>\n";

const char kGroupsText[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<Configuration>\n"
                           "\t<Other corvaneCode=\"/corvane/tesseltalk/groups\">\n"
                           "\t\t<Data key=\"Group000\">/corvane/tesseltalk/groups/vx/3/skiff-4.0</Data>\n"
                           "\t\t<Data key=\"Group001\">/corvane/tesseltalk/groups/vx/3/tessel-4.0</Data>\n"
                           "\t\t<Data key=\"Group002\">/corvane/tesseltalk/groups/vx/3/folio-8.0</Data>\n"
                           "\t\t<Data key=\"Group003\">/corvane/tesseltalk/groups/vx/3/lumen-2.0</Data>\n"
                           "\t\t<Data key=\"Group004\">/corvane/tesseltalk/groups/vx/3/quire-1.0</Data>\n"
                           "\t\t<Data key=\"Group005\">/corvane/tesseltalk/groups/vx/3/zstrc-1.0</Data>\n"
                           "\t\t<Data key=\"Group006\">/corvane/tesseltalk/groups/vx/3/tt-1.0</Data>\n"
                           "\t\t<Data key=\"Group007\">/corvane/tesseltalk/groups/vx/3/atlas-3.0</Data>\n"
                           "\t\t<Data key=\"Group008\">/corvane/tesseltalk/groups/vx/3/prism-5.0</Data>\n"
                           "\t\t<Data key=\"Group009\">/corvane/tesseltalk/groups/vx/3/ledger-2.0</Data>\n"
                           "\t\t<Data key=\"Group010\">/corvane/tesseltalk/groups/vx/3/vellum-1.0</Data>\n"
                           "\t\t<Data key=\"Group011\">/corvane/tesseltalk/groups/g/1/b-1.0</Data>\n"
                           "\t</Other>\n"
                           "</Configuration>\n";

bool readText(const std::string& text, CC::Contents& out)
{
    SoString error;
    return CC::read(text.data(), long(text.size()), out, error);
}

} // namespace

using ConnectorConfigText = RegistryFixture;

TEST_F(ConnectorConfigText, FullRecordIsWrittenByteForByteAndReadsBack)
{
    const TTConnectorAppInfo info = fullRecord();
    ASSERT_TRUE(connector->doRegisterApplication(info));
    const SoString text = connector->getConnectorConfig(SoString("tessel-4.0"));
    EXPECT_STREQ(text.c_str(), kFullRecordText);

    CC::Contents contents;
    ASSERT_TRUE(readText(text.c_str(), contents));
    TTConnectorAppInfo expected = info;
    expected.path = expected.executablePath = SoString(); // left out of the exported text
    EXPECT_TRUE(contents.hasRecord);
    EXPECT_TRUE(contents.record == expected);
    ASSERT_EQ(contents.groupEntries.size(), 1u);
    EXPECT_EQ(contents.groupEntries[0], "vx/3/tessel-4.0");
}

TEST_F(ConnectorConfigText, DefaultsAreNeverWritten)
{
    TTConnectorAppInfo info(SoString("plain-2.0"));
    info.omvDictionary = "none";
    ASSERT_TRUE(connector->doRegisterApplication(info));
    EXPECT_STREQ(connector->getConnectorConfig(SoString("plain-2.0")).c_str(),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n\t<Payload>\n"
        "\t\t<Data key=\"TesselTalkCode\">/corvane/tesseltalk/plain-2.0</Data>\n\t</Payload>\n\n"
        "\t<Other corvaneCode=\"/corvane/tesseltalk/plain-2.0\">\n"
        "\t\t<Data key=\"Specifier\">plain-2.0</Data>\n\t</Other>\n</Configuration>\n");
    EXPECT_STREQ(connector->getConnectorConfig(SoString("unknown")).c_str(),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n</Configuration>\n");
    EXPECT_TRUE(connector->getConnectorConfig(SoString()).isEmpty());
}

TEST_F(ConnectorConfigText, GroupsAreNumberedWithThreeDigitsWithoutLocaleOrInstance)
{
    ASSERT_TRUE(connector->addToGroup("g/1", ScObjects::TesselTalk::Specifier("b_2-1.0-en_us", false)));
    const SoString text = connector->getConnectorConfig(SoString("groups"));
    EXPECT_STREQ(text.c_str(), kGroupsText);

    CC::Contents contents;
    ASSERT_TRUE(readText(text.c_str(), contents));
    EXPECT_FALSE(contents.hasRecord);
    EXPECT_EQ(contents.groupEntries, connector->getGroupsCache());

    const std::pair<long, const char*> keys[] = {
        {0, "Group000"}, {9, "Group009"}, {10, "Group010"}, {99, "Group099"}, {100, "Group100"}, {1234, "Group1234"}};
    for (const auto& key : keys)
        EXPECT_EQ(CC::groupKey(key.first), key.second) << key.first;
}

TEST(ConnectorConfig, ParseEntryNeedsTwoDistinctSlashes)
{
    struct Row {
        const char* entry;
        bool ok;
        const char* group;
        const char* subgroup;
        const char* extra;
    };
    const Row rows[] = {
        {"vx/3/tessel-4.0", true, "vx", "3", "tessel-4.0"},
        {"a/b/c/d", true, "a", "b/c", "d"},
        {"//", true, "", "", ""},
        {"a/b", false, "", "", ""},
        {"abc", false, "", "", ""},
        {"", false, "", "", ""},
    };
    for (const Row& row : rows) {
        SoString g("x"), u("x"), x("x");
        EXPECT_EQ(CC::parseEntry(SoString(row.entry), g, u, x), row.ok) << row.entry;
        EXPECT_EQ(g, row.group) << row.entry;
        EXPECT_EQ(u, row.subgroup) << row.entry;
        EXPECT_EQ(x, row.extra) << row.entry;
    }
}

TEST(ConnectorConfigReader, EveryTornPrefixIsRefused)
{
    const std::string full = kFullRecordText;
    const std::size_t end = full.find("</Configuration>");
    CC::Contents contents;
    for (std::size_t n = 0; n < end + std::strlen("</Configuration>"); ++n)
        EXPECT_FALSE(readText(full.substr(0, n), contents)) << "prefix of " << n << " bytes";
    EXPECT_TRUE(readText(full.substr(0, end + std::strlen("</Configuration>")), contents));
}

TEST(ConnectorConfigReader, RefusesMalformedTexts)
{
    const std::string good = kFullRecordText;
    auto replaced = [&good](const char* from, const std::string& to) {
        std::string text = good;
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, std::strlen(from), to);
    };
    const std::pair<std::string, const char*> rows[] = {
        {replaced("encoding=\"UTF-8\"", "encoding=\"latin1\""), "not an XML configuration (line 1)"},
        {replaced("<Configuration>", "<Config>"), "missing <Configuration> (line 2)"},
        {replaced("TesselTalkCode\">/corvane/tesseltalk/tessel-4.0", "TesselTalkCode\">/corvane/tesseltalk/x"),
            "payload does not name the record (line 27)"},
        {replaced("Specifier\">tessel-4.0", "Specifier\">tessel-5.0"), "record without a matching specifier (line 27)"},
        {replaced(">true</Data>\n\t\t<Data key=\"IsShell", ">yes</Data>\n\t\t<Data key=\"IsShell"), "bad value (line 13)"},
        {replaced(">2</Data>", ">2x</Data>"), "bad value (line 12)"},
        {replaced(">2</Data>", ">nan</Data>"), "bad value (line 12)"},
        {replaced("groups/vx/3/tessel-4.0", "groups/vx/3/Tessel-4.0"), "malformed group entry (line 25)"},
        {replaced("groups/vx/3/tessel-4.0", "groups/vx-3"), "malformed group entry (line 25)"},
        {replaced("Group000", "GroupX"), "malformed group entry (line 25)"},
        {replaced("corvaneCode=\"/corvane/tesseltalk/groups", "corvaneCode=\"/other/groups"), "unexpected block (line 24)"},
        {replaced("<Data key=\"DisplayName\">Tessel</Data>", "<Data key=\"DisplayName\">Tessel"),
            "malformed data line (line 11)"},
        {replaced("<Data key=\"DisplayName\">", "<Data key=\"DisplayName>"), "malformed data line (line 11)"},
        {good + "<Configuration>\n", "text after </Configuration> (line 28)"},
        {replaced("Tessel</Data>", std::string("Tes\0sel</Data>", 14)), "malformed data line (line 11)"},
    };
    for (const auto& row : rows) {
        CC::Contents contents;
        SoString error;
        EXPECT_FALSE(CC::read(row.first.data(), long(row.first.size()), contents, error)) << row.second;
        EXPECT_EQ(error, row.second);
    }
}

TEST(ConnectorConfigReader, ToleratesCarriageReturnsIndentationAndLaterKeys)
{
    std::string text;
    for (const char* p = kFullRecordText; *p; ++p) {
        if (*p == '\n')
            text += "\r";
        text += *p == '\t' ? ' ' : *p;
    }
    const std::size_t at = text.find(" </Other>");
    text.insert(at, "    <Data key=\"SomethingNew\">value</Data>\r\n");
    CC::Contents contents;
    ASSERT_TRUE(readText(text, contents));
    EXPECT_EQ(contents.record.displayName, "Tessel");
    EXPECT_EQ(contents.record.redirectTo, "tessel-5.0");
}

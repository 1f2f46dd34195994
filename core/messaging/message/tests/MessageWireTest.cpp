#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Message.h"
#include "TempHome.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::Message;

namespace {

class MessageWire : public TempHome {
protected:
    void SetUp() override
    {
        TempHome::SetUp();
        Message::setAuthentication(true);
        Message::setCreateDigest(true);
    }
    void TearDown() override
    {
        Message::setAuthentication(true);
        Message::setCreateDigest(true);
        TempHome::TearDown();
    }

    static Message request()
    {
        Message m;
        m.setTarget("tessel");
        m.setSender("skiff-4.0");
        m.setSerialNumber(12);
        m.setBody("app.open();");
        return m;
    }
};

std::string written(const Message& m)
{
    SoString out;
    EXPECT_EQ(m.writeToString(out), 1);
    return out.c_str();
}

} // namespace

TEST_F(MessageWire, WritesTheFieldLinesInOrder)
{
    Message::setCreateDigest(false);
    Message m = request();
    m.setTimeout(30);
    m.setResponseRequest("Result Timeout");
    m.setResultSerial(7);
    m.setHeader("X-One", "1");
    const std::string now = std::to_string(TesselTalkUtils::getTimeSeconds());
    const std::string expected = "@TT>Version:2.05\nTarget:tessel\nSender:skiff-4.0\nSender-ID:localhost:mac"
        + std::to_string(getpid()) + "\nTimeout:30\nType:Calligo\nResponse-Request:Result Timeout\nX-One:1\n"
        "Timestamp: " + now + "\nSerial-Number:12\nResult:7\nContent-Length:11\n\napp.open();";
    EXPECT_EQ(written(m), expected);
}

TEST_F(MessageWire, RefusesMissingTargetOrSenderAndLeavesOutAlone)
{
    Message noTarget = request();
    noTarget.setTarget("");
    Message noSender = request();
    noSender.setSender("");
    for (const Message* m : {&noTarget, &noSender}) {
        SoString out("kept");
        EXPECT_EQ(m->writeToString(out), 0);
        EXPECT_EQ(out, "kept");
    }
}

TEST_F(MessageWire, HeaderInjectionIsRefused)
{
    const char* const injected = "STATUS\nType:Evil\nResult:7";
    struct Row { const char* what; void (*spoil)(Message&, const char*); };
    const Row rows[] = {
        {"target", [](Message& m, const char* v) { m.setTarget(v); }},
        {"sender", [](Message& m, const char* v) { m.setSender(v); }},
        {"type", [](Message& m, const char* v) { m.setType(v); }},
        {"response request", [](Message& m, const char* v) { m.setResponseRequest(v); }},
        {"version", [](Message& m, const char* v) { m.setVersion(v); }},
        {"header value", [](Message& m, const char* v) { m.setHeader("X-Status", v); }},
        {"header name", [](Message& m, const char* v) { m.setHeader(v, "1"); }},
    };
    for (const Row& row : rows) {
        for (const char* value : {injected, "a\rb", "a\n", "\r"}) {
            Message m = request();
            row.spoil(m, value);
            SoString out("kept");
            EXPECT_EQ(m.writeToString(out), 0) << row.what << " " << testing::PrintToString(std::string(value));
            EXPECT_EQ(out, "kept");
        }
    }

    // Names that no prefix protects, whatever the version, and names that
    // the reader would split at their colon.
    for (const char* version : {"2.05", "2.0"}) {
        for (const char* name : {"@TT>MD5", "@TT>Digest", "Version", "Type:x", "@TT>MD5:00"}) {
            Message m = request();
            m.setVersion(version);
            m.setHeader(name, "00");
            SoString out("kept");
            EXPECT_EQ(m.writeToString(out), 0) << name << " with version " << version;
            EXPECT_EQ(out, "kept");
        }
    }

    // What the text can carry still goes: line breaks in the body, colons
    // in values, names the reader only knows with the "@HDR>" prefix.
    Message fine = request();
    fine.setBody("line\r\nType:Evil\n");
    fine.setHeader("X-Time", "12:30");
    fine.setHeader("Error-Code", "5");
    fine.setHeader("@TT>Other", "x");
    Message back;
    back.readFromString(written(fine).c_str());
    EXPECT_EQ(back.getBody(), "line\r\nType:Evil\n");
    EXPECT_EQ(back.getType(), "Calligo");
    EXPECT_EQ(back.getUserHeaderValue("X-Time"), "12:30");
    EXPECT_EQ(back.getUserHeaderValue("Error-Code"), "5");
    EXPECT_EQ(back.getUserHeaderValue("@TT>Other"), "x");
    EXPECT_EQ(back.getDigestStatus(), "");
}

TEST_F(MessageWire, HeaderPrefixingDependsOnVersion)
{
    Message::setCreateDigest(false);
    struct Row { const char* version; bool prefixed; const char* typeAfterRead; const char* typeHeaderAfterRead; };
    const Row rows[] = {
        {"2.05", true, "Calligo", "Ping"},
        {"3.0", true, "Calligo", "Ping"},
        {"2.0", false, "Ping", ""},
        {"1.0", false, "Ping", ""},
        {"", false, "Ping", ""},
    };
    for (const Row& row : rows) {
        Message m = request();
        m.setVersion(row.version);
        m.setHeader("Type", "Ping");
        m.setHeader("Plain", "p");
        const std::string text = written(m);
        EXPECT_EQ(text.find("@HDR>Type:Ping\n") != std::string::npos, row.prefixed) << row.version;
        EXPECT_NE(text.find("\nPlain:p\n"), std::string::npos) << "unreserved names are never prefixed";

        Message back;
        back.readFromString(text.c_str());
        EXPECT_EQ(back.getType(), row.typeAfterRead) << row.version;
        EXPECT_EQ(back.getUserHeaderValue("Type"), row.typeHeaderAfterRead) << row.version;
        EXPECT_EQ(back.getVersion(), row.version);
    }
}

TEST_F(MessageWire, TwoMessagesReadEndToEnd)
{
    Message first = request();
    Message second = request();
    second.setSerialNumber(13);
    second.setBody("second\n\nbody");
    SoString text;
    ASSERT_EQ(first.writeToString(text), 1);
    text << "\n\n";
    ASSERT_EQ(second.writeToString(text), 1);

    Message m;
    const char* next = m.readFromString(text.c_str());
    EXPECT_EQ(m.getSerialNumber(), 12u);
    EXPECT_EQ(m.getBody(), "app.open();");
    EXPECT_EQ(m.getDigestStatus(), "");
    ASSERT_EQ(std::string(next, 8), "@TT>MD5:") << "newlines after a body are skipped";

    next = m.readFromString(next);
    EXPECT_EQ(m.getSerialNumber(), 13u);
    EXPECT_EQ(m.getBody(), "second\n\nbody");
    EXPECT_EQ(m.getDigestStatus(), "");
    EXPECT_EQ(next, text.c_str() + text.length());
}

TEST_F(MessageWire, DigestLineComesFirstAndCatchesTampering)
{
    const std::string text = written(request());
    std::smatch match;
    ASSERT_TRUE(std::regex_search(text, match, std::regex("^@TT>MD5:([0-9A-F]{16,32})\n@TT>Version:")));
    const std::string signedText = text.substr(match[0].length() - strlen("@TT>Version:"));
    EXPECT_EQ(TesselTalkUtils::getMD5(signedText.c_str(), long(signedText.size())), match[1].str().c_str());

    struct Row { std::string text; bool authentication; const char* status; };
    std::string tampered = text;
    tampered[tampered.size() - 1] = 'X';
    const Row rows[] = {
        {text, true, ""},
        {tampered, true, "REJECTED"},
        {tampered, false, "NODIGEST"},
        {signedText, true, ""},                                  // no digest line at all
        {"@TT>Digest:abc\n@TT>MD5:00\n" + signedText, true, ""},  // MD5 after an alternative digest is ignored
    };
    for (const Row& row : rows) {
        Message::setAuthentication(row.authentication);
        Message m;
        m.readFromString(row.text.c_str());
        EXPECT_EQ(m.getDigestStatus(), row.status) << row.text;
        EXPECT_FALSE(m.isRejected());
    }
}

TEST_F(MessageWire, DigestKeyMismatchRejects)
{
    const std::string text = written(request());
    storeIdentifier("md5", "other key");
    setenv("HOME", (m_home + "/").c_str(), 1); // a new HOME value reloads the key
    Message m;
    m.readFromString(text.c_str());
    EXPECT_EQ(m.getDigestStatus(), "REJECTED");
}

TEST_F(MessageWire, LogText)
{
    Message m = request();
    m.setTimeout(30);
    m.setTimestamp(1000);
    m.setReceivedSerial(3);
    m.setHeader("A", "1");
    m.setHeader("B", "2");
    const std::string now = std::to_string(TesselTalkUtils::getTimeSeconds());
    SoString out("old");
    EXPECT_TRUE(m.logToString("SEND", out, true));
    EXPECT_EQ(std::string(out.c_str()),
        "TT SEND------------------\nTarget: tessel\nSender: skiff-4.0\nType: Calligo\nTimeout: 30\nDeadline: 1030\n"
        "Now: " + now + "\nSerial-Number:12\nVersion:2.05\nReceived: 3\nContent-Length: 11\nCustom Headers:\n"
        "   B: 2\n   A: 1\n\napp.open();\n");
    m.logToString("X", out, false);
    EXPECT_NE(std::string(out.c_str()).find("\n\n<<BODY OMITTED>>\n"), std::string::npos);
}

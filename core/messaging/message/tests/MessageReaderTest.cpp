#include <gtest/gtest.h>

#include <string>

#include "Message.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::kNoSerial;
using ScObjects::TesselTalk::Message;

TEST(MessageReader, AnswersAreNormalised)
{
    struct Row { const char* lines; const char* type; unsigned long serial; };
    const Row rows[] = {
        {"Type:Calligo\nResult:7\n", "Result", 7},
        {"Type:Ping\nReceived:3\n", "ReceivedPing", 3},
        {"Type:Received\nReceived:3\n", "Received", 3},
        {"Type:Calligo\nError:9\n", "Error", 9},
        {"Type:Log\nError:9\n", "Error", 9},
        {"Type:debug\nResult:7\n", "debug", 1},                   // lower-case debug is left alone
        {"Type:Debug\nResult:7\n", "Result", 7},
        {"Type:Ping\nReceived:3\nResult:4\n", "ResultReceivedPing", 4},  // both, in order
        {"Type:Ping\n", "Ping", 1},
    };
    for (const Row& row : rows) {
        Message m;
        m.readFromString((std::string("Target:a\nSender:b\nSerial-Number:1\n") + row.lines + "\n").c_str());
        EXPECT_EQ(m.getType(), row.type) << row.lines;
        EXPECT_EQ(m.getSerialNumber(), row.serial) << row.lines;
        if (std::string(row.type) != "debug") {
            EXPECT_EQ(m.getReceivedSerial(), kNoSerial);
            EXPECT_EQ(m.getResultSerial(), kNoSerial);
            EXPECT_EQ(m.getErrorSerial(), kNoSerial);
        } else {
            EXPECT_EQ(m.getResultSerial(), 7u);
        }
    }
}

TEST(MessageReader, StaysInsideTheText)
{
    struct Row { std::string text; long length; std::string body; std::size_t consumed; };
    const Row rows[] = {
        {"Target:a\n\nbody", -1, "", 10},                                   // no Content-Length: empty body
        {"Content-Length:100\n\nshort", -1, "short", 25},                   // longer than what follows
        {"Content-Length:4\n\nbodyMORE", 22, "body", 22},
        {"Content-Length:3\n\nab", 20, "ab", 20},                          // explicit length cuts it
        {"Target:a\nno colon at the end", -1, "", 28},
        {"Target:a\nnoColon", 12, "", 12},                                  // length ends inside the line
        {"Content-Length:4\n", -1, "", 17},                                 // no empty line at all
        {"", -1, "", 0},
        {std::string("Content-Length:5\n\na\0b\n\n", 23), 23, std::string("a\0b\n\n", 5), 23},  // NUL inside a body
        {std::string("Content-Length:5\n\na\0b\n\n", 23), -1, "a", 19},     // without a length NUL ends the text
    };
    for (const Row& row : rows) {
        Message m;
        const char* next = m.readFromString(row.text.c_str(), row.length);
        EXPECT_EQ(std::string(m.getBody().c_str(), std::size_t(m.getBody().length())), row.body) << row.text;
        EXPECT_EQ(std::size_t(next - row.text.c_str()), row.consumed) << row.text;
    }
}

TEST(MessageReader, LinesWithoutColonOrWithOddNames)
{
    Message m;
    m.readFromString("Target:t\nSender-ID:localhost:mac1\nError-Code:59\nVersion:2\nbroken\nX:1\nmid:v a:l\n\n");
    EXPECT_EQ(m.getUserHeaderValue("Sender-ID"), "localhost:mac1");
    EXPECT_EQ(m.getUserHeaderValue("Error-Code"), "59");
    EXPECT_EQ(m.getVersion(), "@TT>2");
    // The name of a line without a colon runs into the next line.
    EXPECT_EQ(m.getUserHeaderValue("broken\nX"), "1");
    EXPECT_EQ(m.getUserHeaderValue("mid"), "v a:l");
}

TEST(MessageReader, NumbersAndTimes)
{
    Message m;
    m.readFromString("Target:t\nTimeout: 30x\nTimestamp:0\nSerial-Number:-5\nContent-Length:\n"
                     "Received:99999999999999999999999\n\n");
    EXPECT_EQ(m.getTimeout(), 30u);
    EXPECT_NEAR(double(m.getTimestamp()), double(TesselTalkUtils::getTimeSeconds()), 2.0)
        << "a message with a timeout but no timestamp is stamped on reading";
    EXPECT_EQ(m.getSerialNumber(), 0u);
    EXPECT_EQ(m.getType(), "Calligo") << "an out-of-range Received reads as none";

    Message untimed;
    untimed.readFromString("Target:t\nTimestamp:0\n\n");
    EXPECT_EQ(untimed.getTimestamp(), 0u);
}

TEST(MessageReader, ReusedMessageStartsAfresh)
{
    Message m;
    m.readFromString("@TT>Version:2.05\nTarget:t\nSender:s\nType:Ping\nResponse-Request:Result\nTimeout:5\n"
                     "H:1\nContent-Length:3\n\nabc");
    m.readFromString("Target:u\n\n");
    EXPECT_EQ(m.getTarget(), "u");
    EXPECT_EQ(m.getSender(), "");
    EXPECT_EQ(m.getType(), "");
    EXPECT_EQ(m.getResponseRequest(), "");
    EXPECT_EQ(m.getTimeout(), 0u);
    EXPECT_EQ(m.getBody(), "");
    EXPECT_EQ(m.getUserHeaderValue("H"), "");
    EXPECT_EQ(m.getVersion(), "1.0");
}

TEST(MessageHeaders, SetReplaceRemoveAndOrder)
{
    Message m;
    m.setHeader("", "ignored");
    m.setHeader(nullptr, "ignored");
    m.setHeader("A", "1");
    m.setHeader("B", -2L);
    m.setHeader("C", 3UL);
    m.setHeader("A", "one");
    m.setHeader("a", "lower");
    std::string order;
    for (const TesselTalk::Header* h = m.firstHeader(); h; h = h->next())
        order += std::string(h->name().c_str()) + "=" + h->value().c_str() + ";";
    EXPECT_EQ(order, "a=lower;C=3;B=-2;A=one;");
    m.removeHeader("B");
    m.removeHeader("missing");
    EXPECT_EQ(m.getUserHeaderValue("B"), "");
    EXPECT_EQ(m.getUserHeaderValue("C"), "3");

    Message copy(m);
    m.setHeader("C", "changed");
    EXPECT_EQ(copy.getUserHeaderValue("C"), "3");
    std::string copyOrder;
    for (const TesselTalk::Header* h = copy.firstHeader(); h; h = h->next())
        copyOrder += h->name().c_str();
    EXPECT_EQ(copyOrder, "aCA");
}

TEST(MessageHeaders, OrderReversesAtEachWriteAndRead)
{
    Message::setCreateDigest(false);
    Message m;
    m.setTarget("t");
    m.setSender("s");
    m.setHeader("First", "1");
    m.setHeader("Second", "2");
    SoString text;
    ASSERT_EQ(m.writeToString(text), 1);
    Message back;
    back.readFromString(text.c_str());
    EXPECT_EQ(back.firstHeader()->name(), "First");
    Message::setCreateDigest(true);
}

TEST(MessageTypes, SystemTypes)
{
    for (const char* type : {"Calligo", "Debug", "Receive", "Received", "Result", "Error", "Idle", "Timeout", "Log",
             "Ignore", "Processed", "Launched"})
        EXPECT_FALSE(TesselTalk::isUserType(type)) << type;
    for (const char* type : {"Ping", "calligo", "LaunchParams", ""})
        EXPECT_TRUE(TesselTalk::isUserType(type)) << type;
}

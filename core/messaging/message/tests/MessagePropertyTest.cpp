#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Message.h"
#include "TempHome.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::kNoSerial;
using ScObjects::TesselTalk::Message;

namespace {

struct Generator {
    std::mt19937_64 rng;

    std::size_t below(std::size_t n) { return std::size_t(rng() % n); }

    // Text that can stand in a header line: no line break, no NUL.
    std::string lineText(std::size_t maxLength, bool allowColon = true)
    {
        std::string s;
        const std::size_t n = below(maxLength + 1);
        while (s.size() < n) {
            const char c = char(1 + below(255));
            if (c == '\n' || c == '\r' || (!allowColon && c == ':'))
                continue;
            s += c;
        }
        return s;
    }

    std::string bytes(std::size_t maxLength)
    {
        std::string s(below(maxLength + 1), '\0');
        for (char& c : s)
            c = char(below(256));
        return s;
    }
};

} // namespace

using MessageProperty = TempHome;

TEST_F(MessageProperty, RandomMessagesReadBackToTheSameFields)
{
    const char* const versions[] = {"2.05", "2.0", "1.0", "", "3.1"};
    const char* const types[] = {"Calligo", "Ping", "Result", "Received", "Ignore", "debug", "", "LaunchParams"};
    Generator g{std::mt19937_64(20240611)};
    for (int round = 0; round < 500; ++round) {
        Message::setCreateDigest(g.below(2) == 0);
        Message m;
        m.setTarget(("t" + g.lineText(40)).c_str());
        m.setSender(("s" + g.lineText(40)).c_str());
        m.setVersion(versions[g.below(5)]);
        m.setType(types[g.below(8)]);
        m.setResponseRequest(g.lineText(20).c_str());
        m.setTimeout(g.below(3) == 0 ? 0 : g.rng() % 100000);
        m.setSerialNumber(g.rng() % 1000000);
        unsigned long answer = kNoSerial;
        const std::size_t answerKind = g.below(4);
        if (answerKind < 3)
            answer = g.rng() % 1000;
        if (answerKind == 0) m.setReceivedSerial(answer);
        if (answerKind == 1) m.setResultSerial(answer);
        if (answerKind == 2) m.setErrorSerial(answer);
        std::vector<std::pair<std::string, std::string>> headers;
        for (std::size_t h = g.below(6); h > 0; --h) {
            // Lower-case "x-" keeps clear of every field and prefix name.
            const std::string name = "x-" + std::to_string(round) + "-" + std::to_string(h) + g.lineText(8, false);
            headers.emplace_back(name, g.lineText(30));
            m.setHeader(name.c_str(), headers.back().second.c_str());
        }
        const std::string body = g.bytes(g.below(4) == 0 ? 70000 : 300);
        m.setBody(body.data(), long(body.size()));

        SoString text;
        ASSERT_EQ(m.writeToString(text), 1);
        Message back;
        const char* end = back.readFromString(text.c_str(), text.length());
        const std::string context = "round " + std::to_string(round);

        EXPECT_EQ(end, text.c_str() + text.length()) << context;
        EXPECT_EQ(back.getTarget(), m.getTarget()) << context;
        EXPECT_EQ(back.getSender(), m.getSender()) << context;
        EXPECT_EQ(back.getVersion(), m.getVersion()) << context;
        EXPECT_EQ(back.getResponseRequest(), m.getResponseRequest()) << context;
        EXPECT_EQ(back.getTimeout(), m.getTimeout()) << context;
        EXPECT_EQ(std::string(back.getBody().c_str(), std::size_t(back.getBody().length())), body) << context;
        EXPECT_EQ(back.getDigestStatus(), "") << context;
        EXPECT_NEAR(double(back.getTimestamp()), double(TesselTalkUtils::getTimeSeconds()), 2.0) << context;

        // A reader's fresh message keeps its default type when no Type line comes.
        std::string type = m.getType().isEmpty() ? "Calligo" : m.getType().c_str();
        unsigned long serial = m.getSerialNumber();
        if (answerKind < 3 && type != "debug") {
            const char* kind = answerKind == 0 ? "Received" : answerKind == 1 ? "Result" : "Error";
            serial = answer;
            if (type != kind)
                type = std::string(kind) + (TesselTalk::isUserType(type.c_str()) ? type : "");
        }
        EXPECT_EQ(back.getType(), type.c_str()) << context;
        EXPECT_EQ(back.getSerialNumber(), serial) << context;

        std::vector<std::pair<std::string, std::string>> readHeaders;
        for (const TesselTalk::Header* h = back.firstHeader(); h; h = h->next())
            readHeaders.emplace_back(h->name().c_str(), h->value().c_str());
        const std::vector<std::pair<std::string, std::string>> senderIdOnly = {
            {"Sender-ID", TesselTalkUtils::getSenderID().c_str()}};
        ASSERT_FALSE(readHeaders.empty()) << context;
        EXPECT_EQ(readHeaders.back(), senderIdOnly.front()) << "Sender-ID is read first, so it ends up last";
        readHeaders.pop_back();
        // Written most recent first and read back to the front: creation order.
        EXPECT_EQ(readHeaders, headers) << context;
    }
    Message::setCreateDigest(true);
}

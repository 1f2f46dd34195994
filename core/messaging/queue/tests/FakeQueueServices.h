// Records what the queue asks of the messaging object above it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QueueServices.h"

class FakeQueueServices : public ScObjects::TesselTalkData::QueueServices {
public:
    std::vector<ScObjects::TesselTalk::Message> notices;
    std::vector<std::string> logs;
    std::vector<std::string> forwards;  // "note:type:serial"
    unsigned long serial = 500;

    bool sendNotice(ScObjects::TesselTalk::Message& notice) override
    {
        notices.push_back(notice);
        return true;
    }
    unsigned long nextSerialNumber() override { return serial++; }
    void logMessage(const char* title, const ScObjects::TesselTalk::Message&) override { logs.push_back(title); }
    void forwardMessage(const ScObjects::TesselTalk::Message& m, const char* kind, const ScObjects::SoString& root,
        const char* note) override
    {
        EXPECT_STREQ(kind, "FWDMESSAGES");
        forwards.push_back(std::string(note) + ":" + m.getType().c_str() + ":" + std::to_string(m.getSerialNumber())
            + "@" + root.c_str());
    }
};

class WithQueueServices : public testing::Test {
protected:
    void SetUp() override { ScObjects::TesselTalkData::setQueueServices(&services); }
    void TearDown() override { ScObjects::TesselTalkData::setQueueServices(nullptr); }
    FakeQueueServices services;
};

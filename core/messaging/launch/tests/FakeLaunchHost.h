// The main messaging object as the launcher sees it: records what it is
// given and what it is asked to remove.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LaunchServices.h"
#include "LaunchWatchHandlers.h"

class FakeLaunchHost : public ScObjects::TesselTalkUtils::LaunchHost {
public:
    std::string name = "tester";
    unsigned long serial = 100;
    std::vector<std::unique_ptr<ScObjects::TesselTalk::Message>> queued;
    std::vector<std::unique_ptr<ScObjects::TesselTalkUtils::LaunchWatch>> watches;
    std::vector<std::pair<std::string, unsigned long>> removedWatches;
    std::vector<unsigned long> removedMessages;

    ScObjects::SoString mainAppName() override { return ScObjects::SoString(name.c_str()); }
    unsigned long nextSerialNumber() override { return serial++; }
    void queueOutgoing(ScObjects::TesselTalk::Message* message) override { queued.emplace_back(message); }
    void installWatch(ScObjects::TesselTalkUtils::LaunchWatch* watch) override { watches.emplace_back(watch); }
    void removeWatch(const char* type, unsigned long s) override { removedWatches.emplace_back(type, s); }
    void removeQueuedMessages(unsigned long s) override { removedMessages.push_back(s); }

    // "type:serial" of every installed watch, in order.
    std::vector<std::string> watchList() const
    {
        std::vector<std::string> list;
        for (const auto& watch : watches)
            list.push_back(std::string(watch->getMsgType().c_str()) + ":" + std::to_string(watch->getSerialNumber()));
        return list;
    }
};

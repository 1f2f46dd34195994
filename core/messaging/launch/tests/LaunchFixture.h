// A launch layer wired to a mailbox folder of its own and a fake host,
// undone after each test.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "FakeLaunchHost.h"
#include "LaunchServices.h"
#include "MailboxEndpoints.h"

class LaunchFixture : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/tt-launch-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_root = pattern;
        endpoints = std::make_unique<MailboxEndpoints>(m_root);
        ScObjects::TesselTalkUtils::setLaunchEndpoints(endpoints.get());
        ScObjects::TesselTalkUtils::setLaunchHost(&host);
    }
    void TearDown() override
    {
        ScObjects::TesselTalkUtils::setLaunchHost(nullptr);
        ScObjects::TesselTalkUtils::setLaunchEndpoints(nullptr);
        std::filesystem::remove_all(m_root);
    }

    std::unique_ptr<MailboxEndpoints> endpoints;
    FakeLaunchHost host;
    std::string m_root;
};

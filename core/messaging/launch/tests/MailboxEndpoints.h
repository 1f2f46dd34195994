// Named endpoints between processes for the launch tests, standing in for
// the stream transport: a folder with one lock file (held with flock, as
// the transport holds its names) and one mailbox folder per name.
#pragma once

#include <memory>
#include <string>

#include "LaunchServices.h"

class MailboxEndpoints : public ScObjects::TesselTalkUtils::LaunchEndpoints {
public:
    explicit MailboxEndpoints(std::string folder);

    bool canCreateLocally(const ScObjects::SoString& name) override;
    std::unique_ptr<ScObjects::TesselTalkUtils::LaunchInbox> open(const ScObjects::SoString& name) override;
    // Leaves text in the mailbox of name, whole or not at all.
    bool deliver(const std::string& name, const std::string& text);

private:
    std::string pathOf(const std::string& name, const char* extension) const;
    std::string m_folder;
};

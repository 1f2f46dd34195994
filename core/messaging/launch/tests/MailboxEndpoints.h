// Named endpoints between processes for the launch tests, standing in for
// the stream transport: a folder with one lock file (held with flock, as
// the transport holds its names) and one mailbox folder per name. Delivery
// to a name nobody holds fails, as a connection to it would.
#pragma once

#include <memory>
#include <string>

#include "LaunchServices.h"
#include "RunningTest.h"

class MailboxEndpoints : public ScObjects::TesselTalkUtils::LaunchEndpoints,
                         public ScObjects::TesselTalkUtils::ProbeStream {
public:
    explicit MailboxEndpoints(std::string folder);

    bool canCreateLocally(const ScObjects::SoString& name) override;
    std::unique_ptr<ScObjects::TesselTalkUtils::LaunchInbox> open(const ScObjects::SoString& name) override;
    bool canTakeSenderName(const ScObjects::SoString& name) override { return canCreateLocally(name); }
    bool deliver(const ScObjects::SoString& target, const ScObjects::SoString& text) override;
    // Leaves text in the mailbox of name, whole or not at all, held or not.
    bool leave(const std::string& name, const std::string& text);
    // Takes the oldest text left for name; empty when none.
    std::string takeDelivered(const std::string& name);

private:
    std::string pathOf(const std::string& name, const char* extension) const;
    std::string m_folder;
};

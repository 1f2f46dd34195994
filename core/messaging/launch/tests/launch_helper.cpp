// Started by the launch tests: reports the descriptors it inherited, its
// session, and the launch parameters it received, into the file named by
// TT_REPORT (written aside and renamed, so the test sees it whole).
#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "LaunchParams.h"
#include "MailboxEndpoints.h"

int main()
{
    const char* mailbox = std::getenv("TT_MAILBOX");
    const char* report = std::getenv("TT_REPORT");
    if (!mailbox || !report)
        return 2;

    std::string fds;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (const dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != dirfd(dir))
                fds += std::string(fds.empty() ? "" : ",") + entry->d_name;
        }
        closedir(dir);
    }

    MailboxEndpoints endpoints(mailbox);
    ScObjects::TesselTalkUtils::setLaunchEndpoints(&endpoints);
    ScObjects::SoString params("untouched");
    const bool ok = ScObjects::TesselTalkUtils::getLaunchParameters("helper-1.0", params);

    const std::string temp = std::string(report) + ".tmp";
    {
        std::ofstream out(temp);
        out << "fds=" << fds << "\n"
            << "own_session=" << (getsid(0) == getpid()) << "\n"
            << "ok=" << ok << "\n"
            << "params=" << params.c_str() << "\n";
    }
    return std::rename(temp.c_str(), report) == 0 ? 0 : 1;
}

#include "MailboxEndpoints.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

class MailboxInbox : public ScObjects::TesselTalkUtils::LaunchInbox {
public:
    MailboxInbox(int lockFd, std::string box)
        : m_lockFd(lockFd)
        , m_box(std::move(box))
    {
    }
    ~MailboxInbox() override { ::close(m_lockFd); }

    bool take(ScObjects::SoString& text) override
    {
        std::vector<std::string> names;
        if (DIR* dir = opendir(m_box.c_str())) {
            while (const dirent* entry = readdir(dir)) {
                if (entry->d_name[0] != '.')
                    names.push_back(entry->d_name);
            }
            closedir(dir);
        }
        if (names.empty())
            return false;
        const std::string path = m_box + "/" + *std::min_element(names.begin(), names.end());
        std::ifstream in(path, std::ios::binary);
        const std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        ::unlink(path.c_str());
        text.assign(content.data(), long(content.size()));
        return true;
    }

private:
    int m_lockFd;
    std::string m_box;
};

} // namespace

MailboxEndpoints::MailboxEndpoints(std::string folder)
    : m_folder(std::move(folder))
{
}

std::string MailboxEndpoints::pathOf(const std::string& name, const char* extension) const
{
    std::string encoded;
    for (unsigned char c : name) {
        if (isalnum(c) || c == '-' || c == '.' || c == '_') {
            encoded += char(c);
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", c);
            encoded += hex;
        }
    }
    return m_folder + "/" + encoded + extension;
}

bool MailboxEndpoints::canCreateLocally(const ScObjects::SoString& name)
{
    std::unique_ptr<ScObjects::TesselTalkUtils::LaunchInbox> probe = open(name);
    return probe != nullptr;
}

std::unique_ptr<ScObjects::TesselTalkUtils::LaunchInbox> MailboxEndpoints::open(const ScObjects::SoString& name)
{
    const int fd = ::open(pathOf(name.c_str(), ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return nullptr;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return nullptr;
    }
    return std::make_unique<MailboxInbox>(fd, pathOf(name.c_str(), ".box"));
}

bool MailboxEndpoints::deliver(const std::string& name, const std::string& text)
{
    static std::atomic<int> counter{0};
    const std::string box = pathOf(name, ".box");
    ::mkdir(box.c_str(), 0700);
    char seq[32];
    std::snprintf(seq, sizeof seq, "%08d", counter++);
    const std::string temp = box + "/.tmp" + seq;
    {
        std::ofstream out(temp, std::ios::binary);
        out << text;
        if (!out)
            return false;
    }
    return ::rename(temp.c_str(), (box + "/" + seq).c_str()) == 0;
}

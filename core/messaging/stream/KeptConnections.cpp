#include "KeptConnections.h"

#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace StreamTransport {

namespace {

struct Table {
    std::mutex mutex;
    // Most recently kept last.
    std::vector<std::pair<std::string, int>> entries;
};

void lockForFork();
void unlockAfterFork();
void forgetInChild();

Table& table()
{
    static Table* kept = [] {
        auto* made = new Table;
        ::pthread_atfork(lockForFork, unlockAfterFork, forgetInChild);
        return made;
    }();
    return *kept;
}

void lockForFork()
{
    table().mutex.lock();
}

void unlockAfterFork()
{
    table().mutex.unlock();
}

void forgetInChild()
{
    Table& kept = table();
    for (const auto& entry : kept.entries)
        ::close(entry.second);
    kept.entries.clear();
    kept.mutex.unlock();
}

} // namespace

std::string keptConnectionKey(const std::string& portName)
{
    const char* runtime = ::getenv("XDG_RUNTIME_DIR");
    std::string key = runtime ? runtime : "";
    key += '\n';
    key += portName;
    return key;
}

int takeKeptConnection(const std::string& key)
{
    Table& kept = table();
    std::lock_guard<std::mutex> guard(kept.mutex);
    const auto found = std::find_if(kept.entries.begin(), kept.entries.end(),
        [&key](const std::pair<std::string, int>& entry) { return entry.first == key; });
    if (found == kept.entries.end())
        return -1;
    const int fd = found->second;
    kept.entries.erase(found);
    return fd;
}

void keepConnection(const std::string& key, int fd)
{
    Table& kept = table();
    int surplus = -1;
    {
        std::lock_guard<std::mutex> guard(kept.mutex);
        const auto found = std::find_if(kept.entries.begin(), kept.entries.end(),
            [&key](const std::pair<std::string, int>& entry) { return entry.first == key; });
        if (found != kept.entries.end()) {
            surplus = fd;
        } else {
            if (kept.entries.size() >= kMaxKeptConnections) {
                surplus = kept.entries.front().second;
                kept.entries.erase(kept.entries.begin());
            }
            try {
                kept.entries.emplace_back(key, fd);
            } catch (...) {
                surplus = fd;
            }
        }
    }
    if (surplus >= 0)
        ::close(surplus);
}

void closeKeptConnections()
{
    Table& kept = table();
    std::vector<std::pair<std::string, int>> closing;
    {
        std::lock_guard<std::mutex> guard(kept.mutex);
        closing.swap(kept.entries);
    }
    for (const auto& entry : closing)
        ::close(entry.second);
}

} // namespace StreamTransport

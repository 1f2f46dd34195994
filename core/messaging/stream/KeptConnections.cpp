#include "KeptConnections.h"

#include <pthread.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace StreamTransport {

namespace {

using Entries = std::vector<std::pair<std::string, KeptConnection>>;

struct Table {
    std::mutex mutex;
    // Most recently kept last.
    Entries entries;
};

Entries::iterator find(Entries& entries, const std::string& key)
{
    return std::find_if(entries.begin(), entries.end(),
        [&key](const Entries::value_type& entry) { return entry.first == key; });
}

void lockForFork();
void unlockAfterFork();
void forgetInChild();

Table& table()
{
    // Never destroyed, so that a send from a late destructor still finds it,
    // and not on the heap, so that a module unloaded with it leaks nothing:
    // closeKeptConnections frees what it holds.
    alignas(Table) static unsigned char storage[sizeof(Table)];
    static Table* kept = [] {
        auto* made = new (storage) Table;
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
        ::close(entry.second.fd);
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

bool takeKeptConnection(const std::string& key, KeptConnection& out)
{
    Table& kept = table();
    std::lock_guard<std::mutex> guard(kept.mutex);
    const auto found = find(kept.entries, key);
    if (found == kept.entries.end())
        return false;
    out = found->second;
    kept.entries.erase(found);
    return true;
}

void keepConnection(const std::string& key, KeptConnection connection)
{
    Table& kept = table();
    int surplus = -1;
    {
        std::lock_guard<std::mutex> guard(kept.mutex);
        if (find(kept.entries, key) != kept.entries.end()) {
            surplus = connection.fd;
        } else {
            if (kept.entries.size() >= kMaxKeptConnections) {
                surplus = kept.entries.front().second.fd;
                kept.entries.erase(kept.entries.begin());
            }
            try {
                kept.entries.emplace_back(key, connection);
            } catch (...) {
                surplus = connection.fd;
            }
        }
    }
    if (surplus >= 0)
        ::close(surplus);
}

void closeKeptConnections()
{
    Table& kept = table();
    Entries closing;
    {
        std::lock_guard<std::mutex> guard(kept.mutex);
        closing.swap(kept.entries);
    }
    for (const auto& entry : closing)
        ::close(entry.second.fd);
}

} // namespace StreamTransport

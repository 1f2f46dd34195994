#include "Launcher.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "LaunchParams.h"
#include "LaunchServices.h"
#include "LaunchWatchHandlers.h"
#include "Message.h"

extern char** environ;

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

constexpr unsigned long kParamsTimeout = 300;

std::string canonicalPath(const char* path)
{
    char resolved[PATH_MAX];
    return path && realpath(path, resolved) ? std::string(resolved) : std::string();
}

std::string executableOf(unsigned long pid)
{
    char link[64];
    std::snprintf(link, sizeof link, "/proc/%lu/exe", pid);
    char target[PATH_MAX];
    const ssize_t n = readlink(link, target, sizeof target - 1);
    return n > 0 ? std::string(target, std::size_t(n)) : std::string();
}

bool writeAll(int fd, const void* data, std::size_t size)
{
    return ::write(fd, data, size) == ssize_t(size);
}

// Spawns argv detached: an intermediate child spawns the program in a new
// session and exits at once, so the program is re-parented away from us
// and never left as our zombie. Returns the program's process identifier,
// or 0.
pid_t spawnDetached(const char* file, char* const argv[], bool searchPath)
{
    posix_spawnattr_t attr;
    posix_spawn_file_actions_t actions;
    posix_spawnattr_init(&attr);
    posix_spawn_file_actions_init(&actions);
    // Our messaging thread may block signals; the program starts clean.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setsigdefault(&attr, &all);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    // Descriptors opened without O_CLOEXEC (the host's among them) must not
    // reach the program: an inherited endpoint lock would outlive us.
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);

    pid_t result = 0;
    int report[2];
    if (pipe2(report, O_CLOEXEC) == 0) {
        const pid_t middle = fork();
        if (middle == 0) {
            pid_t program = 0;
            const int rc = searchPath ? posix_spawnp(&program, file, &actions, &attr, argv, environ)
                                      : posix_spawn(&program, file, &actions, &attr, argv, environ);
            if (rc != 0)
                program = 0;
            _exit(writeAll(report[1], &program, sizeof program) ? 0 : 1);
        }
        ::close(report[1]);
        if (middle > 0) {
            pid_t program = 0;
            ssize_t n;
            while ((n = ::read(report[0], &program, sizeof program)) < 0 && errno == EINTR) {
            }
            if (n == ssize_t(sizeof program))
                result = program;
            while (waitpid(middle, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        ::close(report[0]);
    }
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    return result;
}

TesselTalk::Message* paramsMessage(LaunchHost& host, const SoString& sender, const char* type, const SoString& target,
    const SoString& body)
{
    TesselTalk::Message* message = new TesselTalk::Message;
    message->setSender(sender.c_str());
    message->setType(type);
    message->setTarget(target.c_str());
    message->setSerialNumber(host.nextSerialNumber());
    message->setTimeout(kParamsTimeout);
    message->setBody(body.c_str(), body.length());
    return message;
}

} // namespace

bool Launcher::launch(const TesselTalk::Specifier& spec, const SoString& path, const SoString* params, Focus,
    unsigned long* pid)
{
    if (pid)
        *pid = 0;
    if (path.isEmpty())
        return false;
    LaunchHost* host = getLaunchHost();
    const SoString mainName = host ? host->mainAppName() : SoString();

    if (std::strncmp(path.c_str(), "https://", 8) == 0) {
        std::string address = path.c_str();
        address += "?sender=";
        address += mainName.c_str();
        char opener[] = "xdg-open";
        char* const argv[] = {opener, &address[0], nullptr};
        return spawnDetached(opener, argv, true) != 0;
    }

    const bool offer = params && host && !mainName.isEmpty();
    SoString key("LAUNCHPARAMS:");
    key << mainName;
    const SoString queueName = getLaunchQueueName(spec);
    TesselTalk::Message* byPid = nullptr;
    std::vector<unsigned long> companions;
    if (offer) {
        host->queueOutgoing(paramsMessage(*host, mainName, "LaunchParams", queueName, *params));
        SoString pidTarget = spec.appName();
        pidTarget << '#';
        byPid = paramsMessage(*host, mainName, "LaunchParams", pidTarget, *params);
        SoString script("// ");
        script << key << "\n// " << *params << "\n";
        TesselTalk::Message* calligo = paramsMessage(*host, mainName, "Calligo", spec, script);
        calligo->setResponseRequest("Received");
        host->installWatch(new LaunchTimeoutMsgHandler(key, calligo->getSerialNumber(), queueName));
        host->installWatch(new LaunchReceivedMsgHandler(calligo->getSerialNumber()));
        companions.push_back(calligo->getSerialNumber());
        host->queueOutgoing(calligo);
    }

    // Every launch makes a new process here, so there is no running
    // instance to ask for another one, and no window to keep behind ours.
    std::string program = path.c_str();
    char* const argv[] = {&program[0], nullptr};
    const pid_t started = access(program.c_str(), X_OK) == 0 ? spawnDetached(program.c_str(), argv, false) : 0;
    if (started <= 0) {
        delete byPid;
        return false;
    }
    if (pid)
        *pid = static_cast<unsigned long>(started);
    if (byPid) {
        SoString target = byPid->getTarget();
        target << static_cast<unsigned long>(started);
        byPid->setTarget(target.c_str());
        LaunchReceivedMsgHandler* received = new LaunchReceivedMsgHandler(byPid->getSerialNumber());
        received->addCompanions(companions);
        host->installWatch(received);
        host->installWatch(new LaunchTimeoutMsgHandler(key, byPid->getSerialNumber(), queueName));
        host->queueOutgoing(byPid);
    }
    return true;
}

bool Launcher::isProcessRunning(unsigned long pid)
{
    if (pid == 0 || pid > static_cast<unsigned long>(INT_MAX))
        return false;
    if (kill(pid_t(pid), 0) != 0 && errno != EPERM)
        return false;
    // A zombie answers kill() but runs no more.
    char statPath[64];
    std::snprintf(statPath, sizeof statPath, "/proc/%lu/stat", pid);
    FILE* stat = std::fopen(statPath, "re");
    if (!stat)
        return true;
    char line[512] = {};
    const bool read = std::fgets(line, sizeof line, stat) != nullptr;
    std::fclose(stat);
    const char* close = read ? std::strrchr(line, ')') : nullptr;
    return !(close && close[1] == ' ' && close[2] == 'Z');
}

bool Launcher::isProcessRunning(unsigned long pid, const char* path)
{
    const std::string wanted = canonicalPath(path);
    return !wanted.empty() && isProcessRunning(pid) && executableOf(pid) == wanted;
}

BringToFrontResult Launcher::bringToFront(const char* path, SearchHint)
{
    BringToFrontResult result;
    const std::string wanted = canonicalPath(path);
    DIR* proc = wanted.empty() ? nullptr : opendir("/proc");
    while (proc && !result.found) {
        const dirent* entry = readdir(proc);
        if (!entry)
            break;
        char* end = nullptr;
        const unsigned long pid = std::strtoul(entry->d_name, &end, 10);
        if (pid != 0 && *end == '\0' && executableOf(pid) == wanted && isProcessRunning(pid)) {
            result.found = true;
            result.pid = pid;
        }
    }
    if (proc)
        closedir(proc);
    if (result.found) {
        result.note = "found process ";
        result.note << result.pid << "; raising another application's window is not supported on this platform";
    } else {
        result.note = "no running process of that executable";
    }
    return result;
}

} // namespace TesselTalkUtils
} // namespace ScObjects

#include "BenchSupport.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>

#include <time.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

double timeSeconds(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double cpuSeconds(const std::function<void()>& run)
{
    const auto now = [] {
        timespec ts{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
    };
    const double start = now();
    run();
    return now() - start;
}

Spread spreadOf(std::vector<double> samples)
{
    Spread s;
    if (samples.empty())
        return s;
    std::sort(samples.begin(), samples.end());
    const std::size_t n = samples.size();
    s.min = samples.front();
    s.max = samples.back();
    s.median = n % 2 ? samples[n / 2] : (samples[n / 2 - 1] + samples[n / 2]) / 2;
    return s;
}

QString fileSystemName(const QString& path)
{
    struct statfs st;
    if (::statfs(QFile::encodeName(path).constData(), &st) != 0)
        return QStringLiteral("unknown");
    switch (static_cast<unsigned long>(st.f_type)) {
    case 0xEF53: return QStringLiteral("ext4");
    case 0x01021994: return QStringLiteral("tmpfs");
    case 0x58465342: return QStringLiteral("xfs");
    case 0x9123683E: return QStringLiteral("btrfs");
    case 0x794C7630: return QStringLiteral("overlayfs");
    default: return QStringLiteral("0x%1").arg(static_cast<unsigned long>(st.f_type), 0, 16);
    }
}

bool freshFolder(const QString& path)
{
    QDir(path).removeRecursively();
    return QDir().mkpath(path);
}

bool writeRandomFile(const QString& path, qint64 size, unsigned seed)
{
    std::mt19937_64 random(seed);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    QByteArray block(1 << 20, Qt::Uninitialized);
    for (qint64 left = size; left > 0;) {
        auto* words = reinterpret_cast<quint64*>(block.data());
        for (int i = 0; i < block.size() / 8; ++i)
            words[i] = random();
        const qint64 n = std::min<qint64>(left, block.size());
        if (f.write(block.constData(), n) != n)
            return false;
        left -= n;
    }
    return f.flush();
}

bool sameBytes(const QString& a, const QString& b)
{
    QFile fa(a), fb(b);
    if (!fa.open(QIODevice::ReadOnly) || !fb.open(QIODevice::ReadOnly) || fa.size() != fb.size())
        return false;
    constexpr qint64 kChunk = 1 << 20;
    QByteArray ba(kChunk, Qt::Uninitialized), bb(kChunk, Qt::Uninitialized);
    for (;;) {
        const qint64 na = fa.read(ba.data(), kChunk);
        const qint64 nb = fb.read(bb.data(), kChunk);
        if (na != nb || na < 0)
            return false;
        if (na == 0)
            return true;
        if (std::memcmp(ba.constData(), bb.constData(), std::size_t(na)) != 0)
            return false;
    }
}

void flushAndDropPages(const QStringList& paths)
{
    for (const QString& path : paths) {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            continue;
        ::fdatasync(fd);
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        ::close(fd);
    }
}

bool runCp(const QStringList& args)
{
    std::vector<QByteArray> bytes{QByteArray("cp")};
    for (const QString& a : args)
        bytes.push_back(QFile::encodeName(a));
    std::vector<char*> argv;
    for (QByteArray& b : bytes)
        argv.push_back(b.data());
    argv.push_back(nullptr);
    pid_t pid;
    if (::posix_spawnp(&pid, "cp", nullptr, nullptr, argv.data(), environ) != 0)
        return false;
    int status = 0;
    return ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

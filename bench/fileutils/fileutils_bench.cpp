// fileutils_bench [work folder]
//
// copyFileIntoTargetFolder against `cp` on the same files (one 500 MB file;
// 1,000 files of 100 KB), and generateUniqueFileName with 0, 100 and 1,000
// taken names against a loop that only probes for existence. Each case runs
// ours and the peer alternately, several times, and keeps the best time of
// each. The files are in the page cache for both, so the figures compare the
// copying itself, not the disk.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>

#include <spawn.h>
#include <sys/wait.h>

#include "AppFileUtils.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double seconds(const std::function<void()>& run)
{
    const auto start = Clock::now();
    run();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

bool writeRandomFile(const QString& path, qint64 size, std::mt19937_64& random)
{
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
    return true;
}

bool runCp(const QStringList& args)
{
    std::vector<QByteArray> bytes;
    bytes.push_back("cp");
    for (const QString& a : args)
        bytes.push_back(QFile::encodeName(a));
    std::vector<char*> argv;
    for (QByteArray& b : bytes)
        argv.push_back(b.data());
    argv.push_back(nullptr);
    pid_t pid;
    if (posix_spawnp(&pid, "cp", nullptr, nullptr, argv.data(), environ) != 0)
        return false;
    int status = 0;
    return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void freshFolder(const QString& path)
{
    QDir(path).removeRecursively();
    QDir().mkpath(path);
}

void copyCase(const char* title, const QString& src, const QStringList& names, qint64 totalBytes,
              const QString& work, int rounds)
{
    const QString ours = work + QStringLiteral("/ours");
    const QString peer = work + QStringLiteral("/cp");
    double bestOurs = 1e9, bestPeer = 1e9;
    for (int round = 0; round < rounds; ++round) {
        freshFolder(ours);
        freshFolder(peer);
        bool ok = true;
        bestOurs = std::min(bestOurs, seconds([&] {
            for (const QString& n : names)
                ok = copyFileIntoTargetFolder(src, n, ours, n) && ok;
        }));
        QStringList args;
        for (const QString& n : names)
            args << src + QLatin1Char('/') + n;
        args << peer + QLatin1Char('/');
        bestPeer = std::min(bestPeer, seconds([&] { ok = runCp(args) && ok; }));
        if (!ok) {
            std::printf("%s: a copy failed\n", title);
            return;
        }
    }
    freshFolder(ours);
    freshFolder(peer);
    const double mb = double(totalBytes) / (1024 * 1024);
    std::printf("%-32s ours %8.1f MB/s  cp %8.1f MB/s  ours/cp throughput %.2fx\n", title, mb / bestOurs,
                mb / bestPeer, bestPeer / bestOurs);
}

void uniqueCase(int taken, const QString& work)
{
    const QString folder = work + QStringLiteral("/unique");
    freshFolder(folder);
    QFile(folder + QStringLiteral("/IMG_0001.JPG")).open(QIODevice::WriteOnly);
    for (int n = 1; n < taken; ++n)
        QFile(folder + QStringLiteral("/IMG_0001-%1.JPG").arg(n)).open(QIODevice::WriteOnly);
    const int repeats = taken >= 1000 ? 20 : 200;

    const double ours = seconds([&] {
        for (int r = 0; r < repeats; ++r) {
            QString out;
            generateUniqueFileName(folder, QStringLiteral("IMG_0001.JPG"), out, 1, false);
        }
    }) / repeats;
    // The peer: the same candidates, only probed for existence.
    const double peer = seconds([&] {
        for (int r = 0; r < repeats; ++r) {
            QString candidate = QStringLiteral("IMG_0001.JPG");
            for (int n = 1; QFileInfo::exists(folder + QLatin1Char('/') + candidate); ++n)
                candidate = QStringLiteral("IMG_0001-%1.JPG").arg(n);
        }
    }) / repeats;
    std::printf("generateUniqueFileName %4d taken: ours %9.1f us  exists-probe %9.1f us  ours/probe %.2fx\n", taken,
                ours * 1e6, peer * 1e6, ours / peer);
}

} // namespace

int main(int argc, char** argv)
{
    const QString work = QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::currentPath())
                             .absoluteFilePath(QStringLiteral("fileutils-bench"));
    const QString src = work + QStringLiteral("/src");
    freshFolder(src);
    std::mt19937_64 random(42);

    const qint64 big = 500LL * 1024 * 1024;
    if (!writeRandomFile(src + QStringLiteral("/big.bin"), big, random))
        return 1;
    copyCase("one 500 MB file", src, {QStringLiteral("big.bin")}, big, work, 3);
    QFile::remove(src + QStringLiteral("/big.bin"));

    QStringList small;
    for (int i = 0; i < 1000; ++i) {
        small << QStringLiteral("IMG_%1.JPG").arg(i, 4, 10, QLatin1Char('0'));
        if (!writeRandomFile(src + QLatin1Char('/') + small.last(), 100 * 1024, random))
            return 1;
    }
    copyCase("1,000 files of 100 KB", src, small, 1000LL * 100 * 1024, work, 5);

    for (int taken : {0, 100, 1000})
        uniqueCase(taken, work);
    QDir(work).removeRecursively();
    return 0;
}

#include "CopyBench.h"

#include <QDir>
#include <QStringList>

#include <cstdio>
#include <vector>

#include <unistd.h>

#include "AppFileUtils.h"
#include "BenchSupport.h"

namespace {

struct CopyCase {
    const char* title;
    QString source;    // folder holding the files
    QStringList names; // copied into the target folder under the same names
    qint64 bytes;
};

QStringList pathsIn(const QString& folder, const QStringList& names)
{
    QStringList paths;
    for (const QString& n : names)
        paths << folder + QLatin1Char('/') + n;
    return paths;
}

// One timed copy into an empty `target`, the disk quiet before it starts.
// Afterwards every file is compared with its source, written out and its
// pages dropped, so that the next timing starts from the same state.
bool timeOneCopy(const CopyCase& c, const QString& target, bool ours, std::vector<double>* samples)
{
    if (!freshFolder(target))
        return false;
    ::sync();
    bool ok = true;
    const double t = timeSeconds([&] {
        if (ours) {
            for (const QString& n : c.names)
                ok = copyFileIntoTargetFolder(c.source, n, target, n) && ok;
        } else {
            ok = runCp(pathsIn(c.source, c.names) << target + QLatin1Char('/'));
        }
    });
    const char* who = ours ? "ours" : "cp";
    if (!ok) {
        std::printf("  %s: the copy failed\n", who);
        return false;
    }
    const QStringList copies = pathsIn(target, c.names);
    for (int i = 0; i < c.names.size(); ++i) {
        if (!sameBytes(c.source + QLatin1Char('/') + c.names[i], copies[i])) {
            std::printf("  %s: %s differs from its source\n", who, qPrintable(copies[i]));
            return false;
        }
    }
    flushAndDropPages(copies);
    QDir(target).removeRecursively();
    samples->push_back(t);
    return true;
}

bool runCase(const CopyCase& c, const QString& work, int rounds)
{
    std::vector<double> ours, cp;
    for (int round = 0; round < rounds; ++round) {
        // Alternate who goes first so that neither always meets a disk that
        // is still busy with the other's pages.
        const bool oursFirst = round % 2 == 0;
        for (const bool isOurs : {oursFirst, !oursFirst}) {
            if (!timeOneCopy(c, work + (isOurs ? QStringLiteral("/ours") : QStringLiteral("/cp")), isOurs,
                             isOurs ? &ours : &cp))
                return false;
        }
    }
    const Spread o = spreadOf(ours), p = spreadOf(cp);
    const double mb = double(c.bytes) / (1024 * 1024);
    std::printf("  %-24s ours %7.3f / %7.3f / %7.3f s   cp %7.3f / %7.3f / %7.3f s   "
                "ours/cp median %.2fx  min %.2fx  (median %.0f vs %.0f MiB/s)\n",
                c.title, o.min, o.median, o.max, p.min, p.median, p.max, o.median / p.median, o.min / p.min,
                mb / o.median, mb / p.median);
    return true;
}

} // namespace

bool runCopyBench(const QString& folder, int rounds)
{
    const QString work = folder + QStringLiteral("/fileutils-bench-copy");
    const QString src = work + QStringLiteral("/src");
    if (!freshFolder(src)) {
        std::printf("cannot create %s\n", qPrintable(src));
        return false;
    }
    std::printf("copy in %s (%s), %d rounds, times min / median / max\n", qPrintable(folder),
                qPrintable(fileSystemName(folder)), rounds);

    const qint64 big = 500LL * 1024 * 1024;
    bool ok = writeRandomFile(src + QStringLiteral("/big.bin"), big, 42) &&
              runCase({"one 500 MiB file", src, {QStringLiteral("big.bin")}, big}, work, rounds);
    QFile::remove(src + QStringLiteral("/big.bin"));

    QStringList small;
    for (int i = 0; ok && i < 1000; ++i) {
        small << QStringLiteral("IMG_%1.JPG").arg(i, 4, 10, QLatin1Char('0'));
        ok = writeRandomFile(src + QLatin1Char('/') + small.last(), 100 * 1024, unsigned(i));
    }
    ok = ok && runCase({"1,000 files of 100 KiB", src, small, 1000LL * 100 * 1024}, work, rounds);
    QDir(work).removeRecursively();
    return ok;
}

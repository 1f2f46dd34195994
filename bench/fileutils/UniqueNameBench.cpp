#include "UniqueNameBench.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <string>
#include <vector>

#include "AppFileUtils.h"
#include "BenchSupport.h"
#include "PosixUniqueName.h"

namespace {

const QString kName = QStringLiteral("IMG_0001.JPG");

bool takeNames(const QString& folder, int taken)
{
    if (!freshFolder(folder))
        return false;
    for (int n = 0; n < taken; ++n) {
        QFile f(folder + (n == 0 ? QStringLiteral("/IMG_0001.JPG") : QStringLiteral("/IMG_0001-%1.JPG").arg(n)));
        if (!f.open(QIODevice::WriteOnly))
            return false;
    }
    return true;
}

bool runCase(const QString& folder, int taken, int rounds)
{
    if (!takeNames(folder, taken)) {
        std::printf("cannot fill %s\n", qPrintable(folder));
        return false;
    }
    const QByteArray nativeFolder = QFile::encodeName(folder);
    const QByteArray nativeName = kName.toUtf8();

    QString oursFound;
    std::string peerFound;
    const auto ours = [&] {
        oursFound.clear();
        if (!generateUniqueFileName(folder, kName, oursFound, 1, false))
            oursFound = QStringLiteral("(none)");
    };
    const auto peer = [&] {
        if (!posixUniqueName(nativeFolder.constData(), nativeName.constData(), 1, false, &peerFound))
            peerFound = "(none)";
    };
    ours();
    peer();
    if (oursFound.toStdString() != peerFound) {
        std::printf("  %d taken: ours found %s, the peer %s\n", taken, qPrintable(oursFound), peerFound.c_str());
        return false;
    }

    // Enough calls per sample that one sample lasts a few milliseconds.
    const int calls = taken >= 1000 ? 10 : taken >= 100 ? 50 : 500;
    std::vector<double> oursTimes, peerTimes;
    for (int round = 0; round < rounds; ++round) {
        const bool oursFirst = round % 2 == 0;
        for (const bool isOurs : {oursFirst, !oursFirst}) {
            const double t = cpuSeconds([&] {
                for (int i = 0; i < calls; ++i)
                    isOurs ? ours() : peer();
            });
            (isOurs ? oursTimes : peerTimes).push_back(t / calls * 1e6);
        }
    }
    const Spread o = spreadOf(oursTimes), p = spreadOf(peerTimes);
    std::printf("  %4d taken -> %-16s ours %8.1f / %8.1f / %8.1f us   posix %8.1f / %8.1f / %8.1f us   "
                "ours/posix median %.2fx  min %.2fx\n",
                taken, peerFound.c_str(), o.min, o.median, o.max, p.min, p.median, p.max, o.median / p.median,
                o.min / p.min);
    return true;
}

} // namespace

bool runUniqueNameBench(const QString& folder, int rounds)
{
    const QString work = folder + QStringLiteral("/fileutils-bench-unique");
    std::printf("generateUniqueFileName in %s (%s), %d rounds, CPU time per call min / median / max\n",
                qPrintable(folder), qPrintable(fileSystemName(folder)), rounds);
    bool ok = true;
    for (int taken : {0, 100, 1000})
        ok = ok && runCase(work, taken, rounds);
    QDir(work).removeRecursively();
    return ok;
}

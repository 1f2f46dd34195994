// Timing, statistics and file helpers shared by the file-utility benchmarks.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// Wall-clock seconds that `run` takes.
double timeSeconds(const std::function<void()>& run);
// CPU seconds, user and system, that the calling thread spends in `run`:
// unlike the wall clock, not inflated by waiting for a core on a busy machine.
double cpuSeconds(const std::function<void()>& run);

struct Spread {
    double min = 0;
    double median = 0;
    double max = 0;
};
// Min, median (the mean of the middle two for an even count) and max.
Spread spreadOf(std::vector<double> samples);

// The file system `path` lives on, e.g. "ext4" or "tmpfs".
QString fileSystemName(const QString& path);

// Removes `path` with everything under it and creates it empty.
bool freshFolder(const QString& path);
// Writes `size` pseudo-random bytes, the same for the same seed.
bool writeRandomFile(const QString& path, qint64 size, unsigned seed);
// True when the two files hold the same bytes.
bool sameBytes(const QString& a, const QString& b);
// Writes the files' dirty pages to disk and asks the kernel to drop their
// cached pages, so that a finished copy does not weigh on the next timing.
void flushAndDropPages(const QStringList& paths);
// Runs `cp` with `args`; true when it exits with 0.
bool runCp(const QStringList& args);

// fileutils_bench [--rounds N] [--only copy|unique] [FOLDER...]
//
// The file utilities against their peers in one run, in each FOLDER (default:
// /var/tmp on the disk and /dev/shm in memory): copyFileIntoTargetFolder
// against cp, generateUniqueFileName against the same rule in plain POSIX.
// Prints min / median / max of both and their ratio; exits non-zero when a
// copy failed or differed from its source, or the two disagreed on a name.
#include <QString>
#include <QStringList>

#include <cstdio>

#include "CopyBench.h"
#include "UniqueNameBench.h"

int main(int argc, char** argv)
{
    // Line by line: a run takes minutes and is often watched through a pipe.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    int copyRounds = 6;
    int uniqueRounds = 20;
    QString only;
    QStringList folders;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg == QLatin1String("--rounds") && i + 1 < argc) {
            copyRounds = uniqueRounds = QString::fromLocal8Bit(argv[++i]).toInt();
        } else if (arg == QLatin1String("--only") && i + 1 < argc) {
            only = QString::fromLocal8Bit(argv[++i]);
        } else if (arg.startsWith(QLatin1Char('-'))) {
            std::fprintf(stderr, "usage: fileutils_bench [--rounds N] [--only copy|unique] [FOLDER...]\n");
            return 2;
        } else {
            folders << arg;
        }
    }
    if (copyRounds < 1) {
        std::fprintf(stderr, "fileutils_bench: --rounds needs a positive number\n");
        return 2;
    }
    if (folders.isEmpty())
        folders << QStringLiteral("/var/tmp") << QStringLiteral("/dev/shm");

    bool ok = true;
    for (const QString& folder : folders) {
        if (only.isEmpty() || only == QLatin1String("copy"))
            ok = runCopyBench(folder, copyRounds) && ok;
        if (only.isEmpty() || only == QLatin1String("unique"))
            ok = runUniqueNameBench(folder, uniqueRounds) && ok;
    }
    return ok ? 0 : 1;
}

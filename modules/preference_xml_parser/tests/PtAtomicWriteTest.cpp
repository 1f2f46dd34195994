// A writer process saves generation after generation and is killed at random
// moments; whatever it was doing, the file must be a whole generation: the
// last one it reported or the one after.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <csignal>
#include <random>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "PreferenceModuleLoader.h"
#include "PtPreferenceFile.h"

namespace {

constexpr int kKeys = 16;
constexpr int kPadBytes = 256 * 1024;

std::string key(int i) { return "Key" + std::to_string(i); }

// Writes generations start, start+1, ... forever; after each one is saved,
// sends its number down `report`.
[[noreturn]] void writer(const QString& folder, long start, int report)
{
    PreferenceModuleLoader loader;
    IPtPreferences* store = loader.openStore(folder, folder);
    if (!store)
        ::_exit(2);
    for (long g = start;; ++g) {
        const std::u16string text = units(QString::number(g));
        store->BeginUpdate();
        for (int i = 0; i < kKeys; ++i)
            store->SetString(3, key(i).c_str(), up(text));
        const QByteArray pad = QByteArray::number(qlonglong(g)).repeated(kPadBytes / 8);
        store->SetBytes(3, "Pad", pad.constData(), unsigned(pad.size()));
        if (!store->EndUpdate())
            ::_exit(3);
        if (::write(report, &g, sizeof g) != sizeof g)
            ::_exit(4);
    }
}

// The generation the file holds, or -1 when it is not one whole generation.
long generationOnDisk(const QString& file, QString* why)
{
    const auto r = PtPreferenceFile::read(file);
    if (r.status != PtPreferenceFile::Status::Loaded) {
        *why = r.error;
        return -1;
    }
    const PtPreferenceDomain& d = r.values.at(3);
    const long g = d.at(key(0)).text.toLong();
    for (int i = 1; i < kKeys; ++i)
        if (d.at(key(i)).text.toLong() != g) {
            *why = QStringLiteral("keys of different generations");
            return -1;
        }
    if (d.at("Pad").bytes != QByteArray::number(qlonglong(g)).repeated(kPadBytes / 8)) {
        *why = QStringLiteral("padding of another generation");
        return -1;
    }
    return g;
}

} // namespace

TEST(PtAtomicWrite, KilledWriterLeavesTheOldOrTheNewFile)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("prefs"));
    const QString file = folder + QStringLiteral("/Preferences.xml");
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> delayMicros(0, 40000);
    SCOPED_TRACE("seed " + std::to_string(seed));

    long committed = 0;
    int killedMidWrite = 0;
    for (int round = 0; round < 60; ++round) {
        int pipeFds[2];
        ASSERT_EQ(::pipe2(pipeFds, O_CLOEXEC), 0);
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            ::close(pipeFds[0]);
            writer(folder, committed + 1, pipeFds[1]);
        }
        ::close(pipeFds[1]);
        const int wait = delayMicros(random);
        const timespec pause{0, wait * 1000L};
        ::nanosleep(&pause, nullptr);
        ::kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed on its own, status " << status;

        long reported = committed;
        long g = 0;
        while (::read(pipeFds[0], &g, sizeof g) == sizeof g)
            reported = g;
        ::close(pipeFds[0]);

        if (reported == 0 && !QFileInfo::exists(file))
            continue; // killed before its first save finished
        QString why;
        const long onDisk = generationOnDisk(file, &why);
        ASSERT_NE(onDisk, -1) << "round " << round << ": " << qPrintable(why);
        ASSERT_TRUE(onDisk == reported || onDisk == reported + 1)
            << "round " << round << ": file holds " << onDisk << ", last reported " << reported;
        killedMidWrite += onDisk == reported;
        committed = onDisk;
    }
    EXPECT_GT(committed, 0) << "the writer never finished a generation";
    RecordProperty("generations", int(committed));
    RecordProperty("roundsWithOldFile", killedMidWrite);
}

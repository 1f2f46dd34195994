// The backup copy before the host's processing, and the DNG settings that
// reach the converter, both through the preferences of the loaded plug-in.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <dlfcn.h>
#include <sys/mount.h>
#include <tiffio.h>

#include "FakePanel.h"
#include "IPtPreferences.h"
#include "ProcessingFixture.h"
#include "SyntheticRaw.h"

namespace {

const QString kCreatingBackup = QStringLiteral("Creating Backup Copy...");

const unsigned short* u(const QString& text)
{
    return text.utf16();
}

class PluginPreProcessing : public ProcessingTest {
protected:
    void SetUp() override
    {
        ProcessingTest::SetUp();
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_data.path()));
    }
    void TearDown() override
    {
        ProcessingTest::TearDown();
        qunsetenv("XDG_DATA_HOME");
        EXPECT_EQ(m_panel.outstanding(), 0);
    }

    // Stores values the way the settings panel and the DNG dialog do, through
    // the staged preference module, into the user's store.
    void store(const std::vector<std::pair<const char*, QString>>& values)
    {
        void* module = ::dlopen(TESSEL_STAGE_DIR "/Frameworks/preference_xml_parser.framework/preference_xml_parser",
                                RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << ::dlerror();
        auto entry = reinterpret_cast<PtModuleMainFunc>(::dlsym(module, PT_MODULE_ENTRY));
        IPtUnknown* object = nullptr;
        ASSERT_TRUE(entry && entry(&object));
        IPtPreferences* preferences = nullptr;
        ASSERT_TRUE(object->QueryInterface(kIID_IPtPreferences, reinterpret_cast<void**>(&preferences)));
        object->Release();
        const QString folder = m_data.filePath(QStringLiteral("Corvane/Tessel 2024"));
        ASSERT_TRUE(QDir().mkpath(folder));
        ASSERT_TRUE(preferences->Open(u(folder), u(folder)));
        for (const auto& [key, value] : values)
            EXPECT_TRUE(preferences->SetString(3, key, u(value))) << key;
        preferences->Release();
        ::dlclose(module);
    }

    // Hands the plug-in the panel and lets it read the preferences.
    void readPreferences()
    {
        auto* ui = query<ISinkUICapabilities>(m_source, kIID_ISinkUICapabilities);
        EXPECT_EQ(ui->SetClientUIHandler(&m_panel), kFxOk);
        ui->Release();
        auto* util = query<ISinkUtilHandler2>(m_source, kIID_ISinkUtilHandler2);
        CPropAppPreferences3 record;
        fxInitRecord(record);
        EXPECT_EQ(util->GetPreferences(record.header), kFxOk);
        util->Release();
    }

    void openWithBackupFolder(const QString& folder)
    {
        store({{"SaveToSecondaryLocation", QStringLiteral("1")}, {"SecondaryLocation", folder}});
        openSource();
        readPreferences();
    }

    QTemporaryDir m_data;
    QTemporaryDir m_card;
    QTemporaryDir m_backup;
    FakeUIHandler m_panel{allPanelWidgets()};
};

} // namespace

TEST_F(PluginPreProcessing, BackupCopiesAreNumberedWithinASeries)
{
    openWithBackupFolder(m_backup.path());
    ASSERT_TRUE(writeBytes(m_card.filePath("IMG_0001.JPG"), "one"));
    ASSERT_TRUE(writeBytes(m_card.filePath("DSC_5.JPG"), "five"));
    ASSERT_TRUE(writeBytes(m_card.filePath("trip-7.jpg"), "seven"));
    CPropSinkMediaItem first = item(m_card.path(), QStringLiteral("IMG_0001.JPG"));
    CPropSinkMediaItem other = item(m_card.path(), QStringLiteral("DSC_5.JPG"));
    CPropSinkMediaItem trip = item(m_card.path(), QStringLiteral("trip-7.jpg"));
    m_next.result = 3;
    struct Step {
        CPropSinkMediaItem* record;
        const char* copy;
    } steps[] = {{&first, "IMG_0001.JPG"}, {&first, "IMG_0001-1.JPG"}, {&first, "IMG_0001-2.JPG"},
                 {&other, "DSC_5.JPG"},    {&other, "DSC_5-1.JPG"},    {&trip, "trip-7.jpg"},
                 {&trip, "trip-7-8.jpg"}};
    for (const Step& step : steps) {
        SCOPED_TRACE(step.copy);
        EXPECT_EQ(pre(*step.record), FxResult(3)) << "the chained result";
        const QString copy = m_backup.filePath(QString::fromLatin1(step.copy));
        ASSERT_TRUE(QFile::exists(copy));
        EXPECT_EQ(readBytes(copy), readBytes(m_card.filePath(QString::fromUtf16(
                                       reinterpret_cast<const char16_t*>(step.record->fileName)))));
        const QFile::Permissions everyone = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                            QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                            QFile::WriteOther | QFile::ExeOther;
        EXPECT_EQ(QFile::permissions(copy) & everyone, QFile::ReadOwner | QFile::WriteOwner);
    }
    EXPECT_EQ(s_status, QStringList(QVector<QString>(7, kCreatingBackup).toList()));
    EXPECT_EQ(listFolder(m_card.path()), (QStringList{"DSC_5.JPG", "IMG_0001.JPG", "trip-7.jpg"}));
}

TEST_F(PluginPreProcessing, BackupFolderIsCreatedOrRefused)
{
    const QString folder = m_backup.filePath(QStringLiteral("later"));
    ASSERT_TRUE(QDir().mkpath(folder));
    openWithBackupFolder(folder);
    ASSERT_TRUE(writeBytes(m_card.filePath("A.JPG"), "a"));
    CPropSinkMediaItem record = item(m_card.path(), QStringLiteral("A.JPG"));

    // Gone since the preferences were read: made again, parents included.
    ASSERT_TRUE(QDir(m_backup.path()).removeRecursively());
    EXPECT_EQ(pre(record), FxResult(1));
    EXPECT_TRUE(QFile::exists(folder + "/A.JPG"));

    // A file where the folder should be.
    ASSERT_TRUE(QDir(m_backup.path()).removeRecursively());
    ASSERT_TRUE(writeBytes(m_backup.path(), "in the way"));
    EXPECT_EQ(pre(record), kFxErrNoBuffer);
    QFile::remove(m_backup.path());
}

TEST_F(PluginPreProcessing, ChainAndRecordChecks)
{
    openWithBackupFolder(m_backup.path());
    ASSERT_TRUE(writeBytes(m_card.filePath("A.JPG"), "a"));
    CPropSinkMediaItem record = item(m_card.path(), QStringLiteral("A.JPG"));
    m_next.result = 0;
    EXPECT_EQ(pre(record), FxResult(0));
    m_next.result = 1;
    record.header.size = 2116;
    EXPECT_EQ(pre(record), kFxErrNoBuffer);
    EXPECT_EQ(m_next.preCalls, 2);
    EXPECT_TRUE(listFolder(m_backup.path()).isEmpty());
    EXPECT_TRUE(s_status.isEmpty());
}

TEST_F(PluginPreProcessing, LowDiskSpaceIsReported)
{
    const QByteArray where = QFile::encodeName(m_backup.path());
    if (::mount("tmpfs", where.constData(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "cannot mount a small tmpfs here (needs root): " << std::strerror(errno);
    struct Unmount {
        QByteArray at;
        ~Unmount() { ::umount(at.constData()); }
    } unmount{where};
    openWithBackupFolder(m_backup.path());
    ASSERT_TRUE(writeBytes(m_card.filePath("BIG.JPG"), QByteArray(256 * 1024, 'b')));
    CPropSinkMediaItem record = item(m_card.path(), QStringLiteral("BIG.JPG"));
    record.itemSize = 256 * 1024;
    EXPECT_EQ(pre(record), kFxErrNoBuffer);
    ASSERT_EQ(s_errors.size(), 1);
    EXPECT_TRUE(s_errors[0].startsWith(QStringLiteral("The backup destination folder is low on disk space")));
    EXPECT_TRUE(listFolder(m_backup.path()).isEmpty()) << "a partial copy was left";
}

TEST_F(PluginPreProcessing, DngSettingsReachTheConverter)
{
    store({{"ConvertToDNG", QStringLiteral("1")},
           {"DNGOutputUncompressed", QStringLiteral("1")},
           {"DNGOutputLinear", QStringLiteral("1")},
           {"DNGEmbeddRAW", QStringLiteral("1")},
           {"DNGJpegPreviewSize", QStringLiteral("0")}});
    openSource();
    readPreferences();
    const std::string source = m_card.filePath(QStringLiteral("A.nef")).toStdString();
    ASSERT_TRUE(writeSyntheticDng(makeSyntheticRaw(300, 200, 12, 8), source));
    CPropSinkMediaItem record = item(m_card.path(), QStringLiteral("A.nef"));
    ASSERT_EQ(post(record), FxResult(true));

    TIFF* tif = TIFFOpen(m_card.filePath(QStringLiteral("A.dng")).toUtf8().constData(), "r");
    ASSERT_NE(tif, nullptr);
    std::uint16_t compression = 0, photometric = 0, count = 0;
    toff_t* subIfds = nullptr;
    std::uint8_t* name = nullptr;
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
    EXPECT_EQ(compression, COMPRESSION_NONE);
    EXPECT_EQ(photometric, 34892) << "linear";
    EXPECT_FALSE(TIFFGetField(tif, TIFFTAG_SUBIFD, &count, &subIfds)) << "no preview";
    ASSERT_TRUE(TIFFGetField(tif, TIFFTAG_ORIGINALRAWFILENAME, &count, &name)) << "the original is embedded";
    EXPECT_STREQ(reinterpret_cast<const char*>(name), "A.nef");
    TIFFClose(tif);
}

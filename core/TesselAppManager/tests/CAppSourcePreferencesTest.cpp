// The source's preferences through the real preference module, loaded from
// the stage tree the way the plug-in finds it (relative to stage/bin).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>

#include <cstring>

#include <unistd.h>

#include "CAppInfo.h"
#include "CAppSource.h"
#include "FakePanel.h"
#include "IPtPreferences.h"

namespace {

const char kDefaultPattern[] = "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6";

const unsigned short* u(const QString& s) { return s.utf16(); }

CPropAppPreferences3 blankRecord()
{
    CPropAppPreferences3 record;
    fxInitRecord(record);
    return record;
}

class CAppSourcePreferences : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!QApplication::instance()) {
            static int argc = 1;
            static char name[] = "appmanager_preferences_tests";
            static char* argv[] = {name, nullptr};
            s_app = new QApplication(argc, argv);
        }
    }
    static void TearDownTestSuite()
    {
        delete s_app;
        s_app = nullptr;
    }

    void SetUp() override
    {
        m_oldCwd = QDir::currentPath();
        ASSERT_TRUE(QDir().mkpath(QStringLiteral(TESSEL_STAGE_DIR "/bin")));
        ASSERT_TRUE(QDir::setCurrent(QStringLiteral(TESSEL_STAGE_DIR "/bin")));
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_tmp.filePath(QStringLiteral("data"))));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_tmp.filePath(QStringLiteral("config"))));
    }

    void TearDown() override
    {
        QDir::setCurrent(m_oldCwd);
        qunsetenv("XDG_DATA_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }

    QString userFolder() const { return m_tmp.filePath(QStringLiteral("data/Corvane/Tessel 2024")); }

    CAppSource* newSource(IClientUIHandler* panel = nullptr)
    {
        auto* source = new CAppSource(CAppInfo{});
        source->AddRef();
        if (panel) {
            EXPECT_EQ(source->SetClientUIHandler(panel), kFxOk);
        }
        return source;
    }

    // Each value gets a folder of its own: QSettings may keep a file it read
    // within the same second, and "119" and "120" have the same size.
    void setBackdrop(const QByteArray& value)
    {
        const QString folder = m_tmp.filePath(QStringLiteral("config-") + QString::fromLatin1(value));
        ASSERT_TRUE(QDir().mkpath(folder));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder));
        QFile conf(folder + QStringLiteral("/com.corvane.tessel9.conf"));
        ASSERT_TRUE(conf.open(QIODevice::WriteOnly));
        conf.write("ImageBackdrop=" + value + "\n");
    }

    static QApplication* s_app;
    QTemporaryDir m_tmp;
    QString m_oldCwd;
};
QApplication* CAppSourcePreferences::s_app = nullptr;

} // namespace

TEST_F(CAppSourcePreferences, EveryFieldAndWidgetStateRoundTrips)
{
    QTemporaryDir backup;
    FakeUIHandler panelA(allPanelWidgets());
    CAppSource* a = newSource(&panelA);
    IPtPreferences* store = a->getIPtPreferences();
    ASSERT_NE(store, nullptr) << "the staged module loads from ../Frameworks";
    // What the settings panel and the DNG dialog would have stored.
    ASSERT_TRUE(store->SetString(3, "SecondaryLocation", u(backup.path())));
    ASSERT_TRUE(store->SetString(3, "SaveToSecondaryLocation", u(QStringLiteral("1"))));
    ASSERT_TRUE(store->SetString(3, "DNGOutputLinear", u(QStringLiteral("1"))));
    ASSERT_TRUE(store->SetString(3, "DNGEmbeddRAW", u(QStringLiteral("1"))));
    ASSERT_TRUE(store->SetString(3, "DNGJpegPreviewSize", u(QStringLiteral("2"))));

    CPropAppPreferences3 rec = blankRecord();
    ASSERT_EQ(a->GetPreferences(rec.header), kFxOk);
    EXPECT_EQ(a->backupFolder(), backup.path());
    EXPECT_STREQ(rec.getBatchRenamePreference(), kDefaultPattern);

    const QString location = QStringLiteral("/media/card/DCIM/\u00e9t\u00e9");
    std::copy_n(location.utf16(), location.size() + 1, rec.location);
    rec.dontShowAgainFlags = 0x15;
    rec.option1Pref = 2;
    rec.option2Pref = 1;
    rec.option3Pref = 1;
    rec.setBatchRenamePreference("custom#\"x\"#1", 12);
    rec.createSubfoldersComboIndex = 5;
    rec.renameFilesComboIndex = 2;
    rec.applyMetadataGroupOpen = 0;
    rec.customGroupOpen = 0;
    rec.quickViewerMode = 3;
    rec.setApplyMetadataAuthorName("Ann \xC3\x96", 6);
    rec.setApplyMetadataCopyright("(c) 2024 <Ann & Bo>", 19);
    rec.setApplyMetadataTemplateName("Studio", 6);
    rec.SetMobileFolderSetting("Mobile/Inbox", 12);
    rec.renameSequenceNumber = 42;
    rec.preserveOriginalFilename = 1;
    rec.gridFilter = (1LL << 40) | 7;
    panelA.widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->checked = false;
    panelA.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked = true;
    panelA.widget(SKIFF_WIDGET_DNG_CHECKBOX)->checked = true;
    ASSERT_EQ(a->SetPreferences(rec.header), kFxOk);
    EXPECT_EQ(a->Release(), 0);
    EXPECT_EQ(panelA.outstanding(), 0) << "the last Release gives back the handler and every widget";

    FakeUIHandler panelB(allPanelWidgets());
    QLabel narrow;
    narrow.resize(90, 20);
    FakeWidget* label = panelB.widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL);
    label->native = &narrow;
    CAppSource* b = newSource(&panelB);
    CPropAppPreferences3 back = blankRecord();
    ASSERT_EQ(b->GetPreferences(back.header), kFxOk);

    CPropAppPreferences3 expected = rec;
    expected.backgroundColor = 0xFFD2D2D2; // no backdrop setting: the fresh record's grey
    expected.textColor = 0xFF000000;
    EXPECT_EQ(std::memcmp(&expected, &back, sizeof back), 0) << "every field comes back";
    EXPECT_EQ(back.backgroundColor, 0xFFD2D2D2u);
    EXPECT_EQ(back.textColor, 0xFF000000u);

    EXPECT_FALSE(panelB.widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->checked);
    EXPECT_TRUE(panelB.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked);
    EXPECT_TRUE(panelB.widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)->checked);
    EXPECT_TRUE(label->enabled);
    EXPECT_TRUE(panelB.widget(SKIFF_WIDGET_BROWSE_BUTTON)->enabled);
    EXPECT_EQ(label->secondText, backup.path());
    EXPECT_TRUE(label->text.startsWith(QStringLiteral("..."))) << qPrintable(label->text);
    EXPECT_EQ(b->backupFolder(), backup.path());
    EXPECT_TRUE(b->dngOptions().linear);
    EXPECT_TRUE(b->dngOptions().embedRaw);
    EXPECT_FALSE(b->dngOptions().uncompressed);
    EXPECT_EQ(b->dngOptions().jpegPreviewSize, 2);

    FakeWidget* dng = panelB.widget(SKIFF_WIDGET_DNG_CHECKBOX);
    ASSERT_FALSE(dng->checkedHistory.empty());
    EXPECT_TRUE(dng->checkedHistory.front()) << "the stored choice is read";
    if (!b->conversionEntry()) {
        EXPECT_FALSE(dng->checked) << "without a converter the box is cleared";
        EXPECT_FALSE(dng->enabled);
        EXPECT_EQ(dng->text, QStringLiteral("DNG Converter missing or corrupt"));
        EXPECT_FALSE(panelB.widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled);
    }
    b->Release();
}

TEST_F(CAppSourcePreferences, StoreWithoutDomain3GivesTheDefaults)
{
    ASSERT_TRUE(QDir().mkpath(userFolder()));
    QFile file(userFolder() + QStringLiteral("/Preferences.xml"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<preferences version=\"1\"><domain id=\"5\"><value key=\"CreateSubfoldersComboIndex\" "
               "type=\"text\">9</value></domain></preferences>");
    file.close();

    FakeUIHandler panel(allPanelWidgets());
    panel.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked = true;
    panel.widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)->checked = true;
    panel.widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL)->text = QStringLiteral("/old");
    CAppSource* source = newSource(&panel);
    ASSERT_NE(source->getIPtPreferences(), nullptr);
    CPropAppPreferences3 rec = blankRecord();
    rec.createSubfoldersComboIndex = 77;
    ASSERT_EQ(source->GetPreferences(rec.header), kFxOk);

    EXPECT_EQ(rec.createSubfoldersComboIndex, 3);
    EXPECT_EQ(rec.renameFilesComboIndex, 0);
    EXPECT_STREQ(rec.getBatchRenamePreference(), kDefaultPattern);
    EXPECT_EQ(rec.applyMetadataGroupOpen, 1);
    EXPECT_EQ(rec.customGroupOpen, 1);
    EXPECT_EQ(rec.renameSequenceNumber, 1);
    EXPECT_EQ(rec.preserveOriginalFilename, 0);
    EXPECT_EQ(rec.quickViewerMode, 1);
    EXPECT_EQ(rec.option1Pref, 2);
    EXPECT_EQ(rec.fixedWord1, 1);
    EXPECT_EQ(rec.fixedWord7, 7);
    EXPECT_EQ(rec.location[0], 0);
    EXPECT_EQ(rec.backgroundColor, 0xFFD2D2D2u);
    EXPECT_EQ(rec.textColor, 0xFF646464u);
    EXPECT_TRUE(panel.widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->checked);
    EXPECT_FALSE(panel.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked);
    EXPECT_FALSE(panel.widget(SKIFF_WIDGET_DNG_CHECKBOX)->checked);
    EXPECT_FALSE(panel.widget(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX)->checked);
    EXPECT_FALSE(panel.widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled);
    EXPECT_EQ(panel.widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL)->text, QString());
    source->Release();
}

TEST_F(CAppSourcePreferences, ShippedDefaultsAgreeWithTheBuiltInOnes)
{
    CAppSource* fresh = newSource();
    ASSERT_NE(fresh->getIPtPreferences(), nullptr);
    ASSERT_TRUE(fresh->getIPtPreferences()->HasDomain(3)) << "a new user reads the shipped file";
    CPropAppPreferences3 shipped = blankRecord();
    ASSERT_EQ(fresh->GetPreferences(shipped.header), kFxOk);
    fresh->Release();

    QDir::setCurrent(m_tmp.path()); // no module here: the built-in defaults
    CAppSource* builtIn = newSource();
    EXPECT_EQ(builtIn->getIPtPreferences(), nullptr);
    CPropAppPreferences3 defaults = blankRecord();
    ASSERT_EQ(builtIn->GetPreferences(defaults.header), kFxOk);
    EXPECT_EQ(builtIn->SetPreferences(defaults.header), kFxOk) << "nothing to write to is no error";
    builtIn->Release();
    EXPECT_FALSE(QFileInfo::exists(userFolder()));

    defaults.textColor = shipped.textColor; // the shipped path follows the backdrop
    EXPECT_EQ(std::memcmp(&shipped, &defaults, sizeof shipped), 0);
}

TEST_F(CAppSourcePreferences, BadRecordsAreRefusedAndUntouched)
{
    CAppSource* source = newSource();
    const struct {
        std::uint32_t type;
        std::uint64_t size;
    } rows[] = {{5, 5876}, {4, 5880}, {5, 5884}, {0, 0}};
    for (const auto& row : rows) {
        CPropAppPreferences3 rec;
        std::memset(&rec, 0xAB, sizeof rec);
        rec.header.type = row.type;
        rec.header.size = row.size;
        const CPropAppPreferences3 before = rec;
        EXPECT_EQ(source->GetPreferences(rec.header), kFxErrInvalidArg) << row.size;
        EXPECT_EQ(source->SetPreferences(rec.header), kFxErrInvalidArg) << row.size;
        EXPECT_EQ(std::memcmp(&before, &rec, sizeof rec), 0) << row.size;
    }
    source->Release();
    EXPECT_FALSE(QFileInfo::exists(userFolder())) << "nothing was written";
}

TEST_F(CAppSourcePreferences, BackdropDecidesTheTextColour)
{
    const struct {
        const char* backdrop;
        std::uint32_t background;
        std::uint32_t text;
    } rows[] = {
        {"119", 0xFF777777, 0xFFFFFFFF}, {"120", 0xFF787878, 0xFF000000}, {"0", 0xFF000000, 0xFFFFFFFF},
        {"255", 0xFFFFFFFF, 0xFF000000}, {"dark", 0xFFD2D2D2, 0xFF000000}, {"300", 0xFFD2D2D2, 0xFF000000},
    };
    for (const auto& row : rows) {
        setBackdrop(row.backdrop);
        CAppSource* source = newSource();
        CPropAppPreferences3 rec = blankRecord();
        ASSERT_EQ(source->GetPreferences(rec.header), kFxOk);
        EXPECT_EQ(rec.backgroundColor, row.background) << row.backdrop;
        EXPECT_EQ(rec.textColor, row.text) << row.backdrop;
        source->Release();
    }
}

TEST_F(CAppSourcePreferences, StoredValuesFollowTheReadingRules)
{
    CAppSource* writer = newSource();
    IPtPreferences* store = writer->getIPtPreferences();
    ASSERT_NE(store, nullptr);
    ASSERT_TRUE(store->SetBytes(3, "BatchRenamePreference", "custom", 6));
    ASSERT_TRUE(store->SetString(3, "BatchRenamePreferenceSize", u(QStringLiteral("0"))));
    ASSERT_TRUE(store->RemoveKey(3, "RenameSequenceNumber"));
    ASSERT_TRUE(store->RemoveKey(3, "PreserveOriginalFilename"));
    ASSERT_TRUE(store->SetString(3, "ApplyMetadataAuthorNameSize", u(QStringLiteral("3"))));
    ASSERT_TRUE(store->SetBytes(3, "ApplyMetadataAuthorName", "Bo", 2));
    ASSERT_TRUE(store->SetString(3, "ApplyMetadataCopyrightSize", u(QStringLiteral("2"))));
    ASSERT_TRUE(store->SetBytes(3, "ApplyMetadataCopyright", "too long", 8));
    ASSERT_TRUE(store->SetString(3, "QuickViewerMode", u(QStringLiteral("4 modes"))));
    writer->Release();

    CAppSource* reader = newSource();
    CPropAppPreferences3 rec = blankRecord();
    ASSERT_EQ(reader->GetPreferences(rec.header), kFxOk);
    EXPECT_STREQ(rec.getBatchRenamePreference(), kDefaultPattern) << "size 0 means the default pattern";
    EXPECT_EQ(rec.renameSequenceNumber, 1) << "an unreadable sequence number is 1";
    EXPECT_EQ(rec.preserveOriginalFilename, 0);
    EXPECT_STREQ(rec.getApplyMetadataAuthorName(), "Bo");
    EXPECT_STREQ(rec.getApplyMetadataCopyright(), "") << "a text longer than its size is not read";
    EXPECT_EQ(rec.quickViewerMode, 4) << "decimal digits up to the first other character";
    reader->Release();
}

TEST_F(CAppSourcePreferences, HoldsTheSevenWidgetsAndWritesOnlyThoseItHas)
{
    FakeUIHandler full(allPanelWidgets());
    FakeUIHandler partial({SKIFF_WIDGET_DELETE_FILES_CHECKBOX, SKIFF_WIDGET_BROWSE_BUTTON});
    CAppSource* source = newSource(&full);
    EXPECT_EQ(full.refs, 1);
    for (const auto& entry : full.widgets)
        EXPECT_EQ(entry.second->refs, 1) << entry.first;

    ASSERT_EQ(source->SetClientUIHandler(&partial), kFxOk);
    EXPECT_EQ(full.outstanding(), 0) << "a new handler replaces the old one and its widgets";
    EXPECT_EQ(partial.outstanding(), 3);

    CPropAppPreferences3 rec = blankRecord();
    ASSERT_EQ(source->GetPreferences(rec.header), kFxOk);
    partial.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked = true;
    ASSERT_EQ(source->SetPreferences(rec.header), kFxOk);
    IPtPreferences* store = source->getIPtPreferences();
    unsigned short buf[260];
    ASSERT_TRUE(store->GetString(3, "DeleteOriginals", buf, 260));
    EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf)), QStringLiteral("1"));
    ASSERT_TRUE(store->GetString(3, "OpenTessel", buf, 260));
    EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(buf)), QStringLiteral("1"))
        << "without its check box the stored choice stands";

    ASSERT_EQ(source->SetClientUIHandler(nullptr), kFxOk);
    EXPECT_EQ(partial.outstanding(), 0);
    ASSERT_EQ(source->SetClientUIHandler(&partial), kFxOk);
    EXPECT_EQ(source->Release(), 0);
    EXPECT_EQ(partial.outstanding(), 0);
}

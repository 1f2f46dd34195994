// The source's preferences through the real preference module, loaded from
// the stage tree the way the plug-in finds it (relative to stage/bin).
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>

#include <cstring>
#include <memory>

#include "CAppInfo.h"
#include "CAppSource.h"
#include "FakePanel.h"
#include "StageCopy.h"
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
    void SetUp() override { ASSERT_TRUE(m_stage->isValid()); }

    QString userFolder() const { return m_stage->userFolder(); }

    CAppSource* newSource(IClientUIHandler* panel = nullptr)
    {
        auto* source = new CAppSource(CAppInfo{});
        source->AddRef();
        if (panel) {
            EXPECT_EQ(source->SetClientUIHandler(panel), kFxOk);
        }
        return source;
    }

    void setBackdrop(const QByteArray& value)
    {
        ASSERT_TRUE(m_stage->writeConfig(QStringLiteral("com.corvane.tessel9"), "ImageBackdrop=" + value + "\n"));
    }

    // The stored value of `key` in domain 3, as text.
    static QString stored(IPtPreferences* store, const char* key)
    {
        unsigned short buf[260] = {};
        return store->GetString(3, key, buf, 260) ? QString::fromUtf16(reinterpret_cast<const char16_t*>(buf))
                                                  : QStringLiteral("(none)");
    }

    std::unique_ptr<StageCopy> m_stage = std::make_unique<StageCopy>();
};

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
    EXPECT_EQ(rec.getBatchRenamePreference(), kDefaultPattern);

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
    expected.option1Pref = 1; // a flag: any non-zero value comes back as 1
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
    b->Release();
}

// The same stored choice with the raw-conversion library absent from the
// installation and present in it.
TEST_F(CAppSourcePreferences, ConverterPresenceDecidesTheDNGBox)
{
    const struct {
        StageCopy::Converter converter;
        bool checked;
        bool enabled;
        const char* text;
    } rows[] = {
        {StageCopy::Converter::Absent, false, false, "DNG Converter missing or corrupt"},
        {StageCopy::Converter::Present, true, true, ""},
    };
    for (const auto& row : rows) {
        m_stage.reset();
        m_stage = std::make_unique<StageCopy>(row.converter);
        ASSERT_TRUE(m_stage->isValid());
        CAppSource* writer = newSource();
        ASSERT_NE(writer->getIPtPreferences(), nullptr);
        ASSERT_TRUE(writer->getIPtPreferences()->SetString(3, "ConvertToDNG", u(QStringLiteral("1"))));
        writer->Release();

        FakeUIHandler panel(allPanelWidgets());
        CAppSource* source = newSource(&panel);
        EXPECT_EQ(source->conversionEntry() != nullptr, row.converter == StageCopy::Converter::Present);
        CPropAppPreferences3 rec = blankRecord();
        ASSERT_EQ(source->GetPreferences(rec.header), kFxOk);
        FakeWidget* dng = panel.widget(SKIFF_WIDGET_DNG_CHECKBOX);
        EXPECT_EQ(dng->checked, row.checked) << row.text;
        EXPECT_EQ(dng->enabled, row.enabled) << row.text;
        EXPECT_EQ(dng->text, QString::fromUtf8(row.text));
        EXPECT_EQ(panel.widget(SKIFF_WIDGET_SETTINGS_BUTTON)->enabled, row.enabled) << row.text;
        source->Release();
    }
}

TEST_F(CAppSourcePreferences, OptionFlagsAreTrueWhenNonZero)
{
    const struct {
        const char* stored;
        std::uint8_t read;
    } rows[] = {{"0", 0}, {"1", 1}, {"2", 1}, {"256", 1}, {"-1", 1}, {"x", 0}};
    for (const auto& row : rows) {
        CAppSource* source = newSource();
        IPtPreferences* store = source->getIPtPreferences();
        ASSERT_NE(store, nullptr);
        for (const char* key : {"Option1Pref", "Option2Pref", "Option3Pref"})
            ASSERT_TRUE(store->SetString(3, key, u(QString::fromLatin1(row.stored))));
        CPropAppPreferences3 rec = blankRecord();
        ASSERT_EQ(source->GetPreferences(rec.header), kFxOk);
        EXPECT_EQ(rec.option1Pref, row.read) << row.stored;
        EXPECT_EQ(rec.option2Pref, row.read) << row.stored;
        EXPECT_EQ(rec.option3Pref, row.read) << row.stored;

        rec.option1Pref = 2;
        rec.option2Pref = 0;
        rec.option3Pref = 255;
        ASSERT_EQ(source->SetPreferences(rec.header), kFxOk);
        EXPECT_EQ(stored(store, "Option1Pref"), QStringLiteral("1"));
        EXPECT_EQ(stored(store, "Option2Pref"), QStringLiteral("0"));
        EXPECT_EQ(stored(store, "Option3Pref"), QStringLiteral("1"));
        source->Release();
    }
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
    EXPECT_EQ(rec.getBatchRenamePreference(), kDefaultPattern);
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

    // No module next to this folder: the built-in defaults.
    ASSERT_TRUE(QDir().mkpath(m_stage->path(QStringLiteral("elsewhere/bin"))));
    ASSERT_TRUE(QDir::setCurrent(m_stage->path(QStringLiteral("elsewhere/bin"))));
    CAppSource* builtIn = newSource();
    EXPECT_EQ(builtIn->getIPtPreferences(), nullptr);
    CPropAppPreferences3 defaults = blankRecord();
    ASSERT_EQ(builtIn->GetPreferences(defaults.header), kFxOk);
    EXPECT_EQ(builtIn->SetPreferences(defaults.header), kFxOk) << "nothing to write to is no error";
    builtIn->Release();
    EXPECT_FALSE(QFileInfo::exists(userFolder()));

    defaults.textColor = shipped.textColor; // the shipped path follows the backdrop
    // The option flags are read as flags: the shipped "1" reads as 1, while
    // a record built without a store keeps the fresh record's 2.
    EXPECT_EQ(shipped.option1Pref, 1);
    EXPECT_EQ(defaults.option1Pref, 2);
    defaults.option1Pref = shipped.option1Pref;
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
    EXPECT_EQ(rec.getBatchRenamePreference(), kDefaultPattern) << "size 0 means the default pattern";
    EXPECT_EQ(rec.renameSequenceNumber, 1) << "an unreadable sequence number is 1";
    EXPECT_EQ(rec.preserveOriginalFilename, 0);
    EXPECT_EQ(rec.getApplyMetadataAuthorName(), "Bo");
    EXPECT_EQ(rec.getApplyMetadataCopyright(), "") << "a text longer than its size is not read";
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

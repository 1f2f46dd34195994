#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstring>

#include "PreferenceModuleLoader.h"
#include "PtPreferenceFile.h"

namespace {

constexpr PtIID kUnknownIID = {1, 2, 3};

class PtPreferenceModule : public ::testing::Test {
 protected:
    void SetUp() override
    {
        ASSERT_NE(m_loader.module(), nullptr) << "the staged module loads and its entry answers";
        m_userFolder = m_tmp.filePath(QStringLiteral("Corvane/Tessel 2024"));
    }

    QString userFile() const { return m_userFolder + QStringLiteral("/Preferences.xml"); }

    PreferenceModuleLoader m_loader;
    QTemporaryDir m_tmp;
    QString m_userFolder;
};

QString readString(IPtPreferences* store, const char* key)
{
    unsigned short buf[260] = {};
    if (!store->GetString(3, key, buf, 260))
        return QStringLiteral("(none)");
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(buf));
}

} // namespace

TEST_F(PtPreferenceModule, AnswersOnlyItsIdentifiers)
{
    void* out = reinterpret_cast<void*>(1);
    EXPECT_FALSE(m_loader.module()->QueryInterface(kUnknownIID, &out));
    EXPECT_EQ(out, nullptr);

    IPtPreferences* store = m_loader.newStore();
    ASSERT_NE(store, nullptr);
    void* same = nullptr;
    EXPECT_TRUE(store->QueryInterface(kIID_IPtPreferences, &same));
    EXPECT_EQ(same, store);
    EXPECT_EQ(store->Release(), 1);
    out = reinterpret_cast<void*>(1);
    EXPECT_FALSE(store->QueryInterface(kUnknownIID, &out));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(store->Release(), 0);
}

TEST_F(PtPreferenceModule, NewUserReadsTheShippedDefaultsAndTheFirstWriteCreatesTheFolder)
{
    IPtPreferences* store = m_loader.openStore(m_userFolder, stagedResources());
    ASSERT_NE(store, nullptr);
    EXPECT_TRUE(store->HasDomain(3));
    EXPECT_FALSE(store->HasDomain(4));
    EXPECT_EQ(readString(store, "CreateSubfoldersComboIndex"), QStringLiteral("3"));
    char pattern[64] = {};
    ASSERT_TRUE(store->GetBytes(3, "BatchRenamePreference", pattern, sizeof pattern));
    EXPECT_STREQ(pattern, "0#\"\"#-1#-1|$%6#\"\"#6#11|$%0#\"_\"#-1#-1|$%4#\"1\"#-1#6");
    EXPECT_FALSE(QFileInfo::exists(m_userFolder)) << "reading writes nothing";

    ASSERT_TRUE(store->SetString(3, "RenameFilesComboIndex", up(u"2")));
    EXPECT_TRUE(QFileInfo::exists(userFile()));
    unsigned short path[512];
    ASSERT_TRUE(store->GetStoreFile(path, 512));
    EXPECT_EQ(QString::fromUtf16(reinterpret_cast<const char16_t*>(path)), userFile());
    store->Release();

    IPtPreferences* again = m_loader.openStore(m_userFolder, m_userFolder);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(readString(again, "RenameFilesComboIndex"), QStringLiteral("2"));
    EXPECT_EQ(readString(again, "CreateSubfoldersComboIndex"), QStringLiteral("3")) << "defaults carried over";
    again->Release();
}

TEST_F(PtPreferenceModule, ValuesReadBackInEitherFormAndSmallBuffersAreRefusedUntouched)
{
    IPtPreferences* store = m_loader.openStore(m_userFolder, m_userFolder);
    ASSERT_NE(store, nullptr);
    EXPECT_FALSE(store->HasDomain(3));
    ASSERT_TRUE(store->SetString(3, "Location", up(u"/home/\u00e9t\u00e9")));
    ASSERT_TRUE(store->SetBytes(3, "Author", "J\xC3\xBCrg", 5));

    char bytes[16];
    ASSERT_TRUE(store->GetBytes(3, "Location", bytes, sizeof bytes));
    EXPECT_STREQ(bytes, "/home/\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(readString(store, "Author"), QString::fromUtf8("J\xC3\xBCrg"));

    std::memset(bytes, 'x', sizeof bytes);
    EXPECT_FALSE(store->GetBytes(3, "Author", bytes, 5)) << "five bytes leave no room for the terminator";
    EXPECT_EQ(bytes[0], 'x');
    ASSERT_TRUE(store->GetBytes(3, "Author", bytes, 6));
    unsigned short small[4] = {7, 7, 7, 7};
    EXPECT_FALSE(store->GetString(3, "Location", small, 4));
    EXPECT_EQ(small[0], 7);
    EXPECT_FALSE(store->GetString(3, "Missing", small, 4));
    EXPECT_FALSE(store->GetString(4, "Location", small, 4)) << "domains are separate";

    EXPECT_FALSE(store->SetString(3, "bad\nkey", up(u"x")));
    EXPECT_FALSE(store->SetString(3, nullptr, up(u"x")));
    EXPECT_FALSE(store->SetBytes(3, "k", nullptr, 3));
    EXPECT_TRUE(store->SetBytes(3, "EmptyBytes", nullptr, 0));

    EXPECT_TRUE(store->HasKey(3, "Author"));
    EXPECT_TRUE(store->RemoveKey(3, "Author"));
    EXPECT_FALSE(store->HasKey(3, "Author"));
    EXPECT_FALSE(store->RemoveKey(3, "Author"));
    store->Release();

    const auto onDisk = PtPreferenceFile::read(userFile());
    ASSERT_EQ(onDisk.status, PtPreferenceFile::Status::Loaded);
    EXPECT_EQ(onDisk.values.at(3).count("Author"), 0u);
    EXPECT_EQ(onDisk.values.at(3).at("Location").text, QString::fromUtf16(u"/home/\u00e9t\u00e9"));
}

TEST_F(PtPreferenceModule, UpdatesWriteOnceAtTheOutermostEnd)
{
    IPtPreferences* store = m_loader.openStore(m_userFolder, m_userFolder);
    ASSERT_NE(store, nullptr);
    store->BeginUpdate();
    store->BeginUpdate();
    ASSERT_TRUE(store->SetString(3, "a", up(u"1")));
    EXPECT_TRUE(store->EndUpdate());
    EXPECT_FALSE(QFileInfo::exists(userFile())) << "still inside the outer update";
    ASSERT_TRUE(store->SetString(3, "b", up(u"2")));
    EXPECT_TRUE(store->EndUpdate());
    const auto onDisk = PtPreferenceFile::read(userFile());
    ASSERT_EQ(onDisk.status, PtPreferenceFile::Status::Loaded);
    EXPECT_EQ(onDisk.values.at(3).size(), 2u);
    store->Release();
}

TEST_F(PtPreferenceModule, CorruptUserFileIsMovedAsideAndNamedOnce)
{
    ASSERT_TRUE(QDir().mkpath(m_userFolder));
    QFile file(userFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<preferences version=\"1\"><domain id=\"3\"><value key=\"a\" type=\"te");
    file.close();

    testing::internal::CaptureStderr();
    IPtPreferences* store = m_loader.openStore(m_userFolder, m_userFolder);
    const std::string said = testing::internal::GetCapturedStderr();
    ASSERT_NE(store, nullptr);
    EXPECT_FALSE(store->HasDomain(3)) << "starts from the defaults";
    store->Release();

    const QStringList aside = QDir(m_userFolder).entryList({QStringLiteral("Preferences.xml.corrupt-*")});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_FALSE(QFileInfo::exists(userFile()));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_NE(said.find(userFile().toStdString()), std::string::npos) << said;
    EXPECT_NE(said.find((m_userFolder + QLatin1Char('/') + aside.first()).toStdString()), std::string::npos) << said;
}

TEST_F(PtPreferenceModule, OpenRefusesMissingFolders)
{
    IPtPreferences* store = m_loader.newStore();
    ASSERT_NE(store, nullptr);
    EXPECT_FALSE(store->Open(nullptr, up(u"/tmp")));
    EXPECT_FALSE(store->Open(up(u""), up(u"/tmp")));
    EXPECT_FALSE(store->SetString(3, "k", up(u"v"))) << "a store that is not open keeps nothing";
    unsigned short buf[8];
    EXPECT_FALSE(store->GetStoreFile(buf, 8));
    store->Release();
}

TEST_F(PtPreferenceModule, AValueTooLargeForTheFileIsRefusedAndBlocksNothing)
{
    IPtPreferences* store = m_loader.openStore(m_userFolder, stagedResources());
    ASSERT_NE(store, nullptr);
    const std::string huge(std::size_t(PtPreferenceFile::kMaxFileSize), 'x');
    EXPECT_FALSE(store->SetBytes(3, "MobileFolderSetting", huge.data(), unsigned(huge.size())));
    char kept[8] = {};
    ASSERT_TRUE(store->GetBytes(3, "MobileFolderSetting", kept, sizeof kept));
    EXPECT_STREQ(kept, "") << "the old value stays";

    ASSERT_TRUE(store->SetString(3, "RenameFilesComboIndex", up(u"2"))) << "later writes go through";

    // In an update the whole update is refused, at its end.
    store->BeginUpdate();
    EXPECT_TRUE(store->SetString(3, "QuickViewerMode", up(u"5")));
    EXPECT_TRUE(store->SetBytes(3, "MobileFolderSetting", huge.data(), unsigned(huge.size())));
    EXPECT_FALSE(store->EndUpdate());
    EXPECT_EQ(readString(store, "QuickViewerMode"), QStringLiteral("1"));
    EXPECT_EQ(readString(store, "RenameFilesComboIndex"), QStringLiteral("2"));
    store->Release();
    const auto onDisk = PtPreferenceFile::read(userFile());
    ASSERT_EQ(onDisk.status, PtPreferenceFile::Status::Loaded) << qPrintable(onDisk.error);
    EXPECT_EQ(onDisk.values.at(3).at("RenameFilesComboIndex").text, QStringLiteral("2"));
    EXPECT_TRUE(onDisk.values.at(3).at("MobileFolderSetting").bytes.isEmpty());
}

#include "AppLocale.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

// A host set-up in a temporary folder: current directory, the host's XML
// configuration, the user's preferences and the machine-wide data folder.
class AppLocaleEnv : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_oldCwd = QDir::currentPath();
        QDir().mkpath(m_dir.filePath("bin"));
        QDir::setCurrent(m_dir.filePath("bin"));
        qputenv("XDG_CONFIG_HOME", m_dir.filePath("config").toUtf8());
        qputenv("XDG_DATA_DIRS", m_dir.filePath("share").toUtf8());
    }
    void TearDown() override { QDir::setCurrent(m_oldCwd); }

    void setHostLanguage(const QByteArray& value)
    {
        writeFile(m_dir.filePath("bin/skiff_common_config.xml"),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                  "  <key>Other</key>\n  <string>x</string>\n"
                  "  <key>AppPreferenceID</key>\n  <string>com.corvane.skiff</string>\n</dict>\n</plist>\n");
        writeFile(m_dir.filePath("config/com.corvane.skiff.conf"), "Language=" + value + "\n");
    }
    void setDefaultLanguageFile(const QByteArray& content)
    {
        writeFile(m_dir.filePath("share/Corvane/CorvaneDefaultLanguage.txt"), content);
    }
    QString chosen(bool* found = nullptr)
    {
        unsigned short buffer[1024] = {'u', 'n', 't', 'o', 'u', 'c', 'h', 'e', 'd', 0};
        const bool ok = getApplicationLocale(buffer);
        if (found)
            *found = ok;
        return QString::fromUtf16(buffer);
    }

    QTemporaryDir m_dir;
    QString m_oldCwd;
};

} // namespace

TEST(GetLocaleFromToken, MapsTokensAndLeavesTheRest)
{
    const std::pair<const char*, const char*> rows[] = {
        {"ja", "ja_jp"}, {"de", "de_de"}, {"fr", "fr_fr"}, {"es", "es_es"}, {"it", "it_it"},
        {"sv", "sv_se"}, {"nl", "nl_nl"}, {"nl_be", "nl_nl"}, {"ko", "ko_kr"}, {"pt", "pt_br"},
        {"ar", "ar_ae"}, {"cs", "cs_cz"}, {"da", "da_dk"}, {"el", "el_gr"}, {"fi", "fi_fi"},
        {"he", "he_il"}, {"hu", "hu_hu"}, {"no", "no_no"}, {"nb", "no_no"}, {"nb_no", "no_no"},
        {"pl", "pl_pl"}, {"ro", "ro_ro"}, {"ru", "ru_ru"}, {"tr", "tr_tr"}, {"uk", "uk_ua"},
        // Not tokens: kept as they are.
        {"en", "en"}, {"zh_cn", "zh_cn"}, {"de_de", "de_de"}, {"DE", "DE"}, {"pt_pt", "pt_pt"},
        {"", ""}, {" de", " de"},
    };
    for (const auto& [token, locale] : rows) {
        QString text = QString::fromLatin1(token);
        GetLocaleFromToken(text);
        EXPECT_EQ(text, QLatin1String(locale)) << token;
    }
}

TEST_F(AppLocaleEnv, HostLanguagePreferenceWins)
{
    setDefaultLanguageFile("fr\n");
    const std::pair<QByteArray, QString> rows[] = {
        {"nl_BE", "nl_nl"}, {"NB", "no_no"}, {"pt_PT", "pt_pt"}, {"De", "de_de"},
        {"EN_US", "en_us"}, {"en", "en"}, {"\"  ja  \"", "ja_jp"},
    };
    for (const auto& [value, locale] : rows) {
        setHostLanguage(value);
        bool found = false;
        EXPECT_EQ(chosen(&found), locale) << value.constData();
        EXPECT_TRUE(found);
    }
}

TEST_F(AppLocaleEnv, BlankPreferenceGivesAnEmptyLocale)
{
    setDefaultLanguageFile("fr\n");
    setHostLanguage("\"   \"");
    bool found = false;
    EXPECT_EQ(chosen(&found), QString());
    EXPECT_TRUE(found);
}

TEST_F(AppLocaleEnv, DefaultLanguageFileIsTheSecondSource)
{
    setDefaultLanguageFile("  DE  \r\nignored second line\n");
    bool found = false;
    EXPECT_EQ(chosen(&found), "de_de");
    EXPECT_TRUE(found);

    // A configuration naming an application without a Language preference
    // falls through as well.
    setHostLanguage("x");
    QFile::remove(m_dir.filePath("config/com.corvane.skiff.conf"));
    EXPECT_EQ(chosen(&found), "de_de");
}

TEST_F(AppLocaleEnv, NoSettingLeavesTheBufferAlone)
{
    bool found = true;
    EXPECT_EQ(chosen(&found), "untouched");
    EXPECT_FALSE(found);

    setDefaultLanguageFile("\n");
    EXPECT_EQ(chosen(&found), "untouched");
    EXPECT_FALSE(found);

    writeFile(m_dir.filePath("bin/skiff_common_config.xml"), "<plist><dict><key>AppPreferenceID");
    EXPECT_EQ(chosen(&found), "untouched");
    EXPECT_FALSE(found);
}

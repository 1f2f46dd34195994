#include "AppLocale.h"

#include <gtest/gtest.h>

#include "HostTreeFixture.h"

namespace {

class AppLocaleEnv : public HostTreeFixture {
protected:
    void setDefaultLanguageFile(const QByteArray& content)
    {
        write("share/Corvane/CorvaneDefaultLanguage.txt", content);
    }
    QString chosen(bool* found = nullptr)
    {
        unsigned short buffer[1024] = {'u', 'n', 't', 'o', 'u', 'c', 'h', 'e', 'd', 0};
        const bool ok = getApplicationLocale(buffer);
        if (found)
            *found = ok;
        return QString::fromUtf16(buffer);
    }
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

    write("bin/skiff_common_config.xml", "<plist><dict><key>AppPreferenceID");
    EXPECT_EQ(chosen(&found), "untouched");
    EXPECT_FALSE(found);
}

TEST_F(AppLocaleEnv, HostLanguageIsReadAsTheRawText)
{
    const std::pair<QByteArray, QString> rows[] = {
        {"Language=de,fr\n", "de,fr"},
        {"Language=fr;x\n", "fr;x"},
        {"Language=\"de,fr\"\n", "de,fr"},
        {"Language=  DE \r\n", "de_de"},
        {"Language = ja\n", "ja_jp"},
        {"Language=fr # not a comment\n", "fr # not a comment"},
        {"; Language=ja\n# Language=ja\nLanguage=de\n", "de_de"},
        {"[General]\nLanguage=fr\n", "fr_fr"},
        {"[Other]\nLanguage=ja\n", "untouched"},
        {"Languages=ja\nlanguage=ja\n", "untouched"},
        {"Language=\"\n", "\""},
    };
    for (const auto& [file, locale] : rows) {
        setHostLanguage("unused");
        write("config/com.corvane.skiff.conf", file);
        EXPECT_EQ(chosen(), locale) << file.constData();
    }
}

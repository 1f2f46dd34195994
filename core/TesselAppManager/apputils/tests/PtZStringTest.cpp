#include "PtZString.h"

#include "Dictionary.h"

#include <gtest/gtest.h>

#include "HostTreeFixture.h"

#include <sstream>

namespace {

QString g_lastMessage;
QString g_lastFunction;
QString g_lastCategory;

void captureMessage(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    g_lastMessage = message;
    g_lastFunction = QString::fromLatin1(context.function);
    g_lastCategory = QString::fromLatin1(context.category);
}

QByteArray germanDictionary(bool binary)
{
    const QByteArray text = "\"$$$/PtZString/Yes=&Ja\"\n\"$$$/PtZString/No=&Nein\"\n"
                            "\"$$$/PtZString/Cancel=Abbrechen\"\n\"$$$/Test/Hat=Gr^D\"\n";
    if (!binary)
        return text;
    quire::Dictionary d;
    std::istringstream in(text.toStdString());
    d.Read(in);
    std::ostringstream out;
    d.Serialize(out, quire::kBigEndian);
    return QByteArray::fromStdString(out.str());
}

// Dictionaries ship under shared_assets/locales of the host tree.
class PtZStringEnv : public HostTreeFixture {
protected:
    void TearDown() override
    {
        PtZString::closeZStringDict();
        HostTreeFixture::TearDown();
    }

    void shipDictionary(const QString& locale, const QByteArray& bytes)
    {
        write("shared_assets/locales/" + locale + "/SkiffStrings.dct", bytes);
    }

};

} // namespace

TEST_F(PtZStringEnv, EnglishLoadsNothing)
{
    for (const QByteArray language : {"", "en_us", "EN_US"}) {
        if (!language.isEmpty())
            setHostLanguage(language);
        shipDictionary("en_us", germanDictionary(true));
        EXPECT_TRUE(PtZString::openZStringDict(false)) << language.constData();
        EXPECT_EQ(PtZString::smpDictionary, nullptr);
        EXPECT_EQ(PtZString::getYesString(), "&Yes");
        EXPECT_EQ(PtZString::getZString("$$$/A/B=x=y"), "x=y");
    }
    // Asked to load anyway, the en_us file is read.
    EXPECT_TRUE(PtZString::openZStringDict(true));
    EXPECT_EQ(PtZString::getYesString(), "&Ja");
}

TEST_F(PtZStringEnv, TokenWithoutEqualsIsReturnedAndLogged)
{
    const QtMessageHandler old = qInstallMessageHandler(captureMessage);
    EXPECT_EQ(PtZString::getZString("$$$/No/Equals"), "$$$/No/Equals");
    qInstallMessageHandler(old);
    EXPECT_EQ(g_lastMessage, "ERROR: getZString(\"$$$/No/Equals\") HAS MISSING OR IMPROPER TOKEN!!");
    EXPECT_EQ(g_lastFunction, "static const QString PtZString::getZString(const QString &)");
    EXPECT_EQ(g_lastCategory, "default");
}

TEST_F(PtZStringEnv, GermanFromTextAndBinary)
{
    for (const bool binary : {false, true}) {
        setHostLanguage("de");
        shipDictionary("de_de", germanDictionary(binary));
        ASSERT_TRUE(PtZString::openZStringDict(false)) << binary;
        EXPECT_EQ(PtZString::getYesString(), "&Ja");
        EXPECT_EQ(PtZString::getNoString(), "&Nein");
        EXPECT_EQ(PtZString::getCancelString(), "Abbrechen");
        EXPECT_EQ(PtZString::getOKString(), "OK");
        EXPECT_EQ(PtZString::getZString("$$$/Test/Hat=x"), QString::fromUtf8("Gr\u00b0"));
        EXPECT_EQ(PtZString::getZString("$$$/Test/Missing=Fallback^n"), "Fallback\n");
        PtZString::closeZStringDict();
        EXPECT_EQ(PtZString::smpDictionary, nullptr);
        EXPECT_EQ(PtZString::getYesString(), "&Yes");
    }
}

TEST_F(PtZStringEnv, MissingOrCorruptDictionaryFallsBack)
{
    setHostLanguage("en");
    EXPECT_FALSE(PtZString::openZStringDict(false));
    EXPECT_EQ(PtZString::getYesString(), "&Yes");
    PtZString::closeZStringDict();

    setHostLanguage("de_de");
    const QByteArray good = germanDictionary(true);
    for (int cut : {24, 40, good.size() / 2, good.size() - 1}) {
        shipDictionary("de_de", good.left(cut));
        EXPECT_FALSE(PtZString::openZStringDict(false)) << cut;
        EXPECT_EQ(PtZString::getCancelString(), "Cancel") << cut;
        PtZString::closeZStringDict();
    }
}

TEST_F(PtZStringEnv, AppendAddsToTheDictionary)
{
    EXPECT_FALSE(PtZString::appendZStringDict(m_dir.filePath("missing.dct")));
    write("extra.dct", "\"$$$/Extra/Key=Zusatz\"\n");
    EXPECT_TRUE(PtZString::appendZStringDict(m_dir.filePath("extra.dct")));
    write("more.dct", germanDictionary(true));
    EXPECT_TRUE(PtZString::appendZStringDict(m_dir.filePath("more.dct")));
    EXPECT_EQ(PtZString::getZString("$$$/Extra/Key=Extra"), "Zusatz");
    EXPECT_EQ(PtZString::getYesString(), "&Ja");
}

#include "AppLocale.h"

#include "PtPlatformServices.h"
#include "PtZString.h"

#include <QFile>
#include <QTextStream>
#include <QXmlStreamReader>

#include <utility>

namespace {

const char kHostConfigFile[] = "./skiff_common_config.xml";
// Longest locale text copied into the caller's buffer, leaving room for the
// terminator in the 1024 units the callers provide.
const int kMaxLocaleUnits = 1023;

// The string value of a top-level key of an XML property list, or an empty
// string when the file, the key or a string value is missing.
QString plistStringValue(const QString& path, const QString& key)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    int depth = 0;
    bool keyMatched = false;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::EndElement) {
            --depth;
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        ++depth;
        // plist > dict > key/value: the top-level dictionary's entries sit at depth 3.
        if (depth != 3) {
            keyMatched = false;
            continue;
        }
        if (xml.name() == QLatin1String("key")) {
            keyMatched = xml.readElementText() == key;
            --depth;
        } else if (keyMatched) {
            if (xml.name() == QLatin1String("string"))
                return xml.readElementText();
            keyMatched = false;
        }
    }
    return {};
}

bool copyLocale(const QString& locale, unsigned short* out)
{
    const QString text = locale.left(kMaxLocaleUnits);
    const ushort* units = text.utf16();
    int i = 0;
    for (; i < text.size(); ++i)
        out[i] = units[i];
    out[i] = 0;
    return true;
}

} // namespace

bool getApplicationLocale(unsigned short* locale)
{
    const QString appId = plistStringValue(QString::fromLatin1(kHostConfigFile),
                                           QStringLiteral("AppPreferenceID"));
    if (!appId.isEmpty()) {
        QString language = PtCopyAppValue(QStringLiteral("Language"), appId).toString();
        // Emptiness is tested before trimming: a value of blanks yields an
        // empty locale rather than falling through to the next source.
        if (!language.isEmpty()) {
            language = language.toLower().trimmed();
            GetLocaleFromToken(language);
            return copyLocale(language, locale);
        }
    }

    const QByteArray folder = PtLocalApplicationSupportFolder().toUtf8().left(4096);
    const QString path = QString::fromUtf8(folder)
        + PtZString::getZString(
            QStringLiteral("$$$/AppUtils/CorvaneDefaultlanguageMac=/Corvane/CorvaneDefaultLanguage.txt"));
    QFile file(path);
    if (file.exists() && file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        QTextStream in(&file);
        QString language = in.readLine().toLower();
        if (!language.isEmpty()) {
            language = language.trimmed();
            GetLocaleFromToken(language);
            return copyLocale(language, locale);
        }
    }
    return false;
}

void GetLocaleFromToken(QString& token)
{
    static const std::pair<const char*, const char*> kTokens[] = {
        {"ja", "ja_jp"}, {"de", "de_de"}, {"fr", "fr_fr"}, {"es", "es_es"},
        {"it", "it_it"}, {"sv", "sv_se"}, {"nl", "nl_nl"}, {"nl_be", "nl_nl"},
        {"ko", "ko_kr"}, {"pt", "pt_br"}, {"ar", "ar_ae"}, {"cs", "cs_cz"},
        {"da", "da_dk"}, {"el", "el_gr"}, {"fi", "fi_fi"}, {"he", "he_il"},
        {"hu", "hu_hu"}, {"no", "no_no"}, {"nb", "no_no"}, {"nb_no", "no_no"},
        {"pl", "pl_pl"}, {"ro", "ro_ro"}, {"ru", "ru_ru"}, {"tr", "tr_tr"},
        {"uk", "uk_ua"},
    };
    for (const auto& [from, to] : kTokens) {
        if (token == QLatin1String(from)) {
            token = QLatin1String(to);
            return;
        }
    }
}

#include "PtZString.h"

#include "AppLocale.h"
#include "Dictionary.h"
#include "basic_ifstream.h"

#include <QDebug>
#include <QDir>

#include <exception>
#include <vector>

quire::Dictionary* PtZString::smpDictionary = nullptr;

bool PtZString::openZStringDict(bool alwaysLoad)
{
    QString locale = QStringLiteral("en_us");
    unsigned short buffer[1024] = {};
    if (getApplicationLocale(buffer))
        locale = QString::fromUtf16(buffer);
    if (!alwaysLoad && locale.toLower() == QLatin1String("en_us"))
        return true;
    try {
        smpDictionary = new quire::Dictionary;
        const QString path = QStringLiteral("../shared_assets/locales") + QDir::separator() + locale
            + QDir::separator() + QStringLiteral("SkiffStrings.dct");
        quire::basic_ifstream stream(path.toLocal8Bit().constData());
        if (!stream.is_open())
            return false;
        // A corrupt file still leaves the entries read so far; lookups of
        // the rest fall back to their default texts.
        return smpDictionary->Read(stream);
    } catch (const std::exception&) {
        return false;
    }
}

bool PtZString::appendZStringDict(const QString& path)
{
    try {
        if (!smpDictionary)
            smpDictionary = new quire::Dictionary;
        quire::basic_ifstream stream(path.toLocal8Bit().constData());
        if (!stream.is_open())
            return false;
        smpDictionary->Read(stream);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void PtZString::closeZStringDict()
{
    delete smpDictionary;
    smpDictionary = nullptr;
}

const QString PtZString::getZString(const QString& zstring)
{
    const int equals = zstring.indexOf(QLatin1Char('='));
    if (equals < 0) {
        QMessageLogger("PtZString", 0, "static const QString PtZString::getZString(const QString &)", "default")
            .debug().noquote()
            << QStringLiteral("ERROR: getZString(\"") + zstring
                + QStringLiteral("\") HAS MISSING OR IMPROPER TOKEN!!");
        return zstring;
    }
    if (!smpDictionary)
        return zstring.mid(equals + 1);
    const QByteArray literal = zstring.toLocal8Bit();
    const quire::ZString text = smpDictionary->Lookup(literal.constData());
    std::vector<char16_t> buffer(text.GetUnicodeSize());
    const std::size_t units = text.GetUnicode(buffer.data(), buffer.size());
    return QString::fromUtf16(buffer.data(), static_cast<int>(units));
}

const QString PtZString::getYesString()
{
    return getZString(QStringLiteral("$$$/PtZString/Yes=&Yes"));
}

const QString PtZString::getNoString()
{
    return getZString(QStringLiteral("$$$/PtZString/No=&No"));
}

const QString PtZString::getOKString()
{
    return getZString(QStringLiteral("$$$/PtZString/OK=OK"));
}

const QString PtZString::getCancelString()
{
    return getZString(QStringLiteral("$$$/PtZString/Cancel=Cancel"));
}

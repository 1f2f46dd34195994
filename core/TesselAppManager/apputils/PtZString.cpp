#include "PtZString.h"

#include "AppLocale.h"

#include <QDebug>

quire::Dictionary* PtZString::smpDictionary = nullptr;

bool PtZString::openZStringDict(bool alwaysLoad)
{
    QString locale = QStringLiteral("en_us");
    unsigned short buffer[1024] = {};
    if (getApplicationLocale(buffer))
        locale = QString::fromUtf16(buffer);
    if (!alwaysLoad && locale.toLower() == QLatin1String("en_us"))
        return true;
    // Dictionaries are not readable yet: every lookup keeps its default text.
    return false;
}

bool PtZString::appendZStringDict(const QString& path)
{
    return false;
}

void PtZString::closeZStringDict()
{
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
    return zstring.mid(equals + 1);
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

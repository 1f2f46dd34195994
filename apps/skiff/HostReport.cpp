#include "HostReport.h"

void HostReport::section(const QString& title)
{
    m_lines << QString() << title;
}

void HostReport::line(const QString& label, const QString& value)
{
    m_lines << QStringLiteral("  %1: %2").arg(label, -44).arg(value);
}

void HostReport::check(bool ok, const QString& label, const QString& value, const QString& expected)
{
    if (ok) {
        line(label, value);
        return;
    }
    ++m_failures;
    m_lines << QStringLiteral("  %1: %2   <-- WRONG, expected %3").arg(label, -44).arg(value, expected);
}

void HostReport::checkResult(FxResult actual, FxResult expected, const QString& operation)
{
    check(actual == expected, operation, resultName(actual), resultName(expected));
}

QString HostReport::resultName(FxResult result)
{
    switch (result) {
    case kFxOk: return QStringLiteral("kFxOk");
    case kFxErrNoBuffer: return QStringLiteral("kFxErrNoBuffer");
    case kFxErrNotImplemented: return QStringLiteral("kFxErrNotImplemented");
    case kFxErrNotSupported: return QStringLiteral("kFxErrNotSupported");
    case kFxErrFailure: return QStringLiteral("kFxErrFailure");
    case kFxErrInvalidArg: return QStringLiteral("kFxErrInvalidArg");
    case kFxErrNotInitialised: return QStringLiteral("kFxErrNotInitialised");
    case kFxEndOfEnum: return QStringLiteral("kFxEndOfEnum");
    }
    return QStringLiteral("0x%1").arg(result, 8, 16, QLatin1Char('0'));
}

QString HostReport::fromFx(const FxChar* text)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(text));
}

QString HostReport::fromFx(const FxChar* text, int maxUnits)
{
    int n = 0;
    while (n < maxUnits && text[n] != 0)
        ++n;
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(text), n);
}

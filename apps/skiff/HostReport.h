// What the host saw of a plug-in, printed as a readable report. A check
// that fails marks the report, and the host then exits non-zero.
#pragma once

#include <QString>
#include <QStringList>

#include <skiff/FxTypes.h>

class HostReport {
public:
    void section(const QString& title);
    void line(const QString& label, const QString& value);
    // Records `label` with `value`; the check fails when ok is false.
    void check(bool ok, const QString& label, const QString& value, const QString& expected = QString());
    void checkResult(FxResult actual, FxResult expected, const QString& operation);

    bool failed() const { return m_failures > 0; }
    int failures() const { return m_failures; }
    QString text() const { return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

    static QString resultName(FxResult result);
    static QString fromFx(const FxChar* text);
    static QString fromFx(const FxChar* text, int maxUnits);

private:
    QStringList m_lines;
    int m_failures = 0;
};

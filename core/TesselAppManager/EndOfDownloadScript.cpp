#include "EndOfDownloadScript.h"

QString escapeBackslashes(const QString& folder)
{
    QString escaped = folder;
    return escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
}

QString endOfDownloadScript(bool tesselRunning, bool openTessel, const QString& folder, const QString& status)
{
    if (tesselRunning && openTessel)
        return QLatin1String(" app.skiffBrowseTo (\"") + folder + QLatin1String("\");  app.beep() ;");
    if (tesselRunning)
        return QLatin1String("{ app.beep();") + QLatin1String("app.document.status = \"") + status
            + QLatin1String("\"; }");
    if (openTessel)
        return QLatin1String("if (app.documents.length == 0)") + QLatin1String(" app.skiffBrowseTo (\"") + folder
            + QLatin1String("\"); else { app.document.thumbnail = new Thumbnail (\"") + folder
            + QLatin1String("\"); app.document.bringToFront (); } app.beep();");
    return QString();
}

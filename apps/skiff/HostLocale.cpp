#include "HostLocale.h"

#include "AppLocale.h"
#include "HostReport.h"
#include "PtZString.h"

void hostLocaleReport(HostReport& report)
{
    report.section(QStringLiteral("localised strings"));
    unsigned short buffer[1024] = {};
    const bool set = getApplicationLocale(buffer);
    report.line(QStringLiteral("locale"), set ? QString::fromUtf16(buffer) : QStringLiteral("en_us (no language setting)"));
    // The same call the plug-in's source makes; run after the plug-in is
    // gone so the two never share the process-wide dictionary.
    const bool opened = PtZString::openZStringDict(false);
    report.line(QStringLiteral("dictionary"), !PtZString::smpDictionary ? QStringLiteral("none needed")
                                              : opened                 ? QStringLiteral("loaded")
                                                                       : QStringLiteral("missing or unreadable"));
    report.line(QStringLiteral("yes"), PtZString::getYesString());
    report.line(QStringLiteral("no"), PtZString::getNoString());
    report.line(QStringLiteral("cancel"), PtZString::getCancelString());
    report.line(QStringLiteral("copied caption"),
                PtZString::getZString(QStringLiteral("$$$/AppSource/FilesCopiedCaption=Files Successfully Copied")));
    PtZString::closeZStringDict();
}

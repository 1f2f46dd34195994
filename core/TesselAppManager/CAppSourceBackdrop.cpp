// The colours of the host's settings panel, which follow the Tessel
// browser's own image backdrop so that the panel is drawn dark or light alike.
#include "CAppSource.h"

#include "PtPlatformServices.h"

double CAppSource::getBackgroundColor()
{
    const QVariant value = PtCopyAppValue(QStringLiteral("ImageBackdrop"), QStringLiteral("com.corvane.tessel9"));
    bool ok = false;
    const int level = value.type() == QVariant::String ? value.toString().trimmed().toInt(&ok, 10) : 0;
    // Without a readable backdrop the panel keeps the light grey of a fresh record.
    if (!ok || level < 0 || level > 255)
        return 0xD2 / 255.0;
    return level / 255.0;
}

void CAppSource::applyBackdropColours(CPropAppPreferences3& record)
{
    const double grey = getBackgroundColor();
    const std::uint32_t c = std::uint32_t(int(255 * grey)) & 0xFF;
    record.backgroundColor = 0xFF000000u + c * 0x010101u;
    record.textColor = grey < 0.47 ? 0xFFFFFFFFu : 0xFF000000u;
}

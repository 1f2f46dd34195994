#include "AppFileUtils.h"

#include <QFontMetrics>
#include <QRect>
#include <QStringList>

namespace {

constexpr QChar kSeparator = QLatin1Char('/');
const QString kEllipsis = QStringLiteral("...");

} // namespace

QString fitPath(const QString& path, QString& out, const QFontMetrics& metrics, const QRect& rect)
{
    const int width = rect.width() - 2;
    const auto fits = [&](const QString& text) { return metrics.horizontalAdvance(text) < width; };

    QString p = path;
    p.replace(QLatin1Char('\\'), kSeparator);
    if (fits(p))
        return out = p;

    const int firstSeparator = p.indexOf(kSeparator);
    const QString fileName = p.mid(p.lastIndexOf(kSeparator) + 1);
    if (firstSeparator >= 0) {
        const QString first = p.left(firstSeparator + 1);
        const QStringList rest = p.mid(firstSeparator + 1).split(kSeparator);
        for (int drop = 1; drop < rest.size(); ++drop) {
            const QString candidate = first + kEllipsis + kSeparator + rest.mid(drop).join(kSeparator);
            if (fits(candidate))
                return out = candidate;
        }
    }
    for (const QString& candidate : {kEllipsis + kSeparator + fileName, kEllipsis + fileName, fileName}) {
        if (fits(candidate))
            return out = candidate;
    }
    QString tail = fileName;
    const int ellipsisWidth = metrics.horizontalAdvance(kEllipsis);
    while (!tail.isEmpty() && metrics.horizontalAdvance(tail) + ellipsisWidth > width)
        tail.remove(0, 1);
    return out = kEllipsis + tail;
}

// makecard: writes a sample camera card into a folder, for demonstrations
// and for trying the host without a camera.
#include <QGuiApplication>
#include <QRegularExpression>
#include <QStringList>

#include <cstdio>

#include "CameraCard.h"

namespace {

const char* const kUsage =
    "usage: makecard [--jpegs N] [--raws N] [--seed N] [--raw-size WxH] FOLDER\n"
    "\n"
    "Writes a sample camera card into FOLDER (new or empty): DCIM/100CORVA with\n"
    "JPEGs drawn on the spot and synthesised raw files that LibRaw decodes, the\n"
    "first raw file with an XMP sidecar. Nothing is downloaded.\n"
    "\n"
    "  --jpegs N        JPEG files (default 4)\n"
    "  --raws N         raw files (default 2)\n"
    "  --seed N         varies the pixels (default 1)\n"
    "  --raw-size WxH   raw sensor size, even sides (default 320x240)\n"
    "\n"
    "Prints each file written, relative to FOLDER.\n"
    "Exit status: 0 success, 1 failure, 2 command-line error.\n";

int usageError(const QString& message)
{
    std::fprintf(stderr, "makecard: %s\n%s", qUtf8Printable(message), kUsage);
    return 2;
}

bool toCount(const QString& text, int& out)
{
    bool ok = false;
    const uint value = text.toUInt(&ok);
    if (!ok || value > 1000000)
        return false;
    out = int(value);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    // Drawing needs fonts but no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);

    CardLayout layout;
    QString folder;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg.startsWith(QLatin1String("--"))) {
            if (i + 1 >= args.size())
                return usageError(QStringLiteral("%1 needs a value").arg(arg));
            const QString value = args[++i];
            bool ok = true;
            if (arg == QLatin1String("--jpegs")) {
                ok = toCount(value, layout.jpegs);
            } else if (arg == QLatin1String("--raws")) {
                ok = toCount(value, layout.raws);
            } else if (arg == QLatin1String("--seed")) {
                layout.seed = value.toUInt(&ok);
            } else if (arg == QLatin1String("--raw-size")) {
                const auto match = QRegularExpression(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$")).match(value);
                ok = match.hasMatch();
                layout.rawWidth = match.captured(1).toInt();
                layout.rawHeight = match.captured(2).toInt();
            } else {
                return usageError(QStringLiteral("unknown option %1").arg(arg));
            }
            if (!ok)
                return usageError(QStringLiteral("%1: not a valid value: %2").arg(arg, value));
        } else if (folder.isEmpty()) {
            folder = arg;
        } else {
            return usageError(QStringLiteral("one FOLDER only"));
        }
    }
    if (folder.isEmpty())
        return usageError(QStringLiteral("FOLDER is missing"));
    const QString invalid = validateLayout(layout);
    if (!invalid.isEmpty())
        return usageError(invalid);

    const CardResult result = writeCameraCard(folder, layout);
    if (!result.ok) {
        std::fprintf(stderr, "makecard: %s\n", qUtf8Printable(result.error));
        return 1;
    }
    for (const QString& file : result.files)
        std::printf("%s\n", qUtf8Printable(file));
    return 0;
}

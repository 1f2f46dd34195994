// ui-gallery: screenshots of every dialog of the plug-in in every shipped
// locale, taken from real windows, so that anyone can see what a user sees.
//
//   xvfb-run -a stage/bin/ui-gallery [--out DIR] [--locale LOCALE]
//
// Without --locale the program runs itself once per locale ("en_us" plus
// every folder under ../shared_assets/locales that holds SkiffStrings.dct):
// a dictionary is loaded once per process and never swapped. Screenshots go
// to DIR/<locale>/<dialog>.png (DIR defaults to ./screenshots).
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <cstdio>

#include "GalleryScenes.h"
#include "PtZString.h"
#include "WindowCapture.h"

namespace {

const QString kDefaultLocale = QStringLiteral("en_us");
const QString kLocalesDir = QStringLiteral("../shared_assets/locales");
const QString kDictionaryName = QStringLiteral("SkiffStrings.dct");

void fail(const QString& message)
{
    std::fprintf(stderr, "ui-gallery: %s\n", qPrintable(message));
}

QStringList shippedLocales()
{
    QStringList locales{kDefaultLocale};
    const QDir dir(kLocalesDir);
    for (const QString& locale : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (locale != kDefaultLocale && QFileInfo::exists(dir.filePath(locale + "/" + kDictionaryName)))
            locales << locale;
    }
    return locales;
}

int runEveryLocale(const QString& outDir)
{
    int failures = 0;
    for (const QString& locale : shippedLocales()) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(), {"--locale", locale, "--out", outDir});
        if (!child.waitForFinished(120000) || child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0) {
            fail(QStringLiteral("locale %1 failed").arg(locale));
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}

int runOneLocale(const QString& locale, const QString& outDir)
{
    if (locale != kDefaultLocale) {
        const QString dictionary = kLocalesDir + "/" + locale + "/" + kDictionaryName;
        if (!PtZString::appendZStringDict(dictionary)) {
            fail(QStringLiteral("cannot read the dictionary %1").arg(QFileInfo(dictionary).absoluteFilePath()));
            return 1;
        }
    }
    const QDir target(outDir + "/" + locale);
    if (!QDir().mkpath(target.path())) {
        fail(QStringLiteral("cannot create %1").arg(target.path()));
        return 1;
    }

    int failures = 0;
    for (const GalleryScene& scene : galleryScenes(locale)) {
        std::unique_ptr<QWidget> dialog = scene.build();
        if (!dialog) {
            fail(QStringLiteral("%1 (%2): cannot be built").arg(scene.name, locale));
            ++failures;
            continue;
        }
        if (scene.afterShow) {
            dialog->show();
            scene.afterShow(dialog.get());
        }
        QString error;
        const QImage shot = captureWindow(dialog.get(), &error);
        const QString file = target.filePath(scene.name + ".png");
        if (shot.isNull()) {
            fail(QStringLiteral("%1 (%2): %3").arg(scene.name, locale, error));
            ++failures;
        } else if (!shot.save(file, "PNG")) {
            fail(QStringLiteral("cannot write %1").arg(file));
            ++failures;
        } else {
            std::printf("%s %dx%d\n", qPrintable(file), shot.width(), shot.height());
        }
        dialog->hide();
    }
    std::fflush(stdout);
    PtZString::closeZStringDict();
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Screenshots of the plug-in's dialogs in every locale."));
    parser.addHelpOption();
    const QCommandLineOption outOption(QStringLiteral("out"), QStringLiteral("Folder for the PNG files."),
                                       QStringLiteral("DIR"), QStringLiteral("screenshots"));
    const QCommandLineOption localeOption(QStringLiteral("locale"),
                                          QStringLiteral("Only this locale, e.g. de_de."), QStringLiteral("LOCALE"));
    parser.addOption(outOption);
    parser.addOption(localeOption);
    parser.process(app);

    // The dialogs find their assets relative to bin/, the way the host runs.
    const QString outDir = QFileInfo(parser.value(outOption)).absoluteFilePath();
    if (!QDir::setCurrent(QCoreApplication::applicationDirPath())) {
        fail(QStringLiteral("cannot change to %1").arg(QCoreApplication::applicationDirPath()));
        return 1;
    }
    if (parser.isSet(localeOption))
        return runOneLocale(parser.value(localeOption), outDir);
    return runEveryLocale(outDir);
}

// Raw files become DNG: which files are raw, the hidden working folder, the
// call into the conversion library, the free target name and the way back
// when the conversion fails.
#include "CAppSource.h"

#include <cerrno>
#include <cstdio>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/wait.h>
#include <unistd.h>

#include "AppFileUtils.h"
#include "PtZString.h"

namespace {

const char kWorkingFolder[] = ".skiffdownload";

void tell(FxMessageCallback callback, const char* zstring)
{
    if (callback)
        callback(reinterpret_cast<const FxChar*>(PtZString::getZString(QString::fromUtf8(zstring)).utf16()), 0);
}

// The file system takes names as the UTF-8 bytes it stores, so paths are
// handed on as they are, not decomposed: on Linux a decomposed name would
// be a different file.
QByteArray fsName(const QString& path)
{
    return QFile::encodeName(path);
}

bool moveFile(const QString& from, const QString& to)
{
    return std::rename(fsName(from).constData(), fsName(to).constData()) == 0;
}

void removeFile(const QString& path)
{
    ::unlink(fsName(path).constData());
}

} // namespace

bool CAppSource::isDNGConverterPresent() const
{
    return m_convertToDNG != nullptr;
}

// A plain substring test: a suffix that ends a longer listed extension
// ("rw" in "arw,") counts as listed.
bool CAppSource::isCameraRAWFile(const QString& path) const
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix.isEmpty())
        return false;
    const QString list = QString::fromUtf16(m_kilnExtensions.c_str()) + QLatin1Char(',');
    return list.contains(suffix + QLatin1Char(','), Qt::CaseSensitive);
}

bool CAppSource::convertToDNGThruKiln(const QString& source, const QString& target) const
{
    if (!m_convertToDNG)
        return false;
    const QByteArray from = fsName(source);
    const QByteArray to = fsName(target);
    const DNGOptions options = m_dngOptions;
    auto convert = [&] {
        return m_convertToDNG(from.constData(), to.constData(), options.jpegPreviewSize, !options.uncompressed,
                              options.linear, options.embedRaw) != 0;
    };
    // The converter decodes untrusted files; in a child process its crash
    // is a failed conversion the raw file comes back from, not the host's end.
    const pid_t child = ::fork();
    if (child < 0)
        return convert();
    if (child == 0)
        ::_exit(convert() ? 0 : 1);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool CAppSource::convertToDNG(const QString& path, FxMessageCallback status, FxMessageCallback error)
{
    const QFileInfo file(path);
    if (!isCameraRAWFile(path) || file.suffix().toLower() == QLatin1String("dng"))
        return true;
    unLockFile(path);
    if (!isDNGConverterPresent()) {
        tell(error, "$$$/AppSource/NotDNGConverter=Cannot find the DNG converter.");
        return false;
    }
    tell(status, "$$$/AppSource/ConvertingToDNG=Converting to DNG...");

    const QString folder = file.path();
    const QString base = file.completeBaseName();
    const QString work = folder + QLatin1Char('/') + QLatin1String(kWorkingFolder);
    const QString sidecar = folder + QLatin1Char('/') + base + QLatin1String(".xmp");
    const QString workRaw = work + QLatin1Char('/') + file.fileName();
    const QString workSidecar = work + QLatin1Char('/') + base + QLatin1String(".xmp");
    const QString workDng = work + QLatin1Char('/') + base + QLatin1String(".dng");
    QDir().mkdir(work);
    removeFile(workRaw);
    removeFile(workDng);
    removeFile(workSidecar);

    moveFile(path, workRaw);
    const bool sidecarMoved = !m_deleteXMPData && moveFile(sidecar, workSidecar);
    m_deleteXMPData = false;

    QString target = folder + QLatin1Char('/') + base + QLatin1String(".dng");
    for (unsigned long long n = 1; QFileInfo::exists(target); ++n)
        target = folder + QLatin1Char('/') + base + QLatin1Char('_') + QString::number(n) + QLatin1String(".dng");

    // The raw file goes only once its DNG has its name.
    bool converted = convertToDNGThruKiln(workRaw, workDng) && moveFile(workDng, target);
    if (converted) {
        removeFile(workRaw);
        removeFile(workSidecar);
    } else {
        tell(error, "$$$/AppSource/CouldNotConvertDNG=Could not convert to DNG...");
        // Whatever a failed converter left is scratch in our own folder.
        removeFile(workDng);
        moveFile(workRaw, path);
        if (sidecarMoved)
            moveFile(workSidecar, sidecar);
    }
    // Fails, as it should, while anything is left in the folder.
    QDir().rmdir(work);
    return converted;
}

#include "AppFileUtils.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "AppFileCopy_p.h"
#include "PtPath.h"
#include "PtPlatformServices.h"

namespace {

constexpr int kMaxAttempts = 10000;
constexpr QChar kSeparator = QLatin1Char('/');

const unsigned short* units(const QString& s) { return s.utf16(); }

QString candidateName(const QString& base, unsigned number)
{
    const int dot = base.lastIndexOf(QLatin1Char('.'));
    QString stem = dot < 0 ? base : base.left(dot);
    const QString ext = dot < 0 ? QString() : base.mid(dot);
    const QString num = QString::number(number);
    const int total = stem.size() + ext.size() + num.size();
    // A negative count keeps the whole base, extension included, as the
    // stem: the long-name rule has always behaved so and names depend on it.
    if (total >= 254)
        stem = base.left(253 - total);
    return stem + QLatin1Char('-') + num + ext;
}

// The standard folders have always come back through a 256-byte path
// buffer. A cut never splits a character: it ends before the first byte of
// a sequence that would not fit whole.
QString cutToPathBuffer(const QString& folder)
{
    constexpr int kPathBytes = 256;
    QByteArray bytes = QFile::encodeName(folder);
    if (bytes.size() <= kPathBytes)
        return folder;
    int end = kPathBytes;
    while (end > 0 && (uchar(bytes[end]) & 0xC0) == 0x80)
        --end;
    bytes.truncate(end);
    return QFile::decodeName(bytes);
}

} // namespace

bool generateUniqueFileName(const QString& folder, const QString& name, QString& inOut, unsigned start,
                            bool alwaysNumber)
{
    try {
        const QString base = inOut.isEmpty() ? name : inOut;
        const QString prefix = folder.trimmed() + kSeparator;
        unsigned number = start;
        for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
            inOut = attempt == 0 && !alwaysNumber ? base : candidateName(base, number++);
            const QString path = prefix + inOut;
            if (!ptucsaccess(units(path), F_OK))
                continue;
            const int fd = ptucsopen(units(path), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
            if (fd < 0) {
                if (errno == EEXIST)
                    continue;
                return false;
            }
            ::close(fd);
            ptucsunlink(units(path));
            return true;
        }
        return false;
    } catch (...) {
        return false;
    }
}

unsigned utilBaseFilename(const QString& name, QString& base)
{
    base = name;
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        base = name.left(dot);
    const int dash = base.lastIndexOf(QLatin1Char('-'));
    if (dash < 0)
        return 0;
    bool ok = false;
    const unsigned number = base.mid(dash + 1).toUInt(&ok, 10);
    base.truncate(dash);
    return ok ? number : 0;
}

bool copyFileIntoTargetFolder(const QString& srcFolder, const QString& srcName, const QString& dstFolder,
                              const QString& dstName)
{
    try {
        const QByteArray source = QFile::encodeName(srcFolder.trimmed() + kSeparator + srcName);
        const QByteArray target = QFile::encodeName(dstFolder.trimmed() + kSeparator + dstName);
        const bool copied = appCopyFile(source.constData(), target.constData());
        // The target is the owner's alone, even one that was already there.
        ::chmod(target.constData(), S_IRUSR | S_IWUSR);
        return copied;
    } catch (...) {
        return false;
    }
}

bool mkdirFromAbsPath(const QString& path)
{
    try {
        if (path.isEmpty())
            return false;
        if (QFileInfo(path).isDir())
            return true;
        const QString absolute = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        const int slash = absolute.lastIndexOf(kSeparator);
        if (slash < 0)
            return true;
        if (slash >= 3 && !mkdirFromAbsPath(absolute.left(slash)))
            return false;
        const QByteArray native = QFile::encodeName(absolute);
        // Somebody else creating it at the same moment is as good as creating it.
        return ::mkdir(native.constData(), 0777) == 0 || (errno == EEXIST && QFileInfo(absolute).isDir());
    } catch (...) {
        return false;
    }
}

void unLockFile(const QString& path)
{
    try {
        // Paths have always gone through a 256-byte buffer here; longer ones are cut.
        const QByteArray native = QFile::encodeName(path).left(255);
        struct stat st;
        if (::stat(native.constData(), &st) != 0 || S_ISDIR(st.st_mode))
            return;
        ::chmod(native.constData(), (st.st_mode & 07777) | S_IWUSR);
    } catch (...) {
    }
}

bool isFolderWritable(const QString& path)
{
    return !ptucsaccess(units(path), W_OK);
}

QString getMyPicturesPath()
{
    return cutToPathBuffer(PtPicturesFolder());
}

QString getApplicationDataFolderPath()
{
    return cutToPathBuffer(PtUserApplicationSupportFolder());
}

bool getApplicationPath(unsigned short*)
{
    return true;
}

bool getCommonSettingsStr(unsigned short*, unsigned short*, unsigned short*, int)
{
    return true;
}

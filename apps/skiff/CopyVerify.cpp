#include "CopyVerify.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kChunk = 1 << 20;

// Closes the descriptor when the scope ends.
struct Fd {
    int fd = -1;
    explicit Fd(int f) : fd(f) {}
    ~Fd() { if (fd >= 0) ::close(fd); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
};

QByteArray encoded(const QString& path) { return QFile::encodeName(path); }

CopyOutcome fail(CopyOutcome::Status status, const QString& message)
{
    CopyOutcome outcome;
    outcome.status = status;
    outcome.message = message;
    return outcome;
}

CopyOutcome readFailure(const QString& source, int error)
{
    if (error == ENOENT || error == ENODEV || error == ENXIO || error == EIO || error == ENOTDIR)
        return fail(CopyOutcome::Status::SourceGone,
                    QStringLiteral("%1 can no longer be read (%2): was the card removed?")
                        .arg(source, QString::fromLocal8Bit(std::strerror(error))));
    return fail(CopyOutcome::Status::Failed,
                QStringLiteral("cannot read %1: %2").arg(source, QString::fromLocal8Bit(std::strerror(error))));
}

CopyOutcome writeFailure(const QString& folder, int error)
{
    if (error == ENOSPC || error == EDQUOT)
        return fail(CopyOutcome::Status::DestinationFull,
                    QStringLiteral("the destination %1 is full: free some space or choose another folder").arg(folder));
    return fail(CopyOutcome::Status::Failed,
                QStringLiteral("cannot write into %1: %2").arg(folder, QString::fromLocal8Bit(std::strerror(error))));
}

bool writeAll(int fd, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size_t(size));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= n;
    }
    return true;
}

// Streams `source` into `out`, hashing what was read. Returns 0 or the errno
// of the failure; `readFailed` tells which side failed.
int streamCopy(int in, int out, FileDigest& digest, bool& readFailed)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::vector<char> buffer(kChunk);
    for (;;) {
        const ssize_t n = ::read(in, buffer.data(), kChunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            readFailed = true;
            return errno;
        }
        if (n == 0)
            break;
        hash.addData(buffer.data(), int(n));
        digest.size += n;
        if (!writeAll(out, buffer.data(), n)) {
            readFailed = false;
            return errno ? errno : ENOSPC;
        }
    }
    // The copy keeps the original's times: a photo's file date is part of it.
    struct stat original {};
    if (::fstat(in, &original) == 0) {
        const struct timespec times[2] = {original.st_atim, original.st_mtim};
        ::futimens(out, times);
    }
    if (::fsync(out) != 0) {
        readFailed = false;
        return errno;
    }
    digest.sha256 = hash.result();
    digest.ok = true;
    return 0;
}

// Renames without replacing an existing file. Some file systems refuse the
// no-replace flag; a hard link refuses an existing name just the same.
int placeWithoutReplacing(const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (::link(from.constData(), to.constData()) != 0)
        return errno;
    ::unlink(from.constData());
    return 0;
}

} // namespace

FileDigest digestFile(const QString& path)
{
    FileDigest digest;
    Fd in(::open(encoded(path).constData(), O_RDONLY | O_CLOEXEC));
    if (in.fd < 0) {
        digest.error = errno;
        return digest;
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::vector<char> buffer(kChunk);
    for (;;) {
        const ssize_t n = ::read(in.fd, buffer.data(), kChunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            digest.error = errno;
            return digest;
        }
        if (n == 0)
            break;
        hash.addData(buffer.data(), int(n));
        digest.size += n;
    }
    digest.sha256 = hash.result();
    digest.ok = true;
    return digest;
}

QString freeName(const QString& folder, const QString& fileName)
{
    if (!QFileInfo::exists(folder + QLatin1Char('/') + fileName))
        return fileName;
    const int dot = fileName.lastIndexOf(QLatin1Char('.'));
    const QString base = dot > 0 ? fileName.left(dot) : fileName;
    const QString suffix = dot > 0 ? fileName.mid(dot) : QString();
    for (int n = 1;; ++n) {
        const QString name = QStringLiteral("%1_%2%3").arg(base).arg(n).arg(suffix);
        if (!QFileInfo::exists(folder + QLatin1Char('/') + name))
            return name;
    }
}

CopyOutcome copyAndVerify(const QString& source, const QString& destFolder, const QString& fileName)
{
    Fd in(::open(encoded(source).constData(), O_RDONLY | O_CLOEXEC));
    if (in.fd < 0)
        return readFailure(source, errno);

    const QString temporary = destFolder + QStringLiteral("/.") + fileName + QStringLiteral(".skiffpart");
    const QByteArray temporaryName = encoded(temporary);
    FileDigest digest;
    {
        Fd out(::open(temporaryName.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
        if (out.fd < 0)
            return writeFailure(destFolder, errno);
        bool readFailed = false;
        if (const int error = streamCopy(in.fd, out.fd, digest, readFailed)) {
            ::unlink(temporaryName.constData());
            return readFailed ? readFailure(source, error) : writeFailure(destFolder, error);
        }
        if (::close(out.fd) != 0) {
            const int error = errno;
            out.fd = -1;
            ::unlink(temporaryName.constData());
            return writeFailure(destFolder, error);
        }
        out.fd = -1;
    }

    const FileDigest readBack = digestFile(temporary);
    if (!readBack.sameAs(digest)) {
        ::unlink(temporaryName.constData());
        return fail(CopyOutcome::Status::Failed,
                    QStringLiteral("the copy of %1 read back from %2 differs from the original").arg(source, destFolder));
    }

    // The final name is taken without replacing anything: a name that turns
    // up between the choice and the rename moves on to the next free one.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString finalPath = destFolder + QLatin1Char('/') + freeName(destFolder, fileName);
        const int error = placeWithoutReplacing(temporaryName, encoded(finalPath));
        if (error == 0) {
            CopyOutcome outcome;
            outcome.status = CopyOutcome::Status::Copied;
            outcome.finalPath = finalPath;
            outcome.digest = digest;
            return outcome;
        }
        if (error != EEXIST) {
            ::unlink(temporaryName.constData());
            return writeFailure(destFolder, error);
        }
    }
    ::unlink(temporaryName.constData());
    return writeFailure(destFolder, EEXIST);
}

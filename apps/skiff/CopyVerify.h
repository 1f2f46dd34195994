// Copying one file from the card and proving the copy. The bytes go to a
// hidden temporary name in the destination folder, are read back from there
// and compared by size and SHA-256 with what was read from the card, and
// only then is the copy renamed to its final name, which it never replaces.
// The copy keeps the original's access and modification times.
// A failure removes the temporary file: no half-copied file is ever left
// under a final name.
#pragma once

#include <QByteArray>
#include <QString>

struct FileDigest {
    bool ok = false;
    qint64 size = 0;
    QByteArray sha256;
    int error = 0; // errno of the failed read when !ok

    bool sameAs(const FileDigest& other) const { return ok && other.ok && size == other.size && sha256 == other.sha256; }
};

// Reads the whole file; !ok when it cannot be opened or read.
FileDigest digestFile(const QString& path);

struct CopyOutcome {
    enum class Status {
        Copied,          // verified and under its final name
        SourceGone,      // the file or its card disappeared
        DestinationFull, // no space left in the destination
        Failed,          // any other read, write or verification failure
    };
    Status status = Status::Failed;
    QString finalPath;  // when Copied
    FileDigest digest;  // of the bytes read from the card, when Copied
    QString message;    // what went wrong, when not Copied
};

// Copies `source` into `destFolder` under `fileName`, or under the first free
// name "base_N.ext" (N from 1) when that name is taken.
CopyOutcome copyAndVerify(const QString& source, const QString& destFolder, const QString& fileName);

// The first name in `folder` that is free: `fileName`, else "base_N.ext".
QString freeName(const QString& folder, const QString& fileName);

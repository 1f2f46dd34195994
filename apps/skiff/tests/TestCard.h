// Card folders made at test time and the host run on them as a user runs it:
// from the stage tree, with its own user folders.
#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// Writes a small real JPEG drawn with Qt; different seeds give different bytes.
bool writeJpeg(const QString& path, int seed, int side = 64);
bool writeBytes(const QString& path, const QByteArray& bytes);
QByteArray readBytes(const QString& path);
// A small raw file: a mosaic image made by the raw synthesiser, under the
// name the caller gives it (a camera's raw extension).
bool writeRaw(const QString& path, unsigned seed);

// Entries of a folder, hidden ones included, sorted.
QStringList entries(const QString& folder);

// Isolated user folders under `home` for the host and its plug-in.
QProcessEnvironment hostEnvironment(const QString& home);

// Writes the plug-in's preference file under `home` from the shipped
// defaults, with the given keys replaced.
bool writePreferences(const QString& home, const QList<QPair<QString, QString>>& values);

struct HostRun {
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs stage/bin/skiff with `arguments` and waits for it.
HostRun runHost(const QStringList& arguments, const QString& home);
QString hostProgram();

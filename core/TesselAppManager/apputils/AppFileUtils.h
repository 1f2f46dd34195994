// File and path utilities of the download pipeline and the raw conversion.
//
// Free functions over QString. They report failure only by their result
// (false, an empty text or no action) and never throw; file-system errors are
// left to the caller to report. Paths use the platform separator "/".
#pragma once

#include <QString>

class QFontMetrics;
class QRect;

// Finds a name in `folder` that is free right now. The base is `inOut` when
// it is non-empty, else `name`. The first candidate is the base itself unless
// `alwaysNumber`; the others are stem + "-" + n + extension with n counting
// up from `start` ("IMG_1.JPG", "IMG_1-1.JPG", "IMG_1-2.JPG", ...). Each
// candidate is written to `inOut`. A candidate is taken when it can be created
// exclusively; the probe file is removed again, so the name is proven
// creatable but not held. False after 10000 taken candidates (`inOut` then
// holds the last one tried) or on an error other than "exists".
bool generateUniqueFileName(const QString& folder, const QString& name, QString& inOut, unsigned start,
                            bool alwaysNumber);

// Splits "stem-7.ext" into base "stem" and number 7. The extension goes, then
// the text after the last "-" is the number and is cut away even when it is
// not one (the result is then 0).
unsigned utilBaseFilename(const QString& name, QString& base);

// Copies srcFolder/srcName to dstFolder/dstName with the kernel's copy. The
// target folder must exist and the target must not: an existing target fails.
// The target ends up readable and writable by its owner only, whatever the
// outcome; a partial copy is removed. True when the copy succeeded.
bool copyFileIntoTargetFolder(const QString& srcFolder, const QString& srcName, const QString& dstFolder,
                              const QString& dstName);

// Creates `path` with all its parents; true when the folder exists afterwards.
bool mkdirFromAbsPath(const QString& path);

// Clears the "locked" state of a file: gives its owner the write permission.
// Folders are left alone; errors are ignored.
void unLockFile(const QString& path);

// True when the current user may write into `path`.
bool isFolderWritable(const QString& path);

// The user's Pictures folder; empty when there is none.
QString getMyPicturesPath();
// The user's application-data folder ($XDG_DATA_HOME, default ~/.local/share).
QString getApplicationDataFolderPath();
// Both folders come back as at most 256 bytes of UTF-8: a longer path is cut
// there, at a character boundary.

// Nothing to report on this platform: both return true and write nothing.
bool getApplicationPath(unsigned short* buf);
bool getCommonSettingsStr(unsigned short* first, unsigned short* second, unsigned short* third, int size);

// Shortens `path` so that it is narrower than `rect`'s width less 2 pixels in
// `metrics`: first folders are replaced by "...", then the file name alone
// remains, then the start of the file name gives way to "...". Returns the
// text and also stores it in `out`.
QString fitPath(const QString& path, QString& out, const QFontMetrics& metrics, const QRect& rect);

// The script that shows a finished download in Tessel.
#pragma once

#include <QString>

// Every backslash of `folder` doubled, the form the script's string
// literals need.
QString escapeBackslashes(const QString& folder);

// The end-of-download script: with Tessel running it browses to `folder`
// (openTessel) or shows `status` in Tessel's status line; with Tessel not
// running it opens `folder` (openTessel) or is empty, meaning nothing is
// sent. `folder` must already have its backslashes doubled; `status` is
// inserted as it stands.
QString endOfDownloadScript(bool tesselRunning, bool openTessel, const QString& folder, const QString& status);

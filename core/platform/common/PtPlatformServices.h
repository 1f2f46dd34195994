// The desktop services that the plug-in asks of its platform: application
// preferences and standard folders. Everything here reads the environment
// (HOME, XDG_*) at the moment of the call, so tests can redirect it.
#pragma once

#include <QString>
#include <QVariant>

// The preference `key` of the application `appId`: the top-level key of the
// INI file $XDG_CONFIG_HOME/<appId>.conf (default ~/.config), before any
// section or under [General]. The value is a text: everything after the
// first "=" of the key's first line, as it stands ("de,fr" and "fr;x" stay
// whole, blanks are kept), or the text between the quotes when the value is
// written in double quotes. An invalid QVariant when the file or the key is
// missing.
QVariant PtCopyAppValue(const QString& key, const QString& appId);

// The user's pictures folder.
QString PtPicturesFolder();
// The user's application-data folder: $XDG_DATA_HOME (default ~/.local/share).
QString PtUserApplicationSupportFolder();
// The machine-wide application-data folder: the first entry of
// $XDG_DATA_DIRS (default /usr/local/share).
QString PtLocalApplicationSupportFolder();

// The process-wide front end of the localised strings. Every text the
// plug-in shows is written as a ZString literal, "$$$/PtZString/Yes=&Yes",
// and turned into the user's language here at the moment it is needed.
//
// For US English no dictionary is loaded and the default text after the
// first "=" is used as it stands. Opening and closing happen only while the
// plug-in's source object is built or destroyed; lookups are read-only and
// take no lock.
#pragma once

#include <QString>

namespace quire {
class Dictionary;
}

class PtZString {
public:
    // Chooses the locale (getApplicationLocale, "en_us" when nothing is set)
    // and loads "../shared_assets/locales/<locale>/SkiffStrings.dct",
    // relative to the current directory. For "en_us" nothing is loaded
    // unless alwaysLoad is set. A new dictionary replaces the pointer; the
    // previous one is not destroyed. Returns true when a dictionary was read
    // or none is needed, false when opening or reading failed (the partly
    // filled dictionary then stays in place and lookups fall back to the
    // default texts).
    static bool openZStringDict(bool alwaysLoad);

    // Reads a further dictionary file into the loaded dictionary, creating
    // one first when there is none. True when the file exists and was read.
    static bool appendZStringDict(const QString& path);

    // Destroys the loaded dictionary, if any. The pointer is reset so that a
    // stray lookup after a close falls back to the default texts instead of
    // reading freed memory.
    static void closeZStringDict();

    // The text for a ZString literal: the dictionary's value for its key, or
    // its default text. A literal without "=" is logged at debug level and
    // returned unchanged.
    static const QString getZString(const QString& zstring);

    static const QString getYesString();
    static const QString getNoString();
    static const QString getOKString();
    static const QString getCancelString();

    // The one loaded dictionary; null until a dictionary is opened.
    static quire::Dictionary* smpDictionary;
};

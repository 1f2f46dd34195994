// The preference store that the plug-in loads at run time from
// Frameworks/preference_xml_parser.framework.
//
// The module exports one entry, PtModuleMain, which hands out a module object.
// Objects of the module are identified by 16-byte identifiers, not by the
// host's small integers; the module object answers QueryInterface for
// IPtPreferences. Every object is reference counted: whoever receives one
// (from PtModuleMain or QueryInterface) owns one count and gives it back with
// Release.
//
// The store keeps values by domain (an integer) and key (a plain ASCII name).
// A value is written either as UTF-16 text or as byte text and can be read
// back as either: the two forms convert through UTF-8. Texts in the user's
// file are kept one XML file per directory ("Preferences.xml"); every change
// reaches the disk before the writing operation returns (or, inside
// BeginUpdate/EndUpdate, when the outermost EndUpdate returns) by writing a
// temporary file, flushing it to disk and renaming it over the old one, so a
// crash leaves either the old file or the new one.
//
// Objects are not thread-safe: one thread at a time.
#pragma once

#include <cstring>

using PtIID = unsigned char[16];

// The base of every object of a module: slots 0 to 2.
class IPtUnknown {
 public:
    // Stores the face for `iid` in *out, AddRef'd, and returns true; otherwise
    // stores null and returns false.
    virtual bool QueryInterface(const PtIID& iid, void** out) = 0;
    virtual long AddRef() = 0;
    // At zero the object is gone.
    virtual long Release() = 0;

 protected:
    ~IPtUnknown() = default;
};

inline constexpr PtIID kIID_IPtUnknown = {0xEC, 0x59, 0x41, 0xFC, 0xBE, 0x12, 0x43, 0xCA,
                                          0x98, 0x8A, 0xF9, 0x05, 0x52, 0x71, 0xA1, 0x00};
inline constexpr PtIID kIID_IPtPreferences = {0xEC, 0x59, 0x41, 0xFC, 0xBE, 0x12, 0x43, 0xCA,
                                              0x98, 0x8A, 0xF9, 0x05, 0x52, 0x71, 0xA1, 0xCB};

inline bool ptSameIID(const PtIID& a, const PtIID& b) { return std::memcmp(a, b, sizeof(PtIID)) == 0; }

// Slot order is binary interface: callers reach slots 5, 6, 10, 11 and 13 by
// position. Never reorder or insert.
class IPtPreferences : public IPtUnknown {
 public:
    // Slot 3. Defers writing to disk until the matching EndUpdate; calls nest.
    virtual void BeginUpdate() = 0;
    // Slot 4. Ends one BeginUpdate; the outermost one writes pending changes.
    // False when that write failed (the changes stay pending for the next one).
    virtual bool EndUpdate() = 0;
    // Slot 5. Opens the store on the user's directory `userFolder`. The values
    // are read from "Preferences.xml" in `initialFolder`: the user's own file
    // when both name the same directory, the shipped defaults otherwise.
    // Writes always go to `userFolder`, which the first write creates.
    // Relative paths are taken against the current directory now. A corrupt
    // file in the user's directory is moved aside (one line on standard error
    // names both files) and the store starts empty. False only when a folder
    // is null or empty.
    virtual bool Open(const unsigned short* userFolder, const unsigned short* initialFolder) = 0;
    // Slot 6. Whether the store holds at least one value in `domain`.
    virtual unsigned char HasDomain(int domain) = 0;
    // Slot 7. Whether `key` has a value in `domain`.
    virtual bool HasKey(int domain, const char* key) = 0;
    // Slot 8. Removes a value and writes the store; true when it existed and
    // the write succeeded.
    virtual bool RemoveKey(int domain, const char* key) = 0;
    // Slot 9. The absolute path of the file that writes go to, as UTF-16,
    // terminated, at most `size` units; false when it does not fit or the
    // store is not open.
    virtual bool GetStoreFile(unsigned short* buf, unsigned int size) = 0;
    // Slot 10. Copies the value as terminated UTF-16 into `buf` of `size`
    // units. False, with `buf` untouched, when the key has no value or the
    // text and terminator do not fit.
    virtual unsigned char GetString(int domain, const char* key, unsigned short* buf, unsigned int size) = 0;
    // Slot 11. Copies the value as byte text plus a 0 byte into `buf` of
    // `size` bytes. False, with `buf` untouched, when the key has no value or
    // the bytes and terminator do not fit.
    virtual unsigned char GetBytes(int domain, const char* key, char* buf, unsigned int size) = 0;
    // Slot 12. Stores terminated UTF-16 text and writes the store. False when
    // an argument is null, the key is not printable ASCII, or the write failed.
    virtual bool SetString(int domain, const char* key, const unsigned short* value) = 0;
    // Slot 13. Stores `length` bytes of `value` (0 bytes included) and writes
    // the store. Failures as for SetString.
    virtual bool SetBytes(int domain, const char* key, const char* value, unsigned int length) = 0;

 protected:
    ~IPtPreferences() = default;
};

// The module's entry: stores a new module object (count 1) in *out and
// returns true; false and null on failure.
using PtModuleMainFunc = bool (*)(IPtUnknown** out);
#define PT_MODULE_ENTRY "PtModuleMain"

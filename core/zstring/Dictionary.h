// quire::Dictionary: keyed localised strings read from a dictionary file,
// answering lookups of ZString literals (key path, then default text:
// "$$$/PtZString/OK=OK") with the stored text or, failing that, the
// literal's default text.
//
// A Dictionary is a reference to a shared implementation object: copies
// share their entries. Nothing here throws for bad file content and nothing
// reads outside the given bytes: a truncated or corrupt file leaves the
// dictionary invalid (IsValid false) with the entries read so far. Not
// thread-safe; a dictionary that is no longer changed may be read from any
// thread.
#pragma once

#include "ZString.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>

namespace quire_private {
class Dictionary;
}

namespace quire {

// How the default text of a literal is turned into UTF-16: byte by byte
// (plain ASCII expected), or decoded as UTF-8.
enum class Encoding { None, UTF8 };

// Byte order of the numbers in a written binary dictionary.
enum ByteOrder { kBigEndian = 0, kLittleEndian = 1, kHostOrder = 2 };

class Dictionary {
public:
    // A new dictionary: valid and empty.
    Dictionary();
    ~Dictionary();
    Dictionary(const Dictionary&);
    Dictionary& operator=(const Dictionary&);

    // Reads a whole dictionary file, binary when it starts with
    // "ZString Binary Format", else text (UTF-16 with a byte-order mark in
    // either order, or UTF-8). Entries are added to those already present.
    // A stream that failed to open marks the dictionary invalid. Returns
    // IsValid().
    bool Read(std::istream& stream);

    // Reads a binary dictionary from memory. With copy false the bytes are
    // used in place and must outlive every copy of this dictionary. Returns
    // IsValid().
    bool Read(const void* buffer, std::size_t length, bool copy);

    // The text for literal: the stored value of its key here, else in the
    // main dictionary, else its default text; hat escapes converted. Empty
    // for a null, empty or malformed ("$" or "$$" prefix) literal.
    ZString Lookup(const char* literal, Encoding encoding = Encoding::None) const;

    // Key arguments take a literal or a bare key path:
    // "$$$/PtZString/OK=OK" or "/PtZString/OK".
    bool HasKey(const char* key) const;
    // The stored value of key with its hat escapes unconverted; false when
    // the key is not here (the main dictionary is not asked).
    bool RawValue(const char* key, std::u16string& value) const;
    // Adds or replaces an entry; false for a malformed or empty key.
    bool Add(const char* key, const char16_t* text, std::size_t length);
    bool Remove(const char* key);

    // The locale name a binary file carried or that was set; empty if none.
    std::string Locale() const;
    void Locale(const std::string& name);

    std::size_t NumKeys() const;
    // Key enumeration over the entries as they were at the last reset or
    // change.
    void ReSetKeyEnumeration();
    bool HasMoreKey() const;
    // The next key, or an empty string past the last.
    std::string NextKey();

    // Makes this the dictionary every other one falls back to. Destroying
    // it clears the fallback.
    void SetAsMain();
    bool IsValid() const;

    // Writes the binary form (format 2.1) with numbers in the given order.
    // Without a locale "en_US" is written. Returns the bytes written, 0 when
    // an entry cannot be stored (key or value above 65535 units) or the
    // stream fails.
    std::size_t Serialize(std::ostream& stream, ByteOrder order = kHostOrder) const;

private:
    std::shared_ptr<quire_private::Dictionary> m_impl;
};

} // namespace quire

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
#include <cstdint>
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

// The numeric id of an entry: fixed for the life of the entry in its
// dictionary (a changed value keeps it), never reused after Remove. Ids are
// per dictionary object; a dictionary read from a binary file numbers its
// entries in file order.
using ZStringId = std::uint32_t;
constexpr ZStringId kNoZStringId = 0xFFFFFFFF;

// Encodings of a written text dictionary (TextDictionary.h).
enum class TextEncoding { UTF16LE, UTF16BE, UTF8 };

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
    // IsValid(). A quire::basic_ifstream hands over its mapped file: a
    // binary dictionary is then answered from the mapping, which stays
    // mapped while this dictionary or a copy uses it.
    bool Read(std::istream& stream);

    // Reads a binary dictionary from memory. With copy false the bytes are
    // used in place and must outlive every copy of this dictionary. Returns
    // IsValid().
    bool Read(const void* buffer, std::size_t length, bool copy);

    // The text for literal: the stored value of its key here, else in the
    // main dictionary, else its default text; hat escapes converted. Empty
    // for a null, empty or malformed ("$" or "$$" prefix) literal.
    ZString Lookup(const char* literal, Encoding encoding = Encoding::None) const;
    // The stored value of id, hat escapes converted; empty for an id that
    // names no entry. An id has no default text, so encoding changes
    // nothing; it is taken so that both forms are called alike.
    ZString Lookup(ZStringId id, Encoding encoding = Encoding::None) const;
    // The text Lookup gives, zero-terminated and kept by this dictionary:
    // valid until the dictionary is next read into, added to or removed
    // from, or destroyed. Never null (an empty text for a null literal). A
    // fallback to the main dictionary is kept as it was at the first call.
    // May be called from several threads while nothing changes the
    // dictionary.
    const char16_t* LookupReturnUTF16Ptr(const char* literal, Encoding encoding = Encoding::None) const;

    // Key arguments take a literal or a bare key path:
    // "$$$/PtZString/OK=OK" or "/PtZString/OK".
    bool HasKey(const char* key) const;
    // The stored value of key with its hat escapes unconverted; false when
    // the key is not here (the main dictionary is not asked).
    bool RawValue(const char* key, std::u16string& value) const;
    // Adds or replaces an entry; false for a malformed or empty key. With
    // Encoding::UTF8 the key is decoded from UTF-8 and each unit narrowed
    // to its low byte, giving the key that the same text on a line of an
    // 8-bit text dictionary gives; with Encoding::None its bytes are the
    // key as they stand.
    bool Add(const char* key, const char16_t* text, std::size_t length,
             Encoding encoding = Encoding::None);
    // False when there is no such entry.
    bool Remove(const char* key);
    bool Remove(ZStringId id);

    // The access key of the text the user sees: the unit after the first
    // "&" that is not "&&" ("&Yes" gives 'Y'), as written, 0 when there is
    // none. For a literal that is the text Lookup gives (default text
    // included); for an id, the stored value.
    char16_t Accelerator(const char* literal) const;
    char16_t Accelerator(ZStringId id) const;

    // The id of key (a literal or a key path), kNoZStringId when it is not
    // here.
    ZStringId GetNumericId(const char* key) const;
    // The key path of id, empty when id names no entry.
    std::string GetStringId(ZStringId id) const;
    bool ValidId(ZStringId id) const;

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
    // Writes every entry exactly, including keys that no literal can name
    // (a NUL, an "=", a leading "$").
    friend bool WriteTextDictionary(const Dictionary&, std::ostream&, TextEncoding, std::string&);

    std::shared_ptr<quire_private::Dictionary> m_impl;
};

} // namespace quire

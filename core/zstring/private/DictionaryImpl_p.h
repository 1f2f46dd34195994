// quire_private::Dictionary: the implementation object behind
// quire::Dictionary. Entries live either in the hash table (text files,
// Add, Remove) or, for a dictionary filled only from one binary file, in
// the array read in place; any change moves array entries into the table.
#pragma once

#include "FastArray_p.h"
#include "HashTable_p.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quire_private {

class Dictionary {
public:
    Dictionary() = default;
    ~Dictionary();
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    // Text dictionary bytes, any of the three encodings.
    void ReadText(const unsigned char* data, std::size_t size);
    // A binary dictionary; the bytes must stay alive while owner is held.
    void ReadBinary(const unsigned char* data, std::size_t size, std::shared_ptr<const void> owner);

    bool Find(std::string_view key, std::u16string& value) const;
    void Insert(DictionaryEntry entry);
    bool Remove(std::string_view key);
    std::size_t NumKeys() const;
    std::vector<std::string> Keys() const;
    // Every entry, key then raw value, in store order.
    std::vector<std::pair<std::string, std::u16string>> Entries() const;

    static Dictionary* sMainDictionary;

    std::optional<std::string> locale;
    bool valid = true;
    // Key enumeration walks a snapshot, retaken after any change.
    std::vector<std::string> keySnapshot;
    std::size_t keyCursor = 0;
    bool snapshotStale = true;

private:
    void moveArrayToTable();

    HashTable m_table;
    std::unique_ptr<FastArray> m_array;
};

} // namespace quire_private

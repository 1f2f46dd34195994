// quire_private::Dictionary: the implementation object behind
// quire::Dictionary. Entries live either in the hash table (text files,
// Add, Remove) or, for a dictionary filled only from one binary file, in
// the array answered in place; any change moves array entries into the
// table, keeping their ids.
#pragma once

#include "FastArray_p.h"
#include "HashTable_p.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
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
    // The id of key, or kNoId.
    std::uint32_t IdOf(std::string_view key) const;
    // The key and value of id; false when id names no entry.
    bool Entry(std::uint32_t id, std::string_view& key, std::u16string& value) const;
    void Insert(DictionaryEntry entry);
    bool Remove(std::string_view key);
    std::size_t NumKeys() const;
    std::vector<std::string> Keys() const;
    // Every entry, key then raw value, in store order.
    std::vector<std::pair<std::string, std::u16string>> Entries() const;

    // Keeps text under cacheKey until the next change and returns it
    // zero-terminated; a key kept before returns what it kept. Safe from
    // several threads while nothing changes the dictionary.
    const char16_t* Keep(std::string cacheKey, std::u16string text) const;

    static constexpr std::uint32_t kNoId = 0xFFFFFFFF;
    static Dictionary* sMainDictionary;

    std::optional<std::string> locale;
    bool valid = true;
    // Key enumeration walks a snapshot, retaken after any change.
    std::vector<std::string> keySnapshot;
    std::size_t keyCursor = 0;
    bool snapshotStale = true;

private:
    void moveArrayToTable();
    void changed();

    HashTable m_table;
    std::unique_ptr<FastArray> m_array;
    // Table entries by id; an empty key marks a removed id.
    std::vector<std::string> m_idKeys;
    mutable std::mutex m_resultLock;
    mutable std::unordered_map<std::string, std::u16string> m_results;
};

} // namespace quire_private

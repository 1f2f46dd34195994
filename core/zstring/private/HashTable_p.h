// The hash-table store: entries filled from text dictionaries and by Add.
#pragma once

#include "DictionaryEntry_p.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace quire_private {

class HashTable {
public:
    HashTable() = default;

    const DictionaryEntry* Find(std::string_view key) const;
    // Adds entry, or replaces the value of the entry with the same key,
    // which keeps its id. Returns the stored entry, valid until the next
    // change.
    const DictionaryEntry& Insert(DictionaryEntry entry);
    bool Remove(std::string_view key);
    std::size_t Size() const { return m_size; }
    bool Empty() const { return m_size == 0; }

    template <typename F>
    void ForEach(F&& f) const
    {
        for (const auto& bucket : m_buckets)
            for (const auto& entry : bucket)
                f(entry);
    }

private:
    void grow();

    std::vector<std::vector<DictionaryEntry>> m_buckets;
    std::size_t m_size = 0;
};

} // namespace quire_private

#include "HashTable_p.h"

#include "ByteRunKey_p.h"

#include <algorithm>

namespace quire_private {

HashTable::HashTable() : m_buckets(kBinaryBuckets) {}

const DictionaryEntry* HashTable::Find(std::string_view key) const
{
    const auto& bucket = m_buckets[ByteRunKey::Hash(key, m_buckets.size())];
    for (const auto& entry : bucket) {
        if (entry.key == key)
            return &entry;
    }
    return nullptr;
}

void HashTable::Insert(DictionaryEntry entry)
{
    auto& bucket = m_buckets[ByteRunKey::Hash(entry.key, m_buckets.size())];
    for (auto& existing : bucket) {
        if (existing.key == entry.key) {
            existing.value = std::move(entry.value);
            return;
        }
    }
    bucket.push_back(std::move(entry));
    if (++m_size > 4 * m_buckets.size())
        grow();
}

bool HashTable::Remove(std::string_view key)
{
    auto& bucket = m_buckets[ByteRunKey::Hash(key, m_buckets.size())];
    const auto it = std::find_if(bucket.begin(), bucket.end(),
                                 [key](const DictionaryEntry& e) { return e.key == key; });
    if (it == bucket.end())
        return false;
    bucket.erase(it);
    --m_size;
    return true;
}

void HashTable::grow()
{
    std::vector<std::vector<DictionaryEntry>> buckets(m_buckets.size() * 4 + 1);
    for (auto& bucket : m_buckets) {
        for (auto& entry : bucket)
            buckets[ByteRunKey::Hash(entry.key, buckets.size())].push_back(std::move(entry));
    }
    m_buckets.swap(buckets);
}

} // namespace quire_private

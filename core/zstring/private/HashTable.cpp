#include "HashTable_p.h"

#include "ByteRunKey_p.h"

#include <algorithm>

namespace quire_private {

namespace {

// Buckets are kept sorted by key: the key hash samples only every step-th
// byte, so similar keys share buckets and a linear scan would be long.
bool keyLess(const DictionaryEntry& e, std::string_view key)
{
    return std::string_view(e.key) < key;
}

} // namespace

const DictionaryEntry* HashTable::Find(std::string_view key) const
{
    if (m_buckets.empty())
        return nullptr;
    const auto& bucket = m_buckets[ByteRunKey::Hash(key, m_buckets.size())];
    const auto it = std::lower_bound(bucket.begin(), bucket.end(), key, keyLess);
    return it != bucket.end() && it->key == key ? &*it : nullptr;
}

const DictionaryEntry& HashTable::Insert(DictionaryEntry entry)
{
    // The buckets are made on first use: a dictionary read from a binary
    // file never needs them.
    if (m_buckets.empty())
        m_buckets.resize(kBinaryBuckets);
    auto& bucket = m_buckets[ByteRunKey::Hash(entry.key, m_buckets.size())];
    const auto it = std::lower_bound(bucket.begin(), bucket.end(), std::string_view(entry.key), keyLess);
    if (it != bucket.end() && it->key == entry.key) {
        it->value = std::move(entry.value);
        return *it;
    }
    const auto inserted = bucket.insert(it, std::move(entry));
    if (++m_size <= 4 * m_buckets.size())
        return *inserted;
    const std::string key = inserted->key;
    grow();
    return *Find(key);
}

bool HashTable::Remove(std::string_view key)
{
    if (m_buckets.empty())
        return false;
    auto& bucket = m_buckets[ByteRunKey::Hash(key, m_buckets.size())];
    const auto it = std::lower_bound(bucket.begin(), bucket.end(), key, keyLess);
    if (it == bucket.end() || it->key != key)
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
    for (auto& bucket : buckets)
        std::sort(bucket.begin(), bucket.end(),
                  [](const DictionaryEntry& a, const DictionaryEntry& b) { return a.key < b.key; });
    m_buckets.swap(buckets);
}

} // namespace quire_private

#include "FastArray_p.h"

#include "ByteOrder_p.h"
#include "ByteRunKey_p.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace quire_private {

namespace {

// Bucket indexes are stored in 2 bytes, so no file can use more buckets.
constexpr std::uint32_t kMaxBuckets = 65536;

} // namespace

FastArray::ReadResult FastArray::Read(const unsigned char* data, std::size_t size, bool bigEndian,
                                      std::uint32_t expectedId, std::shared_ptr<const void> owner)
{
    ByteCursor c(data, size, bigEndian);
    const std::uint32_t id = c.U32();
    const std::uint8_t hasKeys = c.U8();
    const std::uint32_t count = c.U32();
    const std::uint32_t modulus = c.U32();
    const std::uint32_t nonEmpty = c.U32();
    if (!c.Ok() || (id != 0 && expectedId != 0 && id != expectedId))
        return ReadResult::Malformed;
    // Our writer always stores keys; an array without them has nothing a
    // key lookup could reach.
    if (hasKeys != 'Y')
        return ReadResult::Malformed;
    if (modulus == 0)
        return ReadResult::Ignored;
    const std::uint32_t keyTotal = c.U32();
    const std::uint32_t valueTotal = c.U32();
    if (!c.Ok() || modulus > kMaxBuckets || nonEmpty > modulus || nonEmpty > count
        || (count != 0 && nonEmpty == 0))
        return ReadResult::Malformed;
    // Every count is checked against the bytes present before anything is
    // allocated from it.
    const std::uint64_t need = std::uint64_t(count) * 16 + keyTotal + 2 * std::uint64_t(valueTotal)
        + std::uint64_t(nonEmpty) * 6;
    if (need > c.Left())
        return ReadResult::Malformed;

    std::vector<Entry> entries(count);
    for (auto& e : entries)
        e.keyOffset = c.U32();
    for (auto& e : entries) {
        e.keyLength = c.U16();
        if (std::uint64_t(e.keyOffset) + e.keyLength > keyTotal)
            return ReadResult::Malformed;
    }
    for (auto& e : entries)
        e.valueOffset = c.U32();
    for (auto& e : entries) {
        e.valueLength = c.U16();
        if (std::uint64_t(e.valueOffset) + e.valueLength > valueTotal)
            return ReadResult::Malformed;
    }
    const unsigned char* keys = c.Here();
    c.Skip(keyTotal);
    const unsigned char* values = c.Here();
    c.Skip(2 * std::size_t(valueTotal));

    std::vector<std::uint16_t> bucketIndex(nonEmpty);
    for (std::uint32_t i = 0; i < nonEmpty; ++i) {
        bucketIndex[i] = c.U16();
        if (bucketIndex[i] >= modulus || (i > 0 && bucketIndex[i] <= bucketIndex[i - 1]))
            return ReadResult::Malformed;
    }
    std::vector<std::uint32_t> bucketStart(std::size_t(modulus) + 1, 0);
    std::uint64_t total = 0;
    for (std::uint32_t i = 0; i < nonEmpty; ++i) {
        const std::uint32_t n = c.U32();
        total += n;
        if (n == 0 || total > count)
            return ReadResult::Malformed;
        bucketStart[std::size_t(bucketIndex[i]) + 1] = n;
    }
    if (total != count)
        return ReadResult::Malformed;
    for (std::size_t b = 1; b < bucketStart.size(); ++b)
        bucketStart[b] += bucketStart[b - 1];
    std::vector<std::uint32_t> ids(count);
    for (auto& i : ids) {
        i = c.U32();
        if (i >= count)
            return ReadResult::Malformed;
    }
    if (!c.Ok())
        return ReadResult::Malformed;

    // The key hash looks at only every step-th byte, so keys that differ
    // elsewhere crowd into few buckets; our writer sorts each bucket so a
    // lookup can search it by halves. Files sorted otherwise are scanned.
    auto keyAt = [&](std::uint32_t id) {
        return std::string_view(reinterpret_cast<const char*>(keys) + entries[id].keyOffset,
                                entries[id].keyLength);
    };
    bool sorted = true;
    for (std::size_t b = 0; sorted && b < modulus; ++b) {
        for (std::uint32_t j = bucketStart[b] + 1; j < bucketStart[b + 1]; ++j) {
            if (!(keyAt(ids[j - 1]) < keyAt(ids[j]))) {
                sorted = false;
                break;
            }
        }
    }

    m_sortedBuckets = sorted;
    m_owner = std::move(owner);
    m_keys = keys;
    m_values = values;
    m_swapValues = bigEndian != HostIsBigEndian();
    m_modulus = modulus;
    m_entries.swap(entries);
    m_bucketStart.swap(bucketStart);
    m_ids.swap(ids);
    return ReadResult::Ok;
}

long FastArray::Find(std::string_view key) const
{
    if (m_modulus == 0)
        return -1;
    const std::uint64_t bucket = ByteRunKey::Hash(key, m_modulus);
    if (m_sortedBuckets) {
        const auto first = m_ids.begin() + m_bucketStart[bucket];
        const auto last = m_ids.begin() + m_bucketStart[bucket + 1];
        const auto it = std::lower_bound(first, last, key,
                                         [this](std::uint32_t id, std::string_view k) { return Key(id) < k; });
        return it != last && Key(*it) == key ? static_cast<long>(*it) : -1;
    }
    for (std::uint32_t j = m_bucketStart[bucket]; j < m_bucketStart[bucket + 1]; ++j) {
        const std::uint32_t id = m_ids[j];
        const Entry& e = m_entries[id];
        if (e.keyLength == key.size() && std::memcmp(m_keys + e.keyOffset, key.data(), key.size()) == 0)
            return static_cast<long>(id);
    }
    return -1;
}

std::string_view FastArray::Key(std::size_t index) const
{
    const Entry& e = m_entries[index];
    return {reinterpret_cast<const char*>(m_keys) + e.keyOffset, e.keyLength};
}

std::u16string FastArray::Value(std::size_t index) const
{
    const Entry& e = m_entries[index];
    std::u16string value(e.valueLength, u'\0');
    // The value section need not be 2-byte aligned: copy, never cast.
    std::memcpy(value.data(), m_values + 2 * std::size_t(e.valueOffset), 2 * std::size_t(e.valueLength));
    if (m_swapValues) {
        for (auto& unit : value)
            unit = static_cast<char16_t>((unit >> 8) | (unit << 8));
    }
    return value;
}

std::string FastArray::Serialize2(std::vector<std::pair<std::string_view, std::u16string_view>> entries,
                                  bool bigEndian, std::uint32_t id)
{
    using Item = std::pair<std::string_view, std::u16string_view>;
    constexpr std::size_t kMaxRun = std::numeric_limits<std::uint16_t>::max();
    std::vector<std::vector<Item>> buckets(kBinaryBuckets);
    std::uint64_t keyTotal = 0;
    std::uint64_t valueTotal = 0;
    for (const Item& item : entries) {
        if (item.first.size() > kMaxRun || item.second.size() > kMaxRun)
            throw std::length_error("key or value longer than 65535 units");
        keyTotal += item.first.size();
        valueTotal += item.second.size();
        buckets[ByteRunKey::Hash(item.first, kBinaryBuckets)].push_back(item);
    }
    if (keyTotal > std::numeric_limits<std::uint32_t>::max()
        || valueTotal > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("dictionary too large");

    std::vector<Item> ordered;
    ordered.reserve(entries.size());
    std::uint32_t nonEmpty = 0;
    for (auto& bucket : buckets) {
        std::sort(bucket.begin(), bucket.end());
        ordered.insert(ordered.end(), bucket.begin(), bucket.end());
        nonEmpty += bucket.empty() ? 0 : 1;
    }

    std::string out;
    PutNumber(out, id, 4, bigEndian);
    out.push_back('Y');
    PutNumber(out, ordered.size(), 4, bigEndian);
    PutNumber(out, kBinaryBuckets, 4, bigEndian);
    PutNumber(out, nonEmpty, 4, bigEndian);
    PutNumber(out, keyTotal, 4, bigEndian);
    PutNumber(out, valueTotal, 4, bigEndian);
    std::uint64_t offset = 0;
    for (const Item& item : ordered) {
        PutNumber(out, offset, 4, bigEndian);
        offset += item.first.size();
    }
    for (const Item& item : ordered)
        PutNumber(out, item.first.size(), 2, bigEndian);
    offset = 0;
    for (const Item& item : ordered) {
        PutNumber(out, offset, 4, bigEndian);
        offset += item.second.size();
    }
    for (const Item& item : ordered)
        PutNumber(out, item.second.size(), 2, bigEndian);
    for (const Item& item : ordered)
        out.append(item.first);
    for (const Item& item : ordered) {
        for (const char16_t unit : item.second)
            PutNumber(out, unit, 2, bigEndian);
    }
    for (std::size_t b = 0; b < buckets.size(); ++b) {
        if (!buckets[b].empty())
            PutNumber(out, b, 2, bigEndian);
    }
    for (const auto& bucket : buckets) {
        if (!bucket.empty())
            PutNumber(out, bucket.size(), 4, bigEndian);
    }
    for (std::size_t i = 0; i < ordered.size(); ++i)
        PutNumber(out, i, 4, bigEndian);
    return out;
}

} // namespace quire_private

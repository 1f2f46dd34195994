#include "FastArray_p.h"

#include "ByteOrder_p.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace quire_private {

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
    if (!c.Ok() || modulus > kBinaryBuckets || nonEmpty > modulus || nonEmpty > count
        || (count != 0 && nonEmpty == 0))
        return ReadResult::Malformed;
    const std::uint64_t need = std::uint64_t(count) * 16 + keyTotal + 2 * std::uint64_t(valueTotal)
        + std::uint64_t(nonEmpty) * 6;
    if (need > c.Left())
        return ReadResult::Malformed;

    const unsigned char* p = c.Here();
    m_keyOffsets = p;
    m_keyLengths = m_keyOffsets + 4 * std::size_t(count);
    m_valueOffsets = m_keyLengths + 2 * std::size_t(count);
    m_valueLengths = m_valueOffsets + 4 * std::size_t(count);
    m_keys = m_valueLengths + 2 * std::size_t(count);
    m_values = m_keys + keyTotal;
    const unsigned char* bucketIndex = m_values + 2 * std::size_t(valueTotal);
    const unsigned char* bucketCount = bucketIndex + 2 * std::size_t(nonEmpty);
    m_ids = bucketCount + 4 * std::size_t(nonEmpty);
    m_swap = bigEndian != HostIsBigEndian();

    // The directory names each non-empty bucket in rising order with its
    // entry count; empty buckets start where the next one does.
    std::uint64_t total = 0;
    std::uint32_t next = 0;
    for (std::uint32_t i = 0; i < nonEmpty; ++i) {
        const std::uint32_t bucket = u16(bucketIndex + 2 * std::size_t(i));
        const std::uint32_t n = u32(bucketCount + 4 * std::size_t(i));
        if (bucket >= modulus || bucket < next || n == 0 || total + n > count)
            return ReadResult::Malformed;
        while (next <= bucket)
            m_bucketStart[next++] = static_cast<std::uint32_t>(total);
        total += n;
    }
    if (total != count)
        return ReadResult::Malformed;
    while (next <= modulus)
        m_bucketStart[next++] = count;

    m_owner = std::move(owner);
    m_count = count;
    m_keyTotal = keyTotal;
    m_valueTotal = valueTotal;
    m_modulus = modulus;
    m_sortedBuckets = id == kFastArrayId;
    return ReadResult::Ok;
}

std::uint64_t FastArray::bucketOf(std::string_view key) const
{
    return m_modulus == kBinaryBuckets ? ByteRunKey::Hash<kBinaryBuckets>(key) : ByteRunKey::Hash(key, m_modulus);
}

long FastArray::Find(std::string_view key) const
{
    if (m_modulus == 0)
        return -1;
    const std::uint64_t bucket = bucketOf(key);
    std::uint32_t lo = m_bucketStart[bucket];
    std::uint32_t hi = m_bucketStart[bucket + 1];
    std::string_view candidate;
    if (m_sortedBuckets) {
        while (lo < hi) {
            const std::uint32_t mid = lo + (hi - lo) / 2;
            if (!Key(mid, candidate))
                return -1;
            const int order = candidate.compare(key);
            if (order == 0)
                return static_cast<long>(mid);
            if (order < 0)
                lo = mid + 1;
            else
                hi = mid;
        }
        return -1;
    }
    for (; lo < hi; ++lo) {
        const std::uint32_t index = u32(m_ids + 4 * std::size_t(lo));
        if (Key(index, candidate) && candidate == key)
            return static_cast<long>(index);
    }
    return -1;
}

bool FastArray::Intact(std::size_t index) const
{
    std::string_view key;
    return Key(index, key)
        && std::uint64_t(u32(m_valueOffsets + 4 * index)) + u16(m_valueLengths + 2 * index) <= m_valueTotal;
}

bool FastArray::Value(std::size_t index, std::u16string& value) const
{
    if (index >= m_count)
        return false;
    const std::uint32_t offset = u32(m_valueOffsets + 4 * index);
    const std::uint16_t length = u16(m_valueLengths + 2 * index);
    if (std::uint64_t(offset) + length > m_valueTotal)
        return false;
    value.resize(length);
    // The value section need not be 2-byte aligned: copy, never cast.
    std::memcpy(value.data(), m_values + 2 * std::size_t(offset), 2 * std::size_t(length));
    if (m_swap) {
        for (auto& unit : value)
            unit = static_cast<char16_t>(__builtin_bswap16(unit));
    }
    return true;
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

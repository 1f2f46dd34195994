// The array store: the key/value section of a binary dictionary, answered
// in place from the file's bytes. Keys are grouped in hash buckets
// (ByteRunKey::Hash modulo the bucket count the file declares) so a lookup
// compares only one bucket.
//
// Loading checks only what costs nothing per entry: the header, that the
// sections the counts declare fit in the bytes given, and the bucket
// directory. Each entry's offsets and ids are checked when it is used, so
// a corrupt entry reads as absent (and a search of its bucket that meets it
// gives up), and nothing is read outside the bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ByteRunKey_p.h"

namespace quire_private {

// Word that our writer puts at the start of the array section. It also
// promises that the entries are stored bucket by bucket, each bucket sorted
// by key, so the id list is 0, 1, 2, ...: a lookup then searches a bucket
// by halves over the entries themselves. A section with the word 0 comes
// from elsewhere; its buckets are scanned through the id list. (A corrupt
// file that breaks the promise gets wrong answers, never a read outside
// its bytes.)
constexpr std::uint32_t kFastArrayId = 0x5A535452;

class FastArray {
public:
    enum class ReadResult { Ok, Ignored, Malformed };

    // Takes the array section in data[0, size). Numbers are big-endian when
    // bigEndian is set. expectedId 0, or a 0 in the file, matches any id.
    // The bytes must outlive the array: owner keeps them alive when given.
    // A section with a bucket count of 0 is Ignored; one with more buckets
    // than the binary store uses is Malformed.
    ReadResult Read(const unsigned char* data, std::size_t size, bool bigEndian,
                    std::uint32_t expectedId, std::shared_ptr<const void> owner);

    // Index of key's entry, or -1.
    long Find(std::string_view key) const;
    // Entries the file declares, corrupt ones included.
    std::size_t Size() const { return m_count; }
    // The key of entry index; false when the index or the entry's bounds
    // are outside the file's sections.
    bool Key(std::size_t index, std::string_view& key) const
    {
        if (index >= m_count)
            return false;
        const std::uint32_t offset = u32(m_keyOffsets + 4 * index);
        const std::uint16_t length = u16(m_keyLengths + 2 * index);
        if (std::uint64_t(offset) + length > m_keyTotal)
            return false;
        key = std::string_view(reinterpret_cast<const char*>(m_keys) + offset, length);
        return true;
    }
    // The stored value in host order, hat escapes unconverted; false as for
    // Key.
    bool Value(std::size_t index, std::u16string& value) const;
    // Whether both the key and the value of entry index lie inside their
    // sections: a corrupt entry is left out everywhere.
    bool Intact(std::size_t index) const;

    // Writes the array section for entries (in any order): buckets by
    // ByteRunKey::Hash modulo 1021, entries of a bucket sorted by key, so
    // the bytes depend only on the entries. Throws std::length_error for a
    // key or value longer than 65535 units.
    static std::string Serialize2(std::vector<std::pair<std::string_view, std::u16string_view>> entries,
                                  bool bigEndian, std::uint32_t id);

private:
    std::uint32_t u32(const unsigned char* p) const
    {
        std::uint32_t v;
        std::memcpy(&v, p, 4);
        return m_swap ? __builtin_bswap32(v) : v;
    }
    std::uint16_t u16(const unsigned char* p) const
    {
        std::uint16_t v;
        std::memcpy(&v, p, 2);
        return m_swap ? __builtin_bswap16(v) : v;
    }
    std::uint64_t bucketOf(std::string_view key) const;

    std::shared_ptr<const void> m_owner;
    const unsigned char* m_keyOffsets = nullptr;
    const unsigned char* m_keyLengths = nullptr;
    const unsigned char* m_valueOffsets = nullptr;
    const unsigned char* m_valueLengths = nullptr;
    const unsigned char* m_keys = nullptr;
    const unsigned char* m_values = nullptr;
    const unsigned char* m_ids = nullptr;
    std::uint32_t m_count = 0;
    std::uint32_t m_keyTotal = 0;
    std::uint32_t m_valueTotal = 0;
    std::uint32_t m_modulus = 0;
    bool m_swap = false;
    bool m_sortedBuckets = false;
    // Where each bucket's ids start in the id list (filled by Read, left
    // unset before: a lookup checks m_modulus first); bucket b holds the ids
    // at positions [m_bucketStart[b], m_bucketStart[b + 1]).
    std::array<std::uint32_t, kBinaryBuckets + 1> m_bucketStart;
};

} // namespace quire_private

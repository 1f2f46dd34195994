// The array store: the key/value section of a binary dictionary, read in
// place. Keys are grouped in hash buckets (ByteRunKey::Hash modulo the
// bucket count the file declares) so a lookup compares only one bucket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quire_private {

// Word that our writer puts at the start of the array section.
constexpr std::uint32_t kFastArrayId = 0x5A535452;

class FastArray {
public:
    enum class ReadResult { Ok, Ignored, Malformed };

    // Parses the array section in data[0, size). Numbers are big-endian when
    // bigEndian is set. expectedId 0, or a 0 in the file, matches any id.
    // The bytes must outlive the array: owner keeps them alive when given.
    // A section with a bucket count of 0 is Ignored.
    ReadResult Read(const unsigned char* data, std::size_t size, bool bigEndian,
                    std::uint32_t expectedId, std::shared_ptr<const void> owner);

    // Index of key's entry, or -1.
    long Find(std::string_view key) const;
    std::size_t Size() const { return m_entries.size(); }
    std::string_view Key(std::size_t index) const;
    // The stored value in host order, hat escapes unconverted.
    std::u16string Value(std::size_t index) const;

    // Writes the array section for entries (in any order): buckets by
    // ByteRunKey::Hash modulo 1021, entries of a bucket sorted by key, so
    // the bytes depend only on the entries. Throws std::length_error for a
    // key or value longer than 65535 units.
    static std::string Serialize2(std::vector<std::pair<std::string_view, std::u16string_view>> entries,
                                  bool bigEndian, std::uint32_t id);

private:
    struct Entry {
        std::uint32_t keyOffset;
        std::uint32_t valueOffset;
        std::uint16_t keyLength;
        std::uint16_t valueLength;
    };

    std::shared_ptr<const void> m_owner;
    const unsigned char* m_keys = nullptr;
    const unsigned char* m_values = nullptr;
    bool m_swapValues = false;
    bool m_sortedBuckets = false;
    std::uint32_t m_modulus = 0;
    std::vector<Entry> m_entries;
    std::vector<std::uint32_t> m_bucketStart; // m_modulus + 1 positions into m_ids
    std::vector<std::uint32_t> m_ids;
};

} // namespace quire_private

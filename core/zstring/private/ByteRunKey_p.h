// The hash of a key byte run, shared by the hash-table store and the
// bucket layout of binary dictionaries (so a file's buckets stay valid).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quire_private {

struct ByteRunKey {
    // Only every step-th byte takes part: step is 1 for keys below 5 bytes,
    // else length / 5. An empty key hashes to 0.
    static std::uint64_t Hash(std::string_view key, std::uint64_t n)
    {
        return hashWith(key, [n](std::uint64_t h) { return h % n; });
    }

    // The same with the table size known when compiling, which turns the
    // division of every step into a multiplication.
    template <std::uint64_t N>
    static std::uint64_t Hash(std::string_view key)
    {
        return hashWith(key, [](std::uint64_t h) { return h % N; });
    }

private:
    template <typename Mod>
    static std::uint64_t hashWith(std::string_view key, Mod mod)
    {
        const std::size_t length = key.size();
        const std::size_t step = length < 5 ? 1 : length / 5;
        std::uint64_t h = 0;
        for (std::size_t i = 0; i < length; i += step)
            h = mod(static_cast<unsigned char>(key[i]) + (h << 5));
        return h;
    }
};

// Bucket count of the binary store.
constexpr std::uint32_t kBinaryBuckets = 1021;

} // namespace quire_private

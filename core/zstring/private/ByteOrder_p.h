// Reading and writing numbers in a chosen byte order, bounds-checked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quire_private {

inline bool HostIsBigEndian()
{
    const std::uint16_t probe = 1;
    return *reinterpret_cast<const unsigned char*>(&probe) == 0;
}

// A read position over untrusted bytes; once a read runs past the end,
// every later read fails too and yields 0.
class ByteCursor {
public:
    ByteCursor(const unsigned char* data, std::size_t size, bool bigEndian)
        : m_data(data), m_left(size), m_big(bigEndian) {}

    bool Ok() const { return m_ok; }
    std::size_t Left() const { return m_left; }
    const unsigned char* Here() const { return m_data; }

    bool Skip(std::size_t n)
    {
        if (!m_ok || n > m_left)
            return m_ok = false;
        m_data += n;
        m_left -= n;
        return true;
    }
    std::uint8_t U8() { return static_cast<std::uint8_t>(read(1)); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(read(2)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(read(4)); }

private:
    std::uint64_t read(std::size_t n)
    {
        if (!m_ok || n > m_left) {
            m_ok = false;
            return 0;
        }
        std::uint64_t v = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const std::uint64_t byte = m_data[m_big ? i : n - 1 - i];
            v = (v << 8) | byte;
        }
        m_data += n;
        m_left -= n;
        return v;
    }

    const unsigned char* m_data;
    std::size_t m_left;
    bool m_big;
    bool m_ok = true;
};

inline void PutNumber(std::string& out, std::uint64_t v, std::size_t n, bool bigEndian)
{
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t shift = 8 * (bigEndian ? n - 1 - i : i);
        out.push_back(static_cast<char>((v >> shift) & 0xff));
    }
}

} // namespace quire_private

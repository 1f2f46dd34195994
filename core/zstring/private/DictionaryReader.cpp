#include "DictionaryReader_p.h"

#include "PtUTF.h"

#include <algorithm>
#include <cstring>

namespace quire_private {

std::unique_ptr<DictionaryReader> DictionaryReader::Make(const unsigned char* data, std::size_t size)
{
    if (size >= 2) {
        std::uint16_t mark;
        std::memcpy(&mark, data, 2);
        if (mark == 0xFEFF)
            return std::make_unique<UnicodeReader>(data + 2, size - 2);
        if (mark == 0xFFFE)
            return std::make_unique<ByteSwapUnicodeReader>(data + 2, size - 2);
    }
    return std::make_unique<MultibyteReader>(data, size);
}

bool UnicodeReader::NextLine(std::u16string& line)
{
    line.clear();
    const std::size_t units = m_size / 2;
    std::size_t i = m_pos;
    if (i >= units)
        return false;
    auto unitAt = [this](std::size_t k) {
        std::uint16_t u;
        std::memcpy(&u, m_data + 2 * k, 2);
        return static_cast<char16_t>(m_swap ? (u >> 8) | (u << 8) : u);
    };
    for (; i < units; ++i) {
        const char16_t u = unitAt(i);
        if (u == u'\r' || u == u'\n') {
            if (u == u'\r' && i + 1 < units && unitAt(i + 1) == u'\n')
                ++i;
            ++i;
            break;
        }
        line.push_back(u);
    }
    m_pos = i;
    return true;
}

bool MultibyteReader::NextLine(std::u16string& line)
{
    line.clear();
    if (m_pos >= m_size)
        return false;
    // A UTF-8 byte-order mark says nothing the reader needs.
    if (m_pos == 0 && m_size >= 3 && std::memcmp(m_data, "\xEF\xBB\xBF", 3) == 0)
        m_pos = 3;
    const char* begin = reinterpret_cast<const char*>(m_data) + m_pos;
    std::size_t n = 0;
    const std::size_t left = m_size - m_pos;
    while (n < left && begin[n] != '\r' && begin[n] != '\n')
        ++n;
    // UTF-8 never uses CR or LF bytes inside a sequence, so a line can be
    // split before decoding.
    const std::string bytes(begin, n);
    line = ptucsFromUtf8(bytes);
    m_damage = Damage::None;
    m_damageColumn = 0;
    const bool plainAscii = std::all_of(bytes.begin(), bytes.end(), [](unsigned char c) { return c != 0 && c < 0x80; });
    if (!plainAscii) {
        // Valid UTF-8 comes back unchanged from a round through UTF-16; the
        // first byte that differs is the first one the decoding lost.
        const std::string back = ptucsToUtf8(reinterpret_cast<const unsigned short*>(line.c_str()));
        const auto lost = std::mismatch(bytes.begin(), bytes.end(), back.begin(), back.end()).first;
        if (lost != bytes.end()) {
            m_damage = *lost == 0 ? Damage::Nul : Damage::InvalidUtf8;
            m_damageColumn = static_cast<std::size_t>(lost - bytes.begin()) + 1;
        }
    }
    std::size_t next = m_pos + n;
    if (next < m_size && m_data[next] == '\r' && next + 1 < m_size && m_data[next + 1] == '\n')
        ++next;
    m_pos = next < m_size ? next + 1 : next;
    return true;
}

} // namespace quire_private

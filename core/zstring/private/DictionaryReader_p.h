// Readers that deliver a text dictionary line by line as UTF-16, whatever
// its encoding: UTF-16 in host order, byte-swapped UTF-16, or 8-bit text.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace quire_private {

class DictionaryReader {
public:
    // Chooses the reader from the first two bytes taken as one host-order
    // 16-bit value: U+FEFF host-order UTF-16, U+FFFE byte-swapped UTF-16,
    // anything else 8-bit text from the first byte. The bytes must outlive
    // the reader.
    static std::unique_ptr<DictionaryReader> Make(const unsigned char* data, std::size_t size);

    virtual ~DictionaryReader() = default;

    // The next line without its line end (CR, LF and CR LF alike); false
    // when no line is left.
    virtual bool NextLine(std::u16string& line) = 0;

    // Whether the last line lost part of its bytes when it was decoded,
    // with the 1-based byte column of the first one lost.
    enum class Damage { None, InvalidUtf8, Nul };
    Damage LineDamage(std::size_t& column) const
    {
        column = m_damageColumn;
        return m_damage;
    }

protected:
    DictionaryReader(const unsigned char* data, std::size_t size) : m_data(data), m_size(size) {}

    const unsigned char* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
    Damage m_damage = Damage::None;
    std::size_t m_damageColumn = 0;
};

class UnicodeReader : public DictionaryReader {
public:
    UnicodeReader(const unsigned char* data, std::size_t size) : DictionaryReader(data, size) {}
    bool NextLine(std::u16string& line) override;

protected:
    bool m_swap = false;
};

class ByteSwapUnicodeReader : public UnicodeReader {
public:
    ByteSwapUnicodeReader(const unsigned char* data, std::size_t size) : UnicodeReader(data, size)
    {
        m_swap = true;
    }
};

// 8-bit text in the system's default encoding, UTF-8. Invalid sequences
// are dropped and a NUL byte ends the line, as the converter does; the
// line's damage says where.
class MultibyteReader : public DictionaryReader {
public:
    MultibyteReader(const unsigned char* data, std::size_t size) : DictionaryReader(data, size) {}
    bool NextLine(std::u16string& line) override;
};

} // namespace quire_private

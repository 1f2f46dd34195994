// quire::ZString: a piece of localised UTF-16 text, the result of a
// dictionary lookup.
#pragma once

#include <cstddef>
#include <string>

namespace quire {

class ZString {
public:
    ZString() = default;
    explicit ZString(std::u16string text) : m_text(std::move(text)) {}

    // Units of the text including the terminator (1 for an empty text).
    std::size_t GetUnicodeSize() const { return m_text.size() + 1; }

    // Copies the text and a terminator into buffer, at most size units in
    // all; a longer text is cut. With stripAccelerators the access-key
    // markers are left out ("&Yes" gives "Yes", "&&" gives "&"), for places
    // that show text without access keys; the copy is then never longer
    // than GetUnicodeSize(). Returns the units copied before the
    // terminator. Nothing is written when size is 0.
    std::size_t GetUnicode(char16_t* buffer, std::size_t size, bool stripAccelerators = false) const;

    const std::u16string& Text() const { return m_text; }
    bool IsEmpty() const { return m_text.empty(); }

private:
    std::u16string m_text;
};

} // namespace quire

#include "ZString.h"

#include "private/DictionaryEntry_p.h"

#include <algorithm>

namespace quire {

std::size_t ZString::GetUnicode(char16_t* buffer, std::size_t size, bool stripAccelerators) const
{
    if (!buffer || size == 0)
        return 0;
    const std::u16string stripped = stripAccelerators ? quire_private::WithoutAccelerators(m_text) : std::u16string();
    const std::u16string& text = stripAccelerators ? stripped : m_text;
    const std::size_t n = std::min(text.size(), size - 1);
    std::copy_n(text.data(), n, buffer);
    buffer[n] = 0;
    return n;
}

} // namespace quire

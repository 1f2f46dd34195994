#include "ZString.h"

#include <algorithm>

namespace quire {

std::size_t ZString::GetUnicode(char16_t* buffer, std::size_t size) const
{
    if (!buffer || size == 0)
        return 0;
    const std::size_t n = std::min(m_text.size(), size - 1);
    std::copy_n(m_text.data(), n, buffer);
    buffer[n] = 0;
    return n;
}

} // namespace quire

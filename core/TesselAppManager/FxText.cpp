#include "FxText.h"

#include <algorithm>

#include "ptucs.h"

void fxCopyToField(FxChar* field, std::size_t capacity, const std::u16string& text)
{
    const std::size_t n = std::min(text.size(), capacity - 1);
    std::copy_n(reinterpret_cast<const FxChar*>(text.data()), n, field);
    field[n] = 0;
}

void fxCopyBounded(FxChar* buf, unsigned int size, const std::u16string& text)
{
    ptucsncpy(buf, fxText(text), int(std::min(size, 260u)));
}

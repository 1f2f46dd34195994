// Small helpers for the 16-bit texts at the host's interfaces.
#pragma once

#include <cstddef>
#include <string>

#include <skiff/FxTypes.h>

// The text as the host's unit pointer.
inline const FxChar* fxText(const std::u16string& text)
{
    return reinterpret_cast<const FxChar*>(text.c_str());
}

// Copies `text` into a fixed field of `capacity` units, cut so that the
// field always stays terminated.
void fxCopyToField(FxChar* field, std::size_t capacity, const std::u16string& text);

// Copies at most min(size, 260) units of `text`, the host's rule for
// caller buffers; like ptucsncpy, the copy is unterminated when cut.
void fxCopyBounded(FxChar* buf, unsigned int size, const std::u16string& text);

// The bytes a test blob of a given size holds: every value but zero in a
// cycle of 251, so that a shifted, dropped or repeated byte shows, and zero
// bytes never come from the pattern itself.
#pragma once

#include <string>

inline std::string streamPattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = char(1 + (i * 7 + i / 251) % 251);
    return bytes;
}

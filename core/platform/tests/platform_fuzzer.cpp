// Feeds arbitrary bytes to both converters and the string functions. The
// counting and writing passes must agree and nothing may be written past
// the counted size.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "PtUTF.h"
#include "ptucs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto length = unsigned(size);
    const char* bytes = reinterpret_cast<const char*>(data);

    const unsigned utf16Bytes = UTF8ToUTF16HostEndian(bytes, length, nullptr);
    std::vector<unsigned short> utf16(utf16Bytes / 2);
    if (UTF8ToUTF16HostEndian(bytes, length, utf16.data()) != utf16Bytes || utf16.back() != 0)
        std::abort();

    std::vector<unsigned short> units(size / 2 + 1, 0);
    std::memcpy(units.data(), data, size / 2 * 2);
    const unsigned utf8Bytes = UTF16HostEndianToUTF8(units.data(), length, nullptr);
    std::vector<char> utf8(utf8Bytes);
    if (UTF16HostEndianToUTF8(units.data(), length, utf8.data()) != utf8Bytes || utf8.back() != 0)
        std::abort();

    // String functions on the zero-terminated units.
    const unsigned short* s = units.data();
    const std::size_t len = ptucslen(s);
    std::vector<unsigned short> copy(2 * len + 1);
    ptucscpy(copy.data(), s);
    if (ptucscmp(copy.data(), s) != 0 || ptucsicmp(copy.data(), s) != 0 || ptucsncmp(copy.data(), s, int(len)) != 0)
        std::abort();
    ptucscat(copy.data(), s);
    if (ptucslen(copy.data()) != 2 * len || ptucsstr(copy.data(), s) != copy.data())
        std::abort();
    if (len > 0) {
        const unsigned short c = s[len / 2];
        if (*ptucschr(s, c) != c || *ptucsrchr(s, c) != c)
            std::abort();
        unsigned short lower;
        ptucslowerCase(c, &lower);
    }
    return 0;
}

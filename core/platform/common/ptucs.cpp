#include "ptucs.h"

#include "PtCaseTable_p.h"
#include "PtUTF.h"

unsigned short* ptucscpy(unsigned short* dst, const unsigned short* src)
{
    unsigned short* out = dst;
    while ((*out++ = *src++) != 0) {
    }
    return dst;
}

unsigned short* ptucsncpy(unsigned short* dst, const unsigned short* src, int n)
{
    for (int i = 0; i < n; ++i) {
        dst[i] = src[i];
        if (src[i] == 0)
            break;
    }
    return dst;
}

std::size_t ptucslen(const unsigned short* s)
{
    if (!s)
        return 0;
    std::size_t n = 0;
    while (s[n] != 0)
        ++n;
    return n;
}

unsigned short* ptucscat(unsigned short* dst, const unsigned short* src)
{
    ptucscpy(dst + ptucslen(dst), src);
    return dst;
}

unsigned short* ptucsstr(const unsigned short* haystack, const unsigned short* needle)
{
    if (*needle == 0)
        return const_cast<unsigned short*>(haystack);
    for (; *haystack != 0; ++haystack) {
        std::size_t i = 0;
        while (needle[i] != 0 && haystack[i] == needle[i])
            ++i;
        if (needle[i] == 0)
            return const_cast<unsigned short*>(haystack);
    }
    return nullptr;
}

int ptucsncmp(const unsigned short* a, const unsigned short* b, int n)
{
    for (int i = 0; i < n; ++i) {
        if (a[i] != b[i])
            return int(a[i]) - int(b[i]);
        if (a[i] == 0)
            break;
    }
    return 0;
}

int ptucscmp(const unsigned short* a, const unsigned short* b)
{
    if (!a || !b)
        return a ? 1 : (b ? -1 : 0);
    for (;; ++a, ++b) {
        if (*a != *b)
            return int(*a) - int(*b);
        if (*a == 0)
            return 0;
    }
}

int ptucsicmp(const unsigned short* a, const unsigned short* b)
{
    return ptucscmp(a, b);
}

unsigned short* ptucschr(const unsigned short* s, unsigned short c)
{
    while (*s != 0 && *s != c)
        ++s;
    return const_cast<unsigned short*>(s);
}

unsigned short* ptucsrchr(const unsigned short* s, unsigned short c)
{
    if (c == 0)
        return nullptr;
    const unsigned short* last = nullptr;
    for (; *s != 0; ++s) {
        if (*s == c)
            last = s;
    }
    return const_cast<unsigned short*>(last);
}

bool ptucslowerCase(unsigned short c, unsigned short* out)
{
    *out = c;
    // The {0, 0} pair closes the table, so the walk also ends for units above its last entry.
    const unsigned short(*entry)[2] = gUcsUpperToLowerCase;
    while ((*entry)[0] != 0 && (*entry)[0] < c)
        ++entry;
    if ((*entry)[0] == 0 || (*entry)[0] != c)
        return false;
    *out = (*entry)[1];
    return true;
}

unsigned ptucsmbstowcs(unsigned short* dst16, const char* src8, unsigned n)
{
    return UTF8ToUTF16HostEndian(src8, n, dst16);
}

unsigned ptucswcstombs(char* dst8, const unsigned short* src16, unsigned n)
{
    return UTF16HostEndianToUTF8(src16, n, dst8);
}

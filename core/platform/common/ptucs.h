// Functions on zero-terminated strings of 16-bit UTF-16 units in host byte
// order, the form of all text at the host's interfaces. Comparisons are by
// unsigned unit value. None of them allocates.
#pragma once

#include <cstddef>

// Copies src including its terminator; returns dst.
unsigned short* ptucscpy(unsigned short* dst, const unsigned short* src);
// Copies at most n units, stopping after a copied 0 unit. Never pads: when
// src holds n or more units, dst is left without a terminator. Returns dst.
unsigned short* ptucsncpy(unsigned short* dst, const unsigned short* src, int n);
// Units before the terminator; 0 for a null pointer.
std::size_t ptucslen(const unsigned short* s);
// Appends src (with terminator) at dst's terminator; returns dst.
unsigned short* ptucscat(unsigned short* dst, const unsigned short* src);
// First occurrence of needle in haystack, or null; an empty needle yields haystack.
unsigned short* ptucsstr(const unsigned short* haystack, const unsigned short* needle);
// Compares at most n units; the difference of the first differing units.
int ptucsncmp(const unsigned short* a, const unsigned short* b, int n);
// Compares whole strings. A null string sorts before any other; two nulls are equal.
int ptucscmp(const unsigned short* a, const unsigned short* b);
// The same as ptucscmp: callers rely on it not folding case.
int ptucsicmp(const unsigned short* a, const unsigned short* b);
// First unit equal to c, or the terminator when c does not occur (never null).
unsigned short* ptucschr(const unsigned short* s, unsigned short c);
// Last unit equal to c, or null when none; null for c == 0.
unsigned short* ptucsrchr(const unsigned short* s, unsigned short c);
// Writes the lower-case form of c to *out (c itself when it has none);
// returns whether a mapping was found.
bool ptucslowerCase(unsigned short c, unsigned short* out);
// UTF8ToUTF16HostEndian(src8, n, dst16): n bytes in, bytes out.
unsigned ptucsmbstowcs(unsigned short* dst16, const char* src8, unsigned n);
// UTF16HostEndianToUTF8(src16, n, dst8): n bytes in, bytes out.
unsigned ptucswcstombs(char* dst8, const unsigned short* src16, unsigned n);

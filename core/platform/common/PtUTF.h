// Converters between UTF-8 and host-endian UTF-16.
//
// Lengths are in bytes, without a terminator. A null destination counts
// only; the result is the number of bytes that are (or would be) written,
// terminator included. Neither converter bounds its output, so size the
// destination with a counting pass first. Bad input never fails: invalid
// sequences, lone surrogates and code points above U+10FFFF are dropped,
// and a 0 inside the input ends the output.
#pragma once

#include <string>

unsigned UTF16HostEndianToUTF8(const unsigned short* src, unsigned byteLength, char* dst);
unsigned UTF8ToUTF16HostEndian(const char* src, unsigned byteLength, unsigned short* dst);

// Conveniences over the converters for whole zero-terminated strings.
std::string ptucsToUtf8(const unsigned short* src);
std::u16string ptucsFromUtf8(const std::string& src);

// Byte string of the messaging system; holds UTF-8 text without checking it.
//
// The buffer is never null and always NUL-terminated. Whenever n bytes of
// text must fit, the buffer becomes the next multiple of 128 strictly
// greater than n; buffers never shrink. Not thread-safe: the owning
// object's ObjectLock guards it. Allocation failures throw std::bad_alloc
// and leave the old text, except assign(), which frees the old buffer first.
#pragma once

#include <cstddef>

#include "SoHeap.h"

namespace ScObjects {

class SoString : public SoHeap {
public:
    SoString();
    explicit SoString(char c);
    // A negative length means up to the terminating NUL; null is the empty string.
    SoString(const char* text, long length = -1);
    // A literal null picks the byte form.
    SoString(std::nullptr_t, long) : SoString(static_cast<const char*>(nullptr), -1) {}
    SoString(const SoString& other);
    // UTF-16 to UTF-8. A negative length scans for the terminator, looking at
    // no more than 65,536 units. Surrogate pairs join; lone surrogates are
    // encoded as they stand.
    SoString(const unsigned short* utf16, long length);
    virtual ~SoString();

    SoString& operator=(const SoString& other);
    SoString& operator=(const char* text);

    const char* c_str() const { return m_data; }
    long length() const { return m_length; }
    long capacity() const { return m_capacity; }
    bool isEmpty() const { return m_length == 0; }

    void assign(const char* text, long length = -1);
    void append(const char* text, long length = -1);
    // Decimal, printed as unsigned: -1 appends 18446744073709551615.
    void append(long value);
    // Exchanges the buffers of the two strings, copying nothing.
    void swap(SoString& other) noexcept;
    // Cuts to n bytes when 0 <= n < length; otherwise nothing.
    void shrink(long n);
    // strcmp against the text; null compares as the empty string.
    int compare(const char* text) const;
    // Byte-wise case mapping of the C library: only single-byte letters change.
    SoString lowercase() const;
    SoString uppercase() const;

    // Decodes the text into out. max counts characters, not units (a
    // surrogate pair counts once), so out needs room for 2 * max units.
    // Invalid lead bytes and code points above U+10FFFF become U+FFFD. A
    // decoded 0 writes the terminator and ends; after max characters the
    // function returns without a terminator. Returns the units written,
    // terminator excluded.
    unsigned long convertToUtf16(unsigned short* out, unsigned long max) const;

    bool operator==(const char* text) const { return compare(text) == 0; }
    bool operator!=(const char* text) const { return compare(text) != 0; }
    bool operator==(const SoString& other) const;
    bool operator!=(const SoString& other) const { return !(*this == other); }

    // Buffer size for n bytes of text.
    static long capacityFor(long n) { return (n + 128) & ~127L; }

private:
    char* m_data;
    long m_length;
    long m_capacity;
};

// Writes codepoint as UTF-8, including the historical five- and six-byte
// forms; 0x7FFFFFFF and above become U+FFFD. Returns the bytes written.
int EncodeUTF8(unsigned long codepoint, unsigned char* out);

SoString& operator<<(SoString& s, const SoString& text);
SoString& operator<<(SoString& s, char c);
SoString& operator<<(SoString& s, const char* text);
SoString& operator<<(SoString& s, unsigned long value);
// Printed with "%lu": a negative value appears as its unsigned 64-bit form.
SoString& operator<<(SoString& s, long value);
// Upper-case hexadecimal without a leading zero ("%X" of one byte): how
// digests and identifiers print their bytes.
SoString& appendHexByte(SoString& s, unsigned char byte);
// Printed with "%.0f", so halves round to even.
SoString& operator<<(SoString& s, double value);
// Plain int literals print as the long overload does.
inline SoString& operator<<(SoString& s, int value) { return s << long(value); }
inline SoString& operator<<(SoString& s, unsigned int value) { return s << static_cast<unsigned long>(value); }

} // namespace ScObjects

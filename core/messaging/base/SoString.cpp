#include "SoString.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace ScObjects {

namespace {

long textLength(const char* text, long length)
{
    if (!text)
        return 0;
    return length < 0 ? long(std::strlen(text)) : length;
}

char* allocate(long capacity)
{
    char* buffer = static_cast<char*>(SoHeap::mallocHeap(std::size_t(capacity)));
    if (!buffer)
        throw std::bad_alloc();
    return buffer;
}

} // namespace

SoString::SoString()
    : m_data(allocate(capacityFor(0)))
    , m_length(0)
    , m_capacity(capacityFor(0))
{
    m_data[0] = 0;
}

SoString::SoString(char c)
    : SoString(&c, 1)
{
}

SoString::SoString(const char* text, long length)
{
    m_length = textLength(text, length);
    m_capacity = capacityFor(m_length);
    m_data = allocate(m_capacity);
    if (m_length)
        std::memcpy(m_data, text, std::size_t(m_length));
    m_data[m_length] = 0;
}

SoString::SoString(const SoString& other)
    : SoString(other.m_data, other.m_length)
{
}

SoString::~SoString()
{
    freeHeap(m_data);
}

SoString& SoString::operator=(const SoString& other)
{
    if (this != &other)
        assign(other.m_data, other.m_length);
    return *this;
}

SoString& SoString::operator=(const char* text)
{
    assign(text, -1);
    return *this;
}

void SoString::swap(SoString& other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_length, other.m_length);
    std::swap(m_capacity, other.m_capacity);
}

bool SoString::operator==(const SoString& other) const
{
    return m_length == other.m_length && std::memcmp(m_data, other.m_data, std::size_t(m_length)) == 0;
}

void SoString::assign(const char* text, long length)
{
    const long n = textLength(text, length);
    if (m_capacity <= n) {
        // The old buffer goes first; text must therefore not point into it,
        // which it cannot, since it is longer than the buffer holds.
        freeHeap(m_data);
        m_data = nullptr;
        m_length = 0;
        m_capacity = 0;
        m_data = allocate(capacityFor(n));
        m_capacity = capacityFor(n);
    }
    if (n)
        std::memmove(m_data, text, std::size_t(n));
    m_length = n;
    m_data[n] = 0;
}

void SoString::append(const char* text, long length)
{
    const long n = textLength(text, length);
    if (n == 0)
        return;
    const long newLength = m_length + n;
    if (newLength >= m_capacity) {
        // text may point into our own buffer: copy before freeing it.
        char* buffer = allocate(capacityFor(newLength));
        std::memcpy(buffer, m_data, std::size_t(m_length));
        std::memcpy(buffer + m_length, text, std::size_t(n));
        freeHeap(m_data);
        m_data = buffer;
        m_capacity = capacityFor(newLength);
    } else {
        std::memmove(m_data + m_length, text, std::size_t(n));
    }
    m_length = newLength;
    m_data[m_length] = 0;
}

void SoString::append(long value)
{
    *this << value;
}

void SoString::shrink(long n)
{
    if (n >= 0 && n < m_length) {
        m_length = n;
        m_data[n] = 0;
    }
}

int SoString::compare(const char* text) const
{
    return std::strcmp(m_data, text ? text : "");
}

SoString SoString::lowercase() const
{
    SoString out(*this);
    for (long i = 0; i < out.m_length; ++i)
        out.m_data[i] = char(std::tolower(static_cast<unsigned char>(out.m_data[i])));
    return out;
}

SoString SoString::uppercase() const
{
    SoString out(*this);
    for (long i = 0; i < out.m_length; ++i)
        out.m_data[i] = char(std::toupper(static_cast<unsigned char>(out.m_data[i])));
    return out;
}

SoString& operator<<(SoString& s, const SoString& text)
{
    s.append(text.c_str(), text.length());
    return s;
}

SoString& operator<<(SoString& s, char c)
{
    s.append(&c, 1);
    return s;
}

SoString& operator<<(SoString& s, const char* text)
{
    s.append(text, -1);
    return s;
}

// Numbers are printed without the printf family: a process that never
// formats anything else then never loads that code at all.
SoString& operator<<(SoString& s, unsigned long value)
{
    char buffer[24];
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, value);
    s.append(buffer, end.ptr - buffer);
    return s;
}

SoString& appendHexByte(SoString& s, unsigned char byte)
{
    static const char kDigits[] = "0123456789ABCDEF";
    if (byte >= 16)
        s << kDigits[byte >> 4];
    return s << kDigits[byte & 15];
}

SoString& operator<<(SoString& s, long value)
{
    return s << static_cast<unsigned long>(value);
}

SoString& operator<<(SoString& s, double value)
{
    // Large values need up to 309 digits.
    char buffer[400];
    const int n = std::snprintf(buffer, sizeof buffer, "%.0f", value);
    s.append(buffer, n < int(sizeof buffer) ? n : int(sizeof buffer) - 1);
    return s;
}

} // namespace ScObjects

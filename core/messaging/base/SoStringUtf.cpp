// UTF-8 <-> UTF-16 conversions of SoString.
#include "SoString.h"

#include <cstring>
#include <new>

namespace ScObjects {

namespace {

constexpr long kMaxScannedUnits = 65536;

bool isHighSurrogate(unsigned long u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(unsigned long u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Sequence length by lead byte, the historical 31-bit table: 0 marks a byte
// that cannot start a sequence.
int leadLength(unsigned char lead)
{
    if (lead < 0x80) return 1;
    if (lead < 0xC0) return 0;
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    if (lead < 0xF8) return 4;
    if (lead < 0xFC) return 5;
    return 6;
}

// Calls emit(codepoint) for each code point of the UTF-16 input.
template <typename Emit>
void walkUtf16(const unsigned short* in, long count, Emit emit)
{
    for (long i = 0; i < count; ++i) {
        unsigned long unit = in[i];
        if (isHighSurrogate(unit) && i + 1 < count && isLowSurrogate(in[i + 1])) {
            unit = 0x10000 + ((unit - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        }
        emit(unit);
    }
}

} // namespace

int EncodeUTF8(unsigned long c, unsigned char* out)
{
    if (c < 0x80) {
        out[0] = static_cast<unsigned char>(c);
        return 1;
    }
    int n;
    unsigned char lead;
    if (c < 0x800) { n = 2; lead = 0xC0; }
    else if (c < 0x10000) { n = 3; lead = 0xE0; }
    else if (c < 0x200000) { n = 4; lead = 0xF0; }
    else if (c < 0x4000000) { n = 5; lead = 0xF8; }
    else if (c < 0x7FFFFFFF) { n = 6; lead = 0xFC; }
    else {
        out[0] = 0xEF;
        out[1] = 0xBF;
        out[2] = 0xBD;
        return 3;
    }
    for (int i = n - 1; i > 0; --i) {
        out[i] = static_cast<unsigned char>(0x80 | (c & 0x3F));
        c >>= 6;
    }
    out[0] = static_cast<unsigned char>(lead | c);
    return n;
}

SoString::SoString(const unsigned short* utf16, long length)
{
    long count = 0;
    if (utf16) {
        if (length >= 0) {
            count = length;
        } else {
            while (count < kMaxScannedUnits && utf16[count])
                ++count;
        }
    }

    long bytes = 0;
    unsigned char scratch[6];
    walkUtf16(utf16, count, [&](unsigned long c) { bytes += EncodeUTF8(c, scratch); });

    m_capacity = capacityFor(bytes);
    m_data = static_cast<char*>(mallocHeap(std::size_t(m_capacity)));
    if (!m_data)
        throw std::bad_alloc();
    m_length = 0;
    walkUtf16(utf16, count, [&](unsigned long c) {
        m_length += EncodeUTF8(c, reinterpret_cast<unsigned char*>(m_data + m_length));
    });
    m_data[m_length] = 0;
}

unsigned long SoString::convertToUtf16(unsigned short* out, unsigned long max) const
{
    const unsigned char* p = reinterpret_cast<const unsigned char*>(m_data);
    const unsigned char* const terminator = p + m_length;
    unsigned long written = 0;
    unsigned long units = 0;
    while (written < max) {
        // The terminator is the decoded 0 that ends the text.
        if (p == terminator) {
            out[units] = 0;
            return units;
        }
        const int n = leadLength(*p);
        unsigned long c;
        if (n == 0) {
            c = 0xFFFD;
            ++p;
        } else if (terminator - p < n) {
            // A sequence cut off by the end of the text: the terminator is
            // never one of its continuation bytes.
            c = 0xFFFD;
            p = terminator;
        } else {
            static const unsigned char kLeadMask[7] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x01};
            c = p[0] & kLeadMask[n];
            // Continuation bytes are taken as they come, top bits unchecked.
            for (int i = 1; i < n; ++i)
                c = (c << 6) | (p[i] & 0x3F);
            p += n;
        }
        if (c == 0) {
            out[units] = 0;
            return units;
        }
        if (c >= 0x110000) {
            out[units++] = 0xFFFD;
        } else if (c >= 0x10000) {
            c -= 0x10000;
            out[units++] = static_cast<unsigned short>(0xD800 + (c >> 10));
            out[units++] = static_cast<unsigned short>(0xDC00 + (c & 0x3FF));
        } else {
            out[units++] = static_cast<unsigned short>(c);
        }
        ++written;
    }
    return units;
}

} // namespace ScObjects

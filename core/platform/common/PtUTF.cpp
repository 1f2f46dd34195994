#include "PtUTF.h"

#include "ptucs.h"

namespace {

class Utf8Sink {
public:
    explicit Utf8Sink(char* dst) : m_dst(dst) { }

    void put(unsigned char byte)
    {
        if (m_dst)
            m_dst[m_count] = char(byte);
        ++m_count;
    }

    void putCodePoint(unsigned cp)
    {
        if (cp < 0x80) {
            put(cp);
        } else if (cp < 0x800) {
            put(0xC0 | (cp >> 6));
            put(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            put(0xE0 | (cp >> 12));
            put(0x80 | ((cp >> 6) & 0x3F));
            put(0x80 | (cp & 0x3F));
        } else {
            put(0xF0 | (cp >> 18));
            put(0x80 | ((cp >> 12) & 0x3F));
            put(0x80 | ((cp >> 6) & 0x3F));
            put(0x80 | (cp & 0x3F));
        }
    }

    unsigned count() const { return m_count; }

private:
    char* m_dst;
    unsigned m_count = 0;
};

class Utf16Sink {
public:
    explicit Utf16Sink(unsigned short* dst) : m_dst(dst) { }

    void put(unsigned short unit)
    {
        if (m_dst)
            m_dst[m_units] = unit;
        ++m_units;
    }

    void putCodePoint(unsigned cp)
    {
        if (cp > 0xFFFF) {
            put(0xD800 | ((cp - 0x10000) >> 10));
            put(0xDC00 | (cp & 0x3FF));
        } else {
            put(cp);
        }
    }

    unsigned byteCount() const { return m_units * 2; }

private:
    unsigned short* m_dst;
    unsigned m_units = 0;
};

bool isContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// How many of the `need` bytes of a sequence starting at `p` are present and
// well formed (the lead byte counts as one).
unsigned validPrefix(const unsigned char* p, unsigned remaining, unsigned need)
{
    unsigned ok = 1;
    while (ok < need && ok < remaining && isContinuation(p[ok]))
        ++ok;
    return ok;
}

} // namespace

unsigned UTF16HostEndianToUTF8(const unsigned short* src, unsigned byteLength, char* dst)
{
    Utf8Sink out(dst);
    unsigned remaining = byteLength;
    while (remaining >= 2) {
        unsigned u = *src;
        unsigned cp = u;
        unsigned consumed = 1;
        bool valid = true;
        if ((u & 0xFC00) == 0xD800) {
            if (remaining < 4) {
                ++src;
                remaining -= 2;
                continue;
            }
            unsigned v = src[1];
            if ((v & 0xFC00) == 0xDC00) {
                cp = (u << 10) + v - 0x35FDC00;
                consumed = 2;
            } else {
                valid = false;
            }
        } else if ((u & 0xFC00) == 0xDC00) {
            valid = false;
        }
        src += consumed;
        remaining -= consumed * 2;
        if (valid && cp == 0)
            break;
        if (valid && cp <= 0x10FFFF)
            out.putCodePoint(cp);
    }
    out.put(0);
    return out.count();
}

unsigned UTF8ToUTF16HostEndian(const char* src, unsigned byteLength, unsigned short* dst)
{
    Utf16Sink out(dst);
    const auto* p = reinterpret_cast<const unsigned char*>(src);
    unsigned remaining = byteLength;
    while (remaining > 0) {
        unsigned char b0 = *p;
        if (b0 == 0)
            break;
        unsigned need = 0;
        unsigned cp = 0;
        unsigned minimum = 0;
        if (b0 < 0x80) {
            need = 1;
            cp = b0;
        } else if ((b0 & 0xE0) == 0xC0) {
            need = 2;
            minimum = 0x80;
        } else if ((b0 & 0xF0) == 0xE0) {
            need = 3;
            minimum = 0x800;
        } else if ((b0 & 0xF8) == 0xF0) {
            need = 4;
            minimum = 0x10000;
        } else {
            // A stray continuation byte or 11111xxx.
            ++p;
            --remaining;
            continue;
        }
        if (need > 1) {
            unsigned ok = validPrefix(p, remaining, need);
            if (ok < need) {
                p += ok;
                remaining -= ok;
                continue;
            }
            if (need == 2)
                cp = ((b0 & 0x1Fu) << 6) | (p[1] & 0x3Fu);
            else if (need == 3)
                cp = ((unsigned(b0) << 12) & 0xFFFF) | ((p[1] & 0x3Fu) << 6) | (p[2] & 0x3Fu);
            else
                cp = ((b0 & 7u) << 18) | ((p[1] & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
        }
        p += need;
        remaining -= need;
        if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            continue;
        out.putCodePoint(cp);
    }
    out.put(0);
    return out.byteCount();
}

std::string ptucsToUtf8(const unsigned short* src)
{
    const unsigned bytes = unsigned(ptucslen(src) * 2);
    std::string out(UTF16HostEndianToUTF8(src, bytes, nullptr), '\0');
    UTF16HostEndianToUTF8(src, bytes, out.data());
    out.pop_back();
    return out;
}

std::u16string ptucsFromUtf8(const std::string& src)
{
    const unsigned bytes = unsigned(src.size());
    std::u16string out(UTF8ToUTF16HostEndian(src.data(), bytes, nullptr) / 2, u'\0');
    UTF8ToUTF16HostEndian(src.data(), bytes, reinterpret_cast<unsigned short*>(out.data()));
    out.pop_back();
    return out;
}

#include "LosslessJpeg.h"

#include <climits>
#include <cstdlib>

namespace lumen {

namespace {

// Categories 0 to 16 of the difference magnitude.
constexpr int kSymbols = 17;

struct HuffmanTable {
    std::uint8_t bits[17] = {}; // bits[n]: number of codes of length n
    std::vector<std::uint8_t> values;
    std::uint16_t code[kSymbols] = {};
    std::uint8_t size[kSymbols] = {};
};

// The optimal table for these frequencies, limited to 16-bit codes. A
// reserved extra symbol takes the all-ones code, which a JPEG table must not
// hand out.
HuffmanTable buildTable(const std::uint32_t (&frequency)[kSymbols])
{
    constexpr int n = kSymbols + 1;
    long long freq[n];
    for (int i = 0; i < kSymbols; ++i)
        freq[i] = frequency[i];
    freq[kSymbols] = 1;
    int codeSize[n] = {};
    int others[n];
    for (int& o : others)
        o = -1;

    for (;;) {
        int c1 = -1;
        long long v = LLONG_MAX;
        for (int i = 0; i < n; ++i)
            if (freq[i] && freq[i] <= v) {
                v = freq[i];
                c1 = i;
            }
        int c2 = -1;
        v = LLONG_MAX;
        for (int i = 0; i < n; ++i)
            if (freq[i] && freq[i] <= v && i != c1) {
                v = freq[i];
                c2 = i;
            }
        if (c2 < 0)
            break;
        freq[c1] += freq[c2];
        freq[c2] = 0;
        ++codeSize[c1];
        while (others[c1] >= 0) {
            c1 = others[c1];
            ++codeSize[c1];
        }
        others[c1] = c2;
        ++codeSize[c2];
        while (others[c2] >= 0) {
            c2 = others[c2];
            ++codeSize[c2];
        }
    }

    int bits[n + 1] = {};
    for (int i = 0; i < n; ++i)
        if (codeSize[i])
            ++bits[codeSize[i]];
    // Lengths above 16: move pairs up the tree until every code fits.
    for (int i = n; i > 16; --i) {
        while (bits[i] > 0) {
            int j = i - 2;
            while (bits[j] == 0)
                --j;
            bits[i] -= 2;
            bits[i - 1] += 1;
            bits[j + 1] += 2;
            bits[j] -= 1;
        }
    }
    int longest = 16;
    while (bits[longest] == 0)
        --longest;
    --bits[longest]; // the reserved symbol's code

    HuffmanTable table;
    for (int len = 1; len <= 16; ++len)
        table.bits[len] = std::uint8_t(bits[len]);
    for (int len = 1; len <= n; ++len)
        for (int sym = 0; sym < kSymbols; ++sym)
            if (codeSize[sym] == len)
                table.values.push_back(std::uint8_t(sym));

    unsigned code = 0;
    std::size_t k = 0;
    for (int len = 1; len <= 16; ++len) {
        for (int i = 0; i < table.bits[len]; ++i, ++k) {
            table.code[table.values[k]] = std::uint16_t(code++);
            table.size[table.values[k]] = std::uint8_t(len);
        }
        code <<= 1;
    }
    return table;
}

class ByteSink {
public:
    explicit ByteSink(std::vector<std::uint8_t>& out) : m_out(out) {}
    void byte(unsigned b) { m_out.push_back(std::uint8_t(b)); }
    void word(unsigned w)
    {
        byte(w >> 8);
        byte(w & 0xFF);
    }

private:
    std::vector<std::uint8_t>& m_out;
};

// Entropy-coded bits, most significant first, with a zero byte stuffed after
// every 0xFF so that the data never looks like a marker.
class BitWriter {
public:
    explicit BitWriter(std::vector<std::uint8_t>& out) : m_out(out) {}

    void put(std::uint32_t bits, int count)
    {
        m_acc = (m_acc << count) | bits;
        m_count += count;
        while (m_count >= 8) {
            m_count -= 8;
            const auto b = std::uint8_t(m_acc >> m_count);
            m_out.push_back(b);
            if (b == 0xFF)
                m_out.push_back(0);
        }
    }

    // Pads the last byte with one bits.
    void finish()
    {
        if (m_count > 0)
            put((1u << (8 - m_count)) - 1, 8 - m_count);
    }

private:
    std::vector<std::uint8_t>& m_out;
    std::uint64_t m_acc = 0;
    int m_count = 0;
};

int category(int diff)
{
    unsigned magnitude = unsigned(std::abs(diff));
    int s = 0;
    while (magnitude) {
        ++s;
        magnitude >>= 1;
    }
    return s;
}

} // namespace

unsigned bitsFor(unsigned maxValue, unsigned floor)
{
    unsigned bits = 0;
    while (bits < 32 && (maxValue >> bits) != 0)
        ++bits;
    return bits < floor ? floor : bits;
}

std::vector<std::uint8_t> encodeLosslessJpeg(const std::uint16_t* samples, unsigned width, unsigned height,
                                             unsigned components, unsigned precision)
{
    std::vector<std::uint8_t> out;
    if (!samples || width == 0 || height == 0 || width > 65535 || height > 65535 || components == 0 ||
        components > 4 || precision < 2 || precision > 16)
        return out;

    const std::size_t rowSamples = std::size_t(width) * components;
    const std::size_t count = rowSamples * height;
    std::vector<std::int16_t> diffs(count);
    std::vector<std::uint8_t> categories(count);
    std::uint32_t frequency[4][kSymbols] = {};
    const int initial = 1 << (precision - 1);

    for (unsigned y = 0; y < height; ++y) {
        const std::uint16_t* row = samples + y * rowSamples;
        const std::uint16_t* above = y ? row - rowSamples : nullptr;
        for (std::size_t i = 0; i < rowSamples; ++i) {
            const unsigned c = unsigned(i % components);
            int predictor;
            if (i >= components)
                predictor = row[i - components];
            else
                predictor = above ? above[i] : initial;
            // Differences are taken modulo 2^16, as the decoder adds them.
            const auto diff = std::int16_t(std::uint16_t(row[i] - predictor));
            const int s = category(diff);
            diffs[y * rowSamples + i] = diff;
            categories[y * rowSamples + i] = std::uint8_t(s);
            ++frequency[c][s];
        }
    }

    HuffmanTable tables[4];
    for (unsigned c = 0; c < components; ++c)
        tables[c] = buildTable(frequency[c]);

    out.reserve(count + 512);
    ByteSink sink(out);
    sink.word(0xFFD8);
    sink.word(0xFFC3); // lossless, Huffman
    sink.word(8 + 3 * components);
    sink.byte(precision);
    sink.word(height);
    sink.word(width);
    sink.byte(components);
    for (unsigned c = 0; c < components; ++c) {
        sink.byte(c + 1);
        sink.byte(0x11);
        sink.byte(0);
    }
    for (unsigned c = 0; c < components; ++c) {
        sink.word(0xFFC4);
        sink.word(unsigned(2 + 1 + 16 + tables[c].values.size()));
        sink.byte(c); // DC table c
        for (int len = 1; len <= 16; ++len)
            sink.byte(tables[c].bits[len]);
        for (auto v : tables[c].values)
            sink.byte(v);
    }
    sink.word(0xFFDA);
    sink.word(6 + 2 * components);
    sink.byte(components);
    for (unsigned c = 0; c < components; ++c) {
        sink.byte(c + 1);
        sink.byte(c << 4);
    }
    sink.byte(1); // predictor: the sample to the left
    sink.byte(0);
    sink.byte(0);

    BitWriter bits(out);
    for (std::size_t i = 0; i < count; ++i) {
        const HuffmanTable& table = tables[i % components];
        const int s = categories[i];
        std::uint32_t word = table.code[s];
        int length = table.size[s];
        // Category 16 (a difference of -32768) carries no extra bits.
        if (s > 0 && s < 16) {
            const int diff = diffs[i];
            const std::uint32_t extra = std::uint32_t(diff < 0 ? diff - 1 : diff) & ((1u << s) - 1);
            word = (word << s) | extra;
            length += s;
        }
        bits.put(word, length);
    }
    bits.finish();
    sink.word(0xFFD9);
    return out;
}

} // namespace lumen

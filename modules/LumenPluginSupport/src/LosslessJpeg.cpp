#include "LosslessJpeg.h"

#include <algorithm>
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
// every 0xFF so that the data never looks like a marker. Writes into a buffer
// the caller sized for the worst case: eight bytes per put.
class BitWriter {
public:
    explicit BitWriter(std::uint8_t* out) : m_begin(out), m_out(out) {}

    void put(std::uint32_t bits, int count)
    {
        m_acc = (m_acc << count) | bits;
        m_count += count;
        if (m_count < 32)
            return;
        m_count -= 32;
        const auto word = std::uint32_t(m_acc >> m_count);
        m_out[0] = std::uint8_t(word >> 24);
        m_out[1] = std::uint8_t(word >> 16);
        m_out[2] = std::uint8_t(word >> 8);
        m_out[3] = std::uint8_t(word);
        // Four bytes at once unless one of them is 0xFF.
        const std::uint32_t inverted = ~word;
        if (((inverted - 0x01010101u) & ~inverted & 0x80808080u) == 0)
            m_out += 4;
        else
            stuff(word);
    }

    // Pads the last byte with one bits; returns the number of bytes written.
    std::size_t finish()
    {
        if (m_count % 8)
            put((1u << (8 - m_count % 8)) - 1, 8 - m_count % 8);
        while (m_count >= 8) {
            m_count -= 8;
            byte(std::uint8_t(m_acc >> m_count));
        }
        return std::size_t(m_out - m_begin);
    }

private:
    __attribute__((noinline)) void stuff(std::uint32_t word)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            byte(std::uint8_t(word >> shift));
    }

    void byte(std::uint8_t b)
    {
        *m_out++ = b;
        if (b == 0xFF)
            *m_out++ = 0;
    }

    std::uint8_t* m_begin;
    std::uint8_t* m_out;
    std::uint64_t m_acc = 0;
    int m_count = 0;
};

int category(int diff)
{
    const unsigned magnitude = unsigned(std::abs(diff));
    return magnitude ? 32 - __builtin_clz(magnitude) : 0;
}

// The encoder for a fixed number of components, so that the per-sample loops
// unroll.
template <unsigned components>
std::vector<std::uint8_t> encode(const std::uint16_t* samples, unsigned width, unsigned height, unsigned precision,
                                 std::size_t stride)
{
    std::vector<std::uint8_t> out;

    const std::size_t rowSamples = std::size_t(width) * components;
    const std::size_t count = rowSamples * height;
    const int initial = 1 << (precision - 1);

    // Calls visit(component, difference) for every sample of row y, in order.
    // Differences are taken modulo 2^16, as the decoder adds them.
    auto forEachDifference = [&](unsigned y, auto&& visit) {
        const std::uint16_t* row = samples + y * stride;
        const std::uint16_t* above = y ? row - stride : nullptr;
        for (unsigned c = 0; c < components; ++c)
            visit(c, std::int16_t(std::uint16_t(row[c] - (above ? above[c] : initial))));
        for (std::size_t i = components; i < rowSamples; i += components)
            for (unsigned c = 0; c < components; ++c)
                visit(c, std::int16_t(std::uint16_t(row[i + c] - row[i + c - components])));
    };

    // The tables come from every eighth row, which codes almost as well as
    // all rows at a fraction of the cost. Every category keeps a count of at least one,
    // so that a difference met only outside the sample still has a code.
    std::uint32_t frequency[4][kSymbols] = {};
    const unsigned step = height >= 32 ? 8 : 1;
    for (unsigned y = 0; y < height; y += step)
        forEachDifference(y, [&](unsigned c, int diff) { ++frequency[c][category(diff)]; });
    for (unsigned c = 0; c < components; ++c)
        for (auto& f : frequency[c])
            ++f;

    HuffmanTable tables[4];
    for (unsigned c = 0; c < components; ++c)
        tables[c] = buildTable(frequency[c]);

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

    // The whole code of every small difference, looked up instead of built
    // per sample.
    constexpr int kLookup = 255;
    struct Code {
        std::uint32_t word;
        std::uint32_t length;
    };
    auto codeFor = [&](unsigned c, int diff) {
        const HuffmanTable& table = tables[c];
        const int s = category(diff);
        Code code{table.code[s], table.size[s]};
        // Category 16 (a difference of -32768) carries no extra bits.
        if (s > 0 && s < 16) {
            code.word = (code.word << s) | (std::uint32_t(diff < 0 ? diff - 1 : diff) & ((1u << s) - 1));
            code.length += unsigned(s);
        }
        return code;
    };
    std::vector<Code> lookup(components * (2 * kLookup + 1));
    for (unsigned c = 0; c < components; ++c)
        for (int diff = -kLookup; diff <= kLookup; ++diff)
            lookup[c * (2 * kLookup + 1) + unsigned(diff + kLookup)] = codeFor(c, diff);

    thread_local std::vector<std::uint8_t> scratch;
    scratch.resize(std::max(scratch.size(), count * 8 + 16));
    BitWriter bits(scratch.data());
    for (unsigned y = 0; y < height; ++y)
        forEachDifference(y, [&](unsigned c, int diff) {
            const Code code = diff >= -kLookup && diff <= kLookup
                                  ? lookup[c * (2 * kLookup + 1) + unsigned(diff + kLookup)]
                                  : codeFor(c, diff);
            bits.put(code.word, int(code.length));
        });
    const std::size_t written = bits.finish();
    out.insert(out.end(), scratch.data(), scratch.data() + written);
    sink.word(0xFFD9);
    return out;
}

} // namespace

std::vector<std::uint8_t> encodeLosslessJpeg(const std::uint16_t* samples, unsigned width, unsigned height,
                                             unsigned components, unsigned precision, std::size_t stride)
{
    if (!samples || width == 0 || height == 0 || width > 65535 || height > 65535 || precision < 2 || precision > 16)
        return {};
    if (stride == 0)
        stride = std::size_t(width) * components;
    switch (components) {
    case 1:
        return encode<1>(samples, width, height, precision, stride);
    case 2:
        return encode<2>(samples, width, height, precision, stride);
    case 3:
        return encode<3>(samples, width, height, precision, stride);
    case 4:
        return encode<4>(samples, width, height, precision, stride);
    default:
        return {};
    }
}

} // namespace lumen

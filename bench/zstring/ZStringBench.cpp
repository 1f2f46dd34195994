// Load time and lookups per second of a 5,000-key dictionary read from
// UTF-16 text and from binary, beside GNU gettext (dgettext on a .mo file
// that msgfmt builds from the same keys and texts). Lookups run over the
// keys in the order they were written and in one fixed shuffled order, the
// same for both. compare.sh runs it with repetitions and prints the figures.
#include "Dictionary.h"
#include "basic_ifstream.h"

#include <benchmark/benchmark.h>

#include <libintl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr int kKeys = 5000;
// gettext keeps every domain it has loaded, so each load iteration needs a
// domain of its own, and every later load and lookup walks the list of
// them. The gettext lookups therefore run before any load, and the loads
// are capped at a fixed number per repetition.
constexpr int kLoadIterations = 20;
constexpr int kMaxLoadRepetitions = 15;
constexpr int kGettextLoads = kLoadIterations * kMaxLoadRepetitions;

struct Corpus {
    fs::path dir;
    fs::path text;
    fs::path binary;
    std::vector<std::string> keys;     // "/Bench/..." for gettext
    std::vector<std::string> literals; // "$$$/Bench/...=Default" for quire
    std::vector<std::size_t> shuffled; // a permutation of the key indexes
};

std::string valueFor(int i)
{
    return "Übersetzter Text Nummer " + std::to_string(i) + " für die Messung der Nachschlagezeit";
}

void writeUtf16(std::ostream& out, const std::u16string& text)
{
    for (const char16_t u : text) {
        out.put(static_cast<char>(u & 0xff));
        out.put(static_cast<char>(u >> 8));
    }
}

std::u16string widenUtf8(const std::string& s)
{
    std::u16string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        if (c < 0x80) {
            out.push_back(c);
        } else {
            out.push_back(static_cast<char16_t>(((c & 0x1f) << 6) | (s[i + 1] & 0x3f)));
            ++i;
        }
    }
    return out;
}

const Corpus& corpus()
{
    static const Corpus c = [] {
        Corpus c;
        c.dir = fs::temp_directory_path() / ("zstring_bench_" + std::to_string(::getpid()));
        fs::create_directories(c.dir / "de" / "LC_MESSAGES");
        c.text = c.dir / "text.dct";
        c.binary = c.dir / "binary.dct";
        std::ofstream text(c.text, std::ios::binary);
        std::ofstream po(c.dir / "bench.po", std::ios::binary);
        po << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n\n";
        writeUtf16(text, u"\uFEFF");
        for (int i = 0; i < kKeys; ++i) {
            const std::string key = "/Bench/Group" + std::to_string(i % 50) + "/Message" + std::to_string(i);
            c.keys.push_back(key);
            c.literals.push_back("$$$" + key + "=Default text " + std::to_string(i));
            writeUtf16(text, u"\"$$$" + widenUtf8(key) + u"=" + widenUtf8(valueFor(i)) + u"\"\r\n");
            po << "msgid \"" << key << "\"\nmsgstr \"" << valueFor(i) << "\"\n\n";
        }
        text.close();
        po.close();
        c.shuffled.resize(kKeys);
        std::iota(c.shuffled.begin(), c.shuffled.end(), 0);
        std::shuffle(c.shuffled.begin(), c.shuffled.end(), std::mt19937(20261121));

        quire::Dictionary d;
        quire::basic_ifstream in(c.text.c_str());
        d.Read(in);
        std::ofstream binary(c.binary, std::ios::binary);
        d.Serialize(binary, quire::kHostOrder);
        binary.close();

        const fs::path mo = c.dir / "de" / "LC_MESSAGES" / "bench.mo";
        const std::string command = std::string(MSGFMT_PATH) + " -o " + mo.string() + " " + (c.dir / "bench.po").string();
        if (std::system(command.c_str()) != 0) {
            std::cerr << "msgfmt failed\n";
            std::exit(1);
        }
        for (int i = 0; i < kGettextLoads; ++i)
            fs::create_hard_link(mo, c.dir / "de" / "LC_MESSAGES" / ("load" + std::to_string(i) + ".mo"));
        // LANGUAGE is honoured under any locale but plain "C".
        std::setlocale(LC_ALL, "C.UTF-8");
        ::setenv("LANGUAGE", "de", 1);
        bindtextdomain("bench", c.dir.c_str());
        if (valueFor(7) != dgettext("bench", c.keys[7].c_str())) {
            std::cerr << "gettext does not answer from " << mo << "\n";
            std::exit(1);
        }
        quire::Dictionary check;
        quire::basic_ifstream binIn(c.binary.c_str());
        if (!check.Read(binIn) || check.NumKeys() != kKeys) {
            std::cerr << "binary dictionary did not read back\n";
            std::exit(1);
        }
        return c;
    }();
    return c;
}

quire::Dictionary load(const fs::path& path)
{
    quire::Dictionary d;
    quire::basic_ifstream in(path.c_str());
    d.Read(in);
    return d;
}

std::vector<std::size_t> inOrder()
{
    std::vector<std::size_t> order(kKeys);
    std::iota(order.begin(), order.end(), 0);
    return order;
}

void lookups(benchmark::State& state, const fs::path& path, const std::vector<std::size_t>& order)
{
    const Corpus& c = corpus();
    const quire::Dictionary d = load(path);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(d.Lookup(c.literals[order[i]].c_str()));
        i = i + 1 == order.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

void gettextLookups(benchmark::State& state, const std::vector<std::size_t>& order)
{
    const Corpus& c = corpus();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(dgettext("bench", c.keys[order[i]].c_str()));
        i = i + 1 == order.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_LookupText(benchmark::State& state)
{
    lookups(state, corpus().text, inOrder());
}
BENCHMARK(BM_LookupText);

void BM_LookupBinary(benchmark::State& state)
{
    lookups(state, corpus().binary, inOrder());
}
BENCHMARK(BM_LookupBinary);

void BM_LookupBinaryShuffled(benchmark::State& state)
{
    lookups(state, corpus().binary, corpus().shuffled);
}
BENCHMARK(BM_LookupBinaryShuffled);

void BM_LookupGettext(benchmark::State& state)
{
    gettextLookups(state, inOrder());
}
BENCHMARK(BM_LookupGettext);

void BM_LookupGettextShuffled(benchmark::State& state)
{
    gettextLookups(state, corpus().shuffled);
}
BENCHMARK(BM_LookupGettextShuffled);

void BM_LoadText(benchmark::State& state)
{
    const Corpus& c = corpus();
    for (auto _ : state)
        benchmark::DoNotOptimize(load(c.text).NumKeys());
}
BENCHMARK(BM_LoadText)->Unit(benchmark::kMicrosecond);

// Open, map and answer a first lookup, as a gettext load does. gettext
// never unloads a domain, so the dictionaries are kept too and destroyed
// (unmapped) outside the timing, a batch at a time.
void BM_LoadBinary(benchmark::State& state)
{
    const Corpus& c = corpus();
    constexpr std::size_t kKept = 256;
    std::vector<quire::Dictionary> kept;
    kept.reserve(kKept);
    for (auto _ : state) {
        kept.push_back(load(c.binary));
        benchmark::DoNotOptimize(kept.back().Lookup(c.literals[0].c_str()));
        if (kept.size() == kKept) {
            state.PauseTiming();
            kept.clear();
            state.ResumeTiming();
        }
    }
}
BENCHMARK(BM_LoadBinary)->Unit(benchmark::kMicrosecond);

// A first lookup in a fresh domain opens and maps its .mo file.
void BM_LoadGettext(benchmark::State& state)
{
    const Corpus& c = corpus();
    static int n = 0;
    for (auto _ : state) {
        if (n == kGettextLoads) {
            state.SkipWithError("out of fresh gettext domains: use at most 15 repetitions");
            break;
        }
        const std::string domain = "load" + std::to_string(n++);
        bindtextdomain(domain.c_str(), c.dir.c_str());
        benchmark::DoNotOptimize(dgettext(domain.c_str(), c.keys[0].c_str()));
    }
}
BENCHMARK(BM_LoadGettext)->Unit(benchmark::kMicrosecond)->Iterations(kLoadIterations);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    corpus();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code ignored;
    fs::remove_all(corpus().dir, ignored);
    return 0;
}

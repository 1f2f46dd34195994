// Writing and reading the message wire text.
//
// - Write and read of 1 KiB and 64 KiB bodies, with and without the keyed
//   digest: messages/s and MB/s of wire text.
// - A run of small messages read one after another, with and without the
//   text's length: both must grow linearly with the number of messages.
// - The 64 KiB message against its peers on the same machine in the same run:
//   two bare copies of its wire text (memcpy) and a bare MD5 of it (OpenSSL).
//   Each is repeated; min/median/max of the CPU time and the ratios of the
//   medians are printed at the end, so the figures compare across machines
//   and hold on a busy one.
#include <benchmark/benchmark.h>

#include <openssl/evp.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "Message.h"

using ScObjects::SoString;
using ScObjects::TesselTalk::Message;

namespace {

constexpr long kPeerBody = 65536;
constexpr int kRepetitions = 15;

Message makeMessage(long bodySize)
{
    Message m;
    m.setTarget("tessel-4.0-en_us");
    m.setSender("skiff-4.0");
    m.setType("Calligo");
    m.setResponseRequest("Result Timeout");
    m.setTimeout(30);
    m.setSerialNumber(1234);
    m.setHeader("X-Script", "download");
    std::string body(std::size_t(bodySize), 'x');
    for (std::size_t i = 0; i < body.size(); i += 64)
        body[i] = '\n';
    m.setBody(body.c_str(), long(body.size()));
    return m;
}

void setDigest(bool on)
{
    Message::setCreateDigest(on);
    Message::setAuthentication(on);
}

SoString wireText(long bodySize, bool digest)
{
    setDigest(digest);
    SoString text;
    makeMessage(bodySize).writeToString(text);
    return text;
}

void BM_WriteToString(benchmark::State& state)
{
    setDigest(state.range(1) != 0);
    const Message m = makeMessage(state.range(0));
    long bytes = 0;
    for (auto _ : state) {
        SoString out;
        m.writeToString(out);
        bytes += out.length();
        benchmark::DoNotOptimize(out.c_str());
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(bytes);
    state.SetLabel(state.range(1) ? "digest" : "no digest");
}

void BM_ReadFromString(benchmark::State& state)
{
    const bool digest = state.range(1) != 0;
    const SoString text = wireText(state.range(0), digest);
    for (auto _ : state) {
        Message m;
        const char* end = m.readFromString(text.c_str(), text.length());
        benchmark::DoNotOptimize(end);
        if (m.getDigestStatus() != (digest ? "" : "NODIGEST"))
            state.SkipWithError("digest status is wrong");
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(long(state.iterations()) * text.length());
    state.SetLabel(digest ? "digest" : "no digest");
}

void sizes(benchmark::internal::Benchmark* b)
{
    for (long size : {1024L, 65536L})
        for (long digest : {0L, 1L})
            b->Args({size, digest});
    b->ArgNames({"body", "digest"});
}

// range(0) small messages laid end to end, read back one by one.
template <bool withLength>
void BM_ReadRun(benchmark::State& state)
{
    setDigest(false);
    Message one = makeMessage(48);
    SoString text;
    for (long i = 0; i < state.range(0); ++i)
        one.writeToString(text);
    const char* const end = text.c_str() + text.length();
    for (auto _ : state) {
        Message m;
        long read = 0;
        for (const char* p = text.c_str(); p < end; ++read)
            p = withLength ? m.readFromString(p, end - p) : m.readFromString(p);
        if (read != state.range(0))
            state.SkipWithError("the run did not read back whole");
    }
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(long(state.iterations()) * state.range(0));
}

void run(benchmark::internal::Benchmark* b)
{
    b->RangeMultiplier(2)->Range(2500, 20000)->ArgName("messages")->Complexity(benchmark::oN)
        ->Unit(benchmark::kMillisecond);
}

double minimum(const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); }
double maximum(const std::vector<double>& v) { return *std::max_element(v.begin(), v.end()); }

void repeated(benchmark::internal::Benchmark* b)
{
    b->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->MinTime(0.05)->Unit(benchmark::kMicrosecond)
        ->ComputeStatistics("min", minimum)->ComputeStatistics("max", maximum);
}

void BM_Wire64K_Write(benchmark::State& state)
{
    setDigest(state.range(0) != 0);
    const Message m = makeMessage(kPeerBody);
    for (auto _ : state) {
        SoString out;
        m.writeToString(out);
        benchmark::DoNotOptimize(out.c_str());
    }
}

void BM_Wire64K_Read(benchmark::State& state)
{
    const SoString text = wireText(kPeerBody, state.range(0) != 0);
    for (auto _ : state) {
        Message m;
        benchmark::DoNotOptimize(m.readFromString(text.c_str(), text.length()));
    }
}

void BM_Peer_TwoCopies(benchmark::State& state)
{
    const SoString text = wireText(kPeerBody, true);
    std::vector<char> first(std::size_t(text.length())), second(first.size());
    for (auto _ : state) {
        std::memcpy(first.data(), text.c_str(), first.size());
        benchmark::ClobberMemory();
        std::memcpy(second.data(), first.data(), second.size());
        benchmark::ClobberMemory();
    }
}

void BM_Peer_MD5(benchmark::State& state)
{
    const SoString text = wireText(kPeerBody, true);
    unsigned char md[EVP_MAX_MD_SIZE];
    unsigned int mdLength = 0;
    for (auto _ : state) {
        if (EVP_Digest(text.c_str(), std::size_t(text.length()), md, &mdLength, EVP_md5(), nullptr) != 1)
            state.SkipWithError("MD5 failed");
        benchmark::DoNotOptimize(md);
    }
}

// The console output, then the 64 KiB message against its peers.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& reports) override
    {
        ConsoleReporter::ReportRuns(reports);
        for (const Run& r : reports) {
            if (r.run_type == Run::RT_Aggregate && !r.error_occurred)
                m_figures[r.run_name.function_name + "/" + r.run_name.args][r.aggregate_name] =
                    r.GetAdjustedCPUTime();
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        const auto copies = m_figures.find("BM_Peer_TwoCopies/");
        const auto md5 = m_figures.find("BM_Peer_MD5/");
        if (copies == m_figures.end() || md5 == m_figures.end())
            return;
        std::printf("\n64 KiB message against its peers, %d repetitions\n"
                    "(CPU us per operation: min / median / max; ratio of medians)\n",
            kRepetitions);
        for (auto& [name, figures] : m_figures) {
            std::printf("%-30s %9.2f / %9.2f / %9.2f", name.c_str(), figures["min"], figures["median"],
                figures["max"]);
            if (name.rfind("BM_Wire64K", 0) == 0)
                std::printf("   x%.2f two copies   x%.2f MD5", figures["median"] / copies->second["median"],
                    figures["median"] / md5->second["median"]);
            std::printf("\n");
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> m_figures;
};

} // namespace

BENCHMARK(BM_WriteToString)->Apply(sizes);
BENCHMARK(BM_ReadFromString)->Apply(sizes);
BENCHMARK_TEMPLATE(BM_ReadRun, true)->Apply(run);
BENCHMARK_TEMPLATE(BM_ReadRun, false)->Apply(run);
BENCHMARK(BM_Wire64K_Write)->ArgName("digest")->Arg(0)->Arg(1)->Apply(repeated);
BENCHMARK(BM_Wire64K_Read)->ArgName("digest")->Arg(0)->Arg(1)->Apply(repeated);
BENCHMARK(BM_Peer_TwoCopies)->Apply(repeated);
BENCHMARK(BM_Peer_MD5)->Apply(repeated);

int main(int argc, char** argv)
{
    // The digest key lives in the identifier store: keep it out of the real home.
    char home[] = "/tmp/tt-bench-XXXXXX";
    if (!mkdtemp(home))
        return 1;
    setenv("HOME", home, 1);
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    std::filesystem::remove_all(home);
    return 0;
}

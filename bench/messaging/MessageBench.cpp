// Writing and reading the message wire text, 1 KB and 64 KB bodies, with
// and without the keyed digest. Reports messages/s and MB/s of wire text.
#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "Message.h"

using ScObjects::SoString;
using ScObjects::TesselTalk::Message;

namespace {

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

void BM_WriteToString(benchmark::State& state)
{
    Message::setCreateDigest(state.range(1) != 0);
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
    Message::setCreateDigest(digest);
    Message::setAuthentication(digest);
    SoString text;
    makeMessage(state.range(0)).writeToString(text);
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

} // namespace

BENCHMARK(BM_WriteToString)->Apply(sizes);
BENCHMARK(BM_ReadFromString)->Apply(sizes);

int main(int argc, char** argv)
{
    // The digest key lives in the identifier store: keep it out of the real home.
    char home[] = "/tmp/tt-bench-XXXXXX";
    if (!mkdtemp(home))
        return 1;
    setenv("HOME", home, 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove_all(home);
    return 0;
}

// Arbitrary bytes as a raw file: LibRaw's parsing, the length guard, the
// writer. The first byte picks the options; the output goes to a scratch file.
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "lumen/DngConverter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1)
        return 0;
    static const std::string target = "/tmp/dng_convert_fuzzer." + std::to_string(getpid()) + ".dng";
    lumen::DngOptions options;
    options.preview = static_cast<lumen::PreviewSize>(data[0] % 3);
    options.compressed = !(data[0] & 4);
    options.linear = data[0] & 8;
    options.embedOriginal = data[0] & 16;
    lumen::convertToDng(data + 1, size - 1, "fuzz.raw", target, options);
    std::remove(target.c_str());
    return 0;
}

// Arbitrary bytes as a dictionary file, read through the stream path (text
// or binary, as the bytes decide) and straight as a binary buffer, then
// looked up with keys taken from the input itself.
#include "Dictionary.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    quire::Dictionary fromStream;
    std::istringstream in(bytes);
    fromStream.Read(in);

    quire::Dictionary fromBuffer;
    fromBuffer.Read(data, size, false);

    // Every key the dictionary holds, plus the input's own lines as literals.
    for (quire::Dictionary* d : {&fromStream, &fromBuffer}) {
        std::size_t budget = 64;
        for (d->ReSetKeyEnumeration(); d->HasMoreKey() && budget > 0; --budget) {
            const std::string literal = "$$$" + d->NextKey() + "=default^n";
            d->Lookup(literal.c_str());
        }
        std::istringstream lines(bytes);
        std::string line;
        for (budget = 16; budget > 0 && std::getline(lines, line); --budget) {
            d->Lookup(line.c_str());
            d->Lookup(line.c_str(), quire::Encoding::UTF8);
        }
        std::ostringstream out;
        d->Serialize(out, quire::kBigEndian);
    }
    return 0;
}

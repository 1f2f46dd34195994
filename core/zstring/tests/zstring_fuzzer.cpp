// Arbitrary bytes as a dictionary file, read as real loading reads it (text
// or binary, as the first bytes decide) and, behind the binary identifier,
// as a binary dictionary whatever they start with, so both readers are
// reached without guessing the identifier. Every key found is looked up.
// A dictionary read from text must compile and decompile back to itself.
#include "Dictionary.h"
#include "TextDictionary.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

const std::string kBinaryId = "ZString Binary Format";

void exercise(quire::Dictionary& d, const std::string& bytes)
{
    std::size_t budget = 64;
    for (d.ReSetKeyEnumeration(); d.HasMoreKey() && budget > 0; --budget) {
        const std::string literal = "$$$" + d.NextKey() + "=default^n";
        d.Lookup(literal.c_str());
        d.Accelerator(literal.c_str());
    }
    for (quire::ZStringId id = 0; id < 64 && id <= d.NumKeys(); ++id) {
        d.Lookup(id);
        d.GetStringId(id);
    }
    std::istringstream lines(bytes);
    std::string line;
    for (budget = 16; budget > 0 && std::getline(lines, line); --budget) {
        d.Lookup(line.c_str());
        d.Lookup(line.c_str(), quire::Encoding::UTF8);
        d.LookupReturnUTF16Ptr(line.c_str());
    }
}

std::string serialize(const quire::Dictionary& d)
{
    std::ostringstream out;
    d.Serialize(out, quire::kBigEndian);
    return out.str();
}

quire::Dictionary read(const std::string& bytes)
{
    quire::Dictionary d;
    std::istringstream in(bytes);
    d.Read(in);
    return d;
}

// text -> binary -> text (in the family the text was read in) -> binary
// gives the same bytes.
void roundTrip(const quire::Dictionary& text, bool utf16)
{
    const std::string compiled = serialize(text);
    if (compiled.empty())
        return; // a value too long for the binary form, refused with a message
    const quire::Dictionary binary = read(compiled);
    std::ostringstream out;
    std::string error;
    if (!quire::WriteTextDictionary(binary, out, utf16 ? quire::TextEncoding::UTF16BE : quire::TextEncoding::UTF8,
                                    error))
        std::abort();
    if (serialize(read(out.str())) != compiled)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    quire::Dictionary fromStream = read(bytes);
    exercise(fromStream, bytes);
    const bool binary = bytes.compare(0, kBinaryId.size(), kBinaryId) == 0;
    if (!binary) {
        const bool utf16 = size >= 2 && ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF));
        roundTrip(fromStream, utf16);
    }

    const std::string asBinary = binary ? bytes : kBinaryId + bytes;
    quire::Dictionary fromBuffer;
    fromBuffer.Read(asBinary.data(), asBinary.size(), false);
    exercise(fromBuffer, bytes);
    serialize(fromBuffer);
    return 0;
}

// Arbitrary bytes as a registry configuration text. Whatever the reader
// accepts is written back and must read again to the same contents.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "ConnectorConfig.h"

using namespace ScObjects;
namespace CC = ScObjects::ConnectorConfig;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CC::Contents contents;
    SoString error;
    if (!CC::read(reinterpret_cast<const char*>(data), long(size), contents, error)) {
        if (error.isEmpty())
            __builtin_trap();
        return 0;
    }
    const SoString text = contents.hasRecord ? CC::writeAppConfig(contents.record, contents.groupEntries, true)
                                             : CC::writeGroupsConfig(contents.groupEntries);
    CC::Contents again;
    if (!CC::read(text.c_str(), text.length(), again, error))
        __builtin_trap();
    if (again.groupEntries != contents.groupEntries || again.hasRecord != contents.hasRecord)
        __builtin_trap();
    // The version is written as a whole number and "none" not at all: the
    // only two fields the text does not carry exactly.
    TTConnectorAppInfo expected = contents.record;
    expected.tesselTalkVersion = again.record.tesselTalkVersion;
    if (expected.omvDictionary == "none")
        expected.omvDictionary = SoString();
    if (contents.hasRecord && !(again.record == expected))
        __builtin_trap();
    if (contents.hasRecord && std::nearbyint(contents.record.tesselTalkVersion) == contents.record.tesselTalkVersion
        && again.record.tesselTalkVersion != contents.record.tesselTalkVersion)
        __builtin_trap();
    return 0;
}

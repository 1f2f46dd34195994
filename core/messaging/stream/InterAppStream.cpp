#include "InterAppStream.h"

#include <mutex>
#include <new>

#include "KeptConnections.h"
#include "Specifier.h"

using ScObjects::SoString;
using ScObjects::TesselTalk::Specifier;

namespace {

std::mutex gStreamMutex;
InterAppStream* gStream = nullptr;
// The name init asked for, until the stream is first wanted: most processes
// only send, and a one-shot sender need not pay for an endpoint it never uses.
SoString gPendingName;

InterAppStream* makeGood(const SoString& name)
{
    InterAppStream* stream = new InterAppStream(name, false);
    if (stream->isGood())
        return stream;
    delete stream;
    return nullptr;
}

} // namespace

InterAppStream::InterAppStream(const SoString& name, bool flag)
    : LinuxInterAppStream(name, flag)
{
}

InterAppStream::~InterAppStream() = default;

InterAppStream* InterAppStream::get()
{
    std::lock_guard<std::mutex> guard(gStreamMutex);
    if (!gStream) {
        if (!gPendingName.isEmpty())
            gStream = ScObjects::TesselTalkUtils::createNextAvailableInterAppStream(gPendingName);
        gPendingName = SoString();
        if (!gStream)
            gStream = ScObjects::TesselTalkUtils::createNextAvailableInterAppStream(kDefaultName);
    }
    return gStream;
}

void InterAppStream::InitTerm::init(const SoString& specifier)
{
    std::lock_guard<std::mutex> guard(gStreamMutex);
    delete gStream;
    gStream = nullptr;
    Specifier spec(specifier.c_str(), false);
    spec.setSuffix("ping");
    gPendingName = spec;
}

void InterAppStream::InitTerm::exit()
{
    std::lock_guard<std::mutex> guard(gStreamMutex);
    delete gStream;
    gPendingName = SoString();
    // Our peers need not keep their end for a process that is done talking.
    StreamTransport::closeKeptConnections();
    // Cleared, so that an init after exit (the plug-in loaded a second time
    // in one host process) does not delete the stream again.
    gStream = nullptr;
}

namespace ScObjects {
namespace TesselTalkUtils {

InterAppStream* createNextAvailableInterAppStream(const SoString& name)
{
    if (name.isEmpty())
        return nullptr;
    try {
        if (InterAppStream* stream = makeGood(name))
            return stream;
        Specifier spec(name.c_str(), false);
        // An explicitly numbered endpoint that is taken is not replaced by
        // another number.
        if (!spec.instance().isEmpty())
            return nullptr;
        for (long i = 1; i <= 8; ++i) {
            SoString number;
            number << i;
            spec.setInstance(number.c_str());
            if (InterAppStream* stream = makeGood(spec))
                return stream;
        }
    } catch (const std::bad_alloc&) {
    }
    return nullptr;
}

} // namespace TesselTalkUtils
} // namespace ScObjects

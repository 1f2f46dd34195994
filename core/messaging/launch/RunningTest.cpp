#include "RunningTest.h"

#include <atomic>
#include <cstdlib>

#include "ApplicationRegistry.h"
#include "Launcher.h"
#include "Message.h"
#include "RandomBytes.h"

namespace ScObjects {
namespace TesselTalkUtils {

namespace {

std::atomic<ProbeStream*> gStream{nullptr};

constexpr int kSenderRetries = 10;

unsigned long randomNumber()
{
    unsigned int value = 0;
    if (!randomBytes(&value, sizeof value))
        value = static_cast<unsigned int>(std::rand());
    return value;
}

} // namespace

void setProbeStream(ProbeStream* stream)
{
    gStream.store(stream);
}

ProbeStream* getProbeStream()
{
    return gStream.load();
}

SoString threadEndpointName(const TesselTalk::Specifier& spec)
{
    SoString name = spec.appName();
    if (!spec.instance().isEmpty())
        name << '_' << spec.instance();
    if (!spec.version().isEmpty())
        name << '-' << spec.version();
    if (!spec.locale().isEmpty())
        name << '-' << spec.locale();
    name << "#thread";
    return name;
}

bool testTarget(const SoString& self, const SoString& target, const char* type, unsigned long serial)
{
    if (self == target)
        return true;
    ProbeStream* stream = getProbeStream();
    if (!stream || stream->canCreateLocally(target))
        return false;
    SoString sender(self);
    sender << '#' << type;
    for (int retry = 0; retry < kSenderRetries && !stream->canTakeSenderName(sender); ++retry) {
        sender = self;
        sender << '_' << randomNumber() << '#' << type;
    }
    TesselTalk::Message probe;
    probe.setSender(sender.c_str());
    probe.setTarget(target.c_str());
    probe.setType(type);
    probe.setSerialNumber(serial);
    SoString text;
    return probe.writeToString(text) == 1 && stream->deliver(target, text);
}

bool isRunning(const TesselTalk::Specifier& spec, const SoString& self, unsigned long serial)
{
    if (spec.isEmpty())
        return false;
    if (self == spec)
        return true;
    if (spec.suffix().isEmpty()) {
        TesselTalk::SpecifierContext* context = TesselTalk::getSpecifierContext();
        TesselTalk::ApplicationRegistry* registry = context ? context->getRegistry() : nullptr;
        if (registry && Launcher::isProcessRunning(registry->getProcessID(spec)))
            return true;
        if (testTarget(self, threadEndpointName(spec), "ping", serial))
            return true;
    }
    return testTarget(self, spec, "Calligo", serial);
}

} // namespace TesselTalkUtils
} // namespace ScObjects

// Arbitrary bytes as a wire text (read message after message, then written
// back) and as a specifier (parsed, completed against a small registry,
// taken apart and rebuilt).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Message.h"
#include "Specifier.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalk;

namespace {

// A few registered versions and locales so that completion has work to do.
class Registry : public ApplicationRegistry, public SpecifierContext {
public:
    long getNumberOfRegisteredApplications() const override { return 6; }
    SoString getApplicationSpecifier(long n) const override
    {
        static const char* const entries[] = {"a-3.0", "a-3.5-fr_fr", "a-4.0-en_us", "a_2-1", "b", "a-9999.5#s"};
        return n >= 0 && n < 6 ? SoString(entries[n]) : SoString();
    }
    SoString findGroupForSpecifier(const SoString&) const override { return SoString("g"); }
    SoString findPreferredApp(const SoString&, const SoString& wanted, const SoString&) const override
    {
        return wanted == "b" ? SoString("b-2.0") : SoString();
    }
    SoString getApplicationPath(const SoString&) const override { return SoString(); }
    unsigned long getProcessID(const SoString&) const override { return 0; }
    bool registerApplication(const Specifier&, const char*, const char*, bool) override { return false; }
    bool unregisterApplication(const Specifier&) override { return false; }
    bool addToGroup(const char*, const Specifier&) override { return false; }
    bool removeFromGroup(const char*, const Specifier&) override { return false; }
    SoString getAppSpecifier() const override { return m_self; }
    ApplicationRegistry* getRegistry() const override { return const_cast<Registry*>(this); }
    bool isRunning(const Specifier& spec) const override { return spec.length() % 3 == 0; }

    SoString m_self;
};

} // namespace

// Without HOME the digest key is empty: digests in the seeds stay valid, and
// nothing is written into the identifier store of whoever runs the fuzzer.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    unsetenv("HOME");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    const char* end = text + size;
    const char* p = text;
    Message m;
    for (int i = 0; i < 64 && p < end; ++i) {
        const char* next = m.readFromString(p, long(end - p));
        if (next < p || next > end)
            __builtin_trap();
        SoString out;
        m.writeToString(out);
        SoString log;
        m.logToString("FUZZ", log, true);
        if (next == p)
            break;
        p = next;
    }

    static Registry registry;
    setSpecifierContext(&registry);
    registry.m_self = size % 2 ? "self-1.0" : "";
    const std::string asText(text, size);
    Specifier spec(asText.c_str(), true);
    spec.setVersion("3.5");
    spec.setLocale("fr_fr");
    Specifier rebuilt(spec);
    rebuilt.setInstance(spec.instance().c_str());
    rebuilt.setSuffix(spec.suffix().c_str());
    spec.appName();
    spec.version();
    spec.locale();
    getVersionOrGroup(spec);
    spec.fixUp(false);
    return 0;
}

// Completion of a partial specifier against the registered applications.
#include "Specifier.h"

#include <cstring>

#include "SpecifierParts_p.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

struct Candidate {
    Specifier spec;
    double version = 0;
    bool found = false;

    void take(const Specifier& s, double v)
    {
        spec = s;
        version = v;
        found = true;
    }
};

// The registered application of name app that best fits ver: an exact
// version ("3.1") or a major one ("3", or none for any), preferring the
// current locale unless another locale has the higher version.
bool findByVersion(const ApplicationRegistry& registry, const SoString& app, const SoString& ver, Specifier& out)
{
    const SoString currentLocale = TesselTalkUtils::getCurrentLocale();
    const bool exact = std::strchr(ver.c_str(), '.') != nullptr;
    const double wanted = ver.isEmpty() ? 0 : detail::versionNumber(ver);
    const double upper = ver.isEmpty() ? 9999 : wanted + 1;

    Candidate local;
    Candidate other;
    const long count = registry.getNumberOfRegisteredApplications();
    for (long i = 0; i < count; ++i) {
        const Specifier entry(registry.getApplicationSpecifier(i).c_str(), false);
        if (entry.appName() != app)
            continue;
        const double v = detail::versionNumber(entry.version());
        const SoString loc = entry.locale();
        const bool isLocal = loc.isEmpty() || loc == currentLocale;
        if (exact) {
            if (v != wanted)
                continue;
            if (isLocal) {
                out = entry;
                return true;
            }
            other.take(entry, v);
        } else if (v >= wanted && v < upper) {
            Candidate& slot = isLocal ? local : other;
            if (!slot.found || v >= slot.version)
                slot.take(entry, v);
        }
    }
    if (local.found && other.found)
        out = other.version > local.version ? other.spec : local.spec;
    else if (local.found || other.found)
        out = local.found ? local.spec : other.spec;
    else
        return false;
    return true;
}

// Puts the caller's instance back on a registry entry when it differs.
void applyInstance(Specifier& spec, const SoString& inst)
{
    if (!inst.isEmpty() && spec.instance() != inst)
        spec.setInstance(inst.c_str());
}

} // namespace

void Specifier::fixUp(bool useContext)
{
    assign(lowercase().c_str());
    const SoString app = appName();
    const SoString ver = version();
    const SoString loc = locale();
    const SoString suf = suffix();
    const SoString inst = instance();

    SpecifierContext* context = getSpecifierContext();
    ApplicationRegistry* registry = context ? context->getRegistry() : nullptr;
    // Most texts completed while messaging are names of running endpoints
    // that nobody registered (answers go back to them); the group and
    // registry walks below could only confirm them as they stand.
    if (!registry || !registry->knowsApplication(app))
        return;

    // The suffix names an endpoint, not an application: complete without it.
    // Only a registry entry replaces the text; otherwise it stays exactly as
    // given, since a rebuild would drop empty parts and their separators.
    Specifier result;
    bool replaced = false;

    if (!app.isEmpty() && ver.isEmpty()) {
        const SoString self = context->getAppSpecifier();
        if (useContext && !self.isEmpty()) {
            const SoString group = registry->findGroupForSpecifier(self);
            const SoString answer = registry->findPreferredApp(self, app, group);
            if (!answer.isEmpty() && answer != *this) {
                Specifier preferredSpec(answer.c_str(), false);
                applyInstance(preferredSpec, inst);
                preferredSpec.setSuffix(suf.c_str());
                assign(preferredSpec.c_str(), preferredSpec.length());
                return;
            }
        } else {
            const long count = registry->getNumberOfRegisteredApplications();
            for (long i = 0; i < count && !replaced; ++i) {
                Specifier entry(registry->getApplicationSpecifier(i).c_str(), false);
                if (entry.appName() != app)
                    continue;
                Specifier probe(entry);
                applyInstance(probe, inst);
                probe.setSuffix(suf.c_str());
                if (probe.isRunning()) {
                    applyInstance(entry, inst);
                    entry.setSuffix("");
                    result = entry;
                    replaced = true;
                }
            }
        }
    }

    if (!replaced && loc.isEmpty()) {
        Specifier winner;
        if (findByVersion(*registry, app, ver, winner)) {
            applyInstance(winner, inst);
            winner.setSuffix("");
            result = winner;
            replaced = true;
        }
    }

    if (!replaced)
        return;
    assign(result.c_str(), result.length());
    if (!isEmpty() && !suf.isEmpty())
        *this << '#' << suf;
}

} // namespace TesselTalk
} // namespace ScObjects

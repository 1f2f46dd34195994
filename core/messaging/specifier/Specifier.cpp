#include "Specifier.h"

#include <cctype>
#include <cstring>

#include "SpecifierParts_p.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

constexpr long kNone = -1;

long find(const SoString& s, char c, long from = 0)
{
    if (from > s.length())
        return kNone;
    const void* hit = std::memchr(s.c_str() + from, c, std::size_t(s.length() - from));
    return hit ? static_cast<const char*>(hit) - s.c_str() : kNone;
}

// First position at or after from of any of the characters, or the length.
long findAny(const SoString& s, const char* chars, long from)
{
    for (long i = from; i < s.length(); ++i) {
        if (std::strchr(chars, s.c_str()[i]))
            return i;
    }
    return s.length();
}

bool before(long a, long b)
{
    return a != kNone && (b == kNone || a < b);
}

SoString segment(const SoString& s, long from, long to)
{
    return SoString(s.c_str() + from, to - from);
}

ApplicationRegistry* currentRegistry()
{
    SpecifierContext* context = getSpecifierContext();
    return context ? context->getRegistry() : nullptr;
}

bool isDigit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

} // namespace

Specifier::Specifier(const char* text, bool complete)
{
    if (!text || std::strlen(text) > std::size_t(kMaxLength))
        return;
    assign(SoString(text).lowercase().c_str());
    if (complete)
        fixUp(true);
}

SoString Specifier::appName() const
{
    return segment(*this, 0, findAny(*this, "-#_", 0));
}

SoString Specifier::instance() const
{
    const long underscore = find(*this, '_');
    if (!before(underscore, find(*this, '-')) || !before(underscore, find(*this, '#')))
        return SoString();
    return segment(*this, underscore + 1, findAny(*this, "-#", underscore + 1));
}

SoString getVersionOrGroup(const SoString& spec)
{
    // A "-" inside the suffix belongs to the suffix.
    const long dash = find(spec, '-');
    if (!before(dash, find(spec, '#')) || !isDigit(spec.c_str()[dash + 1]))
        return SoString();
    return segment(spec, dash + 1, findAny(spec, "-#", dash + 1));
}

SoString Specifier::version() const
{
    return getVersionOrGroup(*this);
}

SoString Specifier::locale() const
{
    const long hash = find(*this, '#');
    long dash = find(*this, '-');
    if (!before(dash, hash))
        return SoString();
    if (isDigit(c_str()[dash + 1])) {
        dash = find(*this, '-', dash + 1);
        if (!before(dash, hash))
            return SoString();
    }
    return segment(*this, dash + 1, hash == kNone ? length() : hash);
}

SoString Specifier::suffix() const
{
    const long hash = find(*this, '#');
    return hash == kNone ? SoString() : segment(*this, hash + 1, length());
}

void Specifier::rebuild(const SoString& app, const SoString& inst, const SoString& ver, const SoString& loc,
    const SoString& suf)
{
    SoString text(app);
    if (!inst.isEmpty())
        text << '_' << inst;
    if (!ver.isEmpty())
        text << '-' << ver;
    if (!loc.isEmpty())
        text << '-' << loc;
    if (!suf.isEmpty())
        text << '#' << suf;
    assign(text.lowercase().c_str());
}

bool Specifier::setAppName(const char* name)
{
    rebuild(SoString(name), instance(), version(), locale(), suffix());
    return true;
}

bool Specifier::setInstance(const char* inst)
{
    rebuild(appName(), SoString(inst), version(), locale(), suffix());
    return true;
}

bool Specifier::setSuffix(const char* suf)
{
    rebuild(appName(), instance(), version(), locale(), SoString(suf));
    return true;
}

namespace {

// Whether a registered application (completed) has this name, a version
// equal to ver and the locale loc.
bool isRegistered(const SoString& app, const SoString& ver, const SoString& loc)
{
    ApplicationRegistry* registry = currentRegistry();
    if (!registry)
        return false;
    const long count = registry->getNumberOfRegisteredApplications();
    for (long i = 0; i < count; ++i) {
        Specifier entry(registry->getApplicationSpecifier(i).c_str(), true);
        if (entry.appName() == app && detail::sameVersion(entry.version(), ver) && entry.locale() == loc)
            return true;
    }
    return false;
}

} // namespace

bool Specifier::setVersion(const char* ver)
{
    const SoString wanted = SoString(ver).lowercase();
    if (!isRegistered(appName(), wanted, locale()))
        return false;
    rebuild(appName(), instance(), wanted, locale(), suffix());
    return true;
}

bool Specifier::setLocale(const char* loc)
{
    const SoString wanted = SoString(loc).lowercase();
    if (!isRegistered(appName(), version(), wanted))
        return false;
    rebuild(appName(), instance(), version(), wanted, suffix());
    return true;
}

bool Specifier::setGroup(const char* group)
{
    SoString text(appName());
    text << '-' << group;
    Specifier completed(text.c_str(), true);
    assign(completed.c_str(), completed.length());
    return !isEmpty();
}

bool Specifier::group(SoString* out) const
{
    ApplicationRegistry* registry = currentRegistry();
    if (!registry || !out)
        return false;
    *out = registry->findGroupForSpecifier(*this);
    return !out->isEmpty();
}

SoString Specifier::preferred(const char* group, const char* defaultSpec) const
{
    ApplicationRegistry* registry = currentRegistry();
    if (!registry)
        return *this;
    const SoString answer = registry->findPreferredApp(*this, SoString(defaultSpec), SoString(group));
    return answer.isEmpty() ? SoString(defaultSpec) : answer;
}

SoString Specifier::getApplicationPath(const char*) const
{
    ApplicationRegistry* registry = currentRegistry();
    return registry ? registry->getApplicationPath(*this) : SoString();
}

bool Specifier::isInstalled() const
{
    return !isEmpty() && !getApplicationPath().isEmpty();
}

bool Specifier::isRunning() const
{
    SpecifierContext* context = getSpecifierContext();
    return !isEmpty() && context && context->isRunning(*this);
}

bool Specifier::registerApplication(const char* path, const char* displayName, bool replace) const
{
    ApplicationRegistry* registry = currentRegistry();
    return registry && registry->registerApplication(*this, path, displayName, replace);
}

bool Specifier::unregisterApplication() const
{
    ApplicationRegistry* registry = currentRegistry();
    return registry && registry->unregisterApplication(*this);
}

bool Specifier::addToGroup(const char* group) const
{
    ApplicationRegistry* registry = currentRegistry();
    return registry && registry->addToGroup(group, *this);
}

bool Specifier::removeFromGroup(const char* group) const
{
    ApplicationRegistry* registry = currentRegistry();
    return registry && registry->removeFromGroup(group, *this);
}

} // namespace TesselTalk
} // namespace ScObjects

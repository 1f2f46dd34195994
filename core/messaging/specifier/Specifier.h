// An application specifier: appname [_instance] [-version] [-locale] [#suffix],
// always lower case.
//
// A specifier is a value; completion reads the installed SpecifierContext,
// whose registry locks itself. Bad text never throws: over-long text gives
// an empty specifier, unknown applications keep the text as given.
#pragma once

#include "ApplicationRegistry.h"
#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {

class Specifier : public SoString {
public:
    static constexpr long kMaxLength = 255;

    Specifier() = default;
    // Null or longer than kMaxLength: empty. Otherwise lower-cased, and
    // completed with fixUp(true) when complete is true.
    Specifier(const char* text, bool complete);

    SoString appName() const;
    SoString instance() const;
    // Only a segment after the first "-" that starts with a digit.
    SoString version() const;
    SoString locale() const;
    SoString suffix() const;

    // Setters rebuild the whole text in canonical order.
    bool setAppName(const char* name);
    bool setInstance(const char* instance);
    bool setSuffix(const char* suffix);
    // Only to a version (compared as a decimal number) that a registered
    // application of this name has with the current locale; false otherwise.
    bool setVersion(const char* version);
    // Only to a locale that a registered application of this name has with
    // the current version; false otherwise.
    bool setLocale(const char* locale);
    // Completes appname "-" group and takes the result; whether it is non-empty.
    bool setGroup(const char* group);

    // Completes a partial specifier against the registry and, with
    // useContext, the preferences of the shared context's group.
    void fixUp(bool useContext);

    // The group of this application, through the registry; false without one.
    bool group(SoString* out) const;
    // The preferred member of group for this application; defaultSpec when
    // the registry has no answer, this specifier without a registry.
    SoString preferred(const char* group, const char* defaultSpec) const;
    SoString getApplicationPath(const char* hint = nullptr) const;
    bool isInstalled() const;
    // False for an empty specifier or without an installed context.
    bool isRunning() const;

    bool registerApplication(const char* path, const char* displayName, bool replace) const;
    bool unregisterApplication() const;
    bool addToGroup(const char* group) const;
    bool removeFromGroup(const char* group) const;

private:
    void rebuild(const SoString& app, const SoString& inst, const SoString& ver, const SoString& loc,
        const SoString& suf);
};

// The segment after the first "-" when it starts with a digit, else empty.
SoString getVersionOrGroup(const SoString& spec);

} // namespace TesselTalk
} // namespace ScObjects

// What specifiers need from the registry of installed applications. The
// connector implements it; it locks itself, so any thread may ask.
#pragma once

#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {

class Specifier;

class ApplicationRegistry {
public:
    virtual ~ApplicationRegistry() = default;

    // Registered applications in a stable order.
    virtual long getNumberOfRegisteredApplications() const = 0;
    // The n-th registered specifier, or empty when n is out of range.
    virtual SoString getApplicationSpecifier(long n) const = 0;
    // The group that caller belongs to, or empty.
    virtual SoString findGroupForSpecifier(const SoString& caller) const = 0;
    // The member of group that goes with caller for the wanted application,
    // or empty.
    virtual SoString findPreferredApp(const SoString& caller, const SoString& wanted, const SoString& group) const = 0;
    // Whether a registered application has the name app (lowercase).
    // Completion only ever picks registered applications, so a name that
    // none has completes to itself. A registry that cannot tell says true.
    virtual bool knowsApplication(const SoString& app) const
    {
        (void)app;
        return true;
    }
    // Installation path, or empty when unknown.
    virtual SoString getApplicationPath(const SoString& spec) const = 0;
    // Process identifier of a running instance, or 0.
    virtual unsigned long getProcessID(const SoString& spec) const = 0;

    virtual bool registerApplication(const Specifier& spec, const char* path, const char* displayName, bool replace) = 0;
    virtual bool unregisterApplication(const Specifier& spec) = 0;
    virtual bool addToGroup(const char* group, const Specifier& spec) = 0;
    virtual bool removeFromGroup(const char* group, const Specifier& spec) = 0;
};

// The running messaging system as specifiers see it. The messaging object
// layer installs one; until then there is no context and an empty registry.
class SpecifierContext {
public:
    virtual ~SpecifierContext() = default;

    // The shared context's own application specifier; empty without one.
    virtual SoString getAppSpecifier() const = 0;
    // The registry (the connector); null when there is none.
    virtual ApplicationRegistry* getRegistry() const = 0;
    // Whether the application named by spec runs, probing it if need be.
    virtual bool isRunning(const Specifier& spec) const = 0;
};

// Installs the context (not owned; null removes it). Install and remove it
// while no other thread completes specifiers.
void setSpecifierContext(SpecifierContext* context);
SpecifierContext* getSpecifierContext();

} // namespace TesselTalk
} // namespace ScObjects

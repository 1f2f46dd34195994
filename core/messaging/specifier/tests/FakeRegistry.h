// A registry and context held in memory, installed for one test.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ApplicationRegistry.h"
#include "Specifier.h"

namespace ScObjects {
inline void PrintTo(const SoString& s, std::ostream* os) { *os << '"' << s.c_str() << '"'; }
} // namespace ScObjects

class FakeRegistry : public ScObjects::TesselTalk::ApplicationRegistry, public ScObjects::TesselTalk::SpecifierContext {
public:
    using SoString = ScObjects::SoString;
    using Specifier = ScObjects::TesselTalk::Specifier;

    std::vector<std::string> entries;
    std::set<std::string> running;
    std::string self;
    std::string preferredAnswer;
    std::map<std::string, std::string> paths;
    mutable std::vector<std::string> probed;

    long getNumberOfRegisteredApplications() const override { return long(entries.size()); }
    SoString getApplicationSpecifier(long n) const override
    {
        return n >= 0 && n < long(entries.size()) ? SoString(entries[std::size_t(n)].c_str()) : SoString();
    }
    SoString findGroupForSpecifier(const SoString& caller) const override
    {
        return caller == self.c_str() ? SoString("suite") : SoString();
    }
    SoString findPreferredApp(const SoString& caller, const SoString& wanted, const SoString& group) const override
    {
        return group == "suite" ? SoString(preferredAnswer.c_str()) : SoString();
    }
    SoString getApplicationPath(const SoString& spec) const override
    {
        auto it = paths.find(spec.c_str());
        return it == paths.end() ? SoString() : SoString(it->second.c_str());
    }
    unsigned long getProcessID(const SoString&) const override { return 0; }
    bool knowsApplication(const SoString& app) const override
    {
        for (const std::string& entry : entries) {
            if (Specifier(entry.c_str(), false).appName() == app)
                return true;
        }
        return false;
    }
    bool registerApplication(const Specifier& spec, const char*, const char*, bool) override
    {
        entries.push_back(spec.c_str());
        return true;
    }
    bool unregisterApplication(const Specifier&) override { return false; }
    bool addToGroup(const char*, const Specifier&) override { return false; }
    bool removeFromGroup(const char*, const Specifier&) override { return false; }

    SoString getAppSpecifier() const override { return SoString(self.c_str()); }
    ApplicationRegistry* getRegistry() const override { return const_cast<FakeRegistry*>(this); }
    bool isRunning(const Specifier& spec) const override
    {
        probed.push_back(spec.c_str());
        return running.count(spec.c_str()) != 0;
    }
};

// Installs a FakeRegistry and a fixed user locale for each test.
class WithRegistry : public testing::Test {
protected:
    void SetUp() override
    {
        setenv("LC_ALL", "de_DE.UTF-8", 1);
        ScObjects::TesselTalk::setSpecifierContext(&registry);
    }
    void TearDown() override
    {
        ScObjects::TesselTalk::setSpecifierContext(nullptr);
        unsetenv("LC_ALL");
    }
    FakeRegistry registry;
};

// The process's view of the installed TesselTalk applications: one record
// of launch and messaging properties per specifier, and the cache of
// application groups (entries group/subgroup/specifier).
//
// Records live in a back end chosen by name: "default" is the directory of
// configuration files of ConnectorStore. The connector keeps a cache of
// them, refreshed by updateCache. Every operation takes the connector's
// lock, so any thread may call; specifiers ask it through the
// ApplicationRegistry interface. Failures come back as false, 0 or empty.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ApplicationRegistry.h"
#include "SoLockable.h"
#include "SoString.h"
#include "Specifier.h"
#include "TTConnectorAppInfo.h"

namespace ScObjects {

class TesselTalkConnector : public SoLockable, public TesselTalk::ApplicationRegistry {
public:
    using Specifier = TesselTalk::Specifier;

    // Key names of the installation database.
    const SoString kAppSubdomainPrefix;
    const SoString kGroupSubdomainPrefix;
    const SoString kGroupKeyPrefix;
    const SoString kGuidKey;
    const SoString kLocationKey;
    const SoString kWinClassNameKey;
    const SoString kDisplayNameKey;
    const SoString kBundleIdentifierKey;
    const SoString kTesselTalkVersionKey;
    const SoString kAllowMultipleInstancesKey;
    const SoString kIsShellToolKey;
    const SoString kMessageAuthenticationKey;
    const SoString kMessageDigestKey;
    const SoString kSupportsCgtkKey;
    const SoString kExecutableBasenameKey;
    const SoString kExecutableExtensionKey;
    const SoString kOMVDictionaryKey;
    const SoString kDeveloperInstallPathKey;
    const SoString kRedirectToKey;
    const SoString kExecutablePathKey;

    // backEnd "default" is the only one this platform has; any other name
    // gives a connector that is not good and knows no application.
    explicit TesselTalkConnector(const SoString& backEnd);
    ~TesselTalkConnector() override;
    TesselTalkConnector(const TesselTalkConnector&) = delete;
    TesselTalkConnector& operator=(const TesselTalkConnector&) = delete;

    // The process-wide connector (not owned by set); null before init.
    static TesselTalkConnector* get();
    static void set(TesselTalkConnector* connector);
    struct InitTerm {
        // Creates the process-wide connector when there is none; whether a
        // good one exists afterwards.
        static bool init(const SoString& backEnd);
        // Deletes the connector init created.
        static void exit();
    };

    bool isGood() const;
    // Seconds since 1970 of the last load of the cache; 0 before the first.
    unsigned long getTimestamp() const;

    SoString getAppSubdomainName(const SoString& spec) const;
    SoString getGroupSubdomainName(const SoString& spec) const;

    // Fields of the record of spec; empty or the default when unknown.
    SoString getDisplayName(const SoString& spec) const;
    SoString getApplicationPath(const SoString& spec, const char* hint) const;
    bool getMessageAuthentication(const SoString& spec) const;
    bool getMessageDigest(const SoString& spec) const;
    SoString getBundleIdentifier(const SoString& spec) const;
    SoString getExecutableBasename(const SoString& spec) const;
    SoString getExecutableExtension(const SoString& spec) const;
    SoString getOMVDictionary(const SoString& spec) const;
    SoString getDeveloperInstallPath(const SoString& spec) const;
    SoString getRedirectTo(const SoString& spec) const;
    bool supportsCGTK(const SoString& spec) const;
    bool isShellTool(const SoString& spec) const;
    // Process identifiers are kept in memory only, across cache refreshes.
    bool setProcessID(const SoString& spec, unsigned long pid);
    // A copy of the record of spec; false when unknown.
    bool getAppInfo(const SoString& spec, TTConnectorAppInfo& out) const;

    // Writes the record to the per-user folder and the cache. False, with
    // nothing written, for a specifier that is not a plain lower-case one
    // (or is "groups"), a value that could not be read back (a line break,
    // "</Data>") or a version that is not finite.
    bool doRegisterApplication(const TTConnectorAppInfo& info);
    // Removes the per-user record; false when there was none (a system-wide
    // record stays and is still seen).
    bool unregisterApplication(const Specifier& spec) override;
    // A record for spec with path as installation and executable path and
    // the executable's name without extension; an existing record is kept
    // (false) unless replace.
    bool registerApplication(const Specifier& spec, const char* path, const char* displayName, bool replace) override;
    // group is "group/subgroup", or "group" for subgroup "0"; the entry is
    // kept without the specifier's locale and instance, in the per-user
    // groups file.
    bool addToGroup(const char* group, const Specifier& spec) override;
    bool removeFromGroup(const char* group, const Specifier& spec) override;

    // Records in a stable order: by specifier when first loaded, later
    // ones after them, so that an index walk survives a refresh.
    long getNumberOfRegisteredApplications() const override;
    SoString getApplicationSpecifier(long index) const override;
    SoString getApplicationPath(const SoString& spec) const override;
    unsigned long getProcessID(const SoString& spec) const override;
    bool knowsApplication(const SoString& app) const override;
    // The group of the last cache entry naming caller's application and,
    // when both have one, its version.
    SoString findGroupForSpecifier(const SoString& caller) const override;
    // The wanted application's version that goes with the caller's version
    // within group, resolved with resolveSpecifier.
    SoString findPreferredApp(const SoString& caller, const SoString& wanted, const SoString& group) const override;
    // The last entry of group for the application app; empty when none.
    SoString findSpecifierInGroup(const SoString& group, const SoString& app) const;

    // The records, owned by the connector and locked by their own lock.
    const TTConnectorAppInfoList& getAppInfoList() const;
    // The built-in suite entries, then the system-wide and per-user ones.
    std::vector<SoString> getGroupsCache() const;
    // The same entries taken apart, shared rather than copied: the lookups
    // behind every specifier completion walk it.
    struct GroupEntry {
        bool parsed = false; // group/subgroup/member
        SoString group;
        SoString subgroup;
        SoString member;
        SoString app;
        SoString version;
    };
    using GroupTable = std::vector<GroupEntry>;
    std::shared_ptr<const GroupTable> getGroupTable() const;
    void clearCache();
    void clearGroupsCache();
    // Reloads the cache when force, when it is empty or when a file of the
    // back end changed since the last load.
    void updateCache(bool force);

    // One record's configuration text, or with name "groups" the group
    // list's; an unknown record gives a configuration without a record and
    // an empty name the empty string.
    SoString getConnectorConfig(const SoString& name) const;
    // Registers every record of other that skipImport does not skip, and
    // adds its per-user group entries; whether every write succeeded.
    bool importFrom(const TesselTalkConnector& other);
    virtual bool skipImport(const TTConnectorAppInfo& info) const;
    // Removes every per-user record and group entry.
    bool removeAll();
    // Empty when every group entry and record of this connector is found,
    // equal, in other; else one failure line per missing item.
    SoString validate(const TesselTalkConnector& other) const;
    bool isEqual(const TesselTalkConnector& other) const;
    // Diagnostics lines path;1;label;value; under prefix + "/connector":
    // the back end and last refresh, the folders, one line per record
    // (specifier; path, and " pid N" while it runs) and per group entry.
    void appendDiagnostics(SoString& out, const SoString& prefix) const;

private:
    void ensureLoaded() const;
    void loadLocked() const;
    bool writeUserGroups(const std::vector<SoString>& entries);

    SoString m_backEnd;
    bool m_good;
    mutable TTConnectorAppInfoList m_apps;
    mutable std::vector<SoString> m_userGroups;
    mutable std::vector<SoString> m_groups;
    mutable std::shared_ptr<const GroupTable> m_groupTable;
    // The application names of m_apps, gathered when first asked for.
    mutable std::set<std::string> m_appNames;
    mutable bool m_appNamesKnown = false;
    mutable bool m_loaded = false;
    mutable std::string m_signature;
    mutable std::set<std::string> m_warned;
    mutable unsigned long m_timestamp = 0;
};

// A loose specifier (or preferred, when non-empty) turned into an installed
// one: an exact match, or for a version "N.*" the running version N.x, or
// the range "N.99". Empty when nothing fits.
SoString resolveSpecifier(const TesselTalkConnector& connector, const SoString& spec, const SoString& preferred);

// The maker's own products, as group entries under the suite prefix "vx/3/".
const std::vector<SoString>& builtInSuite();

} // namespace ScObjects

// Groups: membership, the built-in suite, and the choice of the version of
// an application that belongs with the caller's.
#include <cstdlib>
#include <cstring>

#include "ConnectorConfig.h"
#include "ConnectorStore.h"
#include "TesselTalkConnector.h"

namespace ScObjects {

namespace CC = ConnectorConfig;
using TesselTalk::Specifier;

namespace {

double versionOf(const SoString& version)
{
    return std::strtod(version.c_str(), nullptr);
}

SoString majorOf(const SoString& version)
{
    const char* dot = std::strchr(version.c_str(), '.');
    return dot ? SoString(version.c_str(), dot - version.c_str()) : version;
}

// group/subgroup/specifier for a "group/subgroup" or "group" text; empty
// when either part is missing or the specifier is not a plain one.
SoString makeEntry(const char* group, const Specifier& spec)
{
    if (!group || !*group || spec.appName().isEmpty())
        return SoString();
    SoString entry(group);
    if (!std::strchr(group, '/'))
        entry << "/0";
    const SoString name = CC::getGroupSubdomainName(spec);
    entry << "/" << (name.c_str() + std::strlen(CC::kGroupSubdomainPrefix));
    SoString g, u, x;
    if (!CC::parseEntry(entry, g, u, x) || g.isEmpty() || u.isEmpty() || std::strchr(u.c_str(), '/')
        || !CC::isWritableValue(entry) || entry.length() > Specifier::kMaxLength)
        return SoString();
    return entry;
}

// The entry of group that goes with caller for the wanted application:
// walking from the end, the first subgroup holding both a caller version
// not newer than the caller's and a wanted one decides; else the group's
// first wanted entry from the end; else wanted itself.
SoString pickFromGroup(const TesselTalkConnector::GroupTable& groups, const SoString& caller, const SoString& wanted,
    const SoString& group);

} // namespace

const std::vector<SoString>& builtInSuite()
{
    static const std::vector<SoString> suite = [] {
        static const char* const members[] = {"skiff-4.0", "tessel-4.0", "folio-8.0", "lumen-2.0", "quire-1.0",
            "zstrc-1.0", "tt-1.0", "atlas-3.0", "prism-5.0", "ledger-2.0", "vellum-1.0"};
        std::vector<SoString> entries;
        for (const char* member : members) {
            SoString entry("vx/3/");
            entry << member;
            entries.push_back(entry);
        }
        return entries;
    }();
    return suite;
}

bool TesselTalkConnector::writeUserGroups(const std::vector<SoString>& entries)
{
    const std::string folder = ConnectorStore::userFolder();
    std::string error;
    if (!m_good || folder.empty())
        return false;
    const std::string path = folder + "/" + ConnectorStore::kGroupsFile;
    if (entries.empty())
        return ConnectorStore::removeFile(path);
    return ConnectorStore::writeAtomically(path, CC::writeGroupsConfig(entries), error);
}

bool TesselTalkConnector::addToGroup(const char* group, const Specifier& spec)
{
    ObjectLock guard(this);
    const SoString entry = makeEntry(group, spec);
    if (entry.isEmpty())
        return false;
    ensureLoaded();
    std::vector<SoString> entries = m_userGroups;
    for (const SoString& existing : entries) {
        if (existing == entry)
            return true;
    }
    entries.push_back(entry);
    if (!writeUserGroups(entries))
        return false;
    updateCache(true);
    return true;
}

bool TesselTalkConnector::removeFromGroup(const char* group, const Specifier& spec)
{
    ObjectLock guard(this);
    const SoString entry = makeEntry(group, spec);
    ensureLoaded();
    std::vector<SoString> entries;
    for (const SoString& existing : m_userGroups) {
        if (existing != entry)
            entries.push_back(existing);
    }
    if (entry.isEmpty() || entries.size() == m_userGroups.size() || !writeUserGroups(entries))
        return false;
    updateCache(true);
    return true;
}

SoString TesselTalkConnector::findGroupForSpecifier(const SoString& caller) const
{
    const Specifier wanted(caller.c_str(), false);
    const SoString wantedApp = wanted.appName();
    const SoString wantedVersion = wanted.version();
    const std::shared_ptr<const GroupTable> groups = getGroupTable();
    for (auto it = groups->rbegin(); it != groups->rend(); ++it) {
        if (!it->parsed || it->app != wantedApp)
            continue;
        if (it->version.isEmpty() || wantedVersion.isEmpty() || versionOf(it->version) == versionOf(wantedVersion))
            return it->group;
    }
    return SoString();
}

SoString TesselTalkConnector::findSpecifierInGroup(const SoString& group, const SoString& app) const
{
    const std::shared_ptr<const GroupTable> groups = getGroupTable();
    for (auto it = groups->rbegin(); it != groups->rend(); ++it) {
        if (it->parsed && it->group == group && it->app == app)
            return it->member;
    }
    return SoString();
}

SoString TesselTalkConnector::findPreferredApp(const SoString& caller, const SoString& wanted, const SoString& group) const
{
    // A snapshot taken under the lock: resolving may probe running
    // applications, which must not happen while every other user of the
    // connector waits.
    const std::shared_ptr<const GroupTable> groups = getGroupTable();
    if (groups->empty() || caller.isEmpty() || wanted.isEmpty())
        return resolveSpecifier(*this, wanted, SoString());
    return resolveSpecifier(*this, wanted, pickFromGroup(*groups, caller, wanted, group));
}

namespace {

SoString pickFromGroup(const TesselTalkConnector::GroupTable& groups, const SoString& caller, const SoString& wanted,
    const SoString& group)
{
    const Specifier callerSpec(caller.c_str(), false);
    const SoString appA = callerSpec.appName();
    const SoString versionA = callerSpec.version();
    const double vA = versionA.isEmpty() ? 0 : versionOf(versionA);
    const SoString appB = Specifier(wanted.c_str(), false).appName();

    const SoString* subgroup = nullptr;
    bool metGroup = false;
    const SoString* candidate = nullptr;
    const SoString* aMatch = nullptr;
    const SoString* firstB = nullptr;
    // An empty member counts as no match, as an unset one would.
    auto remember = [](const SoString& member) { return member.isEmpty() ? nullptr : &member; };
    for (auto it = groups.rbegin(); it != groups.rend(); ++it) {
        if (!it->parsed || it->group != group) {
            if (!it->parsed && !metGroup)
                break;
            continue;
        }
        metGroup = true;
        if (!subgroup || it->subgroup != *subgroup) {
            subgroup = &it->subgroup;
            candidate = aMatch = nullptr;
        }
        if (it->app == appA) {
            double dX = vA == 0 ? 0 : versionOf(it->version);
            if (dX < 0)
                dX = vA + 1;
            if (dX <= vA) {
                if (candidate)
                    return *candidate;
                aMatch = remember(it->member);
            }
        }
        if (it->app == appB) {
            if (aMatch)
                return it->member;
            if (!candidate)
                candidate = remember(it->member);
            if (!firstB)
                firstB = remember(it->member);
        }
    }
    return firstB ? *firstB : wanted;
}

} // namespace

SoString resolveSpecifier(const TesselTalkConnector& connector, const SoString& spec, const SoString& preferred)
{
    // Completion without the context: with it, a versionless text would
    // come back here through findPreferredApp.
    Specifier resolved((preferred.isEmpty() ? spec : preferred).c_str(), false);
    resolved.fixUp(false);
    if (!resolved.isEmpty() && !connector.getApplicationPath(resolved).isEmpty())
        return resolved;

    const SoString version = resolved.version();
    const long n = version.length();
    if (n < 3 || std::strcmp(version.c_str() + n - 2, ".*") != 0)
        return SoString();
    SoString range(version.c_str(), n - 2);
    range << ".99";
    if (!resolved.setVersion(range.c_str()))
        return SoString();

    const SoString major = majorOf(range);
    if (major.isEmpty())
        return resolved;
    const long count = connector.getNumberOfRegisteredApplications();
    for (long i = 0; i < count; ++i) {
        const Specifier entry(connector.getApplicationSpecifier(i).c_str(), false);
        if (entry.appName() == resolved.appName() && entry != resolved && majorOf(entry.version()) == major
            && entry.isRunning())
            return entry;
    }
    return resolved;
}

} // namespace ScObjects

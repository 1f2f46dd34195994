// The connector as text and against another connector: configuration
// export, import, comparison.
#include "ConnectorConfig.h"
#include "ConnectorStore.h"
#include "TesselTalkConnector.h"

namespace ScObjects {

namespace CC = ConnectorConfig;

SoString TesselTalkConnector::getConnectorConfig(const SoString& name) const
{
    if (name.isEmpty())
        return SoString();
    ObjectLock guard(this);
    if (name == CC::kGroupsName)
        return CC::writeGroupsConfig(getGroupsCache());
    TTConnectorAppInfo info;
    if (!getAppInfo(name, info))
        return CC::writeEmptyConfig();
    std::vector<SoString> memberships;
    const SoString own = CC::getGroupSubdomainName(name);
    for (const SoString& entry : builtInSuite()) {
        SoString group, subgroup, member;
        if (CC::parseEntry(entry, group, subgroup, member) && CC::getGroupSubdomainName(member) == own)
            memberships.push_back(entry);
    }
    return CC::writeAppConfig(info, memberships, false);
}

bool TesselTalkConnector::skipImport(const TTConnectorAppInfo&) const
{
    return false;
}

bool TesselTalkConnector::importFrom(const TesselTalkConnector& other)
{
    if (&other == this)
        return true;
    std::vector<TTConnectorAppInfo> records;
    {
        const TTConnectorAppInfoList& list = other.getAppInfoList();
        ObjectLock guard(list);
        for (long i = 0; i < list.count(); ++i)
            records.push_back(*list.get(i));
    }
    std::vector<SoString> groups;
    {
        ObjectLock guard(other);
        other.ensureLoaded();
        groups = other.m_userGroups;
    }
    ObjectLock guard(this);
    bool ok = true;
    for (TTConnectorAppInfo& info : records) {
        info.processID = 0;
        if (!skipImport(info))
            ok = doRegisterApplication(info) && ok;
    }
    for (const SoString& entry : groups) {
        SoString g, u, x;
        CC::parseEntry(entry, g, u, x);
        SoString group(g);
        group << "/" << u;
        ok = addToGroup(group.c_str(), TesselTalk::Specifier(x.c_str(), false)) && ok;
    }
    return ok;
}

bool TesselTalkConnector::removeAll()
{
    ObjectLock guard(this);
    const std::string folder = ConnectorStore::userFolder();
    if (!m_good || folder.empty())
        return false;
    ensureLoaded();
    bool ok = true;
    for (long i = 0; i < m_apps.count(); ++i) {
        const std::string path = folder + "/" + ConnectorStore::recordFileName(m_apps.get(i)->specifier);
        ok = ConnectorStore::removeFile(path) && ok;
    }
    ok = writeUserGroups(std::vector<SoString>()) && ok;
    updateCache(true);
    return ok;
}

SoString TesselTalkConnector::validate(const TesselTalkConnector& other) const
{
    SoString report;
    const std::vector<SoString> theirGroups = other.getGroupsCache();
    for (const SoString& entry : getGroupsCache()) {
        bool found = false;
        for (const SoString& theirs : theirGroups)
            found = found || theirs == entry;
        if (!found)
            report << "TesselTalkConnector validation failed: Can't find group entry for '" << entry << "'\n";
    }
    const long count = getNumberOfRegisteredApplications();
    for (long i = 0; i < count; ++i) {
        TTConnectorAppInfo mine;
        TTConnectorAppInfo theirs;
        if (!getAppInfoList().getItemAt(i, mine))
            continue;
        if (!other.getAppInfo(mine.specifier, theirs) || theirs != mine)
            report << "TesselTalkConnector validation failed: Can't find app info for '" << mine.specifier << "'\n";
    }
    return report;
}

bool TesselTalkConnector::isEqual(const TesselTalkConnector& other) const
{
    return validate(other).isEmpty() && other.validate(*this).isEmpty();
}

} // namespace ScObjects

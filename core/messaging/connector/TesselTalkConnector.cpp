// The connector's records: the cache over the back end, record access and
// registration.
#include "TesselTalkConnector.h"

#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "ConnectorConfig.h"
#include "ConnectorStore.h"

namespace ScObjects {

namespace CC = ConnectorConfig;

namespace {

std::atomic<TesselTalkConnector*> gConnector{nullptr};
std::atomic<TesselTalkConnector*> gOwned{nullptr};

// A record's specifier must be written and read back as the same text.
bool isStorableSpecifier(const SoString& text)
{
    const TesselTalk::Specifier spec(text.c_str(), false);
    return !text.isEmpty() && spec == text && !spec.appName().isEmpty() && text != CC::kGroupsName
        && CC::isWritableValue(text);
}

bool isStorable(const TTConnectorAppInfo& info)
{
    const SoString* texts[] = {&info.path, &info.winClassName, &info.displayName, &info.bundleIdentifier,
        &info.executableBasename, &info.executableExtension, &info.omvDictionary, &info.developerInstallPath,
        &info.redirectTo, &info.executablePath};
    for (const SoString* text : texts) {
        if (!CC::isWritableValue(*text))
            return false;
    }
    return isStorableSpecifier(info.specifier) && std::isfinite(info.tesselTalkVersion);
}

std::string userPath(const std::string& name)
{
    const std::string folder = ConnectorStore::userFolder();
    return folder.empty() ? std::string() : folder + "/" + name;
}

SoString baseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    SoString name(slash ? slash + 1 : path);
    const char* dot = std::strrchr(name.c_str(), '.');
    if (dot && dot != name.c_str())
        name.shrink(dot - name.c_str());
    return name;
}

std::vector<SoString> suiteEntriesOf(const SoString& specifier)
{
    std::vector<SoString> entries;
    const SoString own = CC::getGroupSubdomainName(specifier);
    for (const SoString& entry : builtInSuite()) {
        SoString group, subgroup, member;
        CC::parseEntry(entry, group, subgroup, member);
        if (CC::getGroupSubdomainName(member) == own)
            entries.push_back(entry);
    }
    return entries;
}

} // namespace

TesselTalkConnector::TesselTalkConnector(const SoString& backEnd)
    : kAppSubdomainPrefix(CC::kAppSubdomainPrefix)
    , kGroupSubdomainPrefix(CC::kGroupSubdomainPrefix)
    , kGroupKeyPrefix(CC::kGroupKeyPrefix)
    , kGuidKey(CC::kGuidKey)
    , kLocationKey(CC::kLocationKey)
    , kWinClassNameKey(CC::kWinClassNameKey)
    , kDisplayNameKey(CC::kDisplayNameKey)
    , kBundleIdentifierKey(CC::kBundleIdentifierKey)
    , kTesselTalkVersionKey(CC::kTesselTalkVersionKey)
    , kAllowMultipleInstancesKey(CC::kAllowMultipleInstancesKey)
    , kIsShellToolKey(CC::kIsShellToolKey)
    , kMessageAuthenticationKey(CC::kMessageAuthenticationKey)
    , kMessageDigestKey(CC::kMessageDigestKey)
    , kSupportsCgtkKey(CC::kSupportsCgtkKey)
    , kExecutableBasenameKey(CC::kExecutableBasenameKey)
    , kExecutableExtensionKey(CC::kExecutableExtensionKey)
    , kOMVDictionaryKey(CC::kOMVDictionaryKey)
    , kDeveloperInstallPathKey(CC::kDeveloperInstallPathKey)
    , kRedirectToKey(CC::kRedirectToKey)
    , kExecutablePathKey(CC::kExecutablePathKey)
    , m_backEnd(backEnd)
    , m_good(backEnd == "default")
{
}

TesselTalkConnector::~TesselTalkConnector()
{
    TesselTalkConnector* self = this;
    gConnector.compare_exchange_strong(self, nullptr);
}

TesselTalkConnector* TesselTalkConnector::get()
{
    return gConnector.load();
}

void TesselTalkConnector::set(TesselTalkConnector* connector)
{
    gConnector.store(connector);
}

bool TesselTalkConnector::InitTerm::init(const SoString& backEnd)
{
    if (!get()) {
        TesselTalkConnector* connector = new TesselTalkConnector(backEnd);
        gOwned.store(connector);
        set(connector);
    }
    return get()->isGood();
}

void TesselTalkConnector::InitTerm::exit()
{
    delete gOwned.exchange(nullptr);
}

bool TesselTalkConnector::isGood() const
{
    return m_good;
}

unsigned long TesselTalkConnector::getTimestamp() const
{
    ObjectLock guard(this);
    return m_timestamp;
}

SoString TesselTalkConnector::getAppSubdomainName(const SoString& spec) const
{
    SoString name(kAppSubdomainPrefix);
    name << spec;
    return name;
}

SoString TesselTalkConnector::getGroupSubdomainName(const SoString& spec) const
{
    return CC::getGroupSubdomainName(spec);
}

void TesselTalkConnector::loadLocked() const
{
    // Callers walk the records by index while others register: records
    // already known keep their places, new ones go to the end.
    std::vector<TTConnectorAppInfo> previous;
    for (long i = 0; i < m_apps.count(); ++i)
        previous.push_back(*m_apps.get(i));
    m_apps.clear();
    m_userGroups.clear();
    m_groups = builtInSuite();
    // Taken apart again when next asked for.
    m_groupTable.reset();
    m_appNamesKnown = false;
    m_signature.clear();
    m_loaded = true;
    m_timestamp = static_cast<unsigned long>(std::time(nullptr));
    if (!m_good)
        return;
    ConnectorStore::Snapshot snapshot = ConnectorStore::load(m_warned);
    m_signature = snapshot.signature;
    std::vector<bool> placed(snapshot.records.size(), false);
    for (const TTConnectorAppInfo& known : previous) {
        for (std::size_t i = 0; i < snapshot.records.size(); ++i) {
            if (!placed[i] && snapshot.records[i].specifier == known.specifier) {
                // Process identifiers are not in the files: carry them over.
                snapshot.records[i].processID = known.processID;
                m_apps.append(new TTConnectorAppInfo(snapshot.records[i]));
                placed[i] = true;
            }
        }
    }
    for (std::size_t i = 0; i < snapshot.records.size(); ++i) {
        if (!placed[i])
            m_apps.append(new TTConnectorAppInfo(snapshot.records[i]));
    }
    m_userGroups = snapshot.userGroups;
    m_groups.insert(m_groups.end(), snapshot.systemGroups.begin(), snapshot.systemGroups.end());
    m_groups.insert(m_groups.end(), m_userGroups.begin(), m_userGroups.end());
}

void TesselTalkConnector::ensureLoaded() const
{
    if (!m_loaded)
        loadLocked();
}

void TesselTalkConnector::updateCache(bool force)
{
    ObjectLock guard(this);
    if (!force && m_loaded && (!m_good || ConnectorStore::signature() == m_signature))
        return;
    loadLocked();
}

void TesselTalkConnector::clearCache()
{
    ObjectLock guard(this);
    m_apps.clear();
    m_loaded = false;
}

void TesselTalkConnector::clearGroupsCache()
{
    ObjectLock guard(this);
    m_groups.clear();
    m_userGroups.clear();
    m_loaded = false;
}

const TTConnectorAppInfoList& TesselTalkConnector::getAppInfoList() const
{
    ObjectLock guard(this);
    ensureLoaded();
    return m_apps;
}

std::vector<SoString> TesselTalkConnector::getGroupsCache() const
{
    ObjectLock guard(this);
    ensureLoaded();
    return m_groups;
}

std::shared_ptr<const TesselTalkConnector::GroupTable> TesselTalkConnector::getGroupTable() const
{
    ObjectLock guard(this);
    ensureLoaded();
    if (!m_groupTable) {
        auto table = std::make_shared<GroupTable>();
        table->reserve(m_groups.size());
        for (const SoString& text : m_groups) {
            GroupEntry entry;
            entry.parsed = ConnectorConfig::parseEntry(text, entry.group, entry.subgroup, entry.member);
            if (entry.parsed) {
                const Specifier member(entry.member.c_str(), false);
                entry.app = member.appName();
                entry.version = member.version();
            }
            table->push_back(std::move(entry));
        }
        m_groupTable = std::move(table);
    }
    return m_groupTable;
}

bool TesselTalkConnector::getAppInfo(const SoString& spec, TTConnectorAppInfo& out) const
{
    ObjectLock guard(this);
    ensureLoaded();
    return m_apps.find(spec, out, nullptr);
}

namespace {

template <typename T>
T field(const TesselTalkConnector& connector, const SoString& spec, T TTConnectorAppInfo::*member)
{
    TTConnectorAppInfo info;
    connector.getAppInfo(spec, info);
    return info.*member;
}

} // namespace

SoString TesselTalkConnector::getDisplayName(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::displayName);
}

SoString TesselTalkConnector::getApplicationPath(const SoString& spec, const char*) const
{
    return field(*this, spec, &TTConnectorAppInfo::path);
}

SoString TesselTalkConnector::getApplicationPath(const SoString& spec) const
{
    return getApplicationPath(spec, nullptr);
}

bool TesselTalkConnector::getMessageAuthentication(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::messageAuthentication);
}

bool TesselTalkConnector::getMessageDigest(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::messageDigest);
}

SoString TesselTalkConnector::getBundleIdentifier(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::bundleIdentifier);
}

SoString TesselTalkConnector::getExecutableBasename(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::executableBasename);
}

SoString TesselTalkConnector::getExecutableExtension(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::executableExtension);
}

SoString TesselTalkConnector::getOMVDictionary(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::omvDictionary);
}

SoString TesselTalkConnector::getDeveloperInstallPath(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::developerInstallPath);
}

SoString TesselTalkConnector::getRedirectTo(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::redirectTo);
}

bool TesselTalkConnector::supportsCGTK(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::supportsCGTK);
}

bool TesselTalkConnector::isShellTool(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::isShellTool);
}

unsigned long TesselTalkConnector::getProcessID(const SoString& spec) const
{
    return field(*this, spec, &TTConnectorAppInfo::processID);
}

bool TesselTalkConnector::setProcessID(const SoString& spec, unsigned long pid)
{
    ObjectLock guard(this);
    ensureLoaded();
    return m_apps.setProcessID(spec, pid);
}

long TesselTalkConnector::getNumberOfRegisteredApplications() const
{
    ObjectLock guard(this);
    ensureLoaded();
    return m_apps.count();
}

SoString TesselTalkConnector::getApplicationSpecifier(long index) const
{
    ObjectLock guard(this);
    ensureLoaded();
    const TTConnectorAppInfo* info = m_apps.get(index);
    return info ? info->specifier : SoString();
}

bool TesselTalkConnector::knowsApplication(const SoString& app) const
{
    ObjectLock guard(this);
    ensureLoaded();
    if (!m_appNamesKnown) {
        m_appNames.clear();
        for (long i = 0; i < m_apps.count(); ++i)
            m_appNames.insert(Specifier(m_apps.get(i)->specifier.c_str(), false).appName().c_str());
        m_appNamesKnown = true;
    }
    return m_appNames.count(app.c_str()) != 0;
}

bool TesselTalkConnector::doRegisterApplication(const TTConnectorAppInfo& info)
{
    ObjectLock guard(this);
    const std::string path = userPath(ConnectorStore::recordFileName(info.specifier));
    std::string error;
    if (!m_good || path.empty() || !isStorable(info))
        return false;
    if (!ConnectorStore::writeAtomically(path, CC::writeAppConfig(info, suiteEntriesOf(info.specifier), true), error))
        return false;
    ensureLoaded();
    TTConnectorAppInfo stored(info);
    if (!stored.processID)
        stored.processID = getProcessID(info.specifier);
    m_apps.update(stored);
    m_appNamesKnown = false;
    return true;
}

bool TesselTalkConnector::registerApplication(const Specifier& spec, const char* path, const char* displayName,
    bool replace)
{
    ObjectLock guard(this);
    if (!path || !*path || (!replace && getAppInfoList().isInList(spec)))
        return false;
    TTConnectorAppInfo info(spec);
    info.path = path;
    info.executablePath = path;
    info.displayName = displayName;
    info.executableBasename = baseName(path);
    return doRegisterApplication(info);
}

bool TesselTalkConnector::unregisterApplication(const Specifier& spec)
{
    ObjectLock guard(this);
    const std::string path = userPath(ConnectorStore::recordFileName(spec));
    if (!m_good || path.empty() || !isStorableSpecifier(spec) || ::access(path.c_str(), F_OK) != 0)
        return false;
    if (!ConnectorStore::removeFile(path))
        return false;
    // A system-wide record of the same specifier shows through again.
    updateCache(true);
    return true;
}

} // namespace ScObjects

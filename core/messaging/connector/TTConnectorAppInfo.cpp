#include "TTConnectorAppInfo.h"

namespace ScObjects {

TTConnectorAppInfo::TTConnectorAppInfo(const SoString& spec)
    : specifier(spec)
{
}

bool TTConnectorAppInfo::operator==(const TTConnectorAppInfo& o) const
{
    return specifier == o.specifier && path == o.path && winClassName == o.winClassName
        && displayName == o.displayName && bundleIdentifier == o.bundleIdentifier
        && tesselTalkVersion == o.tesselTalkVersion && allowMultipleInstances == o.allowMultipleInstances
        && isShellTool == o.isShellTool && messageAuthentication == o.messageAuthentication
        && messageDigest == o.messageDigest && supportsCGTK == o.supportsCGTK
        && executableBasename == o.executableBasename && executableExtension == o.executableExtension
        && omvDictionary == o.omvDictionary && developerInstallPath == o.developerInstallPath
        && redirectTo == o.redirectTo && executablePath == o.executablePath && processID == o.processID;
}

long TTConnectorAppInfoList::count() const
{
    ObjectLock guard(this);
    return m_items.count();
}

void TTConnectorAppInfoList::append(TTConnectorAppInfo* info)
{
    if (!info)
        return;
    ObjectLock guard(this);
    m_items.append(info);
}

bool TTConnectorAppInfoList::isInList(const SoString& specifier) const
{
    return find(specifier, nullptr) != nullptr;
}

void TTConnectorAppInfoList::update(const TTConnectorAppInfo& info)
{
    ObjectLock guard(this);
    if (TTConnectorAppInfo* existing = find(info.specifier, nullptr))
        *existing = info;
    else
        m_items.append(new TTConnectorAppInfo(info));
}

TTConnectorAppInfo* TTConnectorAppInfoList::find(const SoString& specifier, long* index) const
{
    ObjectLock guard(this);
    for (long i = 0; i < m_items.count(); ++i) {
        if (m_items.at(i)->specifier == specifier) {
            if (index)
                *index = i;
            return m_items.at(i);
        }
    }
    if (index)
        *index = -1;
    return nullptr;
}

bool TTConnectorAppInfoList::find(const SoString& specifier, TTConnectorAppInfo& out, long* index) const
{
    ObjectLock guard(this);
    const TTConnectorAppInfo* info = find(specifier, index);
    if (info)
        out = *info;
    return info != nullptr;
}

TTConnectorAppInfo* TTConnectorAppInfoList::get(long index) const
{
    ObjectLock guard(this);
    return m_items.at(index);
}

bool TTConnectorAppInfoList::getItemAt(long index, TTConnectorAppInfo& out) const
{
    ObjectLock guard(this);
    const TTConnectorAppInfo* info = m_items.at(index);
    if (info)
        out = *info;
    return info != nullptr;
}

bool TTConnectorAppInfoList::remove(const SoString& specifier)
{
    ObjectLock guard(this);
    long index = -1;
    if (!find(specifier, &index))
        return false;
    delete m_items.removeAt(index);
    return true;
}

void TTConnectorAppInfoList::clear()
{
    ObjectLock guard(this);
    clearWithoutLocking();
}

void TTConnectorAppInfoList::clearWithoutLocking()
{
    while (!m_items.isEmpty())
        delete m_items.removeAt(m_items.count() - 1);
}

void TTConnectorAppInfoList::resolveRedirectTo()
{
    ObjectLock guard(this);
    // Resolve against the records as they were, then apply, so that one
    // record's new target does not shorten another's chain.
    SoVector<SoString> targets;
    for (long i = 0; i < m_items.count(); ++i)
        targets.append(new SoString(recursiveRedirectTo(*this, *m_items.at(i))));
    for (long i = 0; i < m_items.count(); ++i)
        m_items.at(i)->redirectTo = *targets.at(i);
}

bool TTConnectorAppInfoList::setProcessID(const SoString& specifier, unsigned long pid)
{
    ObjectLock guard(this);
    TTConnectorAppInfo* info = find(specifier, nullptr);
    if (info)
        info->processID = pid;
    return info != nullptr;
}

SoString recursiveRedirectTo(const TTConnectorAppInfoList& list, const TTConnectorAppInfo& info)
{
    ObjectLock guard(list);
    SoString target = info.redirectTo;
    // A chain can visit each record at most once; more steps mean a loop.
    for (long steps = list.count(); steps > 0 && !target.isEmpty(); --steps) {
        const TTConnectorAppInfo* next = list.find(target, nullptr);
        if (!next || next->redirectTo.isEmpty() || next->redirectTo == info.specifier)
            break;
        target = next->redirectTo;
    }
    return target;
}

} // namespace ScObjects

// One registered application, and the locked list of them that the
// connector keeps.
#pragma once

#include "SoLockable.h"
#include "SoString.h"
#include "SoVector.h"

namespace ScObjects {

// A value: launch and messaging properties of one application specifier.
// Flags and version hold their defaults until a record says otherwise.
class TTConnectorAppInfo : public SoHeap {
public:
    TTConnectorAppInfo() = default;
    explicit TTConnectorAppInfo(const SoString& specifier);

    // Compares every field, the process identifier included.
    bool operator==(const TTConnectorAppInfo& other) const;
    bool operator!=(const TTConnectorAppInfo& other) const { return !(*this == other); }

    SoString specifier;
    SoString path;
    SoString winClassName;
    SoString displayName;
    SoString bundleIdentifier;
    double tesselTalkVersion = 1.0;
    bool allowMultipleInstances = false;
    bool isShellTool = false;
    bool messageAuthentication = true;
    bool messageDigest = true;
    bool supportsCGTK = false;
    SoString executableBasename;
    SoString executableExtension;
    SoString omvDictionary;
    SoString developerInstallPath;
    SoString redirectTo;
    SoString executablePath;
    unsigned long processID = 0;
};

// Owns its records. Every operation takes the list's own lock; callers that
// already hold it may use clearWithoutLocking.
class TTConnectorAppInfoList : public SoLockable {
public:
    TTConnectorAppInfoList() = default;
    TTConnectorAppInfoList(const TTConnectorAppInfoList&) = delete;
    TTConnectorAppInfoList& operator=(const TTConnectorAppInfoList&) = delete;

    long count() const;
    // Takes ownership; null is ignored.
    void append(TTConnectorAppInfo* info);
    bool isInList(const SoString& specifier) const;
    // Replaces the record with the same specifier by a copy of info, or
    // appends a copy.
    void update(const TTConnectorAppInfo& info);
    // The record of specifier, still owned by the list; null when absent.
    // index receives its position (-1 when absent) when non-null.
    TTConnectorAppInfo* find(const SoString& specifier, long* index) const;
    bool find(const SoString& specifier, TTConnectorAppInfo& out, long* index) const;
    // Owned by the list; null when out of range.
    TTConnectorAppInfo* get(long index) const;
    bool getItemAt(long index, TTConnectorAppInfo& out) const;
    // Deletes the record of specifier; false when absent.
    bool remove(const SoString& specifier);
    void clear();
    void clearWithoutLocking();
    // Replaces each record's redirectTo by the end of its redirect chain.
    void resolveRedirectTo();
    bool setProcessID(const SoString& specifier, unsigned long pid);

private:
    SoVector<TTConnectorAppInfo> m_items;
};

// The specifier that info's redirect chain ends at within list (info's own
// when it redirects nowhere); a chain that loops or runs into an unknown
// specifier ends at the last known step.
SoString recursiveRedirectTo(const TTConnectorAppInfoList& list, const TTConnectorAppInfo& info);

} // namespace ScObjects

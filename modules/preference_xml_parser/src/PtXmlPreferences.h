// The IPtPreferences object of the module: values in memory, backed by one
// XML file that every change rewrites atomically.
#pragma once

#include <QString>

#include "IPtPreferences.h"
#include "PtPreferenceFile.h"

class PtXmlPreferences final : public IPtPreferences {
 public:
    static constexpr const char* kFileName = "Preferences.xml";

    PtXmlPreferences() = default;
    PtXmlPreferences(const PtXmlPreferences&) = delete;
    PtXmlPreferences& operator=(const PtXmlPreferences&) = delete;

    bool QueryInterface(const PtIID& iid, void** out) override;
    long AddRef() override;
    long Release() override;

    void BeginUpdate() override;
    bool EndUpdate() override;
    bool Open(const unsigned short* userFolder, const unsigned short* initialFolder) override;
    unsigned char HasDomain(int domain) override;
    bool HasKey(int domain, const char* key) override;
    bool RemoveKey(int domain, const char* key) override;
    bool GetStoreFile(unsigned short* buf, unsigned int size) override;
    unsigned char GetString(int domain, const char* key, unsigned short* buf, unsigned int size) override;
    unsigned char GetBytes(int domain, const char* key, char* buf, unsigned int size) override;
    bool SetString(int domain, const char* key, const unsigned short* value) override;
    bool SetBytes(int domain, const char* key, const char* value, unsigned int length) override;

 private:
    ~PtXmlPreferences() = default;

    const PtPreferenceValue* find(int domain, const char* key) const;
    bool store(int domain, const char* key, PtPreferenceValue value);
    // Writes the file unless an update is open; false when the write failed.
    // Changes that would take the file past its limit are undone: the values
    // go back to the last ones read or written.
    bool save();
    // Moves a corrupt user file aside under a free name and says so once.
    void quarantine(const QString& file, const QString& why);

    long m_refCount = 1;
    int m_updateDepth = 0;
    bool m_dirty = false;
    QString m_userFolder; // absolute; empty until Open
    PtPreferenceValues m_values;
    PtPreferenceValues m_saved; // as last read or written
};

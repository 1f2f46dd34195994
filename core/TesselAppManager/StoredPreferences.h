// Reading and writing the source's settings in domain 3 of the preference
// store, with the value conventions the settings have always used: integers
// and flags as decimal text, byte texts after a "<key>Size" companion.
#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

class IPtPreferences;

// Reads domain 3 the way the settings have always been read: every text
// value passes through one shared buffer, zeroed once, so a key that cannot
// be read leaves the previous key's text to be parsed. The store is borrowed.
class StoredPreferences {
public:
    explicit StoredPreferences(IPtPreferences* store) : m_store(store) {}

    // Reads `key` into the shared buffer; false when the store has no such value.
    bool read(const char* key);
    // The shared buffer's text after reading `key`.
    QString text(const char* key);
    // Decimal digits up to the first other character, as strtoll reads them.
    long long integer(const char* key);
    // True when the stored integer is non-zero.
    bool flag(const char* key) { return integer(key) != 0; }
    // The integer, or `fallback` when the key cannot be read.
    long long integerOr(const char* key, long long fallback);
    // A byte text of the length its "<key>Size" companion gives (below 1: 260).
    QByteArray bytes(const char* key);
    // A byte text read into a zeroed buffer of `size` + 1 bytes.
    QByteArray bytesOfSize(const char* key, long size);

    // A stored size beyond any text a record can hold is not believed.
    static constexpr long kMaxTextSize = 1 << 20;

private:
    QString current() const;

    static constexpr unsigned kBufferUnits = 260;
    IPtPreferences* m_store;
    unsigned short m_buffer[kBufferUnits + 1] = {};
};

// Writes domain 3 key by key; remembers whether any write failed.
class PreferenceWriter {
public:
    explicit PreferenceWriter(IPtPreferences* store) : m_store(store) {}

    void text(const char* key, const QString& value);
    void integer(const char* key, long long value) { text(key, QString::number(value)); }
    void flag(const char* key, bool value) { integer(key, value ? 1 : 0); }
    // "<key>Size" with the length, then the bytes with the byte-text writer.
    void bytes(const char* key, std::string_view value);
    bool ok() const { return m_ok; }

private:
    IPtPreferences* m_store;
    bool m_ok = true;
};

#include "StoredPreferences.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "IPtPreferences.h"

namespace {

constexpr int kDomain = 3;

std::string sizeKey(const char* key)
{
    return std::string(key) + "Size";
}

} // namespace

bool StoredPreferences::read(const char* key)
{
    return m_store->GetString(kDomain, key, m_buffer, kBufferUnits);
}

QString StoredPreferences::text(const char* key)
{
    read(key);
    return current();
}

long long StoredPreferences::integer(const char* key)
{
    return std::strtoll(text(key).toUtf8().constData(), nullptr, 10);
}

long long StoredPreferences::integerOr(const char* key, long long fallback)
{
    return read(key) ? std::strtoll(current().toUtf8().constData(), nullptr, 10) : fallback;
}

QByteArray StoredPreferences::bytes(const char* key)
{
    long long size = integer(sizeKey(key).c_str());
    if (size < 1 || size > kMaxTextSize)
        size = kBufferUnits;
    return bytesOfSize(key, long(size));
}

QByteArray StoredPreferences::bytesOfSize(const char* key, long size)
{
    std::vector<char> buffer(std::size_t(size) + 1, '\0');
    m_store->GetBytes(kDomain, key, buffer.data(), unsigned(buffer.size()));
    return QByteArray(buffer.data(), int(::strnlen(buffer.data(), buffer.size())));
}

QString StoredPreferences::current() const
{
    // The last unit is never written: the store is told of 260 units only.
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(m_buffer));
}

void PreferenceWriter::text(const char* key, const QString& value)
{
    m_ok = m_store->SetString(kDomain, key, value.utf16()) && m_ok;
}

void PreferenceWriter::bytes(const char* key, std::string_view value)
{
    integer(sizeKey(key).c_str(), static_cast<long long>(value.size()));
    m_ok = m_store->SetBytes(kDomain, key, value.data(), unsigned(value.size())) && m_ok;
}

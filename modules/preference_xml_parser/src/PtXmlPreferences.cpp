#include "PtXmlPreferences.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <cstring>
#include <new>

namespace {

QString fromUnits(const unsigned short* units)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(units));
}

} // namespace

bool PtXmlPreferences::QueryInterface(const PtIID& iid, void** out)
{
    if (!out)
        return false;
    if (ptSameIID(iid, kIID_IPtPreferences) || ptSameIID(iid, kIID_IPtUnknown)) {
        *out = static_cast<IPtPreferences*>(this);
        AddRef();
        return true;
    }
    *out = nullptr;
    return false;
}

long PtXmlPreferences::AddRef() { return ++m_refCount; }

long PtXmlPreferences::Release()
{
    const long count = --m_refCount;
    if (count == 0) {
        if (m_dirty)
            save();
        delete this;
    }
    return count;
}

void PtXmlPreferences::BeginUpdate() { ++m_updateDepth; }

bool PtXmlPreferences::EndUpdate()
{
    if (m_updateDepth > 0)
        --m_updateDepth;
    return save();
}

bool PtXmlPreferences::Open(const unsigned short* userFolder, const unsigned short* initialFolder)
{
    try {
        if (!userFolder || !initialFolder || !*userFolder || !*initialFolder)
            return false;
        m_userFolder = QDir::cleanPath(QFileInfo(fromUnits(userFolder)).absoluteFilePath());
        const QString initial = QDir::cleanPath(QFileInfo(fromUnits(initialFolder)).absoluteFilePath());
        const bool ownFile = initial == m_userFolder;
        const QString file = initial + QLatin1Char('/') + QLatin1String(kFileName);
        m_values.clear();
        m_saved.clear();
        m_dirty = false;
        PtPreferenceFile::ReadResult read = PtPreferenceFile::read(file);
        if (read.status == PtPreferenceFile::Status::Loaded) {
            m_values = std::move(read.values);
            m_saved = m_values;
        } else if (read.status == PtPreferenceFile::Status::Corrupt) {
            if (ownFile)
                quarantine(file, read.error);
            else
                std::fprintf(stderr, "preference_xml_parser: ignoring corrupt defaults %s: %s\n",
                             qUtf8Printable(file), qUtf8Printable(read.error));
        }
        return true;
    } catch (...) {
        return false;
    }
}

void PtXmlPreferences::quarantine(const QString& file, const QString& why)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = file + QStringLiteral(".corrupt-") + stamp;
    for (int n = 1; QFileInfo::exists(aside); ++n)
        aside = file + QStringLiteral(".corrupt-") + stamp + QLatin1Char('-') + QString::number(n);
    if (QFile::rename(file, aside))
        std::fprintf(stderr, "preference_xml_parser: %s is corrupt (%s); moved it to %s and starting from the defaults\n",
                     qUtf8Printable(file), qUtf8Printable(why), qUtf8Printable(aside));
    else
        std::fprintf(stderr, "preference_xml_parser: %s is corrupt (%s) and could not be moved to %s; starting from the defaults\n",
                     qUtf8Printable(file), qUtf8Printable(why), qUtf8Printable(aside));
}

unsigned char PtXmlPreferences::HasDomain(int domain)
{
    const auto it = m_values.find(domain);
    return it != m_values.end() && !it->second.empty();
}

bool PtXmlPreferences::HasKey(int domain, const char* key) { return find(domain, key) != nullptr; }

bool PtXmlPreferences::RemoveKey(int domain, const char* key)
{
    if (!find(domain, key))
        return false;
    m_values[domain].erase(key);
    m_dirty = true;
    return save();
}

bool PtXmlPreferences::GetStoreFile(unsigned short* buf, unsigned int size)
{
    if (!buf || m_userFolder.isEmpty())
        return false;
    const QString file = m_userFolder + QLatin1Char('/') + QLatin1String(kFileName);
    if (unsigned(file.size()) + 1 > size)
        return false;
    std::memcpy(buf, file.utf16(), (file.size() + 1) * sizeof(unsigned short));
    return true;
}

unsigned char PtXmlPreferences::GetString(int domain, const char* key, unsigned short* buf, unsigned int size)
{
    const PtPreferenceValue* value = find(domain, key);
    if (!value || !buf)
        return false;
    const QString text = value->asText();
    if (unsigned(text.size()) + 1 > size)
        return false;
    std::memcpy(buf, text.utf16(), (text.size() + 1) * sizeof(unsigned short));
    return true;
}

unsigned char PtXmlPreferences::GetBytes(int domain, const char* key, char* buf, unsigned int size)
{
    const PtPreferenceValue* value = find(domain, key);
    if (!value || !buf)
        return false;
    const QByteArray bytes = value->asBytes();
    if (unsigned(bytes.size()) + 1 > size)
        return false;
    std::memcpy(buf, bytes.constData(), bytes.size() + 1);
    return true;
}

bool PtXmlPreferences::SetString(int domain, const char* key, const unsigned short* value)
{
    if (!value)
        return false;
    PtPreferenceValue v;
    v.kind = PtPreferenceValue::Kind::Text;
    v.text = fromUnits(value);
    return store(domain, key, std::move(v));
}

bool PtXmlPreferences::SetBytes(int domain, const char* key, const char* value, unsigned int length)
{
    if (!value && length > 0)
        return false;
    PtPreferenceValue v;
    v.kind = PtPreferenceValue::Kind::Bytes;
    v.bytes = QByteArray(value, int(length));
    return store(domain, key, std::move(v));
}

const PtPreferenceValue* PtXmlPreferences::find(int domain, const char* key) const
{
    if (!key)
        return nullptr;
    const auto d = m_values.find(domain);
    if (d == m_values.end())
        return nullptr;
    const auto v = d->second.find(key);
    return v == d->second.end() ? nullptr : &v->second;
}

bool PtXmlPreferences::store(int domain, const char* key, PtPreferenceValue value)
{
    try {
        if (m_userFolder.isEmpty() || !ptIsPreferenceKey(key))
            return false;
        const PtPreferenceValue* held = find(domain, key);
        if (!held || !(*held == value)) {
            m_values[domain][key] = std::move(value);
            m_dirty = true;
        }
        return save();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool PtXmlPreferences::save()
{
    if (m_updateDepth > 0 || !m_dirty)
        return true;
    const QString file = m_userFolder + QLatin1Char('/') + QLatin1String(kFileName);
    const QByteArray document = PtPreferenceFile::serialize(m_values);
    if (document.size() > PtPreferenceFile::kMaxFileSize) {
        // Kept in memory, the change would make every later write fail too.
        std::fprintf(stderr, "preference_xml_parser: change refused: %s would take %d bytes, more than %lld\n",
                     qUtf8Printable(file), document.size(), static_cast<long long>(PtPreferenceFile::kMaxFileSize));
        m_values = m_saved;
        m_dirty = false;
        return false;
    }
    if (!QDir().mkpath(m_userFolder)) {
        std::fprintf(stderr, "preference_xml_parser: cannot create %s\n", qUtf8Printable(m_userFolder));
        return false;
    }
    QString error;
    if (!PtPreferenceFile::writeDocument(file, document, &error)) {
        std::fprintf(stderr, "preference_xml_parser: cannot write %s: %s\n", qUtf8Printable(file),
                     qUtf8Printable(error));
        return false;
    }
    m_saved = m_values;
    m_dirty = false;
    return true;
}

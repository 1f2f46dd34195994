#include "Dictionary.h"

#include "private/ByteOrder_p.h"
#include "private/DictionaryEntry_p.h"
#include "private/DictionaryImpl_p.h"
#include "private/MappedFile_p.h"

#include "basic_ifstream.h"

#include "PtUTF.h"

#include <cstring>
#include <iostream>
#include <iterator>
#include <vector>

namespace quire {

using quire_private::DictionaryEntry;
using quire_private::SplitLiteral;

namespace {

std::u16string withHats(std::u16string value)
{
    // Most values have no caret; a test of every unit without an early exit
    // is one the compiler can run many units at a time.
    bool caret = false;
    for (const char16_t unit : value)
        caret |= unit == u'^';
    if (!caret)
        return value;
    return quire_private::ConvertHats(value, DictionaryEntry::HatEscapeTable,
                                      std::size(DictionaryEntry::HatEscapeTable));
}

std::shared_ptr<std::vector<unsigned char>> readAll(std::istream& stream)
{
    auto bytes = std::make_shared<std::vector<unsigned char>>();
    // A file stream knows its size: one read into a buffer of that size.
    const std::istream::pos_type start = stream.tellg();
    if (start != std::istream::pos_type(-1) && stream.seekg(0, std::ios::end)) {
        const std::istream::pos_type end = stream.tellg();
        stream.seekg(start);
        if (end != std::istream::pos_type(-1) && end >= start) {
            bytes->resize(static_cast<std::size_t>(end - start));
            stream.read(reinterpret_cast<char*>(bytes->data()), static_cast<std::streamsize>(bytes->size()));
            bytes->resize(static_cast<std::size_t>(stream.gcount()));
            if (!stream.eof() && stream.peek() == std::char_traits<char>::eof())
                return bytes;
        }
    }
    stream.clear();
    char chunk[65536];
    while (stream) {
        stream.read(chunk, sizeof chunk);
        bytes->insert(bytes->end(), chunk, chunk + stream.gcount());
    }
    return bytes;
}

// A whole dictionary file, binary when it starts with the identifier.
void readWhole(quire_private::Dictionary& impl, const unsigned char* data, std::size_t size,
               std::shared_ptr<const void> owner)
{
    if (size >= 21 && std::memcmp(data, "ZString Binary Format", 21) == 0)
        impl.ReadBinary(data, size, std::move(owner));
    else
        impl.ReadText(data, size);
}

// The writer's format identifier: version 2.1, UTF-16 values.
struct zbfid {
    unsigned char major, minor, flag;
};
constexpr zbfid kZbfIdUTF16 = {2, 1, 0};

void zbfwrite_zbfid(std::string& out, const zbfid& id, bool bigEndian)
{
    out.append("ZString Binary Format");
    out.push_back(static_cast<char>(id.major));
    out.push_back(static_cast<char>(id.minor));
    out.push_back(static_cast<char>(id.flag));
    out.push_back(bigEndian ? 1 : 0);
}

void zbfwrite_locale(std::string& out, const std::string& locale, bool bigEndian)
{
    quire_private::PutNumber(out, locale.size(), 4, bigEndian);
    out.append(locale);
}

void zbfwrite_deflocale(std::string& out, bool bigEndian)
{
    zbfwrite_locale(out, "en_US", bigEndian);
}

} // namespace

Dictionary::Dictionary() : m_impl(std::make_shared<quire_private::Dictionary>()) {}
Dictionary::~Dictionary() = default;
Dictionary::Dictionary(const Dictionary&) = default;
Dictionary& Dictionary::operator=(const Dictionary&) = default;

bool Dictionary::Read(std::istream& stream)
{
    if (!stream) {
        m_impl->valid = false;
        return false;
    }
    if (const auto* file = dynamic_cast<const basic_ifstream*>(&stream)) {
        // The file is already mapped (or read): answer from its bytes.
        const std::shared_ptr<const quire_private::MappedFile>& mapped = file->File();
        if (!mapped) {
            m_impl->valid = false;
            return false;
        }
        readWhole(*m_impl, mapped->Data(), mapped->Size(), mapped);
        return m_impl->valid;
    }
    const auto bytes = readAll(stream);
    readWhole(*m_impl, bytes->data(), bytes->size(), bytes);
    return m_impl->valid;
}

bool Dictionary::Read(const void* buffer, std::size_t length, bool copy)
{
    if (!buffer) {
        m_impl->valid = false;
        return false;
    }
    const auto* data = static_cast<const unsigned char*>(buffer);
    if (copy) {
        auto bytes = std::make_shared<std::vector<unsigned char>>(data, data + length);
        m_impl->ReadBinary(bytes->data(), bytes->size(), bytes);
    } else {
        m_impl->ReadBinary(data, length, nullptr);
    }
    return m_impl->valid;
}

ZString Dictionary::Lookup(const char* literal, Encoding encoding) const
{
    if (!literal)
        return {};
    const auto parts = SplitLiteral(literal);
    if (!parts.valid)
        return {};
    std::u16string value;
    if (m_impl->Find(parts.key, value))
        return ZString(withHats(std::move(value)));
    const quire_private::Dictionary* main = quire_private::Dictionary::sMainDictionary;
    if (main && main != m_impl.get() && main->Find(parts.key, value))
        return ZString(withHats(std::move(value)));
    if (parts.defaultText.empty())
        return {};
    if (encoding == Encoding::UTF8) {
        // é can be written as itself in UTF-8, so ^e keeps its two characters.
        return ZString(quire_private::ConvertHats(ptucsFromUtf8(std::string(parts.defaultText)),
                                                  DictionaryEntry::HatEscapeTableNoE,
                                                  std::size(DictionaryEntry::HatEscapeTableNoE)));
    }
    std::u16string widened(parts.defaultText.size(), u'\0');
    for (std::size_t i = 0; i < widened.size(); ++i)
        widened[i] = static_cast<unsigned char>(parts.defaultText[i]);
    return ZString(withHats(std::move(widened)));
}

ZString Dictionary::Lookup(ZStringId id, Encoding) const
{
    std::string_view key;
    std::u16string value;
    if (!m_impl->Entry(id, key, value))
        return {};
    return ZString(withHats(std::move(value)));
}

const char16_t* Dictionary::LookupReturnUTF16Ptr(const char* literal, Encoding encoding) const
{
    if (!literal)
        return u"";
    std::string cacheKey(literal);
    cacheKey.push_back('\0');
    cacheKey.push_back(encoding == Encoding::UTF8 ? 'u' : 'n');
    return m_impl->Keep(std::move(cacheKey), Lookup(literal, encoding).Text());
}

bool Dictionary::HasKey(const char* key) const
{
    std::u16string value;
    return RawValue(key, value);
}

bool Dictionary::RawValue(const char* key, std::u16string& value) const
{
    if (!key)
        return false;
    const auto parts = SplitLiteral(key);
    return parts.valid && m_impl->Find(parts.key, value);
}

bool Dictionary::Add(const char* key, const char16_t* text, std::size_t length, Encoding encoding)
{
    if (!key || (!text && length != 0))
        return false;
    const auto parts = SplitLiteral(key);
    if (!parts.valid || parts.key.empty())
        return false;
    std::string bytes(parts.key);
    if (encoding == Encoding::UTF8) {
        const std::u16string units = ptucsFromUtf8(bytes);
        bytes.assign(units.size(), '\0');
        for (std::size_t i = 0; i < units.size(); ++i)
            bytes[i] = static_cast<char>(units[i] & 0xff);
        if (bytes.empty())
            return false;
    }
    m_impl->Insert({std::move(bytes), std::u16string(text, length)});
    return true;
}

bool Dictionary::Remove(const char* key)
{
    if (!key)
        return false;
    const auto parts = SplitLiteral(key);
    return parts.valid && m_impl->Remove(parts.key);
}

bool Dictionary::Remove(ZStringId id)
{
    std::string_view key;
    std::u16string value;
    return m_impl->Entry(id, key, value) && m_impl->Remove(std::string(key));
}

char16_t Dictionary::Accelerator(const char* literal) const
{
    return quire_private::AcceleratorOf(Lookup(literal).Text());
}

char16_t Dictionary::Accelerator(ZStringId id) const
{
    return quire_private::AcceleratorOf(Lookup(id).Text());
}

ZStringId Dictionary::GetNumericId(const char* key) const
{
    if (!key)
        return kNoZStringId;
    const auto parts = SplitLiteral(key);
    return parts.valid ? m_impl->IdOf(parts.key) : kNoZStringId;
}

std::string Dictionary::GetStringId(ZStringId id) const
{
    std::string_view key;
    std::u16string value;
    return m_impl->Entry(id, key, value) ? std::string(key) : std::string();
}

bool Dictionary::ValidId(ZStringId id) const
{
    std::string_view key;
    std::u16string value;
    return m_impl->Entry(id, key, value);
}

std::string Dictionary::Locale() const
{
    return m_impl->locale.value_or(std::string());
}

void Dictionary::Locale(const std::string& name)
{
    m_impl->locale = name;
}

std::size_t Dictionary::NumKeys() const
{
    return m_impl->NumKeys();
}

void Dictionary::ReSetKeyEnumeration()
{
    m_impl->keySnapshot = m_impl->Keys();
    m_impl->keyCursor = 0;
    m_impl->snapshotStale = false;
}

bool Dictionary::HasMoreKey() const
{
    if (m_impl->snapshotStale)
        return m_impl->NumKeys() > 0;
    return m_impl->keyCursor < m_impl->keySnapshot.size();
}

std::string Dictionary::NextKey()
{
    if (m_impl->snapshotStale)
        ReSetKeyEnumeration();
    if (m_impl->keyCursor >= m_impl->keySnapshot.size())
        return {};
    return m_impl->keySnapshot[m_impl->keyCursor++];
}

void Dictionary::SetAsMain()
{
    quire_private::Dictionary::sMainDictionary = m_impl.get();
}

bool Dictionary::IsValid() const
{
    return m_impl->valid;
}

std::size_t Dictionary::Serialize(std::ostream& stream, ByteOrder order) const
{
    const bool bigEndian = order == kBigEndian || (order == kHostOrder && quire_private::HostIsBigEndian());
    std::string out;
    try {
        zbfwrite_zbfid(out, kZbfIdUTF16, bigEndian);
        if (m_impl->locale)
            zbfwrite_locale(out, *m_impl->locale, bigEndian);
        else
            zbfwrite_deflocale(out, bigEndian);
        const auto entries = m_impl->Entries();
        std::vector<std::pair<std::string_view, std::u16string_view>> views;
        views.reserve(entries.size());
        for (const auto& [key, value] : entries)
            views.emplace_back(key, value);
        out += quire_private::FastArray::Serialize2(std::move(views), bigEndian, quire_private::kFastArrayId);
    } catch (const std::exception&) {
        std::cerr << "Serialize2" << ": Caught exception\n";
        return 0;
    }
    stream.write(out.data(), static_cast<std::streamsize>(out.size()));
    return stream ? out.size() : 0;
}

} // namespace quire

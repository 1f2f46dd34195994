#include "DictionaryImpl_p.h"

#include "ByteOrder_p.h"
#include "DictionaryReader_p.h"

#include <cstring>

namespace quire_private {

Dictionary* Dictionary::sMainDictionary = nullptr;

namespace {

const char kBinaryId[] = "ZString Binary Format";
constexpr std::size_t kBinaryIdLength = sizeof(kBinaryId) - 1;
constexpr std::size_t kMinBinarySize = 25;

} // namespace

Dictionary::~Dictionary()
{
    if (sMainDictionary == this)
        sMainDictionary = nullptr;
}

void Dictionary::ReadText(const unsigned char* data, std::size_t size)
{
    const auto reader = DictionaryReader::Make(data, size);
    std::u16string line;
    DictionaryEntry entry;
    while (reader->NextLine(line)) {
        if (line.empty() || (line.size() == 1 && line[0] == 0xFEFF))
            continue;
        if (ParseEntry(line, entry) == EntryStatus::Ok)
            Insert(std::move(entry));
    }
}

void Dictionary::ReadBinary(const unsigned char* data, std::size_t size, std::shared_ptr<const void> owner)
{
    if (size < kMinBinarySize || std::memcmp(data, kBinaryId, kBinaryIdLength) != 0) {
        valid = false;
        return;
    }
    const int major = data[21];
    const int minor = static_cast<signed char>(data[22]);
    const int flag = data[23];
    // Formats 1.0 and 1.5 were hash-table dumps that no tool of ours writes
    // any more; like every other foreign version they are refused. The flag
    // 0 marks UTF-16 values, the only kind we write.
    if (major != 2 || flag != 0) {
        valid = false;
        return;
    }
    std::size_t pos = 24;
    bool bigEndian = HostIsBigEndian();
    if (minor >= 1) {
        if (data[24] > 1) {
            valid = false;
            return;
        }
        bigEndian = data[24] == 1;
        pos = 25;
    }
    ByteCursor c(data + pos, size - pos, bigEndian);
    const std::uint32_t localeLength = c.U32();
    const unsigned char* localeName = c.Here();
    if (!c.Skip(localeLength)) {
        valid = false;
        return;
    }
    locale = std::string(reinterpret_cast<const char*>(localeName), localeLength);

    auto array = std::make_unique<FastArray>();
    switch (array->Read(c.Here(), c.Left(), bigEndian, kFastArrayId, std::move(owner))) {
    case FastArray::ReadResult::Malformed:
        valid = false;
        return;
    case FastArray::ReadResult::Ignored:
        return;
    case FastArray::ReadResult::Ok:
        break;
    }
    if (m_table.Empty() && !m_array) {
        m_array = std::move(array);
        return;
    }
    moveArrayToTable();
    for (std::size_t i = 0; i < array->Size(); ++i)
        m_table.Insert({std::string(array->Key(i)), array->Value(i)});
}

bool Dictionary::Find(std::string_view key, std::u16string& value) const
{
    if (m_array) {
        const long index = m_array->Find(key);
        if (index < 0)
            return false;
        value = m_array->Value(static_cast<std::size_t>(index));
        return true;
    }
    const DictionaryEntry* entry = m_table.Find(key);
    if (!entry)
        return false;
    value = entry->value;
    return true;
}

void Dictionary::Insert(DictionaryEntry entry)
{
    moveArrayToTable();
    m_table.Insert(std::move(entry));
}

bool Dictionary::Remove(std::string_view key)
{
    moveArrayToTable();
    return m_table.Remove(key);
}

std::size_t Dictionary::NumKeys() const
{
    return m_array ? m_array->Size() : m_table.Size();
}

std::vector<std::string> Dictionary::Keys() const
{
    std::vector<std::string> keys;
    keys.reserve(NumKeys());
    if (m_array) {
        for (std::size_t i = 0; i < m_array->Size(); ++i)
            keys.emplace_back(m_array->Key(i));
    } else {
        m_table.ForEach([&keys](const DictionaryEntry& e) { keys.push_back(e.key); });
    }
    return keys;
}

std::vector<std::pair<std::string, std::u16string>> Dictionary::Entries() const
{
    std::vector<std::pair<std::string, std::u16string>> entries;
    entries.reserve(NumKeys());
    if (m_array) {
        for (std::size_t i = 0; i < m_array->Size(); ++i)
            entries.emplace_back(m_array->Key(i), m_array->Value(i));
    } else {
        m_table.ForEach([&entries](const DictionaryEntry& e) { entries.emplace_back(e.key, e.value); });
    }
    return entries;
}

void Dictionary::moveArrayToTable()
{
    if (!m_array)
        return;
    const std::unique_ptr<FastArray> array = std::move(m_array);
    for (std::size_t i = 0; i < array->Size(); ++i)
        m_table.Insert({std::string(array->Key(i)), array->Value(i)});
}

} // namespace quire_private

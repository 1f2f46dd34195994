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
    changed();
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
    changed();
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
    std::string_view key;
    std::u16string value;
    for (std::size_t i = 0; i < array->Size(); ++i) {
        if (array->Key(i, key) && array->Value(i, value))
            Insert({std::string(key), value});
    }
}

bool Dictionary::Find(std::string_view key, std::u16string& value) const
{
    if (m_array) {
        const long index = m_array->Find(key);
        return index >= 0 && m_array->Value(static_cast<std::size_t>(index), value);
    }
    const DictionaryEntry* entry = m_table.Find(key);
    if (!entry)
        return false;
    value = entry->value;
    return true;
}

std::uint32_t Dictionary::IdOf(std::string_view key) const
{
    if (m_array) {
        const long index = m_array->Find(key);
        return index >= 0 ? static_cast<std::uint32_t>(index) : kNoId;
    }
    const DictionaryEntry* entry = m_table.Find(key);
    return entry ? entry->id : kNoId;
}

bool Dictionary::Entry(std::uint32_t id, std::string_view& key, std::u16string& value) const
{
    if (m_array)
        return m_array->Key(id, key) && m_array->Value(id, value);
    if (id >= m_idKeys.size() || m_idKeys[id].empty())
        return false;
    const DictionaryEntry* entry = m_table.Find(m_idKeys[id]);
    if (!entry)
        return false;
    key = m_idKeys[id];
    value = entry->value;
    return true;
}

void Dictionary::Insert(DictionaryEntry entry)
{
    moveArrayToTable();
    changed();
    entry.id = static_cast<std::uint32_t>(m_idKeys.size());
    const DictionaryEntry& stored = m_table.Insert(std::move(entry));
    if (stored.id == m_idKeys.size())
        m_idKeys.push_back(stored.key);
}

bool Dictionary::Remove(std::string_view key)
{
    moveArrayToTable();
    changed();
    const DictionaryEntry* entry = m_table.Find(key);
    if (!entry)
        return false;
    m_idKeys[entry->id].clear();
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
        std::string_view key;
        for (std::size_t i = 0; i < m_array->Size(); ++i) {
            if (m_array->Intact(i) && m_array->Key(i, key))
                keys.emplace_back(key);
        }
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
        std::string_view key;
        std::u16string value;
        for (std::size_t i = 0; i < m_array->Size(); ++i) {
            if (m_array->Key(i, key) && m_array->Value(i, value))
                entries.emplace_back(key, value);
        }
    } else {
        m_table.ForEach([&entries](const DictionaryEntry& e) { entries.emplace_back(e.key, e.value); });
    }
    return entries;
}

const char16_t* Dictionary::Keep(std::string cacheKey, std::u16string text) const
{
    const std::lock_guard<std::mutex> lock(m_resultLock);
    return m_results.try_emplace(std::move(cacheKey), std::move(text)).first->second.c_str();
}

void Dictionary::changed()
{
    snapshotStale = true;
    const std::lock_guard<std::mutex> lock(m_resultLock);
    m_results.clear();
}

void Dictionary::moveArrayToTable()
{
    if (!m_array)
        return;
    // Array entries keep their index as id; a corrupt entry's id stays
    // unused.
    const std::unique_ptr<FastArray> array = std::move(m_array);
    m_idKeys.assign(array->Size(), std::string());
    std::string_view key;
    std::u16string value;
    for (std::size_t i = 0; i < array->Size(); ++i) {
        if (!array->Key(i, key) || !array->Value(i, value) || m_table.Find(key))
            continue;
        DictionaryEntry entry{std::string(key), value};
        entry.id = static_cast<std::uint32_t>(i);
        m_idKeys[i] = entry.key;
        m_table.Insert(std::move(entry));
    }
}

} // namespace quire_private

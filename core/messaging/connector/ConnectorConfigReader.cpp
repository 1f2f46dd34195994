// Reading the configuration text back: strict about its shape, so that a
// torn or foreign file is refused rather than half taken.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "ConnectorConfig.h"
#include "Specifier.h"

namespace ScObjects {
namespace ConnectorConfig {

namespace {

struct Line {
    const char* text;
    long length;

    bool is(const char* literal) const
    {
        return std::size_t(length) == std::strlen(literal) && std::memcmp(text, literal, std::size_t(length)) == 0;
    }
    bool startsWith(const char* literal) const
    {
        const std::size_t n = std::strlen(literal);
        return std::size_t(length) >= n && std::memcmp(text, literal, n) == 0;
    }
    bool endsWith(const char* literal) const
    {
        const std::size_t n = std::strlen(literal);
        return std::size_t(length) >= n && std::memcmp(text + length - long(n), literal, n) == 0;
    }
};

// The next line of [p, end), without leading blanks, the line break and a
// carriage return before it.
Line nextLine(const char*& p, const char* end)
{
    const char* nl = static_cast<const char*>(std::memchr(p, '\n', std::size_t(end - p)));
    const char* stop = nl ? nl : end;
    const char* start = p;
    while (start < stop && (*start == ' ' || *start == '\t'))
        ++start;
    const char* last = stop;
    if (last > start && last[-1] == '\r')
        --last;
    p = nl ? nl + 1 : end;
    return Line{start, long(last - start)};
}

bool parseData(const Line& line, SoString& key, SoString& value)
{
    static const char kOpen[] = "<Data key=\"";
    static const char kClose[] = "</Data>";
    if (!line.startsWith(kOpen) || !line.endsWith(kClose))
        return false;
    const char* keyStart = line.text + sizeof kOpen - 1;
    const char* valueEnd = line.text + line.length - (sizeof kClose - 1);
    if (keyStart > valueEnd)
        return false;
    const char* keyEnd = static_cast<const char*>(std::memchr(keyStart, '"', std::size_t(valueEnd - keyStart)));
    if (!keyEnd || keyEnd + 1 >= valueEnd || keyEnd[1] != '>')
        return false;
    key.assign(keyStart, keyEnd - keyStart);
    value.assign(keyEnd + 2, valueEnd - (keyEnd + 2));
    return std::strlen(value.c_str()) == std::size_t(value.length()) && std::strlen(key.c_str()) == std::size_t(key.length());
}

bool parseOther(const Line& line, SoString& code)
{
    static const char kOpen[] = "<Other corvaneCode=\"";
    if (!line.startsWith(kOpen) || !line.endsWith("\">"))
        return false;
    const long n = line.length - long(sizeof kOpen - 1) - 2;
    if (n < 0)
        return false;
    code.assign(line.text + sizeof kOpen - 1, n);
    return !std::strchr(code.c_str(), '"') && std::strlen(code.c_str()) == std::size_t(n);
}

bool parseBool(const SoString& value, bool& out)
{
    if (value == "true" || value == "false") {
        out = value == "true";
        return true;
    }
    return false;
}

bool parseDouble(const SoString& value, double& out)
{
    if (value.isEmpty())
        return false;
    char* end = nullptr;
    out = std::strtod(value.c_str(), &end);
    return *end == '\0' && std::isfinite(out);
}

bool setField(TTConnectorAppInfo& info, const SoString& key, const SoString& value)
{
    struct Text {
        const char* key;
        SoString TTConnectorAppInfo::*field;
    };
    static const Text texts[] = {
        {kGuidKey, &TTConnectorAppInfo::specifier},
        {kLocationKey, &TTConnectorAppInfo::path},
        {kWinClassNameKey, &TTConnectorAppInfo::winClassName},
        {kDisplayNameKey, &TTConnectorAppInfo::displayName},
        {kBundleIdentifierKey, &TTConnectorAppInfo::bundleIdentifier},
        {kExecutableBasenameKey, &TTConnectorAppInfo::executableBasename},
        {kExecutableExtensionKey, &TTConnectorAppInfo::executableExtension},
        {kOMVDictionaryKey, &TTConnectorAppInfo::omvDictionary},
        {kDeveloperInstallPathKey, &TTConnectorAppInfo::developerInstallPath},
        {kRedirectToKey, &TTConnectorAppInfo::redirectTo},
        {kExecutablePathKey, &TTConnectorAppInfo::executablePath},
    };
    struct Flag {
        const char* key;
        bool TTConnectorAppInfo::*field;
    };
    static const Flag flags[] = {
        {kAllowMultipleInstancesKey, &TTConnectorAppInfo::allowMultipleInstances},
        {kIsShellToolKey, &TTConnectorAppInfo::isShellTool},
        {kMessageAuthenticationKey, &TTConnectorAppInfo::messageAuthentication},
        {kMessageDigestKey, &TTConnectorAppInfo::messageDigest},
        {kSupportsCgtkKey, &TTConnectorAppInfo::supportsCGTK},
    };
    for (const Text& t : texts) {
        if (key == t.key) {
            info.*t.field = value;
            return true;
        }
    }
    for (const Flag& f : flags) {
        if (key == f.key)
            return parseBool(value, info.*f.field);
    }
    if (key == kTesselTalkVersionKey)
        return parseDouble(value, info.tesselTalkVersion);
    // Keys of later versions are kept out of the record, not refused.
    return true;
}

bool isGroupKey(const SoString& key)
{
    const std::size_t prefix = std::strlen(kGroupKeyPrefix);
    if (std::strncmp(key.c_str(), kGroupKeyPrefix, prefix) != 0 || key.length() <= long(prefix))
        return false;
    for (const char* c = key.c_str() + prefix; *c; ++c) {
        if (*c < '0' || *c > '9')
            return false;
    }
    return true;
}

bool fail(SoString& error, const char* reason, long lineNumber)
{
    error = reason;
    error << " (line " << lineNumber << ")";
    return false;
}

} // namespace

bool read(const char* text, long length, Contents& out, SoString& error)
{
    out = Contents();
    if (!text || length < 0)
        return fail(error, "no text", 0);
    enum class Block { Top, Payload, Record, Groups, Done };
    Block block = Block::Top;
    bool hadPayload = false;
    bool hadSpecifier = false;
    SoString payloadCode;
    SoString recordName;
    const char* p = text;
    const char* end = text + length;
    long number = 0;

    if (!nextLine(p, end).is("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"))
        return fail(error, "not an XML configuration", 1);
    if (!nextLine(p, end).is("<Configuration>"))
        return fail(error, "missing <Configuration>", 2);
    number = 2;
    while (p < end) {
        const Line line = nextLine(p, end);
        ++number;
        SoString key;
        SoString value;
        SoString code;
        if (line.length == 0)
            continue;
        if (block == Block::Done)
            return fail(error, "text after </Configuration>", number);
        if (block == Block::Top) {
            if (line.is("</Configuration>")) {
                block = Block::Done;
            } else if (line.is("<Payload>")) {
                if (hadPayload)
                    return fail(error, "second payload", number);
                hadPayload = true;
                block = Block::Payload;
            } else if (parseOther(line, code)) {
                const std::size_t prefix = std::strlen(kAppSubdomainPrefix);
                SoString groupsCode(kAppSubdomainPrefix);
                groupsCode << kGroupsName;
                if (code == groupsCode) {
                    block = Block::Groups;
                } else if (std::strncmp(code.c_str(), kAppSubdomainPrefix, prefix) == 0
                    && code.length() > long(prefix) && !out.hasRecord) {
                    recordName.assign(code.c_str() + prefix);
                    out.hasRecord = true;
                    block = Block::Record;
                } else {
                    return fail(error, "unexpected block", number);
                }
            } else {
                return fail(error, "unexpected line", number);
            }
            continue;
        }
        if (line.is(block == Block::Payload ? "</Payload>" : "</Other>")) {
            block = Block::Top;
            continue;
        }
        if (!parseData(line, key, value))
            return fail(error, "malformed data line", number);
        if (block == Block::Payload) {
            if (key != kTesselTalkCodeKey || !payloadCode.isEmpty())
                return fail(error, "unexpected payload key", number);
            payloadCode = value;
        } else if (block == Block::Groups) {
            const std::size_t prefix = std::strlen(kGroupSubdomainPrefix);
            SoString entry(value.c_str() + (value.length() >= long(prefix) ? prefix : 0));
            SoString g, u, x;
            // Only the canonical form: what the writer makes of the entry.
            if (!isGroupKey(key) || std::strncmp(value.c_str(), kGroupSubdomainPrefix, prefix) != 0
                || !parseEntry(entry, g, u, x) || getGroupSubdomainName(entry) != value)
                return fail(error, "malformed group entry", number);
            out.groupEntries.push_back(entry);
        } else {
            if (key == kGuidKey)
                hadSpecifier = true;
            if (!setField(out.record, key, value))
                return fail(error, "bad value", number);
        }
    }
    if (block != Block::Done)
        return fail(error, "missing </Configuration>", number);
    if (out.hasRecord) {
        SoString expected(kAppSubdomainPrefix);
        expected << recordName;
        const TesselTalk::Specifier spec(recordName.c_str(), false);
        if (!hadSpecifier || out.record.specifier != recordName || spec != recordName)
            return fail(error, "record without a matching specifier", number);
        if (!hadPayload || payloadCode != expected)
            return fail(error, "payload does not name the record", number);
    } else if (hadPayload) {
        return fail(error, "payload without a record", number);
    }
    return true;
}

} // namespace ConnectorConfig
} // namespace ScObjects

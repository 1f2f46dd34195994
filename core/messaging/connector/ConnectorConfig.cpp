#include "ConnectorConfig.h"

#include <cstdio>
#include <cstring>

#include "Specifier.h"

namespace ScObjects {
namespace ConnectorConfig {

namespace {

constexpr const char kHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";
constexpr const char kFooter[] = "</Configuration>\n";

void openOther(SoString& out, const char* name)
{
    out << "\t<Other corvaneCode=\"" << kAppSubdomainPrefix << name << "\">\n";
}

void writeGroupBlock(SoString& out, const std::vector<SoString>& entries)
{
    openOther(out, kGroupsName);
    for (std::size_t i = 0; i < entries.size(); ++i)
        out << makeTag(groupKey(long(i)), getGroupSubdomainName(entries[i]));
    out << "\t</Other>\n";
}

void tagIf(SoString& out, bool condition, const char* key, const SoString& value)
{
    if (condition)
        out << makeTag(SoString(key), value);
}

} // namespace

SoString makeTag(const SoString& key, const SoString& value)
{
    SoString tag("\t\t<Data key=\"");
    tag << key << "\">" << value << "</Data>\n";
    return tag;
}

SoString groupKey(long i)
{
    SoString key(kGroupKeyPrefix);
    if (i < 10)
        key << "00";
    else if (i < 100)
        key << "0";
    key << i;
    return key;
}

SoString getGroupSubdomainName(const SoString& entry)
{
    const TesselTalk::Specifier spec(entry.c_str(), false);
    SoString name(kGroupSubdomainPrefix);
    name << spec.appName();
    if (!spec.version().isEmpty())
        name << '-' << spec.version();
    if (!spec.suffix().isEmpty())
        name << '#' << spec.suffix();
    return name;
}

bool parseEntry(const SoString& entry, SoString& group, SoString& subgroup, SoString& extra)
{
    group = subgroup = extra = SoString();
    const char* text = entry.c_str();
    const char* first = std::strchr(text, '/');
    const char* last = std::strrchr(text, '/');
    if (!first || first == last)
        return false;
    group.assign(text, first - text);
    subgroup.assign(first + 1, last - first - 1);
    extra.assign(last + 1);
    return true;
}

bool isWritableValue(const SoString& value)
{
    return !std::strpbrk(value.c_str(), "\r\n") && !std::strstr(value.c_str(), "</Data>")
        && std::strlen(value.c_str()) == std::size_t(value.length());
}

SoString writeAppConfig(const TTConnectorAppInfo& info, const std::vector<SoString>& suiteEntries, bool withLocation)
{
    SoString out(kHeader);
    const SoString& name = info.specifier;
    out << "\t<Payload>\n";
    SoString code(kAppSubdomainPrefix);
    code << name;
    out << makeTag(SoString(kTesselTalkCodeKey), code);
    out << "\t</Payload>\n\n";
    openOther(out, name.c_str());
    out << makeTag(SoString(kGuidKey), name);
    tagIf(out, !info.winClassName.isEmpty(), kWinClassNameKey, info.winClassName);
    tagIf(out, !info.bundleIdentifier.isEmpty(), kBundleIdentifierKey, info.bundleIdentifier);
    tagIf(out, !info.displayName.isEmpty(), kDisplayNameKey, info.displayName);
    if (info.tesselTalkVersion != 1.0) {
        SoString version;
        version << info.tesselTalkVersion;
        out << makeTag(SoString(kTesselTalkVersionKey), version);
    }
    tagIf(out, info.allowMultipleInstances, kAllowMultipleInstancesKey, SoString("true"));
    tagIf(out, info.isShellTool, kIsShellToolKey, SoString("true"));
    tagIf(out, !info.messageAuthentication, kMessageAuthenticationKey, SoString("false"));
    tagIf(out, !info.messageDigest, kMessageDigestKey, SoString("false"));
    tagIf(out, info.supportsCGTK, kSupportsCgtkKey, SoString("true"));
    tagIf(out, !info.executableBasename.isEmpty(), kExecutableBasenameKey, info.executableBasename);
    tagIf(out, !info.executableExtension.isEmpty(), kExecutableExtensionKey, info.executableExtension);
    tagIf(out, !info.omvDictionary.isEmpty() && info.omvDictionary != "none", kOMVDictionaryKey, info.omvDictionary);
    tagIf(out, !info.developerInstallPath.isEmpty(), kDeveloperInstallPathKey, info.developerInstallPath);
    tagIf(out, !info.redirectTo.isEmpty(), kRedirectToKey, info.redirectTo);
    if (withLocation) {
        tagIf(out, !info.path.isEmpty(), kLocationKey, info.path);
        tagIf(out, !info.executablePath.isEmpty(), kExecutablePathKey, info.executablePath);
    }
    out << "\t</Other>\n";
    if (!suiteEntries.empty())
        writeGroupBlock(out, suiteEntries);
    out << kFooter;
    return out;
}

SoString writeGroupsConfig(const std::vector<SoString>& entries)
{
    SoString out(kHeader);
    writeGroupBlock(out, entries);
    out << kFooter;
    return out;
}

SoString writeEmptyConfig()
{
    SoString out(kHeader);
    out << kFooter;
    return out;
}

} // namespace ConnectorConfig
} // namespace ScObjects

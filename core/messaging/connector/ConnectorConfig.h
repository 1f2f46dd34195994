// The XML configuration text of the registry: one application record, or
// the group list, as key/value data lines. The connector writes it for
// diagnostics and export; the "default" back end keeps one such file per
// application and one for the groups.
//
// Values are written as they are, without XML escaping, so a value must not
// hold a line break or "</Data>"; isWritableValue says which values survive
// a round trip.
#pragma once

#include <vector>

#include "SoString.h"
#include "TTConnectorAppInfo.h"

namespace ScObjects {
namespace ConnectorConfig {

// Key names of the installation database.
constexpr const char kAppSubdomainPrefix[] = "/corvane/tesseltalk/";
constexpr const char kGroupSubdomainPrefix[] = "/corvane/tesseltalk/groups/";
constexpr const char kGroupsName[] = "groups";
constexpr const char kGroupKeyPrefix[] = "Group";
constexpr const char kGuidKey[] = "Specifier";
constexpr const char kLocationKey[] = "Path";
constexpr const char kWinClassNameKey[] = "WindowClassName";
constexpr const char kDisplayNameKey[] = "DisplayName";
constexpr const char kBundleIdentifierKey[] = "BundleIdentifier";
constexpr const char kTesselTalkVersionKey[] = "TesselTalkVersion";
constexpr const char kAllowMultipleInstancesKey[] = "AllowMultipleInstances";
constexpr const char kIsShellToolKey[] = "IsShellTool";
constexpr const char kMessageAuthenticationKey[] = "MessageAuthentication";
constexpr const char kMessageDigestKey[] = "MessageDigest";
constexpr const char kSupportsCgtkKey[] = "SupportsCGTK";
constexpr const char kExecutableBasenameKey[] = "ExecutableBasename";
constexpr const char kExecutableExtensionKey[] = "ExecutableExtensionMac";
constexpr const char kOMVDictionaryKey[] = "OMVDictionary";
constexpr const char kDeveloperInstallPathKey[] = "DeveloperInstallPath";
constexpr const char kRedirectToKey[] = "RedirectTo";
constexpr const char kExecutablePathKey[] = "ExecutablePath";
constexpr const char kTesselTalkCodeKey[] = "TesselTalkCode";

// "\t\t<Data key=\"" key "\">" value "</Data>\n".
SoString makeTag(const SoString& key, const SoString& value);
// "Group" and i with three digits ("Group007", "Group042", "Group1234").
SoString groupKey(long i);
// The group subdomain prefix and entry without its locale and instance.
SoString getGroupSubdomainName(const SoString& entry);
// An entry group/subgroup/extra taken apart at its first and last "/"; false
// (all three empty) without two distinct slashes.
bool parseEntry(const SoString& entry, SoString& group, SoString& subgroup, SoString& extra);
// No line break and no "</Data>": written and read back unchanged.
bool isWritableValue(const SoString& value);

// The record's configuration text. suiteEntries are the built-in suite
// entries the record belongs to, listed in a second block when there are
// any. withLocation adds the installation and executable paths, which the
// back end keeps and the exported text leaves out.
SoString writeAppConfig(const TTConnectorAppInfo& info, const std::vector<SoString>& suiteEntries, bool withLocation);
// The configuration text of a group list.
SoString writeGroupsConfig(const std::vector<SoString>& entries);
// The text of an empty configuration, written for an unknown record.
SoString writeEmptyConfig();

// What one configuration text holds.
struct Contents {
    bool hasRecord = false;
    TTConnectorAppInfo record;
    // Entries of every group block, in the order written.
    std::vector<SoString> groupEntries;
};

// Reads a text in the form the writers produce (leading blanks and a
// trailing carriage return of each line are tolerated). False with a short
// reason in error when the text is not such a configuration; out is then
// unspecified.
bool read(const char* text, long length, Contents& out, SoString& error);

} // namespace ConnectorConfig
} // namespace ScObjects

// The "default" back end of the registry: a directory of configuration
// files, one per application and one for the groups, per user under
// $XDG_DATA_HOME/corvane/tesseltalk (default ~/.local/share) and
// system-wide under each $XDG_DATA_DIRS entry (default /usr/local/share and
// /usr/share). The environment is read at every call.
//
// Files are replaced atomically (written aside, flushed to disk, renamed
// over), so a reader or a writer killed half-way sees the old or the new
// file, never a torn one. A file that does not read as a configuration is
// skipped with one warning line on stderr naming it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "SoString.h"
#include "TTConnectorAppInfo.h"

namespace ScObjects {
namespace ConnectorStore {

constexpr const char kGroupsFile[] = "groups.xml";
// Anything larger is not one of ours, and is not read into memory.
constexpr long kMaxFileSize = 1 << 20;

// The per-user folder; empty when neither XDG_DATA_HOME nor HOME is set.
std::string userFolder();
// The system-wide folders, most important first.
std::vector<std::string> systemFolders();
// The file name of a record: the specifier with every byte outside
// [a-z0-9_.#-] and a leading "." written as %XX, then ".xml".
std::string recordFileName(const SoString& specifier);

// What the folders hold. Records are ordered by specifier; where several
// folders hold one specifier the user's wins, then the earlier system
// folder's. Group entries come system folders last-first, then the user's,
// so that later entries take precedence for a reader walking from the end.
struct Snapshot {
    std::vector<TTConnectorAppInfo> records;
    std::vector<SoString> systemGroups;
    std::vector<SoString> userGroups;
    // signature() of the folders as this load listed them.
    std::string signature;
};

// Reads every folder. warned holds the files already reported as corrupt
// (by path, size and modification time); a file is reported once per
// version of it.
Snapshot load(std::set<std::string>& warned);
// A text that changes whenever a file in the folders is added, removed or
// rewritten; cheap next to load().
std::string signature();

// Replaces path by text atomically, creating its folder (0755) when
// needed. False with the reason in error; the old file is then untouched.
bool writeAtomically(const std::string& path, const SoString& text, std::string& error);
// Removes path; true also when it was not there.
bool removeFile(const std::string& path);

} // namespace ConnectorStore
} // namespace ScObjects

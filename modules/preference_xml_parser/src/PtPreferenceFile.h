// Reading and writing of one preference file: the values of every domain as
// an XML document.
//
//   <preferences version="1">
//     <domain id="3">
//       <value key="CreateSubfoldersComboIndex" type="text">3</value>
//       <value key="BatchRenamePreference" type="bytes">...</value>
//       <value key="Odd" type="bytes" encoding="base64">AAE=</value>
//     </domain>
//   </preferences>
//
// A value whose text holds control characters (or, for bytes, is not UTF-8)
// is written in base64, so that XML's treatment of line ends and invalid
// characters can never change it.
#pragma once

#include <QByteArray>
#include <QString>

#include <map>
#include <string>

struct PtPreferenceValue {
    enum class Kind { Text, Bytes };
    Kind kind = Kind::Text;
    QString text;     // when kind is Text
    QByteArray bytes; // when kind is Bytes

    // The value as UTF-16 text or as bytes; the other kind converts through UTF-8.
    QString asText() const;
    QByteArray asBytes() const;
    bool operator==(const PtPreferenceValue& other) const;
};

using PtPreferenceDomain = std::map<std::string, PtPreferenceValue>;
using PtPreferenceValues = std::map<int, PtPreferenceDomain>;

// True for a key the store accepts: 1 to 255 printable ASCII characters.
bool ptIsPreferenceKey(const char* key);

namespace PtPreferenceFile {

enum class Status { Loaded, Missing, Corrupt };

struct ReadResult {
    Status status = Status::Missing;
    PtPreferenceValues values; // empty unless Loaded
    QString error;             // why the file is Corrupt (or unreadable)
};

// The largest preference file the store reads or writes. The plug-in's
// settings take about 2 KB; anything near this size is not a preference file.
constexpr qint64 kMaxFileSize = 1024 * 1024;

// Reads the file at `path`. A missing file is Missing; anything that is not
// a complete, well-formed preference document is Corrupt, and so is a file
// (or device) that holds more than kMaxFileSize bytes.
ReadResult read(const QString& path);
// The bytes of the file at `path`, read in one buffer the size of what the
// file holds. False with *error set when the file cannot be opened or read,
// or holds more than kMaxFileSize bytes.
bool readDocument(const QString& path, QByteArray* document, QString* error);
// Parses a document held in memory; Status is Loaded or Corrupt.
ReadResult parse(const QByteArray& document);
// The document for `values`.
QByteArray serialize(const PtPreferenceValues& values);
// Writes `values` to `path` atomically: a temporary file in the same folder,
// flushed to disk, renamed over `path`. The folder must exist. A document
// larger than kMaxFileSize is refused, so that the store never writes a file
// it would not read back. On failure the old file is untouched and *error (if
// given) says why.
bool write(const QString& path, const PtPreferenceValues& values, QString* error);
// The same for a document already serialized.
bool writeDocument(const QString& path, const QByteArray& document, QString* error);

} // namespace PtPreferenceFile

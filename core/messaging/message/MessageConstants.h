// Header names, prefixes and message types of the wire format.
#pragma once

namespace ScObjects {
namespace TesselTalk {

extern const char* const kHeaderSender;          // "Sender"
extern const char* const kHeaderSenderID;        // "Sender-ID"
extern const char* const kHeaderTarget;          // "Target"
extern const char* const kHeaderTimeout;         // "Timeout"
extern const char* const kHeaderType;            // "Type"
extern const char* const kHeaderResponseRequest; // "Response-Request"
extern const char* const kHeaderTimestamp;       // "Timestamp"
extern const char* const kHeaderContentLength;   // "Content-Length"
extern const char* const kHeaderSerialNumber;    // "Serial-Number"
extern const char* const kHeaderReceived;        // "Received"
extern const char* const kHeaderResult;          // "Result"
extern const char* const kHeaderError;           // "Error"
extern const char* const kHeaderErrorCode;       // "Error-Code"
extern const char* const kHeaderVersion;         // "@TT>Version"
extern const char* const kHeaderDigest;          // "@TT>Digest"
extern const char* const kHeaderMD5;             // "@TT>MD5"
extern const char* const kTTPrefix;              // "@TT>"
extern const char* const kHeaderPrefix;          // "@HDR>"

// System message types; every other type is a user type.
extern const char* const kTypeCalligo;
extern const char* const kTypeDebug;
extern const char* const kTypeReceive;
extern const char* const kTypeReceived;
extern const char* const kTypeResult;
extern const char* const kTypeError;
extern const char* const kTypeIdle;
extern const char* const kTypeTimeout;
extern const char* const kTypeLog;
extern const char* const kTypeIgnore;
extern const char* const kTypeProcessed;
extern const char* const kTypeLaunched;

// Serial numbers: all ones means none.
constexpr unsigned long kNoSerial = ~0UL;

// Whether type is none of the system types.
bool isUserType(const char* type);

} // namespace TesselTalk
} // namespace ScObjects

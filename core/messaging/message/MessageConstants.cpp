#include "MessageConstants.h"

#include <cstring>

namespace ScObjects {
namespace TesselTalk {

const char* const kHeaderSender = "Sender";
const char* const kHeaderSenderID = "Sender-ID";
const char* const kHeaderTarget = "Target";
const char* const kHeaderTimeout = "Timeout";
const char* const kHeaderType = "Type";
const char* const kHeaderResponseRequest = "Response-Request";
const char* const kHeaderTimestamp = "Timestamp";
const char* const kHeaderContentLength = "Content-Length";
const char* const kHeaderSerialNumber = "Serial-Number";
const char* const kHeaderReceived = "Received";
const char* const kHeaderResult = "Result";
const char* const kHeaderError = "Error";
const char* const kHeaderErrorCode = "Error-Code";
const char* const kHeaderVersion = "@TT>Version";
const char* const kHeaderDigest = "@TT>Digest";
const char* const kHeaderMD5 = "@TT>MD5";
const char* const kTTPrefix = "@TT>";
const char* const kHeaderPrefix = "@HDR>";

const char* const kTypeCalligo = "Calligo";
const char* const kTypeDebug = "Debug";
const char* const kTypeReceive = "Receive";
const char* const kTypeReceived = "Received";
const char* const kTypeResult = "Result";
const char* const kTypeError = "Error";
const char* const kTypeIdle = "Idle";
const char* const kTypeTimeout = "Timeout";
const char* const kTypeLog = "Log";
const char* const kTypeIgnore = "Ignore";
const char* const kTypeProcessed = "Processed";
const char* const kTypeLaunched = "Launched";

bool isUserType(const char* type)
{
    const char* const systemTypes[] = {kTypeCalligo, kTypeDebug, kTypeReceive, kTypeReceived,
        kTypeResult, kTypeError, kTypeIdle, kTypeTimeout, kTypeLog, kTypeIgnore, kTypeProcessed,
        kTypeLaunched};
    for (const char* systemType : systemTypes) {
        if (std::strcmp(type ? type : "", systemType) == 0)
            return false;
    }
    return true;
}

} // namespace TesselTalk
} // namespace ScObjects

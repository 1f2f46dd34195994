// Operating-system services of the messaging system: sender identity,
// clocks, the current locale and the per-user identifier store.
//
// Everything that depends on the environment (HOME, LC_ALL, LC_MESSAGES,
// LANG) reads it at the moment of use. Failures give the empty string.
#pragma once

#include "SoString.h"

namespace ScObjects {
namespace TesselTalkUtils {

// "localhost:mac" followed by the process identifier.
SoString getSenderID();
// Seconds since 1970.
unsigned long getTimeSeconds();
// Milliseconds since 1970, UTC.
double getUTCTimeMilliSeconds();
void sleep(unsigned int ms);
// The user's locale identifier, lower-cased without encoding or modifier
// ("de_de"); "en_us" when none is set or it is the C locale.
SoString getCurrentLocale();

// The identifier stored in $HOME/.corvane/<name>, created on first use from
// 16 random bytes printed with "%X" each. The folder is made with mode 0771,
// the file with 0600. Empty without HOME, when the file cannot be read in
// whole, or when it cannot be created.
SoString getID(const char* name);
// The "userid" identifier, at most 40 bytes; signature and security
// identifier are the same value.
SoString getUserID();
SoString getSignature();
SoString getSecurityID();
// The digest key: the "md5" identifier, at most 40 bytes. Kept for the
// process while HOME stays the same.
SoString getDigestKey();

// The keyed digest of the wire format: MD5 over key "+" text "+" key,
// printed byte by byte with "%X" (no zero padding, so 16 to 32 characters).
// Empty when the digest cannot be computed.
SoString getMD5(const char* text, long length);

} // namespace TesselTalkUtils
} // namespace ScObjects

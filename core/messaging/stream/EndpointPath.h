// Where the named endpoints of the current user live in the file system.
//
// Every function reads the environment (XDG_RUNTIME_DIR) when it is called.
// All results are empty when the directory is refused or the name cannot be
// placed.
#pragma once

#include <string>

namespace StreamTransport {

// Whether path is a directory (not a link to one) owned by the effective
// user with no group or other permission bits.
bool isPrivateDirectory(const std::string& path);

// The endpoint directory: $XDG_RUNTIME_DIR/tesseltalk when XDG_RUNTIME_DIR
// is a private directory, else /tmp/tesseltalk-<uid>. Created with mode
// 0700 when missing; empty when what is there is not private.
//
// Once the directory inside a private XDG_RUNTIME_DIR is verified, the
// process takes the answer again, for the same setting and effective user,
// without asking the file system: nobody but that user (or root) can
// replace anything there, and every send would otherwise pay for the same
// checks. The /tmp fallback is verified on every call.
std::string endpointDirectory();
// Makes the next call verify the endpoint directory afresh, for a caller
// that found it gone (removed while we ran).
void forgetEndpointDirectory();

// The file name (without extension) that stands for a port name inside the
// endpoint directory: bytes outside [A-Za-z0-9._-] are written as %XX. When
// the socket path would not fit a sockaddr_un, a digest of the port name,
// "=" followed by 32 hex digits, stands in its place; empty when even that
// does not fit.
std::string endpointBaseName(const std::string& directory, const std::string& portName);

struct EndpointPaths {
    std::string socket; // <dir>/<base>.sock, where the owner listens
    std::string lock;   // <dir>/<base>.lock, flock'ed by the owner, removed by it on release
    std::string directory;
};

// The paths of the port in the current endpoint directory; false when the
// directory is refused or the name cannot be placed.
bool endpointPaths(const std::string& portName, EndpointPaths& out);

} // namespace StreamTransport

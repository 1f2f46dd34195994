// Connections this process keeps open after a blob, for its next blob to
// the same endpoint.
//
// A process that talks to the same peer again and again (pings, a browser
// told of each folder) then pays for socket, connect and accept once. A
// connection is used again only once its receiver has confirmed that it
// reads further blobs there; one whose receiver has gone since is found out
// by the next blob, which the receiver never acknowledged and which then
// goes on a new connection. The table is per process and small; a child
// made by fork starts with none, since a connection shared by two writers
// would interleave their blobs.
#pragma once

#include <cstddef>
#include <string>

namespace StreamTransport {

constexpr std::size_t kMaxKeptConnections = 16;

// The key of an endpoint in the table: the port name as seen under the
// current endpoint directory's setting, so that a changed XDG_RUNTIME_DIR
// never reaches the endpoint of the same name under the old one.
std::string keptConnectionKey(const std::string& portName);

struct KeptConnection {
    int fd = -1;
    // Whether the receiver has answered the request to keep it.
    bool confirmed = false;
};

// Hands the kept connection to key over to the caller; false when there is none.
bool takeKeptConnection(const std::string& key, KeptConnection& out);
// Keeps the connection for the next blob to key, or closes it when key
// already has one. The connection kept longest without use is closed to
// make room.
void keepConnection(const std::string& key, KeptConnection connection);
// Closes every kept connection.
void closeKeptConnections();

} // namespace StreamTransport

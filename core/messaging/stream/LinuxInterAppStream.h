// The stream on Linux: a listening Unix-domain socket in the user's private
// endpoint directory.
//
// Holding a name is an exclusive flock on <name>.lock (close-on-exec, so
// launched children do not inherit it); the kernel drops it when the owner
// dies, which frees the name at once and lets the next owner replace the
// stale socket. An owner that lets go removes its lock file while still
// holding it, and a lock counts only on the file that is at the path.
//
// A blob travels with a length header and is acknowledged, all within
// kSendTimeout. The receiver accepts only its own user's peers
// (SO_PEERCRED), caps the length before allocating, and gives each blob a
// deadline, so that a stalled or hostile peer costs it nothing but one file
// descriptor for a while. An endpoint that keeps connections
// (setKeepsConnections) leaves one open after a blob, for
// kIdleConnectionTime or until a new peer needs the room, and says so when
// the sender asks; the sender then sends its next blob to that endpoint on
// it (KeptConnections.h). Others close it, as in the plain exchange.
//
// messagePending must be called from one thread at a time (it takes the
// stream lock); send may be called from any thread.
#pragma once

#include <poll.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "BaseInterAppStream.h"
#include "SoVector.h"

namespace StreamTransport {
class BlobConnection;
enum class Delivery;
}

class LinuxInterAppStream : public BaseInterAppStream {
public:
    static constexpr std::chrono::milliseconds kSendTimeout{10000};
    // Connections being read at once; further peers are turned away until
    // one of them ends.
    static constexpr std::size_t kMaxConnections = 64;
    // How long a connection stays open between blobs.
    static constexpr std::chrono::milliseconds kIdleConnectionTime{30000};

    // One received blob, owned: deleting it frees the bytes.
    class DataRef : public ScObjects::SoHeap {
    public:
        DataRef(char* data, long length);
        virtual ~DataRef();
        DataRef(const DataRef&) = delete;
        DataRef& operator=(const DataRef&) = delete;

        long length() const { return m_length; }
        // Hands the bytes over to the caller, who frees them with freeHeap.
        char* release();

    private:
        char* m_data;
        long m_length;
    };

    // Takes the name when nobody holds it; otherwise, or when the endpoint
    // directory is refused, the stream is not good.
    LinuxInterAppStream(const ScObjects::SoString& name, bool flag);
    // Removes the socket while the name is still held, then lets it go.
    ~LinuxInterAppStream() override;

    bool isGood() const override;
    bool send(const ScObjects::SoString& target, const ScObjects::SoString& data) const override;
    bool receive() override;
    bool messagePending() const override;
    bool canOpen(const ScObjects::SoString& name, bool flag) const override;
    // Whether nobody holds name, so that a stream of that name could be made
    // here now; asks for the name's lock rather than making a stream.
    static bool nameIsFree(const ScObjects::SoString& name);

    // How long one peer may take to deliver its blob, from its connection
    // being accepted; kSendTimeout unless changed.
    void setConnectionDeadline(std::chrono::milliseconds deadline);
    // Our extension: whether a connection stays open after its blob for the
    // sender's next one, which the sender learns when it asks; such an
    // endpoint also asks the endpoints it sends to. Off unless set: only an
    // owner that waits on appendWaitDescriptors taken afresh each time sees
    // blobs arriving on such a connection, one that watches the listening
    // socket alone would not. And an endpoint that does not keep its own
    // talks mostly to others like it, which would only refuse.
    void setKeepsConnections(bool keeps);

    // Waiting instead of sleeping between polls: a sender's blob is only
    // acknowledged once we take it in, so every millisecond a poller sleeps
    // is a millisecond its peer stays blocked in send.
    //
    // Waits at most timeoutMs for a peer to connect or for more bytes of a
    // blob on its way; true when messagePending has something to take in
    // (or a blob already waits for receive). Does not take anything in.
    bool waitForActivity(int timeoutMs) const;
    // Appends the descriptors that become readable when that happens, for a
    // caller that waits on this endpoint together with something else. They
    // stay valid until the next messagePending or the stream's end.
    void appendWaitDescriptors(std::vector<pollfd>& out) const;

private:
    bool open();
    // One pass over the listening socket and the open connections, waiting
    // at most waitMs for any of them; whether any byte or peer was taken in.
    bool servicePass(int waitMs) const;
    // One blob on fd, under the send lock.
    StreamTransport::Delivery deliver(
        int fd, const ScObjects::SoString& data, std::chrono::steady_clock::time_point deadline) const;
    // Keeps fd for the next blob to key after a delivery when its receiver
    // confirmed that already, or asks it to when we keep connections
    // ourselves; else closes it. Whether the blob was delivered.
    bool settle(const std::string& key, int fd, StreamTransport::Delivery delivery, bool confirmed) const;
    // Whether a new peer may join the connections being read, giving it the
    // place of one kept between blobs when they are all taken.
    bool makeRoom() const;
    // Whether a peer has connected or begun a blob and not finished it.
    bool blobOnItsWay() const;
    // send's wait for its peer, taking in what reaches us meanwhile.
    bool waitServingOurOwn(int peer, short events, std::chrono::steady_clock::time_point deadline) const;
    int readFromMsgQueue();

    int m_listenFd = -1;
    int m_lockFd = -1;
    ScObjects::SoString m_socketPath;
    ScObjects::SoString m_lockPath;
    mutable ScObjects::SoVector<DataRef> m_queue;
    ScObjects::SoLockable m_sendLock;
    mutable std::vector<std::unique_ptr<StreamTransport::BlobConnection>> m_connections;
    std::chrono::milliseconds m_connectionDeadline = kSendTimeout;
    std::atomic<bool> m_keepsConnections{false};
};

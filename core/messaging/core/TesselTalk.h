// The messaging object: an application's part in the messaging system.
//
// It has an application specifier, a handler table, an incoming and an
// outgoing queue and an endpoint of its own named after the application.
// Messages are handled only on the thread that calls pump; the messaging
// thread only fills the queues and moves the outgoing one. Handlers given
// to the object become owned by it. No handler exception leaves pump.
#pragma once

#include <poll.h>

#include <condition_variable>
#include <mutex>
#include <vector>

#include "Message.h"
#include "MessageQueue.h"
#include "MsgHandler.h"
#include "SoLockable.h"
#include "SoString.h"

class InterAppStream;

namespace ScObjects {

class TesselTalkContext;
class MessagingThread;

namespace TesselTalk {

class TesselTalk : public SoLockable {
public:
    // Error codes of the answers that the send path gives.
    static constexpr long kErrorSend = 59;
    static constexpr long kErrorRejected = 53;
    static constexpr long kErrorException = -29;
    // A message kept back this long after it was first queued is let expire.
    static constexpr unsigned long kQueueLimitSeconds = 600;

    enum EnabledOperations { kIncoming = 1, kOutgoing = 2, kBoth = 3 };
    enum Focus { kFocusFront = 0, kFocusBackground = 1 };

    class InitTerm {
    public:
        // Sets the layers below up and builds the context, at once
        // (synchronous: 1 when the setup succeeded, else 0) or on the setup
        // thread (1 when it started). 0 when a context exists already.
        static int init(const SoString& appSpec, bool synchronous);
        // Ends the current context: stops its thread and shuts the layers
        // down. 0 without a current context, else 1.
        static int exit();
    };

    // Statics over the process's messaging thread; empty, 0 or false
    // without one.
    class Thread {
    public:
        // The answer of target's messaging thread to request, or empty when
        // none came within timeoutSeconds.
        static SoString ping(const char* target, const char* request, long timeoutSeconds,
            const SoString* data = nullptr);
        static bool setPingValue(const char* key, const char* value);
        static SoString getPingValue(const char* key);
        // Takes ownership of handler.
        static bool setPingHandler(const char* key, MsgHandler* handler);
        static MsgHandler* getPingHandler(const char* key);
        static MessagingThread* get();
    };

    // Waits for a running setup; sets the messaging system up itself when
    // there is no context (that context then goes with the last object).
    // handler (may be null) becomes the default handler, owned.
    TesselTalk(const char* appSpec, MsgHandler* handler, bool isMain, TesselTalkContext* context = nullptr);
    ~TesselTalk() override;
    TesselTalk(const TesselTalk&) = delete;
    TesselTalk& operator=(const TesselTalk&) = delete;

    // True when the message was delivered or queued for delivery and, with
    // waitSeconds, answered in time. Failures are also answered to the
    // sender as errors (when it asked for them). launchParams (may be null)
    // go to a target that has to be launched.
    bool send(Message& message, bool allowLaunch, unsigned long waitSeconds, const SoString* launchParams);
    // Answers request with resultText in the body, when it asked for results.
    bool sendResult(const Message& request, const SoString& resultText);

    // Processes queued messages of every object of context (null: the
    // current one); true when any was processed.
    static bool pump(int ops, TesselTalkContext* context = nullptr);
    // Takes in what the endpoint received and, with process, handles the
    // next message answering serial (kNoSerial: any). True when one was
    // handled.
    bool processIncomingMessage(unsigned long serial, bool process);
    // One pass over the outgoing queue; always false.
    bool processOutgoingMessage();

    bool messagePending() const;
    bool incomingMessagePending() const;
    bool outgoingMessagePending() const;

    // Our extension, for loops that would otherwise sleep between pumps: a
    // peer's send to us stays blocked until we take its message in.
    // Waits at most ms for something to reach this object's endpoint or its
    // incoming queue; true when something did (or already waited).
    bool waitForIncoming(unsigned int ms) const;
    // The descriptors that become readable when that happens, for a caller
    // that waits on several things at once (an event loop). The first two
    // last as long as the object: the queue's signal, cleared by the next
    // pump, and the endpoint's listening socket.
    void appendWaitDescriptors(std::vector<pollfd>& out) const;

    // Whether the completed specifier runs.
    static bool targetIsRunning(const char* spec);
    // Best effort; true when a running process of spec was found.
    static bool bringToFront(const char* spec, TesselTalkContext* context = nullptr);
    // Starts spec unless it runs; see the launch rules in the source.
    static bool launchTarget(const char* spec, const SoString* params, Focus focus,
        TesselTalkContext* context = nullptr);

    // Handler table. findHandler: type empty matches any type; kNoSerial
    // matches only handlers of any serial.
    MsgHandler* findHandler(const char* type, unsigned long serial) const;
    // Installs handler (owned), replacing and returning the one of the same
    // type and serial, which the caller then owns; null when none.
    MsgHandler* changeHandler(MsgHandler* handler);
    // Removes and returns (not deleted) the handler of type and serial.
    MsgHandler* removeHandler(const char* type, unsigned long serial);
    // Removes and deletes handler; false when it is not in the table.
    bool deleteHandler(MsgHandler* handler);
    // Removes and deletes every handler of serial.
    void deleteHandlers(unsigned long serial);
    long handlerCount() const;

    // The main object of context (null: the current one), or the one named.
    static TesselTalk* get(TesselTalkContext* context);
    static TesselTalk* get(const char* appName, TesselTalkContext* context);
    // Makes object the main object of context (null: the current one),
    // joining it to that context first when it belongs to none or another.
    static void set(TesselTalk* object, TesselTalkContext* context = nullptr);
    TesselTalkContext* getContext() const;
    void setContext(TesselTalkContext* context);
    SoString getAppName() const;
    void setAppName(const char* name);
    SoString getInfoRoot() const;
    unsigned long nextSerialNumber();

    TesselTalkData::MessageQueue& incomingQueue() { return m_in; }
    TesselTalkData::MessageQueue& outgoingQueue() { return m_out; }

    // Our readings of the forwarding functions whose behaviour is open:
    // each passes to the registry or the messaging thread and answers empty
    // or false without them.
    //
    // The configuration text of spec's registry record (or "groups").
    static SoString getConnectorConfig(const SoString& spec);
    // Reads the registry again now, not at the next refresh.
    static bool updateConnectorCache();
    // The launch parameters this process was started with.
    static SoString getLaunchOptions();
    // Whether the launcher asked for no start-up screen.
    static bool suppressStartupScreen();
    // The application name of the shared context's main object.
    static SoString getSharedAppName();

    // The whole process's diagnostics text.
    static SoString getDiagnostics();
    void appendDiagnostics(SoString& out, const SoString& prefix) const;

private:
    bool deliverInProcess(Message& message);
    bool streamSend(const Message& message, const SoString& text);
    void queueWatch(const Message& message);
    bool waitUntilRunning(const Message& message) const;
    bool handle(Message* message);
    void takeInFromStream();
    // Appends message to the incoming queue and tells a waiting pump.
    bool queueIncoming(Message* message);

    SoString m_appName;
    std::vector<MsgHandler*> m_handlers;
    TesselTalkData::MessageQueue m_in;
    TesselTalkData::MessageQueue m_out;
    // Reading keeps the order of received texts; sending keeps the order of
    // queued messages. Two locks, so that a send blocked on a slow peer never
    // stops us from taking in what that peer sends us meanwhile.
    SoLockable m_readLock;
    SoLockable m_sendLock;
    // Texts enter the incoming queue in the order they were read, although
    // their "Received" answers go out between reading and queueing, without
    // the read lock: each reader draws a turn under m_readLock and queues
    // when m_queueTurn reaches it.
    class QueueTurn;
    unsigned long m_nextTurn = 0;
    unsigned long m_queueTurn = 0;
    std::mutex m_queueTurnLock;
    std::condition_variable m_queueTurnChanged;
    InterAppStream* m_stream = nullptr;
    // Set whenever a message joins the incoming queue, cleared by the pump:
    // the messaging thread takes messages in too, and a waiting pump must
    // not sleep through them. -1 when it could not be made.
    int m_arrivalFd = -1;
    // Whether m_arrivalFd is readable, so that it is written once per
    // arrival and read only when set, not on every message and every pass.
    // Both under m_arrivalLock, which keeps the two in step.
    std::mutex m_arrivalLock;
    bool m_arrivalSignalled = false;
    TesselTalkContext* m_context = nullptr;
    bool m_ranInit = false;
};

// Answers request with a message of kind ("Received", "Result", "Error",
// "Processed", "Timeout") when its responseRequest asks for that kind.
// reply may be null. Whether an answer was sent.
bool sendResponse(TesselTalk* object, const Message& request, const char* kind, Message* reply);
bool sendError(TesselTalk* object, const Message& request, const char* text, long code, unsigned long waitSeconds);
// Pumps until the one-shot handler of request's serial has run, at most
// seconds; false for 0 seconds.
bool waitForResponse(TesselTalk* object, const Message& request, unsigned long seconds);

} // namespace TesselTalk
} // namespace ScObjects

// The messaging thread: keeps the process reachable while the application
// is busy. It owns the endpoint app "#thread", answers the system's "ping"
// messages from its key table and system handlers, and every 100 ms takes
// in and sends out the queued messages of every messaging object of the
// context (handling them stays with the application's pump). A message
// reaching the endpoint ends the pause between two passes early, so a ping
// is answered at once rather than on the next beat; so does stop(), so that
// a process leaving messaging does not wait out the rest of an interval.
//
// One lock (the thread object's) guards the key table and the fields;
// every pump pass runs under it, so callers wait at most one pass. Handlers
// run on the messaging thread with that lock held.
#pragma once

#include <atomic>
#include <chrono>
#include <vector>

#include "MessagingThread.h"
#include "Message.h"
#include "MsgHandler.h"
#include "SoHeap.h"
#include "SoString.h"

class InterAppStream;

namespace ScObjects {

class TesselTalkContext;

class TesselTalkThread : public MessagingThread {
public:
    // Pump interval and the start-up wait step.
    static constexpr unsigned int kPumpMs = 100;
    static constexpr unsigned int kStartWaitMs = 10;

    // One key-table entry; owns its handler.
    struct PingData : SoHeap {
        virtual ~PingData();
        SoString key;
        SoString value;
        TesselTalk::MsgHandler* handler = nullptr;
        // Seconds since 1970; 0 means never.
        long long expiry = 0;
    };

    TesselTalkThread(TesselTalkContext* context, const SoString& appSpec);
    ~TesselTalkThread() override;

    // Makes messaging contexts start a TesselTalkThread. Call before the
    // messaging system is set up.
    static void install();
    // The current context's thread, or null.
    static TesselTalkThread* getMainThread();
    // app "_" instance "-" version "-" locale "#thread".
    static SoString createThreadSpecifier(const SoString& appSpec);

    // A null context, or one without a main object, leaves the thread
    // without one. Otherwise moves the endpoint to the context's name.
    bool setContext(TesselTalkContext* context);
    SoString getSpecifier() const override;

    bool setKeyValuePair(const SoString& key, const SoString& value) override;
    // "BUSY" instead of "IDLE" for "STATUS" when the application has not
    // pumped for ten average intervals.
    SoString getValueForKey(const SoString& key) const override;
    long locateKey(const SoString& key) const;
    bool setHandler(const SoString& key, TesselTalk::MsgHandler* handler) override;
    TesselTalk::MsgHandler* findHandler(const SoString& key) const override;
    bool setTimeout(const SoString& key, long seconds) override;
    void removeExpiredPingData();
    bool isIdle() const;
    // Answers the ping request with responseText, to its sender.
    bool sendResponse(TesselTalk::Message& request, const SoString& responseText);
    SoString ping(const SoString& target, const SoString& request, long timeout, const SoString* body) const;
    // Reads the messages in text, as they came in at the endpoint, and gives
    // each to the "MAIN" handler as a request, answering those it answers.
    void answerRequests(const SoString& text);
    double averagePumpInterval() const;

    void run() override;
    // One pump pass; call under the thread lock.
    void runLocked();
    bool stop() override;
    bool isStopping() const;
    TesselTalkContext* getContext() const;

    void appendDiagnostics(SoString& out, const SoString& prefix) const override;

private:
    bool busyLocked(double now) const;
    // Waits until kPumpMs after passStarted, or less when something reaches
    // the endpoint (then true) or stop() is called meanwhile. holdOff: the
    // last early wake brought nothing, so the next one must not come at once.
    bool pauseBetweenPasses(std::chrono::steady_clock::time_point passStarted, bool holdOff);
    void handleIncoming();

    std::atomic<bool> m_stop{false};
    SoString m_threadSpecifier;
    TesselTalkContext* m_context;
    InterAppStream* m_stream = nullptr;
    SoString m_spare;
    const SoString m_idleValue;
    const SoString m_idleHandlerKey;
    const SoString m_statusKey;
    std::vector<PingData*> m_keys;
    double m_averagePumpMs = 0;
    double m_lastPumpMs = 0;
    // Written by stop() to end the pause; -1 when it could not be made, and
    // then stop() waits out the pause.
    int m_wakeFd = -1;
    // Whether the last pass took a whole message in at the endpoint.
    bool m_passTookIn = false;
};

} // namespace ScObjects

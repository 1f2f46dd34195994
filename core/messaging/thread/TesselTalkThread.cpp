#include "TesselTalkThread.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "InterAppStream.h"
#include "Specifier.h"
#include "SystemHandlers.h"
#include "TesselTalk.h"
#include "TesselTalkContext.h"
#include "TesselTalkPing.h"
#include "TesselTalkSetupThread.h"
#include "TesselTalkUtils.h"

namespace ScObjects {

namespace {

// An interval this many times the average is an outlier, and an
// application that has not pumped for this many intervals is busy.
constexpr double kBusyFactor = 10.0;
// Intervals this short say nothing about the application's pump rate.
constexpr double kMinIntervalMs = 10.0;

MessagingThread* makeThread(TesselTalkContext* context, const SoString& appSpec)
{
    return new TesselTalkThread(context, appSpec);
}

// The thread's endpoint. The thread waits on its descriptors taken afresh
// on every pass, so a ping may come on a connection kept from the last one.
InterAppStream* openThreadStream(const SoString& name)
{
    InterAppStream* stream = TesselTalkUtils::createNextAvailableInterAppStream(name);
    if (stream)
        stream->setKeepsConnections(true);
    return stream;
}

} // namespace

TesselTalkThread::PingData::~PingData()
{
    delete handler;
}

TesselTalkThread::TesselTalkThread(TesselTalkContext* context, const SoString& appSpec)
    : m_context(context)
    , m_idleValue("IDLE")
    , m_idleHandlerKey("Idle")
    , m_statusKey("STATUS")
    , m_wakeFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    m_threadSpecifier = createThreadSpecifier(appSpec);
    setKeyValuePair(SoString("ECHO_REQUEST"), SoString("ECHO_RESPONSE"));
    setKeyValuePair(m_statusKey, m_idleValue);
    setHandler(SoString("MAIN"), new ThreadMainMsgHandler(context, this));
    setHandler(SoString("LAUNCHED"), new ThreadLaunchedMsgHandler(context));
    setHandler(SoString("DIAGNOSTICS"), new ThreadDiagnosticsMsgHandler(context));
    setHandler(SoString("INFO"), new ThreadInfoMsgHandler(context));
}

TesselTalkThread::~TesselTalkThread()
{
    ObjectLock guard(this);
    delete m_stream;
    m_stream = nullptr;
    while (!m_keys.empty()) {
        delete m_keys.back();
        m_keys.pop_back();
    }
    if (m_wakeFd >= 0)
        ::close(m_wakeFd);
}

void TesselTalkThread::install()
{
    MessagingThread::setFactory(&makeThread);
}

TesselTalkThread* TesselTalkThread::getMainThread()
{
    TesselTalkContext* context = TesselTalkContext::getCurrentContext();
    return context ? dynamic_cast<TesselTalkThread*>(context->getThread()) : nullptr;
}

SoString TesselTalkThread::createThreadSpecifier(const SoString& appSpec)
{
    return TesselTalkUtils::threadEndpointName(appSpec);
}

bool TesselTalkThread::setContext(TesselTalkContext* context)
{
    ObjectLock guard(this);
    if (!context || !context->getMainInstance()) {
        m_context = nullptr;
        return true;
    }
    const SoString wanted = createThreadSpecifier(context->getAppSpecifier());
    if (!m_stream || wanted != m_stream->name()) {
        delete m_stream;
        m_stream = openThreadStream(wanted);
        m_threadSpecifier = m_stream ? m_stream->name() : wanted;
    }
    m_context = context;
    return true;
}

TesselTalkContext* TesselTalkThread::getContext() const
{
    ObjectLock guard(this);
    return m_context;
}

SoString TesselTalkThread::getSpecifier() const
{
    ObjectLock guard(this);
    return m_threadSpecifier;
}

long TesselTalkThread::locateKey(const SoString& key) const
{
    ObjectLock guard(this);
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if (m_keys[i]->key == key)
            return static_cast<long>(i);
    }
    return -1;
}

bool TesselTalkThread::setKeyValuePair(const SoString& key, const SoString& value)
{
    if (m_stop.load() || key.isEmpty())
        return false;
    ObjectLock guard(this);
    if (key == m_statusKey) {
        const double now = TesselTalkUtils::getUTCTimeMilliSeconds();
        if (value == "PUMPING") {
            if (m_lastPumpMs > 0) {
                const double interval = now - m_lastPumpMs;
                if (interval > kMinIntervalMs) {
                    if (m_averagePumpMs == 0)
                        m_averagePumpMs = interval;
                    else if (kBusyFactor * m_averagePumpMs > interval)
                        m_averagePumpMs = (interval + m_averagePumpMs) * 0.5;
                }
            }
            m_lastPumpMs = now;
        } else if (value == m_idleValue) {
            m_lastPumpMs = now;
        }
    }
    const long index = locateKey(key);
    if (index >= 0) {
        if (value.isEmpty()) {
            delete m_keys[std::size_t(index)];
            m_keys.erase(m_keys.begin() + index);
        } else {
            m_keys[std::size_t(index)]->value = value;
        }
    } else if (!value.isEmpty()) {
        PingData* entry = new PingData;
        entry->key = key;
        entry->value = value;
        m_keys.push_back(entry);
    }
    return true;
}

bool TesselTalkThread::busyLocked(double now) const
{
    if (m_averagePumpMs <= 0 || m_lastPumpMs <= 0)
        return false;
    const double since = now > m_lastPumpMs ? now - m_lastPumpMs : 0;
    return since > kBusyFactor * m_averagePumpMs;
}

SoString TesselTalkThread::getValueForKey(const SoString& key) const
{
    ObjectLock guard(this);
    const long index = locateKey(key);
    if (index < 0)
        return SoString();
    const SoString& value = m_keys[std::size_t(index)]->value;
    if (key == m_statusKey && value == m_idleValue && busyLocked(TesselTalkUtils::getUTCTimeMilliSeconds()))
        return SoString("BUSY");
    return value;
}

bool TesselTalkThread::isIdle() const
{
    ObjectLock guard(this);
    const long index = locateKey(m_statusKey);
    return index >= 0 && m_keys[std::size_t(index)]->value == m_idleValue
        && !busyLocked(TesselTalkUtils::getUTCTimeMilliSeconds());
}

double TesselTalkThread::averagePumpInterval() const
{
    ObjectLock guard(this);
    return m_averagePumpMs;
}

bool TesselTalkThread::setHandler(const SoString& key, TesselTalk::MsgHandler* handler)
{
    ObjectLock guard(this);
    if (locateKey(key) < 0 && !setKeyValuePair(key, key)) {
        delete handler;
        return false;
    }
    const long index = locateKey(key);
    if (index < 0) {
        delete handler;
        return false;
    }
    PingData* entry = m_keys[std::size_t(index)];
    delete entry->handler;
    entry->handler = handler;
    return true;
}

TesselTalk::MsgHandler* TesselTalkThread::findHandler(const SoString& key) const
{
    ObjectLock guard(this);
    const long index = locateKey(key);
    return index >= 0 ? m_keys[std::size_t(index)]->handler : nullptr;
}

bool TesselTalkThread::setTimeout(const SoString& key, long seconds)
{
    ObjectLock guard(this);
    const long index = locateKey(key);
    if (index < 0)
        return false;
    m_keys[std::size_t(index)]->expiry = seconds == 0 ? 0 : static_cast<long long>(TesselTalkUtils::getTimeSeconds()) + seconds;
    return true;
}

void TesselTalkThread::removeExpiredPingData()
{
    ObjectLock guard(this);
    const long long now = static_cast<long long>(TesselTalkUtils::getTimeSeconds());
    for (std::size_t i = m_keys.size(); i-- > 0;) {
        if (m_keys[i]->expiry != 0 && m_keys[i]->expiry <= now) {
            delete m_keys[i];
            m_keys.erase(m_keys.begin() + long(i));
        }
    }
}

bool TesselTalkThread::sendResponse(TesselTalk::Message& request, const SoString& responseText)
{
    ObjectLock guard(this);
    if (!m_stream)
        return false;
    TesselTalk::Message reply;
    reply.setTarget(request.getSender().c_str());
    reply.setSender(m_threadSpecifier.c_str());
    reply.setType("ping");
    reply.setBody(request.getBody().c_str(), request.getBody().length());
    // The answer deliberately travels under the request header's name.
    reply.setHeader("ECHO_REQUEST", responseText.c_str());
    reply.setSerialNumber(m_context ? m_context->getNextSerialNumber() : 0);
    SoString text;
    return reply.writeToString(text) && m_stream->send(request.getSender(), text);
}

SoString TesselTalkThread::ping(const SoString& target, const SoString& request, long timeout, const SoString* body) const
{
    InterAppStream* stream = InterAppStream::get();
    if (!stream || !stream->isGood())
        return SoString("NOINTERAPPSTREAM");
    return TesselTalkUtils::ping(target, true, request, static_cast<unsigned long>(std::rand()), timeout, body, nullptr);
}

void TesselTalkThread::handleIncoming()
{
    m_passTookIn = false;
    if (!m_stream || !m_stream->messagePending() || !m_stream->receive())
        return;
    m_passTookIn = true;
    while (m_stream->receive()) {
    }
    if (!m_stream->isEmpty())
        answerRequests(m_stream->getMessages());
}

void TesselTalkThread::answerRequests(const SoString& text)
{
    ObjectLock guard(this);
    const char* cursor = text.c_str();
    const char* end = cursor + text.length();
    while (cursor < end) {
        TesselTalk::Message message;
        const char* next = message.readFromString(cursor, end - cursor);
        if (next <= cursor)
            break;
        cursor = next;
        message.setTimestamp(TesselTalkUtils::getTimeSeconds());
        TesselTalk::MsgHandler* main = findHandler(SoString("MAIN"));
        if (!main)
            continue;
        SoString response;
        long code = -1;
        try {
            code = main->handleMessage(TesselTalk::MsgHandler::kRequest, message, &response);
        } catch (...) {
            // A faulty handler must not end the thread that keeps us reachable.
        }
        if (code == 0 && !response.isEmpty())
            sendResponse(message, response);
    }
}

void TesselTalkThread::runLocked()
{
    handleIncoming();
    if (m_context) {
        for (long n = 0; TesselTalk::TesselTalk* object = m_context->getNthInstance(n); ++n) {
            object->processIncomingMessage(TesselTalk::kNoSerial, false);
            object->processOutgoingMessage();
        }
    }
    removeExpiredPingData();
    if (isIdle()) {
        if (TesselTalk::MsgHandler* idle = findHandler(m_idleHandlerKey)) {
            TesselTalk::Message message;
            message.setType(TesselTalk::kTypeIdle);
            try {
                idle->handleMessage(TesselTalk::MsgHandler::kIdle, message, nullptr);
            } catch (...) {
                // As above: the thread outlives its handlers' faults.
            }
        }
    }
}

void TesselTalkThread::run()
{
    {
        ObjectLock guard(this);
        if (!m_stream) {
            m_stream = openThreadStream(m_threadSpecifier);
            if (!m_stream)
                return;
            m_threadSpecifier = m_stream->name();
        }
    }
    while (TesselTalkSetupThread::isSetupThreadRunning())
        sleep(kStartWaitMs);
    if (m_stop.load())
        return;
    bool wokenEarly = false;
    for (;;) {
        const auto passStarted = std::chrono::steady_clock::now();
        bool tookIn;
        {
            ObjectLock guard(this);
            if (m_stop.load())
                return;
            runLocked();
            tookIn = m_passTookIn;
        }
        if (!m_stop.load())
            wokenEarly = pauseBetweenPasses(passStarted, wokenEarly && !tookIn);
        if (m_stop.load())
            return;
    }
}

bool TesselTalkThread::pauseBetweenPasses(std::chrono::steady_clock::time_point passStarted, bool holdOff)
{
    using Clock = std::chrono::steady_clock;
    // A peer that keeps its connection readable without ever finishing a
    // blob would wake us again and again: after a wake that brought nothing,
    // the next pass waits this long at least.
    constexpr std::chrono::milliseconds kHoldOff{2};
    if (holdOff) {
        const Clock::time_point earliest = passStarted + kHoldOff;
        const Clock::time_point now = Clock::now();
        if (now < earliest)
            sleep(unsigned(std::chrono::ceil<std::chrono::milliseconds>(earliest - now).count()));
    }
    const Clock::time_point due = passStarted + std::chrono::milliseconds(kPumpMs);
    std::vector<pollfd> fds;
    if (m_wakeFd >= 0)
        fds.push_back(pollfd{m_wakeFd, POLLIN, 0});
    {
        // Only our own endpoint: the application's pump waits on the
        // messaging objects' ones itself, and waking us for them too would
        // double every wake-up; our pass still takes them in on the beat.
        ObjectLock guard(this);
        if (m_stream)
            m_stream->appendWaitDescriptors(fds);
    }
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (m_stop.load() || now >= due)
            return false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - now);
        const int ready = ::poll(fds.data(), fds.size(), int(left.count()));
        if (ready < 0 && errno == EINTR)
            continue;
        return ready > 0;
    }
}

bool TesselTalkThread::stop()
{
    {
        ObjectLock guard(this);
        m_stop.store(true);
    }
    if (m_wakeFd >= 0) {
        // The count stays set, so a pause that begins after this returns at
        // once too.
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_wakeFd, &one, sizeof one);
    }
    return Thread::stop();
}

bool TesselTalkThread::isStopping() const
{
    return m_stop.load();
}

void TesselTalkThread::appendDiagnostics(SoString& out, const SoString& prefix) const
{
    ObjectLock guard(this);
    SoString path(prefix);
    path << "/thread";
    out << path << ";1;Specifier;" << m_threadSpecifier << ";\n";
    char average[64];
    std::snprintf(average, sizeof average, "%.0f", m_averagePumpMs);
    out << path << ";1;Pump interval ms;" << average << ";\n";
    for (const PingData* entry : m_keys)
        out << path << "/keys;1;" << entry->key << ";" << entry->value << ";\n";
}

} // namespace ScObjects

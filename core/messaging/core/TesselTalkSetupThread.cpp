#include "TesselTalkSetupThread.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>

#include "LaunchParams.h"
#include "MessagingThread.h"
#include "Specifier.h"
#include "TesselTalkContext.h"
#include "TesselTalkUtils.h"

namespace ScObjects {

namespace {

constexpr unsigned int kSyncPollMs = 10;

// Process-wide setup state; the mutex guards all of it.
std::mutex gSetupMutex;
TesselTalkSetupThread* gSetupThread = nullptr;
bool gSetupDone = false;
bool gHadSetupThread = false;
double gStarted = 0;
double gEnded = 0;
double gSynchronised = 0;

SoString formatMs(double ms)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.0f", ms);
    return SoString(text);
}

void publishSetupTime()
{
    TesselTalkContext* context = TesselTalkContext::peekCurrentContext();
    if (context && context->getThread())
        context->getThread()->setKeyValuePair(SoString("SETUPTIME"), TesselTalkSetupThread::setupTimeText());
}

} // namespace

TesselTalkSetupThread::TesselTalkSetupThread(const SoString& appSpec)
    : m_appSpec(appSpec)
{
}

SoString TesselTalkSetupThread::setupTimeText()
{
    std::lock_guard<std::mutex> guard(gSetupMutex);
    SoString text("thread=");
    text << formatMs(gEnded - gStarted) << "ms, ";
    if (!gHadSetupThread)
        text << "(synchronous setup)";
    else if (gSynchronised >= gEnded)
        text << "left=" << formatMs(gSynchronised - gEnded) << "ms";
    else
        text << "lost=" << formatMs(gEnded - gSynchronised) << "ms";
    return text;
}

SoString TesselTalkSetupThread::runLocked(const SoString& appSpec)
{
    // The connector's records were brought up to date by InitTerm::init a
    // moment ago (and load on first use otherwise): looking at the registry
    // folders again here would only repeat that.
    TesselTalk::Specifier spec(appSpec.c_str(), true);
    if (spec.isEmpty())
        return SoString("INVALIDSPEC");
    SoString params;
    if (!TesselTalkUtils::getLaunchParameters(spec.c_str(), params))
        return SoString("INVALIDSPEC");

    if (!params.isEmpty()) {
        std::istringstream words(params.c_str());
        std::string word;
        while (words >> word) {
            std::string next;
            if (word == "-specifier") {
                if (words >> next)
                    spec = TesselTalk::Specifier(next.c_str(), false);
                break;
            }
            if (word == "-instance") {
                if (words >> next)
                    spec.setInstance(next.c_str());
                break;
            }
        }
        if (spec.isEmpty())
            return SoString("INVALIDSPEC");
    }

    TesselTalkContext* context = new TesselTalkContext(spec);
    TesselTalkContext::setCurrentContext(context);
    if (!params.isEmpty() && context->getThread())
        context->getThread()->setKeyValuePair(SoString("LAUNCHPARAMS"), params);
    return SoString();
}

SoString TesselTalkSetupThread::runSetup(const SoString& appSpec)
{
    {
        std::lock_guard<std::mutex> guard(gSetupMutex);
        gStarted = TesselTalkUtils::getUTCTimeMilliSeconds();
    }
    const SoString result = runLocked(appSpec);
    {
        std::lock_guard<std::mutex> guard(gSetupMutex);
        gEnded = TesselTalkUtils::getUTCTimeMilliSeconds();
        gSetupDone = true;
        if (!gHadSetupThread)
            gSynchronised = gEnded;
    }
    if (!gHadSetupThread)
        publishSetupTime();
    return result;
}

void TesselTalkSetupThread::run()
{
    runSetup(m_appSpec);
}

bool TesselTalkSetupThread::startSetupThread(const SoString& appSpec)
{
    std::lock_guard<std::mutex> guard(gSetupMutex);
    if (gSetupThread)
        return false;
    TesselTalkSetupThread* thread = new TesselTalkSetupThread(appSpec);
    if (thread->errorCode() != 0) {
        delete thread;
        return false;
    }
    gSetupThread = thread;
    gSetupDone = false;
    gHadSetupThread = true;
    thread->start();
    return true;
}

bool TesselTalkSetupThread::isSetupThreadRunning()
{
    std::lock_guard<std::mutex> guard(gSetupMutex);
    return gSetupThread != nullptr && !gSetupDone;
}

void TesselTalkSetupThread::syncWithSetupThread()
{
    TesselTalkSetupThread* thread;
    {
        std::lock_guard<std::mutex> guard(gSetupMutex);
        thread = gSetupThread;
    }
    if (!thread)
        return;
    for (;;) {
        {
            std::lock_guard<std::mutex> guard(gSetupMutex);
            if (gSetupThread != thread)
                return; // another caller joined it
            if (gSetupDone) {
                gSetupThread = nullptr;
                gSynchronised = TesselTalkUtils::getUTCTimeMilliSeconds();
                break;
            }
        }
        TesselTalkUtils::sleep(kSyncPollMs);
    }
    thread->waitForRunExit();
    delete thread;
    publishSetupTime();
}

} // namespace ScObjects

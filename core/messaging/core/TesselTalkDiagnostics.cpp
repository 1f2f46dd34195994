// Diagnostics lines: path;flag;label;value; each ending in a line feed.
#include "InterAppStream.h"
#include "MessagingThread.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"

namespace ScObjects {

namespace {

void line(SoString& out, const SoString& path, const char* label, const SoString& value)
{
    out << path << ";1;" << label << ";" << value << ";\n";
}

SoString number(long value)
{
    SoString text;
    text << value;
    return text;
}

} // namespace

void TesselTalkContext::appendDiagnostics(SoString& out, const SoString& prefix) const
{
    SoString path(prefix);
    path << "/context";
    line(out, path, "Specifier", getAppSpecifier());
    line(out, path, "Logging", SoString(isLogging() ? "on" : "off"));
    line(out, path, "Instances", number(getNumberOfInstances()));
    const TesselTalk::TesselTalk* main = getMainInstance();
    SoString mainText = main ? main->getAppName() : SoString();
    if (main)
        mainText << (isOwnedByInstances() ? " (main, init() hasn't been called)" : " (main)");
    line(out, path, "Main", mainText);
    const MessagingThread* thread = getThread();
    line(out, path, "Thread", thread ? thread->getSpecifier() : SoString());
}

namespace TesselTalk {

void TesselTalk::appendDiagnostics(SoString& out, const SoString& prefix) const
{
    SoString path(prefix);
    path << getInfoRoot();
    TesselTalkContext* context = getContext();
    SoString name = getAppName();
    if (context && context->getMainInstance() == this)
        name << (context->isOwnedByInstances() ? " (main, init() hasn't been called)" : " (main)");
    line(out, path, "Name", name);
    line(out, path, "Endpoint", SoString(m_stream && m_stream->isGood() ? "good" : "none"));
    line(out, path, "Handlers", number(handlerCount()));
    line(out, path, "Incoming", number(m_in.count()));
    line(out, path, "Outgoing", number(m_out.count()));
}

SoString TesselTalk::getDiagnostics()
{
    SoString out;
    TesselTalkContext* context = TesselTalkContext::getCurrentContext();
    if (!context)
        return out;
    SoString prefix("/");
    prefix << context->getAppSpecifier();
    context->appendDiagnostics(out, prefix);
    if (MessagingThread* thread = context->getThread())
        thread->appendDiagnostics(out, prefix);
    for (long n = 0; TesselTalk* object = context->getNthInstance(n); ++n)
        object->appendDiagnostics(out, prefix);
    if (TesselTalkConnector* connector = context->getConnector()) {
        const long count = connector->getNumberOfRegisteredApplications();
        line(out, SoString("/connector"), "Applications", number(count));
        for (long n = 0; n < count; ++n) {
            const SoString spec = connector->getApplicationSpecifier(n);
            SoString path("/connector/");
            path << spec;
            line(out, path, "Path", connector->getApplicationPath(spec));
        }
    }
    return out;
}

} // namespace TesselTalk
} // namespace ScObjects

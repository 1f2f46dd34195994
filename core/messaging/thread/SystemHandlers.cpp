#include "SystemHandlers.h"

#include <cstring>

#include "MessagingThread.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkContext.h"
#include "TesselTalkThread.h"

namespace ScObjects {

using TesselTalk::Message;

namespace {

bool isForwardKey(const SoString& key)
{
    return key == "FWDMESSAGES" || key == "FWDLOGS" || key == "FWDERRORS";
}

} // namespace

long ThreadMsgHandler::handleMessage(int, Message& message, SoString* response)
{
    if (response)
        *response = getMsgType();
    sendToMainInstance(message);
    return 0;
}

bool ThreadMsgHandler::sendToMainInstance(Message& message)
{
    TesselTalk::TesselTalk* main = m_context ? m_context->getMainInstance() : nullptr;
    if (!main)
        return false;
    message.setTarget(main->getAppName().c_str());
    message.setType(getMsgType().c_str());
    message.setHeader("Reply-To", message.getSerialNumber());
    message.setSerialNumber(0);
    message.removeHeader("ECHO_REQUEST");
    message.removeHeader("ECHO_RESPONSE");
    return main->send(message, false, 0, nullptr);
}

long ThreadMainMsgHandler::handleMessage(int, Message& message, SoString* response)
{
    if (message.getType() != m_pingType)
        return 0;
    const SoString request = message.getUserHeaderValue(m_requestHeader.c_str());
    if (request.isEmpty()) {
        // An answer to a ping of ours goes to the waiter registered under its key.
        const SoString answered = message.getUserHeaderValue(m_responseHeader.c_str());
        if (answered.isEmpty())
            return 0;
        TesselTalk::MsgHandler* waiter = m_thread->findHandler(answered);
        return waiter && waiter != this ? waiter->handleMessage(TesselTalk::MsgHandler::kResult, message, nullptr) : 0;
    }

    SoString answer;
    const char* equals = std::strchr(request.c_str(), '=');
    if (!equals) {
        TesselTalk::MsgHandler* handler = m_thread->findHandler(request);
        if (handler && handler != this)
            return handler->handleMessage(TesselTalk::MsgHandler::kRequest, message, response);
        answer = m_thread->getValueForKey(request);
        if (answer.isEmpty())
            answer = "UNDEFINED";
    } else {
        const SoString key(request.c_str(), equals - request.c_str());
        const SoString value(equals + 1);
        if (isForwardKey(key)) {
            TesselTalk::TesselTalk* main = m_context ? m_context->getMainInstance() : nullptr;
            if (main) {
                if (!value.isEmpty())
                    delete main->changeHandler(new ThreadForwardMsgHandler(m_context, value, key));
                else
                    delete main->removeHandler(key.c_str(), TesselTalk::kNoSerial);
            }
            m_thread->setKeyValuePair(key, value);
            answer = value;
        }
    }
    if (response && !answer.isEmpty())
        *response = answer;
    return 0;
}

long ThreadLaunchedMsgHandler::handleMessage(int, Message& message, SoString* response)
{
    TesselTalk::Specifier launched(message.getSender().c_str(), false);
    launched.setSuffix("");
    launched.setInstance("");
    SoString key("LAUNCHPARAMS:");
    key << launched;
    if (MessagingThread* thread = m_context ? m_context->getThread() : nullptr)
        thread->setKeyValuePair(key, SoString());
    if (response)
        *response = "LAUNCHED";
    return 0;
}

long ThreadDiagnosticsMsgHandler::handleMessage(int, Message& message, SoString* response)
{
    if (response)
        *response = "SEE BODY";
    const SoString diagnostics = TesselTalk::TesselTalk::getDiagnostics();
    message.setBody(diagnostics.c_str(), diagnostics.length());
    return 0;
}

long ThreadInfoMsgHandler::handleMessage(int, Message& message, SoString* response)
{
    if (!response || !m_context)
        return 0;
    *response = "SEE BODY";
    const SoString spec = m_context->getAppSpecifier();
    SoString prefix("/");
    prefix << spec;
    SoString selection = message.getBody();
    if (selection.isEmpty() || selection == "all")
        selection = "context,thread,messages,connector";
    const auto selected = [&selection](const char* word) { return std::strstr(selection.c_str(), word) != nullptr; };

    MessagingThread* thread = m_context->getThread();
    SoString status = thread ? thread->getValueForKey(SoString("STATUS")) : SoString();
    SoString headLine = prefix;
    headLine << ";1;" << spec << ";" << status << ";\n";

    SoString out;
    if (selected("context")) {
        out << headLine;
        m_context->appendDiagnostics(out, prefix);
    }
    if (selected("thread")) {
        out << headLine;
        if (thread)
            thread->appendDiagnostics(out, prefix);
    }
    const long count = m_context->getNumberOfInstances();
    for (const char* section : {"messages", "log"}) {
        if (!selected(section))
            continue;
        SoString root("/");
        root << section;
        out << root << ";1;" << (std::strcmp(section, "log") == 0 ? "Log" : "Messages") << ";;\n";
        out << root << prefix << ";1;" << spec << ";" << count << ";\n";
        SoString instancePrefix(root);
        instancePrefix << prefix;
        for (long n = 0; TesselTalk::TesselTalk* object = m_context->getNthInstance(n); ++n)
            object->appendDiagnostics(out, instancePrefix);
    }
    if (selected("connector")) {
        if (TesselTalkConnector* connector = m_context->getConnector()) {
            const long apps = connector->getNumberOfRegisteredApplications();
            out << "/connector;1;Applications;" << apps << ";\n";
            for (long n = 0; n < apps; ++n) {
                const SoString app = connector->getApplicationSpecifier(n);
                out << "/connector/" << app << ";1;Path;" << connector->getApplicationPath(app) << ";\n";
            }
        }
    }
    message.setBody(out.c_str(), out.length());
    return 0;
}

long ThreadForwardMsgHandler::handleMessage(int, Message& message, SoString*)
{
    TesselTalk::TesselTalk* main = m_context ? m_context->getMainInstance() : nullptr;
    if (!main || m_target.isEmpty() || !TesselTalk::Specifier(m_target.c_str(), true).isRunning())
        return 0;
    message.setTarget(m_target.c_str());
    message.setSender(main->getAppName().c_str());
    message.setType(TesselTalk::kTypeDebug);
    message.setHeader("Command", m_type.c_str());
    main->send(message, false, 0, nullptr);
    return 0;
}

} // namespace ScObjects

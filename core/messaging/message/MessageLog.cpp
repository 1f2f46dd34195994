// The human-readable log text of a message.
#include "Message.h"

#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

bool Message::logToString(const char* title, SoString& out, bool withBody) const
{
    out.assign("");
    out << "TT " << title << "------------------\n";
    out << "Target: " << m_target << '\n';
    out << "Sender: " << m_sender << '\n';
    if (!m_type.isEmpty())
        out << "Type: " << m_type << '\n';
    if (!m_responseRequest.isEmpty())
        out << "Response-Request: " << m_responseRequest << '\n';
    if (m_timeout != 0) {
        out << "Timeout: " << m_timeout << '\n';
        out << "Deadline: " << (m_timestamp + m_timeout) << '\n';
    }
    out << "Now: " << TesselTalkUtils::getTimeSeconds() << '\n';
    out << "Serial-Number:" << m_serialNumber << '\n';
    out << "Version:" << m_version << '\n';
    if (m_receivedSerial != kNoSerial)
        out << "Received: " << m_receivedSerial << '\n';
    if (m_resultSerial != kNoSerial)
        out << "Result: " << m_resultSerial << '\n';
    if (m_errorSerial != kNoSerial)
        out << "Error: " << m_errorSerial << '\n';
    out << "Content-Length: " << m_body.length() << '\n';
    {
        ObjectLock guard(*this);
        if (m_headers) {
            out << "Custom Headers:\n";
            for (const Header* h = m_headers; h; h = h->next())
                out << "   " << h->name() << ": " << h->value() << '\n';
        }
    }
    out << '\n';
    if (withBody)
        out << m_body << '\n';
    else
        out << "<<BODY OMITTED>>\n";
    return true;
}

} // namespace TesselTalk
} // namespace ScObjects

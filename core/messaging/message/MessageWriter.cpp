// The wire text of a message.
#include "Message.h"

#include <cstring>

#include "MessageGlobals.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

bool isLegacyVersion(const SoString& version)
{
    return version.isEmpty() || version == "1.0" || version == "2.0";
}

// Names the reader would take for a field rather than a user header.
bool isReservedName(const SoString& name)
{
    const char* const reserved[] = {kHeaderSender, kHeaderSenderID, kHeaderTarget, kHeaderTimeout,
        kHeaderType, kHeaderResponseRequest, kHeaderTimestamp, kHeaderContentLength,
        kHeaderSerialNumber, kHeaderReceived, kHeaderResult, kHeaderError, kHeaderErrorCode,
        kHeaderVersion};
    for (const char* r : reserved) {
        if (name == r)
            return true;
    }
    return false;
}

// The wire text has no escaping: a line break inside a field or header
// would start a line of its own, read back as another field or digest.
bool holdsLineBreak(const SoString& text)
{
    const std::size_t n = std::size_t(text.length());
    return std::memchr(text.c_str(), '\n', n) || std::memchr(text.c_str(), '\r', n);
}

// Lines the reader acts on whatever the version, which the "@HDR>" prefix
// does not cover.
bool isControlName(const SoString& name)
{
    return name == "Version" || name == kHeaderDigest || name == kHeaderMD5;
}

// A name with a colon would be split there on reading ("Type:x" with value
// "y" reads back as the field Type holding "x:y").
bool canStream(const Header& header)
{
    return !holdsLineBreak(header.name()) && !holdsLineBreak(header.value())
        && !std::memchr(header.name().c_str(), ':', std::size_t(header.name().length()))
        && !isControlName(header.name());
}

bool canStreamFields(const Message& m)
{
    return !holdsLineBreak(m.getTarget()) && !holdsLineBreak(m.getSender()) && !holdsLineBreak(m.getType())
        && !holdsLineBreak(m.getResponseRequest()) && !holdsLineBreak(m.getVersion());
}

void line(SoString& s, const char* name, const SoString& value)
{
    s << name << ':' << value << '\n';
}

void line(SoString& s, const char* name, unsigned long value)
{
    s << name << ':' << value << '\n';
}

} // namespace

int Message::writeToString(SoString& out) const
{
    SoString s;
    line(s, kHeaderVersion, m_version);
    if (m_target.isEmpty() || m_sender.isEmpty() || !canStreamFields(*this))
        return 0;
    line(s, kHeaderTarget, m_target);
    line(s, kHeaderSender, m_sender);
    line(s, kHeaderSenderID, TesselTalkUtils::getSenderID());
    if (m_timeout != 0)
        line(s, kHeaderTimeout, m_timeout);
    if (!m_type.isEmpty())
        line(s, kHeaderType, m_type);
    if (!m_responseRequest.isEmpty())
        line(s, kHeaderResponseRequest, m_responseRequest);
    {
        const bool legacy = isLegacyVersion(m_version);
        ObjectLock guard(*this);
        for (const Header* h = m_headers; h; h = h->next()) {
            if (!canStream(*h))
                return 0;
            if (!legacy && isReservedName(h->name()))
                s << kHeaderPrefix;
            line(s, h->name().c_str(), h->value());
        }
    }
    // The blank after this colon is what the other side has always sent.
    s << kHeaderTimestamp << ": " << TesselTalkUtils::getTimeSeconds() << '\n';
    line(s, kHeaderSerialNumber, m_serialNumber);
    if (m_receivedSerial != kNoSerial)
        line(s, kHeaderReceived, m_receivedSerial);
    if (m_resultSerial != kNoSerial)
        line(s, kHeaderResult, m_resultSerial);
    if (m_errorSerial != kNoSerial)
        line(s, kHeaderError, m_errorSerial);
    line(s, kHeaderContentLength, static_cast<unsigned long>(m_body.length()));
    s << '\n';
    s << m_body;

    if (TesselTalkData::MessageGlobals::get().createDigest())
        line(out, kHeaderMD5, TesselTalkUtils::getMD5(s.c_str(), s.length()));
    out << s;
    return 1;
}

} // namespace TesselTalk
} // namespace ScObjects

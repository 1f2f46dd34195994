#include "Message.h"

#include <charconv>
#include <cstring>

#include "MessageGlobals.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

Message::Message()
    : m_timeout(0)
    , m_type(kTypeCalligo)
    , m_timestamp(TesselTalkUtils::getTimeSeconds())
    , m_contentLength(0)
    , m_serialNumber(0)
    , m_receivedSerial(kNoSerial)
    , m_resultSerial(kNoSerial)
    , m_errorSerial(kNoSerial)
    , m_headers(nullptr)
    , m_version("2.05")
{
}

Message::Message(const Message& other)
    : SoLockable(other)
    , m_target(other.m_target)
    , m_sender(other.m_sender)
    , m_timeout(other.m_timeout)
    , m_type(other.m_type)
    , m_responseRequest(other.m_responseRequest)
    , m_timestamp(other.m_timestamp)
    , m_contentLength(other.m_contentLength)
    , m_serialNumber(other.m_serialNumber)
    , m_receivedSerial(other.m_receivedSerial)
    , m_resultSerial(other.m_resultSerial)
    , m_errorSerial(other.m_errorSerial)
    , m_headers(nullptr)
    , m_body(other.m_body)
    , m_version(other.m_version)
    , m_digestStatus(other.m_digestStatus)
{
    copyHeadersFrom(other);
}

Message& Message::operator=(const Message& other)
{
    if (this == &other)
        return *this;
    m_target = other.m_target;
    m_sender = other.m_sender;
    m_timeout = other.m_timeout;
    m_type = other.m_type;
    m_responseRequest = other.m_responseRequest;
    m_timestamp = other.m_timestamp;
    m_contentLength = other.m_contentLength;
    m_serialNumber = other.m_serialNumber;
    m_receivedSerial = other.m_receivedSerial;
    m_resultSerial = other.m_resultSerial;
    m_errorSerial = other.m_errorSerial;
    m_body = other.m_body;
    m_version = other.m_version;
    m_digestStatus = other.m_digestStatus;
    ObjectLock guard(*this);
    deleteHeaders();
    copyHeadersFrom(other);
    return *this;
}

Message::~Message()
{
    deleteHeaders();
}

void Message::deleteHeaders()
{
    while (m_headers) {
        Header* next = m_headers->m_next;
        delete m_headers;
        m_headers = next;
    }
}

void Message::copyHeadersFrom(const Message& other)
{
    ObjectLock guard(other);
    Header** tail = &m_headers;
    for (const Header* h = other.m_headers; h; h = h->m_next) {
        *tail = new Header(h->m_name.c_str(), h->m_value.c_str(), nullptr);
        tail = &(*tail)->m_next;
    }
}

void Message::setHeader(const char* name, const char* value)
{
    if (!name || !*name)
        return;
    ObjectLock guard(*this);
    for (Header* h = m_headers; h; h = h->m_next) {
        if (h->m_name == name) {
            h->m_value = value;
            return;
        }
    }
    m_headers = new Header(name, value, m_headers);
}

void Message::setHeader(const char* name, long value)
{
    char text[24];
    *std::to_chars(text, text + sizeof text - 1, value).ptr = 0;
    setHeader(name, text);
}

void Message::setHeader(const char* name, unsigned long value)
{
    char text[24];
    *std::to_chars(text, text + sizeof text - 1, value).ptr = 0;
    setHeader(name, text);
}

void Message::removeHeader(const char* name)
{
    if (!name)
        return;
    ObjectLock guard(*this);
    for (Header** link = &m_headers; *link; link = &(*link)->m_next) {
        if ((*link)->m_name == name) {
            Header* found = *link;
            *link = found->m_next;
            delete found;
            return;
        }
    }
}

SoString Message::getUserHeaderValue(const char* name) const
{
    ObjectLock guard(*this);
    for (const Header* h = m_headers; h; h = h->m_next) {
        if (h->m_name == name)
            return h->m_value;
    }
    return SoString();
}

bool Message::isUserType() const
{
    return TesselTalk::isUserType(m_type.c_str());
}

void Message::setAuthentication(bool on)
{
    TesselTalkData::MessageGlobals::get().setAuthentication(on);
}

bool Message::getAuthentication()
{
    return TesselTalkData::MessageGlobals::get().authentication();
}

void Message::setCreateDigest(bool on)
{
    TesselTalkData::MessageGlobals::get().setCreateDigest(on);
}

bool Message::getCreateDigest()
{
    return TesselTalkData::MessageGlobals::get().createDigest();
}

} // namespace TesselTalk
} // namespace ScObjects

// Reading the wire text back into a message.
#include "Message.h"

#include <algorithm>
#include <cstring>

#include "MessageGlobals.h"
#include "TesselTalkUtils.h"

namespace ScObjects {
namespace TesselTalk {

namespace {

// Unsigned decimal: leading blanks skipped, stops at the first non-digit,
// saturates rather than wrapping so that a huge serial reads as none.
unsigned long parseNumber(const SoString& text)
{
    const char* p = text.c_str();
    while (*p == ' ' || *p == '\t')
        ++p;
    unsigned long value = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        const unsigned long digit = static_cast<unsigned long>(*p - '0');
        if (value > (kNoSerial - digit) / 10)
            return kNoSerial;
        value = value * 10 + digit;
    }
    return value;
}

bool isEmptyOrLegacy(const SoString& version)
{
    return version.isEmpty() || version == "1.0" || version == "2.0";
}

} // namespace

void Message::clearForRead()
{
    {
        ObjectLock guard(*this);
        deleteHeaders();
    }
    m_timeout = 0;
    m_serialNumber = 0;
    m_contentLength = 0;
    m_receivedSerial = kNoSerial;
    m_resultSerial = kNoSerial;
    m_errorSerial = kNoSerial;
    m_target.assign("");
    m_sender.assign("");
    m_type.assign("");
    m_responseRequest.assign("");
    m_body.assign("");
}

void Message::normaliseAnswer(unsigned long& answerSerial, const char* answerType)
{
    if (answerSerial == kNoSerial)
        return;
    m_serialNumber = answerSerial;
    answerSerial = kNoSerial;
    if (m_type == answerType)
        return;
    SoString type(answerType);
    if (isUserType())
        type << m_type;
    m_type = type;
}

const char* Message::readFromString(const char* text, long length)
{
    if (!text)
        text = "";
    // Without a length the text ends at its first NUL, where every scan
    // below stops anyway. Measuring the rest of the text up front would make
    // reading a long run of messages one by one quadratic.
    const char* const end = length < 0 ? nullptr : text + length;
    const auto more = [end](const char* q) { return (!end || q < end) && *q; };

    m_version.assign("1.0");
    if (!m_target.isEmpty())
        clearForRead();
    m_digestStatus.assign("NODIGEST");
    bool stripHeaderPrefix = true;
    bool haveAlternativeDigest = false;
    SoString expectedMD5;
    const char* signedStart = text;

    const char* p = text;
    while (more(p)) {
        if (*p == '\n') {
            ++p;
            break;
        }
        // The name runs to the first colon, across line ends if need be; a
        // text that has none left ends the headers with its remainder.
        const char* nameEnd = p;
        while (more(nameEnd) && *nameEnd != ':')
            ++nameEnd;
        const SoString name(p, nameEnd - p);
        const char* valueStart = more(nameEnd) ? nameEnd + 1 : nameEnd;
        const char* valueEnd = valueStart;
        while (more(valueEnd) && *valueEnd != '\n')
            ++valueEnd;
        const SoString value(valueStart, valueEnd - valueStart);
        p = more(valueEnd) ? valueEnd + 1 : valueEnd;

        if (name == "Version") {
            m_version.assign(kTTPrefix);
            m_version << value;
        } else if (name == kHeaderVersion) {
            m_version = value;
            if (isEmptyOrLegacy(value))
                stripHeaderPrefix = false;
        } else if (name == kHeaderSender) {
            m_sender = value;
        } else if (name == kHeaderTarget) {
            m_target = value;
        } else if (name == kHeaderType) {
            m_type = value;
        } else if (name == kHeaderResponseRequest) {
            m_responseRequest = value;
        } else if (name == kHeaderTimeout) {
            m_timeout = parseNumber(value);
        } else if (name == kHeaderTimestamp) {
            m_timestamp = parseNumber(value);
        } else if (name == kHeaderContentLength) {
            m_contentLength = parseNumber(value);
        } else if (name == kHeaderSerialNumber) {
            m_serialNumber = parseNumber(value);
        } else if (name == kHeaderReceived) {
            m_receivedSerial = parseNumber(value);
        } else if (name == kHeaderResult) {
            m_resultSerial = parseNumber(value);
        } else if (name == kHeaderError) {
            m_errorSerial = parseNumber(value);
        } else if (name == kHeaderDigest) {
            haveAlternativeDigest = true;
            signedStart = p;
        } else if (name == kHeaderMD5) {
            if (!haveAlternativeDigest) {
                expectedMD5 = value;
                signedStart = p;
            }
        } else {
            const long prefixLength = long(std::strlen(kHeaderPrefix));
            if (stripHeaderPrefix && std::strncmp(name.c_str(), kHeaderPrefix, std::size_t(prefixLength)) == 0)
                setHeader(name.c_str() + prefixLength, value.c_str());
            else
                setHeader(name.c_str(), value.c_str());
        }
    }

    // The announced length is trusted only as far as the text goes; a text
    // with a length may carry NUL bytes in its body.
    const unsigned long bodyLength = end
        ? std::min(m_contentLength, static_cast<unsigned long>(end - p))
        : static_cast<unsigned long>(strnlen(p, m_contentLength));
    m_body.assign(p, long(bodyLength));
    p += bodyLength;

    if (TesselTalkData::MessageGlobals::get().authentication()) {
        SoString computed;
        if (!expectedMD5.isEmpty())
            computed = TesselTalkUtils::getMD5(signedStart, p - signedStart);
        m_digestStatus.assign(computed == expectedMD5 ? "" : "REJECTED");
    }

    while (more(p) && *p == '\n')
        ++p;

    if (m_timeout > 0 && m_timestamp == 0)
        m_timestamp = TesselTalkUtils::getTimeSeconds();

    // Answers carry the serial of the message they answer in serialNumber.
    if (m_type != "debug") {
        normaliseAnswer(m_receivedSerial, kTypeReceived);
        normaliseAnswer(m_resultSerial, kTypeResult);
        normaliseAnswer(m_errorSerial, kTypeError);
    }
    return p;
}

} // namespace TesselTalk
} // namespace ScObjects

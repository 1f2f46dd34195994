// A message of the messaging system: addressing fields, user headers and a
// body, and the one text form in which it crosses the process boundary.
//
// The message's own lock guards its header list; the other fields belong to
// the thread that owns the message at that moment.
#pragma once

#include "Header.h"
#include "MessageConstants.h"
#include "SoLockable.h"
#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {

class Message : public SoLockable {
public:
    Message();
    Message(const Message& other);
    Message& operator=(const Message& other);
    ~Message() override;

    // A null or empty name does nothing. An existing header of exactly that
    // name gets the new value; otherwise the header goes to the front.
    void setHeader(const char* name, const char* value);
    void setHeader(const char* name, long value);
    void setHeader(const char* name, unsigned long value);
    // Unlinks the first header of that name; absent names do nothing.
    void removeHeader(const char* name);
    // The value of the first header of that name, or empty.
    SoString getUserHeaderValue(const char* name) const;
    // The list, most recently added first. Hold an ObjectLock on the
    // message while walking it if another thread may change it.
    const Header* firstHeader() const { return m_headers; }

    bool isUserType() const;
    // The digest outcome is only recorded in getDigestStatus(): always false.
    bool isRejected() const { return false; }

    // Process-wide digest settings.
    static void setAuthentication(bool on);
    static bool getAuthentication();
    static void setCreateDigest(bool on);
    static bool getCreateDigest();

    // Appends the wire text to out and returns 1; returns 0 and leaves out
    // untouched when the text cannot carry the message: the target or the
    // sender is empty, a field or a header holds a line break (CR or LF), or
    // a header name holds a colon or is "Version", "@TT>Digest" or "@TT>MD5".
    int writeToString(SoString& out) const;
    // Fills the message from the wire text and returns the position after
    // it (every directly following newline skipped), where the next message
    // of the same text starts. Never reads past the end of the text: a
    // negative length means up to the first NUL. Malformed lines become
    // user headers; a body shorter than its Content-Length is taken as it is.
    const char* readFromString(const char* text, long length = -1);
    // Clears out and writes the human-readable log text; true.
    bool logToString(const char* title, SoString& out, bool withBody) const;

    const SoString& getTarget() const { return m_target; }
    void setTarget(const char* target) { m_target = target; }
    const SoString& getSender() const { return m_sender; }
    void setSender(const char* sender) { m_sender = sender; }
    unsigned long getTimeout() const { return m_timeout; }
    void setTimeout(unsigned long seconds) { m_timeout = seconds; }
    const SoString& getType() const { return m_type; }
    void setType(const char* type) { m_type = type; }
    const SoString& getResponseRequest() const { return m_responseRequest; }
    void setResponseRequest(const char* request) { m_responseRequest = request; }
    unsigned long getTimestamp() const { return m_timestamp; }
    void setTimestamp(unsigned long seconds) { m_timestamp = seconds; }
    unsigned long getContentLength() const { return m_contentLength; }
    unsigned long getSerialNumber() const { return m_serialNumber; }
    void setSerialNumber(unsigned long serial) { m_serialNumber = serial; }
    unsigned long getReceivedSerial() const { return m_receivedSerial; }
    void setReceivedSerial(unsigned long serial) { m_receivedSerial = serial; }
    unsigned long getResultSerial() const { return m_resultSerial; }
    void setResultSerial(unsigned long serial) { m_resultSerial = serial; }
    unsigned long getErrorSerial() const { return m_errorSerial; }
    void setErrorSerial(unsigned long serial) { m_errorSerial = serial; }
    const SoString& getBody() const { return m_body; }
    void setBody(const char* body, long length = -1) { m_body.assign(body, length); }
    SoString getVersion() const { return m_version; }
    void setVersion(const char* version) { m_version = version; }
    // "NODIGEST", "REJECTED" or empty, as the last read left it.
    const SoString& getDigestStatus() const { return m_digestStatus; }

private:
    void clearForRead();
    void deleteHeaders();
    void copyHeadersFrom(const Message& other);
    void normaliseAnswer(unsigned long& answerSerial, const char* answerType);

    SoString m_target;
    SoString m_sender;
    unsigned long m_timeout;
    SoString m_type;
    SoString m_responseRequest;
    unsigned long m_timestamp;
    unsigned long m_contentLength;
    unsigned long m_serialNumber;
    unsigned long m_receivedSerial;
    unsigned long m_resultSerial;
    unsigned long m_errorSerial;
    Header* m_headers;
    SoString m_body;
    SoString m_version;
    SoString m_digestStatus;
};

} // namespace TesselTalk
} // namespace ScObjects

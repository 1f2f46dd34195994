// One user header of a message; a link of the message's header list.
#pragma once

#include "SoString.h"

namespace ScObjects {
namespace TesselTalk {

class Header : public SoHeap {
public:
    Header(const char* name, const char* value, Header* next)
        : m_next(next), m_name(name), m_value(value)
    {
    }
    virtual ~Header() = default;
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;

    const Header* next() const { return m_next; }
    const SoString& name() const { return m_name; }
    const SoString& value() const { return m_value; }

private:
    friend class Message;

    Header* m_next;
    SoString m_name;
    SoString m_value;
};

} // namespace TesselTalk
} // namespace ScObjects

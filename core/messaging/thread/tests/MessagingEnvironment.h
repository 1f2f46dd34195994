// A private world for messaging tests: HOME, the XDG folders and the
// endpoint folder point into a fresh temporary folder, and the messaging
// system is set up as "ttsender-1.0" with a main object whose default
// handler records every message it is given.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "TesselTalk.h"

struct Answer {
    int kind;
    std::string type;
    std::string body;
    std::string errorCode;
    unsigned long serial;
};

class Recorder : public ScObjects::TesselTalk::MsgHandler {
public:
    explicit Recorder(std::vector<Answer>* answers, const char* type = "Calligo",
        unsigned long serial = ScObjects::TesselTalk::kNoSerial)
        : m_answers(answers)
        , m_type(type)
        , m_serial(serial)
    {
    }
    long handleMessage(int kind, ScObjects::TesselTalk::Message& message, ScObjects::SoString*) override
    {
        m_answers->push_back({kind, message.getType().c_str(), message.getBody().c_str(),
            message.getUserHeaderValue("Error-Code").c_str(), message.getSerialNumber()});
        return 0;
    }
    ScObjects::SoString getMsgType() const override { return ScObjects::SoString(m_type.c_str()); }
    unsigned long getSerialNumber() const override { return m_serial; }

private:
    std::vector<Answer>* m_answers;
    std::string m_type;
    unsigned long m_serial;
};

class MessagingEnvironment : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Registers spec with the test peer program as its executable.
    void registerPeer(const char* spec, const char* path = nullptr);
    // Starts the peer serving spec; waits until it is ready.
    pid_t startPeer(const char* spec, const std::string& out);
    pid_t spawn(const std::vector<std::string>& args);
    // Pumps until pred holds or seconds pass; whether it held.
    template <typename Pred>
    bool pumpUntil(Pred pred, double seconds = 10);
    static std::vector<std::string> readLines(const std::string& path);
    static bool waitForLine(const std::string& path, const std::string& prefix, double seconds = 10);
    static int countLines(const std::string& path, const std::string& prefix);
    bool hasAnswer(int kind, const std::string& body = std::string()) const;
    // The endpoint folder's file names (sockets and locks) that contain part.
    static std::vector<std::string> ourEndpointFiles(const std::string& part);

    std::string m_root;
    std::vector<pid_t> m_children;
    std::vector<Answer> m_answers;
    ScObjects::TesselTalk::TesselTalk* m_tt = nullptr;
};

template <typename Pred>
bool MessagingEnvironment::pumpUntil(Pred pred, double seconds)
{
    for (int i = 0; i < int(seconds * 20); ++i) {
        ScObjects::TesselTalk::TesselTalk::pump(ScObjects::TesselTalk::TesselTalk::kBoth);
        if (pred())
            return true;
        usleep(50000);
    }
    return pred();
}

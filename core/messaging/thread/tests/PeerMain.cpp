// The other process of the two-process tests.
//
//   tt_peer serve SPEC OUTFILE      serve as SPEC, recording what it handles
//   tt_peer send SPEC TARGET BODY   send BODY to TARGET (launching it) and
//                                   exit 0 once it was handed over
//   tt_peer                         launched: SPEC and OUTFILE come from
//                                   TT_PEER_SPEC and TT_PEER_OUT
//
// Bodies the server understands: "block MS" stops pumping for MS
// milliseconds, "hold MS" stays MS milliseconds inside its handler (the
// status reads "PUMPING"), "fail" answers error 7, "throw" throws, "quit"
// ends it; anything else is answered "echo:" BODY. With TT_PEER_SILENT set
// in its environment the server records every body and answers none of
// them with a result (error 7 instead).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "TesselTalk.h"
#include "TesselTalkThread.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using ScObjects::TesselTalk::Message;

namespace {

std::string gOut;
long gBlockMs = 0;
bool gQuit = false;

void record(const std::string& line)
{
    if (FILE* out = std::fopen(gOut.c_str(), "a")) {
        std::fprintf(out, "%s @%.0f\n", line.c_str(), TesselTalkUtils::getUTCTimeMilliSeconds());
        std::fclose(out);
    }
}

class Server : public TesselTalk::MsgHandler {
public:
    long handleMessage(int kind, Message& message, SoString* result) override
    {
        const std::string body = message.getBody().c_str();
        if (kind != kRequest && kind != kUser)
            return 0;
        if (message.getType() == "LaunchParams")
            return 0;
        record("handled " + body);
        if (std::getenv("TT_PEER_SILENT"))
            return 7;
        if (body.compare(0, 6, "block ") == 0) {
            gBlockMs = std::atol(body.c_str() + 6);
        } else if (body.compare(0, 5, "hold ") == 0) {
            TesselTalkUtils::sleep(static_cast<unsigned int>(std::atol(body.c_str() + 5)));
        } else if (body == "fail") {
            *result = "failed";
            return 7;
        } else if (body == "throw") {
            throw std::runtime_error("peer handler");
        } else if (body == "quit") {
            gQuit = true;
        }
        *result = ("echo:" + body).c_str();
        return 0;
    }
};

int serve(const char* spec)
{
    TesselTalk::TesselTalk::InitTerm::init(SoString(spec), true);
    const SoString params = TesselTalk::TesselTalk::getLaunchOptions();
    record("started " + std::to_string(getpid()));
    if (!params.isEmpty())
        record("params " + std::string(params.c_str()));
    if (TesselTalk::TesselTalk::suppressStartupScreen())
        record("no start-up screen");
    auto* tt = new TesselTalk::TesselTalk(spec, new Server, true);
    record("ready " + std::string(tt->getAppName().c_str()));
    while (!gQuit) {
        if (gBlockMs > 0) {
            TesselTalkUtils::sleep(static_cast<unsigned int>(gBlockMs));
            gBlockMs = 0;
        }
        TesselTalk::TesselTalk::pump(TesselTalk::TesselTalk::kBoth);
        TesselTalkUtils::sleep(50);
    }
    delete tt;
    TesselTalk::TesselTalk::InitTerm::exit();
    return 0;
}

int sendOne(const char* spec, const char* target, const char* body)
{
    TesselTalk::TesselTalk::InitTerm::init(SoString(spec), true);
    auto* tt = new TesselTalk::TesselTalk(spec, nullptr, true);
    Message message;
    message.setTarget(target);
    message.setBody(body);
    bool ok = tt->send(message, true, 0, nullptr);
    for (int i = 0; ok && i < 400 && tt->outgoingMessagePending(); ++i)
        TesselTalkUtils::sleep(100);
    ok = ok && !tt->outgoingMessagePending();
    delete tt;
    TesselTalk::TesselTalk::InitTerm::exit();
    return ok ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    TesselTalkThread::install();
    if (argc == 4 && std::strcmp(argv[1], "serve") == 0) {
        gOut = argv[3];
        return serve(argv[2]);
    }
    if (argc == 5 && std::strcmp(argv[1], "send") == 0)
        return sendOne(argv[2], argv[3], argv[4]);
    const char* spec = std::getenv("TT_PEER_SPEC");
    const char* out = std::getenv("TT_PEER_OUT");
    if (argc == 1 && spec && out) {
        gOut = out;
        return serve(spec);
    }
    std::fprintf(stderr, "usage: tt_peer serve SPEC OUTFILE | send SPEC TARGET BODY\n");
    return 2;
}

// tt: the messaging system from the command line.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ConnectorConfig.h"
#include "Specifier.h"
#include "TesselTalk.h"
#include "TesselTalkConnector.h"
#include "TesselTalkPing.h"
#include "TesselTalkThread.h"
#include "TesselTalkUtils.h"

using namespace ScObjects;
using TesselTalk::Message;
using Messaging = TesselTalk::TesselTalk;

namespace {

// Exit statuses.
enum Status { kOk = 0, kFailed = 1, kNotRunning = 2, kTimedOut = 3, kUsage = 64 };

// The longest single wait between two pumps; an arriving message ends it.
constexpr unsigned int kPumpWaitMs = 100;

struct Verb {
    const char* name;
    const char* usage;
    const char* help;
};

const Verb kVerbs[] = {
    {"ping", "tt ping SPEC [KEY]", "Asks SPEC's messaging thread for KEY (default STATUS) and prints the answer."},
    {"send", "tt send SPEC TEXT [--type T] [--wait SECONDS] [--launch]",
        "Sends TEXT to SPEC. With --wait, waits for the result and prints it. Exit status: 0 delivered (and\n"
        "answered), 1 refused or answered with an error, 2 not running, 3 timed out."},
    {"listen", "tt listen SPEC", "Takes the name SPEC and prints every message it receives until interrupted."},
    {"apps", "tt apps", "Lists the registered applications and their paths."},
    {"register", "tt register FILE", "Registers the application described by the configuration FILE."},
    {"unregister", "tt unregister SPEC", "Removes the per-user registration of SPEC."},
    {"diag", "tt diag SPEC [SECTIONS]",
        "Prints SPEC's diagnostics: SECTIONS of context,thread,messages,log,connector (default all)."},
    {"config", "tt config SPEC|groups", "Prints the configuration text of SPEC's record, or of the group list."},
};

const Verb* findVerb(const char* name)
{
    for (const Verb& verb : kVerbs) {
        if (std::strcmp(verb.name, name) == 0)
            return &verb;
    }
    return nullptr;
}

int usage(FILE* out, int status)
{
    std::fprintf(out, "Usage: tt VERB [ARGUMENTS]   (tt VERB --help for one verb)\n\n");
    for (const Verb& verb : kVerbs)
        std::fprintf(out, "  %s\n", verb.usage);
    return status;
}

int fail(int status, const std::string& text)
{
    std::fprintf(stderr, "tt: %s\n", text.c_str());
    return status;
}

// Our own name: "tt" with the process identifier as instance.
SoString ownSpecifier()
{
    SoString spec("tt_");
    spec << static_cast<unsigned long>(getpid());
    return spec;
}

// withThread: whether others must be able to reach us while we run. A
// one-shot send does without the messaging thread (and its endpoint) unless
// it launches its target, which confirms the launch to that thread.
bool start(bool withThread = true)
{
    if (withThread)
        TesselTalkThread::install();
    return Messaging::InitTerm::init(ownSpecifier(), true) == 1;
}

class Printer : public TesselTalk::MsgHandler {
public:
    explicit Printer(std::vector<Message>* kept = nullptr)
        : m_kept(kept)
    {
    }
    long handleMessage(int, Message& message, SoString*) override
    {
        if (m_kept) {
            m_kept->push_back(message);
        } else {
            std::printf("%s from %s: %s\n", message.getType().c_str(), message.getSender().c_str(),
                message.getBody().c_str());
            std::fflush(stdout);
        }
        return 0;
    }

private:
    std::vector<Message>* m_kept;
};

int ping(const std::vector<std::string>& args)
{
    if (args.empty() || args.size() > 2)
        return fail(kUsage, "ping needs SPEC and at most one KEY");
    if (!start())
        return fail(kFailed, "cannot set up messaging");
    const std::string key = args.size() == 2 ? args[1] : "STATUS";
    const SoString answer = Messaging::Thread::ping(args[0].c_str(), key.c_str(), 5);
    Messaging::InitTerm::exit();
    if (answer.isEmpty())
        return fail(kNotRunning, "no answer from " + args[0]);
    std::printf("%s\n", answer.c_str());
    return kOk;
}

// Pumps until the message has left the outgoing queue and, with wait, its
// answer came; the tool's exit status. The answer is printed, an error
// answer reported.
int awaitDelivery(Messaging& tt, const Message& message, std::vector<Message>& answers, long wait)
{
    const unsigned long until = TesselTalkUtils::getTimeSeconds() + static_cast<unsigned long>(wait ? wait : 10);
    for (;;) {
        // One message at a time rather than a whole pump, so that we leave
        // as soon as the answer is in, not after taking in what follows it.
        const bool handled = tt.processIncomingMessage(TesselTalk::kNoSerial, true);
        tt.processOutgoingMessage();
        for (const Message& answer : answers) {
            if (answer.getSerialNumber() != message.getSerialNumber())
                continue;
            if (std::strncmp(answer.getType().c_str(), "Error", 5) == 0 || !answer.getUserHeaderValue("Error-Code").isEmpty())
                return fail(kFailed, std::string("error ") + answer.getUserHeaderValue("Error-Code").c_str() + ": "
                    + answer.getBody().c_str());
            if (answer.getType() != "Received" && answer.getType() != "Processed") {
                std::printf("%s\n", answer.getBody().c_str());
                return kOk;
            }
        }
        answers.clear();
        const bool pending = tt.outgoingMessagePending();
        if (!pending && !wait)
            return kOk;
        if (TesselTalkUtils::getTimeSeconds() >= until) {
            if (pending)
                return fail(kTimedOut, "message to " + std::string(message.getTarget().c_str()) + " is still queued");
            return fail(kTimedOut, "no answer from " + std::string(message.getTarget().c_str()) + " within "
                + std::to_string(wait) + " s");
        }
        if (!handled)
            tt.waitForIncoming(kPumpWaitMs);
    }
}

int send(const std::vector<std::string>& args)
{
    std::string type = "Calligo";
    long wait = 0;
    bool launch = false;
    std::vector<std::string> words;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--type" && i + 1 < args.size()) {
            type = args[++i];
        } else if (args[i] == "--wait" && i + 1 < args.size()) {
            char* end = nullptr;
            wait = std::strtol(args[++i].c_str(), &end, 10);
            if (*end || wait <= 0)
                return fail(kUsage, "--wait needs a positive number of seconds, not '" + args[i] + "'");
        } else if (args[i] == "--launch") {
            launch = true;
        } else if (args[i].compare(0, 2, "--") == 0) {
            return fail(kUsage, "send does not know " + args[i]);
        } else {
            words.push_back(args[i]);
        }
    }
    if (words.size() != 2)
        return fail(kUsage, "send needs SPEC and TEXT");
    if (!start(launch))
        return fail(kFailed, "cannot set up messaging");
    std::vector<Message> answers;
    auto* tt = new Messaging(ownSpecifier().c_str(), new Printer(&answers), true);
    Message message;
    message.setTarget(words[0].c_str());
    message.setType(type.c_str());
    message.setBody(words[1].c_str());
    if (wait)
        message.setResponseRequest("Result Error");
    int status = kOk;
    // Sending first and asking whether the target runs only after a refusal:
    // the probe waits for the target's messaging thread, up to one pump
    // interval, which a delivered message does not need.
    if (!tt->send(message, launch, 0, nullptr)) {
        if (!launch && !Messaging::targetIsRunning(words[0].c_str()))
            status = fail(kNotRunning, words[0] + " is not running (--launch starts it)");
        else
            status = fail(kFailed, "could not send to " + words[0]);
    } else {
        status = awaitDelivery(*tt, message, answers, wait);
    }
    delete tt;
    Messaging::InitTerm::exit();
    return status;
}

volatile sig_atomic_t gInterrupted = 0;

int listen(const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return fail(kUsage, "listen needs SPEC");
    TesselTalkThread::install();
    if (Messaging::InitTerm::init(SoString(args[0].c_str()), true) != 1)
        return fail(kFailed, "'" + args[0] + "' is not a usable specifier");
    auto* tt = new Messaging(args[0].c_str(), new Printer, true);
    std::printf("listening as %s\n", tt->getAppName().c_str());
    std::fflush(stdout);
    signal(SIGINT, [](int) { gInterrupted = 1; });
    signal(SIGTERM, [](int) { gInterrupted = 1; });
    while (!gInterrupted) {
        Messaging::pump(Messaging::kBoth);
        tt->waitForIncoming(kPumpWaitMs);
    }
    delete tt;
    Messaging::InitTerm::exit();
    return kOk;
}

TesselTalkConnector* connector()
{
    TesselTalkConnector::InitTerm::init(SoString("default"));
    return TesselTalkConnector::get();
}

int apps(const std::vector<std::string>& args)
{
    if (!args.empty())
        return fail(kUsage, "apps takes no arguments");
    TesselTalkConnector* registry = connector();
    for (long n = 0; n < registry->getNumberOfRegisteredApplications(); ++n) {
        const SoString spec = registry->getApplicationSpecifier(n);
        std::printf("%s\t%s\n", spec.c_str(), registry->getApplicationPath(spec).c_str());
    }
    return kOk;
}

int registerFile(const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return fail(kUsage, "register needs FILE");
    std::ifstream in(args[0], std::ios::binary);
    if (!in)
        return fail(kFailed, "cannot read " + args[0]);
    std::stringstream text;
    text << in.rdbuf();
    const std::string content = text.str();
    ConnectorConfig::Contents contents;
    SoString error;
    if (!ConnectorConfig::read(content.c_str(), static_cast<long>(content.size()), contents, error))
        return fail(kFailed, args[0] + ": " + error.c_str());
    if (!contents.hasRecord)
        return fail(kFailed, args[0] + " describes no application");
    if (!connector()->doRegisterApplication(contents.record))
        return fail(kFailed, "the record of " + args[0] + " cannot be registered");
    return kOk;
}

int unregister(const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return fail(kUsage, "unregister needs SPEC");
    if (!connector()->unregisterApplication(TesselTalk::Specifier(args[0].c_str(), false)))
        return fail(kFailed, args[0] + " has no per-user registration");
    return kOk;
}

int diag(const std::vector<std::string>& args)
{
    if (args.empty() || args.size() > 2)
        return fail(kUsage, "diag needs SPEC and at most one SECTIONS list");
    if (!start())
        return fail(kFailed, "cannot set up messaging");
    const SoString sections(args.size() == 2 ? args[1].c_str() : "all");
    SoString body;
    const SoString answer = TesselTalkUtils::ping(SoString(args[0].c_str()), true, SoString("INFO"),
        static_cast<unsigned long>(std::rand()), 5, &sections, &body);
    Messaging::InitTerm::exit();
    if (answer.isEmpty())
        return fail(kNotRunning, "no answer from " + args[0]);
    std::fwrite(body.c_str(), 1, std::size_t(body.length()), stdout);
    return kOk;
}

int config(const std::vector<std::string>& args)
{
    if (args.size() != 1)
        return fail(kUsage, "config needs SPEC or groups");
    const SoString text = connector()->getConnectorConfig(SoString(args[0].c_str()));
    std::fwrite(text.c_str(), 1, std::size_t(text.length()), stdout);
    return kOk;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return usage(stderr, kUsage);
    if (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)
        return usage(stdout, kOk);
    const Verb* verb = findVerb(argv[1]);
    if (!verb) {
        std::fprintf(stderr, "tt: unknown verb '%s'\n", argv[1]);
        return usage(stderr, kUsage);
    }
    std::vector<std::string> args(argv + 2, argv + argc);
    for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
            std::printf("Usage: %s\n\n%s\n", verb->usage, verb->help);
            return kOk;
        }
    }
    const std::string name = verb->name;
    if (name == "ping")
        return ping(args);
    if (name == "send")
        return send(args);
    if (name == "listen")
        return listen(args);
    if (name == "apps")
        return apps(args);
    if (name == "register")
        return registerFile(args);
    if (name == "unregister")
        return unregister(args);
    if (name == "diag")
        return diag(args);
    return config(args);
}

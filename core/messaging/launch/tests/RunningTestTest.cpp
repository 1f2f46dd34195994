#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "MailboxEndpoints.h"
#include "Message.h"
#include "RunningTest.h"

using namespace ScObjects;
using namespace ScObjects::TesselTalkUtils;
using ScObjects::TesselTalk::Specifier;

namespace {

// The registry as the running test sees it: process identifiers only.
class PidRegistry : public TesselTalk::ApplicationRegistry, public TesselTalk::SpecifierContext {
public:
    std::map<std::string, unsigned long> pids;

    long getNumberOfRegisteredApplications() const override { return 0; }
    SoString getApplicationSpecifier(long) const override { return SoString(); }
    SoString findGroupForSpecifier(const SoString&) const override { return SoString(); }
    SoString findPreferredApp(const SoString&, const SoString&, const SoString&) const override { return SoString(); }
    SoString getApplicationPath(const SoString&) const override { return SoString(); }
    unsigned long getProcessID(const SoString& spec) const override
    {
        auto it = pids.find(spec.c_str());
        return it == pids.end() ? 0 : it->second;
    }
    bool registerApplication(const Specifier&, const char*, const char*, bool) override { return false; }
    bool unregisterApplication(const Specifier&) override { return false; }
    bool addToGroup(const char*, const Specifier&) override { return false; }
    bool removeFromGroup(const char*, const Specifier&) override { return false; }
    SoString getAppSpecifier() const override { return SoString(); }
    ApplicationRegistry* getRegistry() const override { return const_cast<PidRegistry*>(this); }
    bool isRunning(const Specifier&) const override { return false; }
};

class RunningTestTest : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/tt-probe-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_root = pattern;
        stream = std::make_unique<MailboxEndpoints>(m_root);
        setProbeStream(stream.get());
        TesselTalk::setSpecifierContext(&registry);
    }
    void TearDown() override
    {
        TesselTalk::setSpecifierContext(nullptr);
        setProbeStream(nullptr);
        std::filesystem::remove_all(m_root);
    }

    std::unique_ptr<MailboxEndpoints> stream;
    PidRegistry registry;

private:
    std::string m_root;
};

} // namespace

TEST(ThreadEndpointName, EveryPartButTheSuffix)
{
    const std::pair<const char*, const char*> rows[] = {
        {"tessel_2-4.0-en_us#main", "tessel_2-4.0-en_us#thread"}, {"tessel-en_us", "tessel-en_us#thread"},
        {"tessel", "tessel#thread"}};
    for (const auto& row : rows)
        EXPECT_EQ(threadEndpointName(Specifier(row.first, false)), row.second) << row.first;
}

TEST_F(RunningTestTest, ProbeReachesOnlyAHeldEndpoint)
{
    EXPECT_FALSE(testTarget(SoString("me"), SoString("viewer"), "ping", 7)) << "nobody holds viewer";
    auto viewer = stream->open(SoString("viewer"));
    ASSERT_TRUE(viewer);
    EXPECT_TRUE(testTarget(SoString("me"), SoString("viewer"), "ping", 7));
    TesselTalk::Message probe;
    const std::string text = stream->takeDelivered("viewer");
    probe.readFromString(text.c_str(), long(text.size()));
    EXPECT_EQ(probe.getSender(), "me#ping");
    EXPECT_EQ(probe.getType(), "ping");
    EXPECT_EQ(probe.getSerialNumber(), 7u);

    // Our usual sender name is busy: another is drawn.
    auto busy = stream->open(SoString("me#ping"));
    EXPECT_TRUE(testTarget(SoString("me"), SoString("viewer"), "ping", 8));
    const std::string again = stream->takeDelivered("viewer");
    probe.readFromString(again.c_str(), long(again.size()));
    EXPECT_EQ(std::string(probe.getSender().c_str()).rfind("me_", 0), 0u) << probe.getSender().c_str();
    EXPECT_NE(probe.getSender(), "me#ping");

    setProbeStream(nullptr);
    EXPECT_FALSE(testTarget(SoString("me"), SoString("viewer"), "ping", 9));
    EXPECT_TRUE(testTarget(SoString("viewer"), SoString("viewer"), "ping", 9)) << "asking oneself";
}

TEST_F(RunningTestTest, ProcessThenThreadThenApplication)
{
    const pid_t gone = fork();
    ASSERT_GE(gone, 0);
    if (gone == 0)
        _exit(0);
    waitpid(gone, nullptr, 0);
    registry.pids["live-1.0"] = static_cast<unsigned long>(getpid());
    registry.pids["dead-1.0"] = static_cast<unsigned long>(gone);
    auto thread = stream->open(SoString("threaded-1.0#thread"));
    auto endpoint = stream->open(SoString("suffixed-1.0#main"));
    auto own = stream->open(SoString("plain-1.0"));

    struct Row {
        const char* spec;
        bool running;
    };
    const Row rows[] = {
        {"me-1.0", true},             // the caller
        {"live-1.0", true},           // its recorded process lives
        {"dead-1.0", false},          // recorded, gone, not reachable
        {"threaded-1.0", true},       // its thread answers
        {"suffixed-1.0#main", true},  // an endpoint inside it
        {"suffixed-1.0#other", false},
        {"live-1.0#main", false},     // a suffix is probed, never the process
        {"threaded-1.0#other", false}, // nor the thread
        {"plain-1.0", true},
        {"", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(TesselTalkUtils::isRunning(Specifier(row.spec, false), SoString("me-1.0"), 1), row.running) << row.spec;
}

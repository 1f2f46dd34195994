// Points the registry's folders (XDG_DATA_HOME, XDG_DATA_DIRS, HOME) at a
// fresh temporary tree for one test, installs a connector as the
// specifiers' registry, and puts everything back after.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "ApplicationRegistry.h"
#include "TesselTalkConnector.h"

namespace ScObjects {
inline void PrintTo(const SoString& s, std::ostream* os) { *os << '"' << s.c_str() << '"'; }
} // namespace ScObjects

// The context above the registry: which applications run is the test's to say.
class TestContext : public ScObjects::TesselTalk::SpecifierContext {
public:
    ScObjects::TesselTalkConnector* connector = nullptr;
    std::set<std::string> running;
    std::string self;

    ScObjects::SoString getAppSpecifier() const override { return ScObjects::SoString(self.c_str()); }
    ScObjects::TesselTalk::ApplicationRegistry* getRegistry() const override { return connector; }
    bool isRunning(const ScObjects::TesselTalk::Specifier& spec) const override
    {
        return running.count(spec.c_str()) != 0;
    }
};

class RegistryFixture : public testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS", "LC_ALL"}) {
            const char* value = std::getenv(name);
            m_saved[name] = value ? std::make_unique<std::string>(value) : nullptr;
        }
        char pattern[] = "/tmp/tt-registry-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_root = pattern;
        userFolder = m_root + "/user/corvane/tesseltalk";
        systemFolder = m_root + "/sys1/corvane/tesseltalk";
        otherSystemFolder = m_root + "/sys2/corvane/tesseltalk";
        setenv("HOME", m_root.c_str(), 1);
        setenv("XDG_DATA_HOME", (m_root + "/user").c_str(), 1);
        setenv("XDG_DATA_DIRS", (m_root + "/sys1:" + m_root + "/sys2").c_str(), 1);
        setenv("LC_ALL", "de_DE.UTF-8", 1);
        connector = std::make_unique<ScObjects::TesselTalkConnector>(ScObjects::SoString("default"));
        context.connector = connector.get();
        ScObjects::TesselTalk::setSpecifierContext(&context);
    }
    void TearDown() override
    {
        ScObjects::TesselTalk::setSpecifierContext(nullptr);
        connector.reset();
        for (auto& saved : m_saved) {
            if (saved.second)
                setenv(saved.first.c_str(), saved.second->c_str(), 1);
            else
                unsetenv(saved.first.c_str());
        }
        std::filesystem::remove_all(m_root);
    }

    static void writeFile(const std::string& path, const std::string& text)
    {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    static std::string readFile(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    // Registers spec with an installation path named after it.
    void install(const char* spec)
    {
        ScObjects::TTConnectorAppInfo info{ScObjects::SoString(spec)};
        info.path = (m_root + "/apps/" + spec).c_str();
        ASSERT_TRUE(connector->doRegisterApplication(info)) << spec;
    }

    std::string userFolder;
    std::string systemFolder;
    std::string otherSystemFolder;
    std::unique_ptr<ScObjects::TesselTalkConnector> connector;
    TestContext context;

private:
    std::string m_root;
    std::map<std::string, std::unique_ptr<std::string>> m_saved;
};

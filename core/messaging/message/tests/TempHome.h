// Points HOME at a fresh temporary folder for one test and removes it after.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class TempHome : public testing::Test {
protected:
    void SetUp() override
    {
        const char* old = std::getenv("HOME");
        m_hadHome = old != nullptr;
        if (old)
            m_oldHome = old;
        char pattern[] = "/tmp/tt-home-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_home = pattern;
        setenv("HOME", m_home.c_str(), 1);
    }
    void TearDown() override
    {
        if (m_hadHome)
            setenv("HOME", m_oldHome.c_str(), 1);
        else
            unsetenv("HOME");
        std::filesystem::remove_all(m_home);
    }
    // Stores an identifier file as another process would have left it.
    void storeIdentifier(const std::string& name, const std::string& content)
    {
        std::filesystem::create_directories(m_home + "/.corvane");
        std::ofstream(m_home + "/.corvane/" + name, std::ios::binary) << content;
    }

    std::string m_home;

private:
    std::string m_oldHome;
    bool m_hadHome = false;
};

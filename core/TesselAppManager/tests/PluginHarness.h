// Loads the built plug-in the way the host does and hands tests its entry.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include <skiff/Skiff.h>

class PluginTest : public testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    // A suite set-up failure only skips tests; this turns it into a failure of each.
    void SetUp() override { ASSERT_NE(s_entry, nullptr) << "the plug-in was not loaded"; }

    // A fresh manager through FxPluginMain, with the count it was born with.
    IFxBase* createManager();
    // Init, EnumSources and CreateSource with the enumerated name.
    ISource* createSource();

    template <typename T>
    T* query(IFxBase* object, long id)
    {
        void* out = nullptr;
        EXPECT_TRUE(object->QueryInterface(id, &out)) << "identifier " << id;
        return static_cast<T*>(out);
    }

    static void* s_module;
    static FxPluginMainFunc s_entry;
};

std::u16string fxString(const FxChar* text);
const FxChar* fx(const char16_t* text);

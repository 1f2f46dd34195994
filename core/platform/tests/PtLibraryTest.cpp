#include <gtest/gtest.h>

#include <dlfcn.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <string>

#include "PtLibrary.h"
#include "PtUTF.h"

namespace {

std::u16string w(const QString& s) { return s.toStdU16String(); }
const unsigned short* p(const std::u16string& s) { return reinterpret_cast<const unsigned short*>(s.c_str()); }

const QString kFixture = QStringLiteral(FIXTURE_DIR "/Fixture.framework");
const char* const kFixtureCode = FIXTURE_DIR "/Fixture.framework/Fixture";

// Asks the dynamic loader itself, without taking a reference that stays.
bool fixtureIsLoaded()
{
    void* code = dlopen(kFixtureCode, RTLD_NOW | RTLD_NOLOAD);
    if (code)
        dlclose(code);
    return code != nullptr;
}

} // namespace

TEST(PtLibrary, LoadsABundleAndFindsItsFunction)
{
    const auto path = w(kFixture);
    PtLibraryHandle bundle = PtLoadLibrary(p(path));
    ASSERT_NE(bundle, nullptr);
    auto answer = reinterpret_cast<int (*)()>(PtGetProcAddress(bundle, p(u"FixtureAnswer")));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(PtGetProcAddress(bundle, p(u"NoSuchFunction")), nullptr);

    PtLibraryHandle loaded = PtGetModuleHandle(p(path));
    EXPECT_NE(loaded, nullptr) << "the code is loaded, so the module handle is found";
    PtReleaseModuleRef(loaded);
    EXPECT_TRUE(PtUnloadLibrary(bundle));
}

TEST(PtLibrary, DirectoryWithoutCodeIsABundleWithoutFunctions)
{
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkdir("Empty.framework"));
    const auto path = w(dir.path() + "/Empty.framework");
    PtLibraryHandle bundle = PtLoadLibrary(p(path));
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(PtGetProcAddress(bundle, p(u"FixtureAnswer")), nullptr);
    EXPECT_EQ(PtGetModuleHandle(p(path)), nullptr);
    EXPECT_TRUE(PtUnloadLibrary(bundle));
}

TEST(PtLibrary, CodeThatIsNotALibraryStillGivesABundle)
{
    QTemporaryDir dir;
    ASSERT_TRUE(QDir(dir.path()).mkdir("Broken.framework"));
    QFile code(dir.path() + "/Broken.framework/Broken");
    ASSERT_TRUE(code.open(QIODevice::WriteOnly));
    code.write("this is not an ELF file");
    code.close();
    PtLibraryHandle bundle = PtLoadLibrary(p(w(dir.path() + "/Broken.framework")));
    ASSERT_NE(bundle, nullptr);
    EXPECT_EQ(PtGetProcAddress(bundle, p(u"Anything")), nullptr);
    PtUnloadLibrary(bundle);
}

TEST(PtLibrary, RefusesWhatIsNotADirectory)
{
    QTemporaryDir dir;
    QFile file(dir.path() + "/plain");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_EQ(PtLoadLibrary(p(w(dir.path() + "/plain"))), nullptr);
    EXPECT_EQ(PtLoadLibrary(p(w(dir.path() + "/missing.framework"))), nullptr);
    EXPECT_EQ(PtCreateBundle(nullptr), nullptr);
    EXPECT_EQ(PtGetProcAddress(nullptr, p(u"x")), nullptr);
    EXPECT_TRUE(PtUnloadLibrary(nullptr));
}

TEST(PtLibrary, ModuleHandleReleaseLetsTheCodeUnload)
{
    const auto path = w(kFixture);
    ASSERT_FALSE(fixtureIsLoaded());
    for (const bool releaseFirst : {true, false}) {
        PtLibraryHandle bundle = PtLoadLibrary(p(path));
        ASSERT_NE(bundle, nullptr);
        PtLibraryHandle module = PtGetModuleHandle(p(path));
        ASSERT_NE(module, nullptr);
        if (releaseFirst) {
            PtReleaseModuleRef(module);
            EXPECT_TRUE(fixtureIsLoaded()) << "the loader's handle still holds the code";
            PtUnloadLibrary(bundle);
        } else {
            PtUnloadLibrary(bundle);
            auto answer = reinterpret_cast<int (*)()>(PtGetProcAddress(module, p(u"FixtureAnswer")));
            ASSERT_NE(answer, nullptr) << "the module handle keeps the code until it is released";
            EXPECT_EQ(answer(), 42);
            PtReleaseModuleRef(module);
        }
        EXPECT_FALSE(fixtureIsLoaded()) << (releaseFirst ? "module handle released first" : "loader unloaded first");
        EXPECT_EQ(PtGetModuleHandle(p(path)), nullptr);
    }
}

TEST(PtLibrary, ReleasingTheLoadersHandleKeepsTheCodeCallable)
{
    PtLibraryHandle bundle = PtLoadLibrary(p(w(kFixture)));
    ASSERT_NE(bundle, nullptr);
    auto answer = reinterpret_cast<int (*)()>(PtGetProcAddress(bundle, p(u"FixtureAnswer")));
    ASSERT_NE(answer, nullptr);
    PtReleaseModuleRef(bundle);
    ASSERT_TRUE(fixtureIsLoaded());
    EXPECT_EQ(answer(), 42);
    // Give back the load that the released handle leaves behind (and this
    // lookup's own), for the tests that run after this one in the process.
    void* leftBehind = dlopen(kFixtureCode, RTLD_NOW | RTLD_NOLOAD);
    dlclose(leftBehind);
    dlclose(leftBehind);
    EXPECT_FALSE(fixtureIsLoaded());
}

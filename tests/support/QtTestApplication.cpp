// Widgets need one QApplication for the whole test binary; it is created
// before the first test and lives until the process ends.
#include <gtest/gtest.h>

#include <QApplication>

namespace {

class QtApplicationEnvironment : public testing::Environment {
public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "tessel_tests";
        static char* argv[] = {name, nullptr};
        m_app = new QApplication(argc, argv);
    }
    void TearDown() override
    {
        delete m_app;
        m_app = nullptr;
    }

private:
    QApplication* m_app = nullptr;
};

const testing::Environment* const kEnvironment = testing::AddGlobalTestEnvironment(new QtApplicationEnvironment);

} // namespace

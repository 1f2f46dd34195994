#include "ProcessingFixture.h"

#include <QApplication>
#include <QDir>
#include <QFile>

QStringList ProcessingTest::s_status;
QStringList ProcessingTest::s_errors;

namespace {
QApplication* s_app = nullptr;
}

namespace {

unsigned recordStatus(const FxChar* text, long)
{
    ProcessingTest::s_status.append(QString::fromUtf16(reinterpret_cast<const char16_t*>(text)));
    return 0;
}

unsigned recordError(const FxChar* text, long)
{
    ProcessingTest::s_errors.append(QString::fromUtf16(reinterpret_cast<const char16_t*>(text)));
    return 0;
}

unsigned ignoreWarning(const FxChar*, long)
{
    return 0;
}

} // namespace

void ProcessingTest::SetUpTestSuite()
{
    PluginTest::SetUpTestSuite();
    if (!QApplication::instance()) {
        static int argc = 1;
        static char name[] = "appmanager_dng_tests";
        static char* argv[] = {name, nullptr};
        s_app = new QApplication(argc, argv);
    }
}

void ProcessingTest::TearDownTestSuite()
{
    delete s_app;
    s_app = nullptr;
    PluginTest::TearDownTestSuite();
}

void ProcessingTest::SetUp()
{
    PluginTest::SetUp();
    s_status.clear();
    s_errors.clear();
}

void ProcessingTest::TearDown()
{
    if (m_processing)
        m_processing->Release();
    if (m_source)
        m_source->Release();
    QDir::setCurrent(QStringLiteral(TESSEL_STAGE_DIR "/bin"));
    EXPECT_EQ(m_next.refs, 0) << "the next sink was not given back";
}

void ProcessingTest::openSource(const QString& binFolder, const char16_t* extensions)
{
    ASSERT_TRUE(QDir::setCurrent(binFolder));
    m_source = createSource();
    ASSERT_TRUE(QDir::setCurrent(QStringLiteral(TESSEL_STAGE_DIR "/bin")));
    ASSERT_NE(m_source, nullptr);
    m_processing = query<ISkiffPostProcessing2>(m_source, kIID_ISkiffPostProcessing2);
    auto* chain = query<ISkiffSinkChain>(m_source, kIID_ISkiffSinkChain);
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(chain->SetNextSink(&m_next), kFxOk);
    chain->Release();
    auto* capabilities = query<ISinkCapabilities2>(m_source, kIID_ISinkCapabilities2);
    std::u16string list(extensions);
    EXPECT_EQ(capabilities->SetKilnSupportedExtensions(reinterpret_cast<FxChar*>(list.data())), kFxOk);
    capabilities->Release();
}

CPropSinkMediaItem ProcessingTest::item(const QString& folder, const QString& name) const
{
    CPropSinkMediaItem record;
    fxInitRecord(record);
    std::copy_n(folder.utf16(), folder.size() + 1, record.folder);
    std::copy_n(name.utf16(), name.size() + 1, record.fileName);
    const QString path = folder + QLatin1Char('/') + name;
    std::copy_n(path.utf16(), path.size() + 1, record.destinationPath);
    return record;
}

FxResult ProcessingTest::post(CPropSinkMediaItem& record)
{
    return m_processing->DoPostProcessing(&record, recordStatus, ignoreWarning, recordError, nullptr, nullptr);
}

FxResult ProcessingTest::pre(CPropSinkMediaItem& record)
{
    return m_processing->DoPreProcessing(&record, recordStatus, ignoreWarning, recordError, nullptr, nullptr);
}

QStringList listFolder(const QString& folder)
{
    QStringList names = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    names.sort();
    return names;
}

bool writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

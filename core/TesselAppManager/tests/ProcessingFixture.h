// What the conversion and backup tests share: the loaded plug-in with a
// next sink behind it, item records, recorded messages and files.
#pragma once

#include <QString>
#include <QStringList>

#include <skiff/Skiff.h>

#include "PluginHarness.h"

// The sink that runs first; counts how the plug-in holds and calls it.
class FakeNextSink final : public ISkiffPostProcessing2 {
public:
    bool QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return false;
    }
    long AddRef() override { return ++refs; }
    long Release() override { return --refs; }
    FxResult DoPreProcessing(CPropSinkMediaItem* item, FxMessageCallback, FxMessageCallback, FxMessageCallback,
                             FxCancelCallback, IDisplayMsgHandler*) override
    {
        ++preCalls;
        lastItem = item;
        return result;
    }
    FxResult DoPostProcessing(CPropSinkMediaItem* item, FxMessageCallback, FxMessageCallback, FxMessageCallback,
                              FxCancelCallback, IDisplayMsgHandler*) override
    {
        ++postCalls;
        lastItem = item;
        return result;
    }
    void deleteXMPData(bool) override {}

    long refs = 0;
    int preCalls = 0;
    int postCalls = 0;
    FxResult result = 1;
    CPropSinkMediaItem* lastItem = nullptr;
};

class ProcessingTest : public PluginTest {
public:
    // Status and error texts, in order.
    static QStringList s_status;
    static QStringList s_errors;

protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    // A source created with the current directory at `binFolder` (which
    // decides the conversion library it finds), chained to m_next, with
    // `extensions` as its raw list.
    void openSource(const QString& binFolder = QStringLiteral(TESSEL_STAGE_DIR "/bin"),
                    const char16_t* extensions = u"crw,cr2,nef,kdc,dng");
    CPropSinkMediaItem item(const QString& folder, const QString& name) const;
    FxResult post(CPropSinkMediaItem& record);
    FxResult pre(CPropSinkMediaItem& record);

    FakeNextSink m_next;
    ISource* m_source = nullptr;
    ISkiffPostProcessing2* m_processing = nullptr;
};

QStringList listFolder(const QString& folder); // names, hidden ones included, sorted
bool writeBytes(const QString& path, const QByteArray& bytes);
QByteArray readBytes(const QString& path);

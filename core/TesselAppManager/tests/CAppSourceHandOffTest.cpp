// What the source hands to Tessel at the end of a download, through a
// recording hand-off in place of the messaging one.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "CAppSource.h"
#include "FakePanel.h"
#include "SummaryFakes.h"

namespace {

struct Sent {
    std::string script;
    bool bringToFront;
    bool operator==(const Sent& other) const
    {
        return script == other.script && bringToFront == other.bringToFront;
    }
};

void PrintTo(const Sent& sent, std::ostream* out)
{
    *out << (sent.bringToFront ? "[front] " : "") << sent.script;
}

class RecordingHandOff final : public TesselHandOff {
public:
    RecordingHandOff(bool running, int result, std::vector<Sent>& sent)
        : m_running(running), m_result(result), m_sent(sent)
    {
    }
    bool isTesselRunning() override { return m_running; }
    int launchTessel(const std::string& script, bool bringToFront) override
    {
        m_sent.push_back({script, bringToFront});
        return m_result;
    }

private:
    bool m_running;
    int m_result;
    std::vector<Sent>& m_sent;
};

class CAppSourceHandOff : public testing::Test {
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_data.path()));
        m_source = new CAppSource(CAppInfo());
        m_source->AddRef();
        m_source->SetClientUIHandler(&m_panel);
    }
    void TearDown() override
    {
        m_source->Release();
        qunsetenv("XDG_DATA_HOME");
        EXPECT_EQ(m_items.refs, 0);
        EXPECT_EQ(m_messages.refs, 0);
        EXPECT_EQ(m_panel.outstanding(), 0);
    }

    FxResult push(bool launchTessel)
    {
        m_panel.widget(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX)->checked = launchTessel;
        unsigned long count = 0;
        return m_source->PushAllMediaItems(m_items, m_messages, count, nullptr, nullptr);
    }

    QTemporaryDir m_data;
    FakeUIHandler m_panel{allPanelWidgets()};
    QStringList m_log;
    FakeItems m_items;
    FakeMessages m_messages{m_log};
    CAppSource* m_source = nullptr;
};

} // namespace

TEST_F(CAppSourceHandOff, ScriptFollowsTesselAndTheLaunchBox)
{
    // A folder name in UTF-8 with a backslash of its own, which the script doubles.
    const QString folder = QStringLiteral("/media/\u00dcber\\Sicht");
    const std::string f = "/media/\xc3\x9c" "ber\\\\Sicht";
    m_items.add(folder + QStringLiteral("/IMG_1.JPG"));
    m_items.add(folder + QStringLiteral("/IMG_2.JPG"));
    const QString copied =
        QStringLiteral("message: Files Successfully Copied | Files have been successfully copied to ") + folder;
    const struct {
        bool running;
        bool launch;
        int answer;
        QStringList messages;
        std::vector<Sent> sent;
    } rows[] = {
        {true, true, 0, {}, {{" app.skiffBrowseTo (\"" + f + "\");  app.beep() ;", true}}},
        {true, false, -2, {}, {{"{ app.beep();app.document.status = \"Files Successfully Copied\"; }", false}}},
        {false, true, -1, {},
         {{"if (app.documents.length == 0) app.skiffBrowseTo (\"" + f
               + "\"); else { app.document.thumbnail = new Thumbnail (\"" + f
               + "\"); app.document.bringToFront (); } app.beep();",
           true}}},
        {false, false, 0, {copied}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "running " << row.running << ", launch " << row.launch);
        std::vector<Sent> sent;
        m_source->setTesselHandOff(std::make_unique<RecordingHandOff>(row.running, row.answer, sent));
        m_log.clear();
        EXPECT_EQ(push(row.launch), kFxOk) << "the hand-off's answer is not reported";
        EXPECT_EQ(lines(m_log), lines(row.messages));
        EXPECT_EQ(sent, row.sent);
    }
}

TEST_F(CAppSourceHandOff, WithoutTheMessagingHandOffTesselIsNotInstalled)
{
    m_items.add(QStringLiteral("/media/card/IMG_1.JPG"));
    std::vector<Sent> sent;
    m_source->setTesselHandOff(std::make_unique<RecordingHandOff>(true, 0, sent));
    m_source->setTesselHandOff(nullptr);
    EXPECT_EQ(push(true), kFxOk);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(lines(m_log), lines(QStringList())) << "with the launch box checked nothing is shown";
}

TEST_F(CAppSourceHandOff, AnExceptionInsideBecomesFailureAndSendsNothing)
{
    m_items.add(QStringLiteral("/media/card/IMG_1.JPG"));
    std::vector<Sent> sent;
    m_source->setTesselHandOff(std::make_unique<RecordingHandOff>(true, 0, sent));
    m_panel.widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX)->checked = true;
    m_messages.throws = true;
    EXPECT_EQ(push(false), kFxErrFailure);
    EXPECT_TRUE(sent.empty());
}

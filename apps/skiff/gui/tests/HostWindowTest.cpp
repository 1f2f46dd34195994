// The window in the test's own process: the real plug-in, the real form and
// the real session on a card folder made for the test.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <vector>

#include <unistd.h>

#include "Handshake.h"
#include "HostReport.h"
#include "HostWindow.h"
#include "PluginLibrary.h"
#include "QtPanel.h"
#include "TestCard.h"

namespace {

// One application and one loaded plug-in for the whole run, with the stage
// tree's bin folder as the current directory, as the host runs.
class WindowEnvironment : public ::testing::Environment {
public:
    void SetUp() override
    {
        ASSERT_EQ(chdir(TESSEL_STAGE_DIR "/bin"), 0);
        static int argc = 1;
        static char name[] = "skiff_gui_tests";
        static char* argv[] = {name, nullptr};
        app = std::make_unique<QApplication>(argc, argv);
        ASSERT_TRUE(plugin.open("../Plug-ins/TesselAppManager.so")) << plugin.error();
    }
    void TearDown() override { app.reset(); }

    static std::unique_ptr<QApplication> app;
    static PluginLibrary plugin;
};
std::unique_ptr<QApplication> WindowEnvironment::app;
PluginLibrary WindowEnvironment::plugin;
const auto* const g_environment = ::testing::AddGlobalTestEnvironment(new WindowEnvironment);

// Answers every modal dialog the plug-in opens with Escape (the plug-in's
// message box takes that as its escape button: "No" for a question) and
// remembers each dialog's title.
class DialogAnswerer {
public:
    DialogAnswerer()
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                titles << dialog->windowTitle();
                dialog->reject();
            }
        });
        m_timer.start(20);
    }
    QStringList titles;

private:
    QTimer m_timer;
};

class HostWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        const QProcessEnvironment env = hostEnvironment(home());
        for (const char* key : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
            qputenv(key, env.value(QLatin1String(key)).toLocal8Bit());
    }
    void TearDown() override
    {
        m_window.reset();
        if (m_handshake)
            m_handshake->finish();
    }

    QString path(const QString& name) const { return m_dir.path() + QLatin1Char('/') + name; }
    QString home() const { return path(QStringLiteral("home")); }

    HostWindow& openWindow()
    {
        m_handshake = std::make_unique<Handshake>(WindowEnvironment::plugin.entry(), m_report);
        EXPECT_TRUE(m_handshake->start());
        m_window = std::make_unique<HostWindow>(m_handshake->source(), CommandLine());
        EXPECT_EQ(m_window->error(), QString());
        m_window->show();
        return *m_window;
    }

    QWidget* widget(const char* name) const { return m_window->findChild<QWidget*>(QLatin1String(name)); }
    bool checked(const char* name) const { return qobject_cast<QAbstractButton*>(widget(name))->isChecked(); }
    QString storedPreferences() const
    {
        return QString::fromUtf8(readBytes(home() + QStringLiteral("/data/Corvane/Tessel 2024/Preferences.xml")));
    }

    QTemporaryDir m_dir;
    HostReport m_report;
    std::unique_ptr<Handshake> m_handshake;
    std::unique_ptr<HostWindow> m_window;
};

// The widgets the sink is handed are the form's own: the sink's preference
// reading shows up on exactly the widgets on screen, for either setting.
TEST_F(HostWindowTest, TheSinkSetsTheWidgetsOnScreenFromItsPreferences)
{
    for (const bool on : {true, false}) {
        SCOPED_TRACE(on ? "all on" : "all off");
        const QString flag = on ? QStringLiteral("1") : QStringLiteral("0");
        ASSERT_TRUE(writePreferences(home(), {{"OpenTessel", flag}, {"DeleteOriginals", flag},
                                              {"ConvertToDNG", flag}, {"SaveToSecondaryLocation", flag}}));
        HostWindow& window = openWindow();
        ASSERT_NE(window.panel(), nullptr);
        for (const char* name : QtPanel::kWidgetNames) {
            IFxWidget* face = nullptr;
            ASSERT_EQ(window.panel()->GetWidget(name, &face), kFxOk) << name;
            EXPECT_NE(widget(name), nullptr) << name;
            EXPECT_EQ(face->NativeWidget(), widget(name)) << name;
            face->Release();
        }
        EXPECT_EQ(checked(SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX), on);
        EXPECT_EQ(checked(SKIFF_WIDGET_DELETE_FILES_CHECKBOX), on);
        EXPECT_EQ(checked(SKIFF_WIDGET_DNG_CHECKBOX), on);
        EXPECT_EQ(checked(SKIFF_WIDGET_SAVE_COPIES_CHECKBOX), on);
        EXPECT_EQ(widget(SKIFF_WIDGET_SETTINGS_BUTTON)->isEnabled(), on);
        EXPECT_EQ(widget(SKIFF_WIDGET_BROWSE_BUTTON)->isEnabled(), on);
        EXPECT_EQ(widget(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL)->isEnabled(), on);
        TearDown();
        m_handshake.reset();
    }
}

// A click is passed on by the widget's name: only the sink knows which
// widgets follow which box, so a change there proves the event arrived.
TEST_F(HostWindowTest, ClicksOnTheCheckBoxesReachTheSink)
{
    ASSERT_TRUE(writePreferences(home(), {{"ConvertToDNG", "0"}, {"SaveToSecondaryLocation", "0"}}));
    openWindow();
    struct Case {
        const char* box;
        std::vector<const char*> followers;
    };
    const Case cases[] = {
        {SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, {SKIFF_WIDGET_BROWSE_BUTTON, SKIFF_WIDGET_SECONDARY_BACKUP_LABEL}},
        {SKIFF_WIDGET_DNG_CHECKBOX, {SKIFF_WIDGET_SETTINGS_BUTTON}},
    };
    for (const Case& c : cases) {
        for (const bool expected : {true, false}) {
            qobject_cast<QAbstractButton*>(widget(c.box))->click();
            ASSERT_EQ(checked(c.box), expected) << c.box;
            for (const char* follower : c.followers)
                EXPECT_EQ(widget(follower)->isEnabled(), expected) << c.box << " -> " << follower;
        }
    }
}

// Start on a small card: every file copied intact, the bar moving one item
// at a time, one log line per item; the box the user ticked is stored as the
// sink's preference and the sink asks its question in its own dialog.
TEST_F(HostWindowTest, StartCopiesTheCardAndShowsProgress)
{
    ASSERT_TRUE(writePreferences(home(), {{"OpenTessel", "0"}, {"DeleteOriginals", "0"}}));
    const QString card = path(QStringLiteral("card/DCIM/100TEST"));
    ASSERT_TRUE(QDir().mkpath(card));
    const QStringList names = {"IMG_0001.JPG", "IMG_0002.JPG", "IMG_0003.JPG"};
    for (int i = 0; i < names.size(); ++i)
        ASSERT_TRUE(writeJpeg(card + QLatin1Char('/') + names[i], i + 1));

    HostWindow& window = openWindow();
    qobject_cast<QAbstractButton*>(widget(SKIFF_WIDGET_DELETE_FILES_CHECKBOX))->click();
    window.cardEdit()->setText(path(QStringLiteral("card")));
    window.destinationEdit()->setText(path(QStringLiteral("dest")));
    std::vector<std::pair<int, int>> steps;
    window.onItemDone = [&](int done, int total) {
        steps.push_back({done, total});
        EXPECT_EQ(window.progressBar()->maximum(), total);
        EXPECT_EQ(window.progressBar()->value(), done);
    };
    DialogAnswerer answerer;
    window.startButton()->click();

    EXPECT_EQ(steps, (std::vector<std::pair<int, int>>{{1, 3}, {2, 3}, {3, 3}}));
    EXPECT_EQ(entries(path(QStringLiteral("dest"))), names);
    for (const QString& name : names)
        EXPECT_EQ(readBytes(path(QStringLiteral("dest/")) + name), readBytes(card + QLatin1Char('/') + name))
            << name.toStdString();
    const QString log = window.log()->toPlainText();
    EXPECT_EQ(log.count(QStringLiteral(": copied and verified, ")), 3) << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("summary: 3 item(s) on the card, 3 copied and verified"))) << log.toStdString();
    EXPECT_TRUE(window.startButton()->isEnabled());
    // Answered No: the originals stay.
    EXPECT_EQ(entries(card), names);
    EXPECT_EQ(answerer.titles.size(), 1) << answerer.titles.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(storedPreferences().contains(QStringLiteral("<value key=\"DeleteOriginals\" type=\"text\">1<")));
}

TEST(QtPanelLoad, NamesWhatIsWrongWithTheForm)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString shipped = QStringLiteral("../shared_assets/locales/en_us/Tessel_custom_options.ui");
    QString form = QString::fromUtf8(readBytes(shipped));
    ASSERT_TRUE(form.contains(QStringLiteral("name=\"browse_button\"")));
    form.replace(QStringLiteral("name=\"browse_button\""), QStringLiteral("name=\"other_button\""));
    ASSERT_TRUE(writeBytes(dir.filePath("lacking.ui"), form.toUtf8()));

    const struct {
        QString path;
        QString expected;
    } cases[] = {
        {dir.filePath("none.ui"), QStringLiteral("cannot be read")},
        {dir.filePath("lacking.ui"), QStringLiteral("lacks browse_button")},
    };
    for (const auto& c : cases) {
        QWidget parent;
        QString error;
        EXPECT_EQ(QtPanel::load(c.path, &parent, error), nullptr);
        EXPECT_TRUE(error.contains(c.expected)) << error.toStdString();
        EXPECT_TRUE(parent.findChildren<QWidget*>().isEmpty());
    }
    QWidget parent;
    QString error;
    QtPanel* panel = QtPanel::load(shipped, &parent, error);
    ASSERT_NE(panel, nullptr) << error.toStdString();
    IFxWidget* none = nullptr;
    EXPECT_EQ(panel->GetWidget("no_such_widget", &none), kFxErrInvalidArg);
    EXPECT_EQ(none, nullptr);
    panel->Release();
}

} // namespace

namespace {

// The widget interface on the kinds of widget the form holds; the text is
// cut to the buffer, terminator included.
TEST(PanelWidget, ReadsAndWritesTheWrappedWidget)
{
    QCheckBox box;
    QLabel label;
    const std::u16string text = u"Sicherungskopien";
    for (QWidget* native : {static_cast<QWidget*>(&box), static_cast<QWidget*>(&label)}) {
        SCOPED_TRACE(native->metaObject()->className());
        auto* widget = new PanelWidget(native);
        widget->SetText(reinterpret_cast<const FxChar*>(text.c_str()));
        for (const unsigned size : {1u, 5u, 16u, 17u, 40u}) {
            std::vector<FxChar> buffer(size + 1, FxChar(0x7777));
            widget->GetText(buffer.data(), size);
            const std::size_t expected = std::min<std::size_t>(text.size(), size - 1);
            EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(buffer.data())), text.substr(0, expected))
                << size;
            EXPECT_EQ(buffer[size], FxChar(0x7777)) << "written past the buffer, size " << size;
        }
        widget->SetSecondText(reinterpret_cast<const FxChar*>(u"/media/backup"));
        EXPECT_EQ(native->toolTip(), QStringLiteral("/media/backup"));
        widget->SetChecked(true);
        EXPECT_EQ(widget->IsChecked(), native == &box);
        widget->SetEnabled(false);
        EXPECT_FALSE(native->isEnabled());
        EXPECT_FALSE(widget->IsEnabled());
        EXPECT_EQ(widget->NativeWidget(), native);
        widget->Release();
    }
}

} // namespace

// How the host chooses its mode, and the window run as a real process.
#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include "CommandLine.h"
#include "TestCard.h"

namespace {

// Sets or clears the display variables for one scope.
class DisplayScope {
public:
    DisplayScope(const char* x11, const char* wayland) : m_x11(qgetenv("DISPLAY")), m_wayland(qgetenv("WAYLAND_DISPLAY"))
    {
        qputenv("DISPLAY", x11);
        qputenv("WAYLAND_DISPLAY", wayland);
    }
    ~DisplayScope()
    {
        qputenv("DISPLAY", m_x11);
        qputenv("WAYLAND_DISPLAY", m_wayland);
    }

private:
    QByteArray m_x11;
    QByteArray m_wayland;
};

TEST(WindowMode, TheCommandLineAndTheDisplayChooseTheMode)
{
    using Mode = CommandLine::Mode;
    const struct {
        QStringList arguments;
        const char* x11;
        const char* wayland;
        bool ok;
        Mode mode;
    } cases[] = {
        {{}, "", "", true, Mode::Report},
        {{}, ":0", "", true, Mode::Gui},
        {{}, "", "wayland-0", true, Mode::Gui},
        {{"--report"}, ":0", "", true, Mode::Report},
        {{"--gui"}, "", "", true, Mode::Gui},
        {{"--headless", "--card", "c"}, ":0", "", true, Mode::Headless},
        {{"--card", "c"}, ":0", "", true, Mode::Gui},
        {{"--card", "c"}, "", "", false, Mode::Report},
        {{"--gui", "--start"}, "", "", false, Mode::Gui},
        {{"--gui", "--start", "--card", "c"}, "", "", true, Mode::Gui},
        {{"--headless", "--card", "c", "--screenshot", "s.png"}, "", "", false, Mode::Headless},
        {{"--report", "--start"}, ":0", "", false, Mode::Report},
    };
    for (const auto& c : cases) {
        const std::string trace = c.arguments.join(QLatin1Char(' ')).toStdString() + " DISPLAY=" + c.x11;
        SCOPED_TRACE(trace);
        DisplayScope display(c.x11, c.wayland);
        const ParsedCommandLine parsed = parseCommandLine(c.arguments);
        EXPECT_EQ(parsed.ok, c.ok) << parsed.error.toStdString();
        if (parsed.ok) {
            EXPECT_EQ(int(parsed.options.mode), int(c.mode));
        }
    }
}

// The window as a user starts it: the panel drawn, then a started download
// pictured half-way and run to its end.
TEST(WindowMode, TheHostSavesItsWindowAndDownloadsFromIt)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString home = dir.filePath("home");
    ASSERT_TRUE(writePreferences(home, {{"OpenTessel", "0"}, {"DeleteOriginals", "0"}}));
    const QString card = dir.filePath("card");
    ASSERT_TRUE(QDir().mkpath(card));
    for (int i = 1; i <= 4; ++i)
        ASSERT_TRUE(writeJpeg(card + QStringLiteral("/IMG_%1.JPG").arg(i), i));

    const HostRun panel = runHost({"--gui", "--screenshot", dir.filePath("panel.png")}, home);
    ASSERT_EQ(panel.exitCode, 0) << panel.err.toStdString();
    const QImage picture(dir.filePath("panel.png"));
    EXPECT_GE(picture.width(), 400);
    EXPECT_GE(picture.height(), 300);

    // The files-copied message the sink shows at the end is closed by the
    // unattended run itself, or the process would never end.
    const HostRun download = runHost({"--gui", "--card", card, "--dest", dir.filePath("dest"), "--start",
                                      "--screenshot", dir.filePath("progress.png")},
                                     home);
    ASSERT_EQ(download.exitCode, 0) << download.err.toStdString();
    EXPECT_GE(QImage(dir.filePath("progress.png")).width(), 400);
    EXPECT_EQ(entries(dir.filePath("dest")).size(), 4);
}

} // namespace

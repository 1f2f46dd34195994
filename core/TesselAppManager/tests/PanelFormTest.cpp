// The settings panel's form as the host loads it, in every locale the stage
// tree ships a dictionary for and in English.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLayout>
#include <QUiLoader>
#include <QWidget>

#include <map>
#include <memory>

#include <skiff/HostInterfaces.h>

namespace {

const QString kLocales = QStringLiteral(TESSEL_STAGE_DIR "/shared_assets/locales/");

const std::pair<const char*, const char*> kWidgets[] = {
    {SKIFF_WIDGET_SETTINGS_BUTTON, "QPushButton"},       {SKIFF_WIDGET_DNG_CHECKBOX, "QCheckBox"},
    {SKIFF_WIDGET_LAUNCH_TESSEL_CHECKBOX, "QCheckBox"},  {SKIFF_WIDGET_DELETE_FILES_CHECKBOX, "QCheckBox"},
    {SKIFF_WIDGET_SAVE_COPIES_CHECKBOX, "QCheckBox"},    {SKIFF_WIDGET_SECONDARY_BACKUP_LABEL, "QLabel"},
    {SKIFF_WIDGET_BROWSE_BUTTON, "QPushButton"},
};

std::unique_ptr<QWidget> loadForm(const QString& locale)
{
    QFile file(kLocales + locale + QStringLiteral("/Tessel_custom_options.ui"));
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    QUiLoader loader;
    return std::unique_ptr<QWidget>(loader.load(&file));
}

// Button and check-box texts by object name.
std::map<QString, QString> buttonTexts(const QWidget& form)
{
    std::map<QString, QString> texts;
    for (const QAbstractButton* button : form.findChildren<QAbstractButton*>())
        texts[button->objectName()] = button->text();
    return texts;
}

QStringList shippedLocales()
{
    QStringList locales;
    for (const QString& locale : QDir(kLocales).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (QFile::exists(kLocales + locale + QStringLiteral("/SkiffStrings.dct")))
            locales << locale;
    }
    return locales;
}

} // namespace

TEST(PanelForm, LoadsInEveryShippedLocaleWithEveryWidgetTranslated)
{
    const std::unique_ptr<QWidget> english = loadForm(QStringLiteral("en_us"));
    ASSERT_NE(english, nullptr);
    const auto englishTexts = buttonTexts(*english);
    const QStringList locales = shippedLocales();
    ASSERT_GE(locales.size(), 3) << "the stage tree ships its dictionaries";
    for (const QString& locale : QStringList{QStringLiteral("en_us")} + locales) {
        SCOPED_TRACE(qPrintable(locale));
        const std::unique_ptr<QWidget> form = loadForm(locale);
        ASSERT_NE(form, nullptr);
        for (const auto& [name, type] : kWidgets) {
            const QWidget* widget = form->findChild<QWidget*>(QString::fromLatin1(name));
            ASSERT_NE(widget, nullptr) << name;
            EXPECT_TRUE(widget->inherits(type)) << name << " is a " << widget->metaObject()->className();
        }
        const auto texts = buttonTexts(*form);
        ASSERT_EQ(texts.size(), englishTexts.size());
        for (const auto& [name, text] : texts) {
            EXPECT_FALSE(text.isEmpty()) << qPrintable(name);
            if (locale != QLatin1String("en_us")) {
                EXPECT_NE(text, englishTexts.at(name)) << qPrintable(name) << " is not translated";
            }
        }
    }
}

TEST(PanelForm, ExtraWidthGoesToTheBackupFolder)
{
    const std::unique_ptr<QWidget> form = loadForm(QStringLiteral("de_de"));
    ASSERT_NE(form, nullptr);
    auto* label = form->findChild<QLabel*>(QStringLiteral(SKIFF_WIDGET_SECONDARY_BACKUP_LABEL));
    auto* browse = form->findChild<QWidget*>(QStringLiteral(SKIFF_WIDGET_BROWSE_BUTTON));
    ASSERT_TRUE(label && browse);
    form->show();
    const QSize smallest = form->minimumSizeHint();
    std::map<int, int> labelWidths;
    for (int width : {smallest.width(), smallest.width() + 300}) {
        form->resize(width, smallest.height());
        form->layout()->activate();
        labelWidths[width] = label->width();
        // Nothing is cut off or overlaps at any width.
        QList<QWidget*> widgets;
        for (const auto& entry : kWidgets)
            widgets << form->findChild<QWidget*>(QString::fromLatin1(entry.first));
        for (QWidget* widget : widgets) {
            EXPECT_TRUE(form->rect().contains(widget->geometry().translated(widget->parentWidget()->mapTo(form.get(), QPoint()))))
                << qPrintable(widget->objectName()) << " at width " << width;
            EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << qPrintable(widget->objectName());
            for (QWidget* other : widgets) {
                if (other != widget) {
                    EXPECT_FALSE(widget->geometry().intersects(other->geometry()))
                        << qPrintable(widget->objectName()) << " overlaps " << qPrintable(other->objectName());
                }
            }
        }
    }
    EXPECT_EQ(labelWidths[smallest.width() + 300] - labelWidths[smallest.width()], 300);
}

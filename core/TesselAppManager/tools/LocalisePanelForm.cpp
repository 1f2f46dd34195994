// Writes the settings panel's form for one locale: every text that carries
// its localised-string literal as extracomment is replaced by that literal's
// text in the locale's dictionary source. Without a dictionary the default
// texts stay, which is the English form.
//
//   localise_panel_form FORM.ui OUTPUT.ui [SkiffStrings.txt]
#include <QFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QString>

#include <cstdio>
#include <fstream>

#include "Dictionary.h"

namespace {

QString escaped(const QString& text)
{
    return text.toHtmlEscaped();
}

QString unescaped(QString text)
{
    text.replace(QLatin1String("&quot;"), QLatin1String("\""));
    text.replace(QLatin1String("&lt;"), QLatin1String("<"));
    text.replace(QLatin1String("&gt;"), QLatin1String(">"));
    text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text;
}

int fail(const char* what, const char* path)
{
    std::fprintf(stderr, "localise_panel_form: %s %s\n", what, path);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: localise_panel_form FORM.ui OUTPUT.ui [DICTIONARY]\n");
        return 2;
    }
    quire::Dictionary dictionary;
    if (argc == 4) {
        std::ifstream in(argv[3], std::ios::binary);
        if (!in || !dictionary.Read(in))
            return fail("cannot read the dictionary", argv[3]);
    }
    QFile source(QString::fromLocal8Bit(argv[1]));
    if (!source.open(QIODevice::ReadOnly))
        return fail("cannot read", argv[1]);
    const QString form = QString::fromUtf8(source.readAll());

    static const QRegularExpression text(
        QStringLiteral(R"re(<string extracomment="(\$\$\$/[^"=]+=[^"]*)">[^<]*</string>)re"));
    QString out;
    int done = 0;
    int count = 0;
    for (auto it = text.globalMatch(form); it.hasNext(); ++count) {
        const QRegularExpressionMatch match = it.next();
        const QString literal = unescaped(match.captured(1));
        const QString localised = QString::fromStdU16String(dictionary.Lookup(literal.toUtf8().constData()).Text());
        out += form.mid(done, match.capturedStart() - done);
        out += QStringLiteral("<string extracomment=\"%1\">%2</string>").arg(match.captured(1), escaped(localised));
        done = match.capturedEnd();
    }
    out += form.mid(done);
    if (count == 0)
        return fail("no localisable text in", argv[1]);

    QSaveFile target(QString::fromLocal8Bit(argv[2]));
    if (!target.open(QIODevice::WriteOnly) || target.write(out.toUtf8()) < 0 || !target.commit())
        return fail("cannot write", argv[2]);
    return 0;
}

#include "PtPreferenceFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextCodec>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

const QString kRoot = QStringLiteral("preferences");
const QString kDomain = QStringLiteral("domain");
const QString kValue = QStringLiteral("value");
const QString kFormatVersion = QStringLiteral("1");

bool hasControlCharacter(const QString& text)
{
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u < 0x20 || u == 0x7F || u == 0xFFFE || u == 0xFFFF)
            return true;
    }
    return false;
}

bool hasLoneSurrogate(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (text.at(i).isSurrogate())
            return true;
    }
    return false;
}

// A text that survives an XML round trip unchanged.
bool isPlainXmlText(const QString& text) { return !hasControlCharacter(text) && !hasLoneSurrogate(text); }

bool decodeUtf8(const QByteArray& bytes, QString* out)
{
    // A leading byte-order mark is part of the value, not a header to drop.
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    *out = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

QByteArray utf16Units(const QString& text)
{
    QByteArray units;
    units.reserve(text.size() * 2);
    for (const QChar c : text) {
        units.append(char(c.unicode() & 0xFF));
        units.append(char(c.unicode() >> 8));
    }
    return units;
}

QString fromUtf16Units(const QByteArray& units)
{
    QString text;
    text.reserve(units.size() / 2);
    for (int i = 0; i + 1 < units.size(); i += 2)
        text.append(QChar(ushort(uchar(units[i]) | (uchar(units[i + 1]) << 8))));
    return text;
}

void writeValue(QXmlStreamWriter& xml, const std::string& key, const PtPreferenceValue& value)
{
    xml.writeStartElement(kValue);
    xml.writeAttribute(QStringLiteral("key"), QString::fromLatin1(key.c_str()));
    const bool text = value.kind == PtPreferenceValue::Kind::Text;
    xml.writeAttribute(QStringLiteral("type"), text ? QStringLiteral("text") : QStringLiteral("bytes"));
    QString plain;
    const bool asPlain = text ? isPlainXmlText(value.text)
                              : decodeUtf8(value.bytes, &plain) && isPlainXmlText(plain);
    if (asPlain) {
        xml.writeCharacters(text ? value.text : plain);
    } else {
        // Little-endian units keep the file the same on every machine.
        xml.writeAttribute(QStringLiteral("encoding"), QStringLiteral("base64"));
        const QByteArray raw = text ? utf16Units(value.text) : value.bytes;
        xml.writeCharacters(QString::fromLatin1(raw.toBase64()));
    }
    xml.writeEndElement();
}

class Parser {
 public:
    explicit Parser(const QByteArray& document) : m_xml(document) {}

    PtPreferenceFile::ReadResult run()
    {
        PtPreferenceFile::ReadResult result;
        if (parseDocument()) {
            result.status = PtPreferenceFile::Status::Loaded;
            result.values = std::move(m_values);
        } else {
            result.status = PtPreferenceFile::Status::Corrupt;
            result.error = m_error.isEmpty() ? m_xml.errorString() : m_error;
            if (m_xml.hasError())
                result.error += QStringLiteral(" (line %1)").arg(m_xml.lineNumber());
        }
        return result;
    }

 private:
    bool fail(const QString& why)
    {
        if (m_error.isEmpty())
            m_error = why;
        return false;
    }

    bool parseDocument()
    {
        if (!m_xml.readNextStartElement())
            return fail(m_xml.hasError() ? m_xml.errorString() : QStringLiteral("the file holds no document"));
        if (m_xml.name() != kRoot)
            return fail(QStringLiteral("the document is not a preference file"));
        if (m_xml.attributes().value(QStringLiteral("version")) != kFormatVersion)
            return fail(QStringLiteral("unknown preference file version"));
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != kDomain)
                return fail(QStringLiteral("unexpected element <%1>").arg(m_xml.name()));
            if (!parseDomain())
                return false;
        }
        if (m_xml.hasError())
            return false;
        // Nothing but white space and comments may follow the root element.
        while (!m_xml.atEnd()) {
            m_xml.readNext();
            if (m_xml.isStartElement() || (m_xml.isCharacters() && !m_xml.isWhitespace()))
                return fail(QStringLiteral("content after the document"));
        }
        return !m_xml.hasError();
    }

    bool parseDomain()
    {
        bool ok = false;
        const int id = m_xml.attributes().value(QStringLiteral("id")).toInt(&ok, 10);
        if (!ok)
            return fail(QStringLiteral("a domain without a numeric id"));
        if (m_values.count(id))
            return fail(QStringLiteral("domain %1 appears twice").arg(id));
        PtPreferenceDomain& domain = m_values[id];
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != kValue)
                return fail(QStringLiteral("unexpected element <%1>").arg(m_xml.name()));
            if (!parseValue(domain))
                return false;
        }
        return !m_xml.hasError();
    }

    bool parseValue(PtPreferenceDomain& domain)
    {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        const QByteArray key = attributes.value(QStringLiteral("key")).toLatin1();
        if (!ptIsPreferenceKey(key.constData()) || key != attributes.value(QStringLiteral("key")).toUtf8())
            return fail(QStringLiteral("a value with a bad key"));
        const QStringRef type = attributes.value(QStringLiteral("type"));
        const QStringRef encoding = attributes.value(QStringLiteral("encoding"));
        const bool base64 = encoding == QLatin1String("base64");
        if (!base64 && !encoding.isEmpty())
            return fail(QStringLiteral("unknown encoding of value %1").arg(QString::fromLatin1(key)));
        const QString content = m_xml.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
        if (m_xml.hasError())
            return false;

        PtPreferenceValue value;
        QByteArray raw;
        if (base64) {
            auto decoded = QByteArray::fromBase64Encoding(content.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
            if (!decoded)
                return fail(QStringLiteral("bad base64 in value %1").arg(QString::fromLatin1(key)));
            raw = *decoded;
        }
        if (type == QLatin1String("text")) {
            if (base64 && raw.size() % 2 != 0)
                return fail(QStringLiteral("odd UTF-16 length in value %1").arg(QString::fromLatin1(key)));
            value.kind = PtPreferenceValue::Kind::Text;
            value.text = base64 ? fromUtf16Units(raw) : content;
        } else if (type == QLatin1String("bytes")) {
            value.kind = PtPreferenceValue::Kind::Bytes;
            value.bytes = base64 ? raw : content.toUtf8();
        } else {
            return fail(QStringLiteral("unknown type of value %1").arg(QString::fromLatin1(key)));
        }
        if (!domain.emplace(key.toStdString(), std::move(value)).second)
            return fail(QStringLiteral("value %1 appears twice").arg(QString::fromLatin1(key)));
        return true;
    }

    QXmlStreamReader m_xml;
    PtPreferenceValues m_values;
    QString m_error;
};

} // namespace

QString PtPreferenceValue::asText() const
{
    return kind == Kind::Text ? text : QString::fromUtf8(bytes);
}

QByteArray PtPreferenceValue::asBytes() const
{
    return kind == Kind::Bytes ? bytes : text.toUtf8();
}

bool PtPreferenceValue::operator==(const PtPreferenceValue& other) const
{
    return kind == other.kind && (kind == Kind::Text ? text == other.text : bytes == other.bytes);
}

bool ptIsPreferenceKey(const char* key)
{
    if (!key || !*key)
        return false;
    std::size_t length = 0;
    for (const char* p = key; *p; ++p, ++length) {
        if (*p < 0x20 || *p > 0x7E || length >= 255)
            return false;
    }
    return true;
}

namespace PtPreferenceFile {

bool readDocument(const QString& path, QByteArray* document, QString* error)
{
    const auto tooLarge = [error] {
        *error = QStringLiteral("the file is larger than %1 bytes").arg(kMaxFileSize);
        return false;
    };
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        *error = file.errorString();
        return false;
    }
    // The size is only a hint: a device reports 0 and a file may grow while
    // it is read, so the loop stops at the limit whatever the hint said.
    const qint64 hint = file.size();
    if (hint > kMaxFileSize)
        return tooLarge();
    QByteArray bytes(int(hint) + 1, Qt::Uninitialized);
    qint64 held = 0;
    for (;;) {
        if (held == bytes.size()) {
            if (held > kMaxFileSize)
                return tooLarge();
            bytes.resize(int(std::min<qint64>(kMaxFileSize + 1, std::max<qint64>(held * 2, 4096))));
        }
        const qint64 got = file.read(bytes.data() + held, bytes.size() - held);
        if (got < 0) {
            *error = file.errorString();
            return false;
        }
        if (got == 0)
            break;
        held += got;
    }
    if (held > kMaxFileSize)
        return tooLarge();
    bytes.resize(int(held));
    bytes.squeeze();
    *document = std::move(bytes);
    return true;
}

ReadResult read(const QString& path)
{
    ReadResult result;
    if (!QFileInfo::exists(path))
        return result;
    QByteArray document;
    if (!readDocument(path, &document, &result.error)) {
        result.status = Status::Corrupt;
        return result;
    }
    return parse(document);
}

ReadResult parse(const QByteArray& document)
{
    return Parser(document).run();
}

QByteArray serialize(const PtPreferenceValues& values)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(kRoot);
    xml.writeAttribute(QStringLiteral("version"), kFormatVersion);
    for (const auto& [id, domain] : values) {
        if (domain.empty())
            continue;
        xml.writeStartElement(kDomain);
        xml.writeAttribute(QStringLiteral("id"), QString::number(id));
        for (const auto& [key, value] : domain)
            writeValue(xml, key, value);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    return document;
}

bool write(const QString& path, const PtPreferenceValues& values, QString* error)
{
    return writeDocument(path, serialize(values), error);
}

bool writeDocument(const QString& path, const QByteArray& document, QString* error)
{
    // QSaveFile writes beside the target, syncs it to disk on commit and
    // renames it over the target; a crash before the rename leaves the old file.
    if (document.size() > kMaxFileSize) {
        if (error)
            *error = QStringLiteral("the preferences would take %1 bytes, more than the %2 a preference file may hold")
                         .arg(document.size())
                         .arg(kMaxFileSize);
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(document) != document.size() || !file.commit()) {
        if (error)
            *error = file.errorString();
        file.cancelWriting();
        return false;
    }
    return true;
}

} // namespace PtPreferenceFile

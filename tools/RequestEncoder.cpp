// SPDX-License-Identifier: BSD-2-Clause
#include "RequestEncoder.h"

#include "RS232Message.h"
#include "TextCharset.h"

#include <QDate>
#include <QTime>

#include <climits>

namespace {

const int MAX_TEMP_TEXTS = 5;

bool parseNumber(const QString& text, long long low, long long high, long long* value)
{
    bool ok = false;
    const long long number = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) ? text.mid(2).toLongLong(&ok, 16)
                                                                                       : text.toLongLong(&ok, 10);
    if (!ok || number < low || number > high)
        return false;
    *value = number;
    return true;
}

// Collects the errors of one request so the encoders read straight through.
class Arguments
{
public:
    Arguments(const QStringList& words, QString* error)
        : m_words(words)
        , m_error(error)
    {
    }

    bool ok() const { return m_error->isEmpty(); }
    int count() const { return m_words.size(); }

    unsigned char byte(int index, const QString& what)
    {
        long long value = 0;
        if (index >= m_words.size())
            fail(QStringLiteral("missing %1").arg(what));
        else if (!parseNumber(m_words[index], 0, 255, &value))
            fail(QStringLiteral("%1 must be a number from 0 to 255, not \"%2\"").arg(what, m_words[index]));
        return static_cast<unsigned char>(value);
    }

    double real(int index, const QString& what)
    {
        bool converted = false;
        const double value = index < m_words.size() ? m_words[index].toDouble(&converted) : 0.0;
        if (index >= m_words.size())
            fail(QStringLiteral("missing %1").arg(what));
        else if (!converted)
            fail(QStringLiteral("%1 must be a number such as 12.5, not \"%2\"").arg(what, m_words[index]));
        return value;
    }

    // The words from `index` on, joined by blanks: quotes are optional.
    QString text(int index) const { return m_words.mid(index).join(QLatin1Char(' ')); }
    QString word(int index) const { return index < m_words.size() ? m_words[index] : QString(); }

    void expectAtMost(int count)
    {
        if (m_words.size() > count && ok())
            fail(QStringLiteral("too many arguments (\"%1\" and after)").arg(m_words[count]));
    }

    void fail(const QString& error)
    {
        if (ok())
            *m_error = error;
    }

private:
    const QStringList& m_words;
    QString* m_error;
};

QByteArray colourCode(unsigned char foreground, unsigned char background, Arguments& args)
{
    if (foreground > 15 || background > 15)
        args.fail(QStringLiteral("colours are numbers from 0 to 15"));
    return QByteArray(1, char((foreground << 4) | background));
}

QByteArray encodeDate(const QString& text, Arguments& args)
{
    const QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid() || date.year() < 0 || date.year() > 25599) {
        args.fail(QStringLiteral("a date is written YYYY-MM-DD, e.g. 2026-11-22, not \"%1\"").arg(text));
        return {};
    }
    // Day, month, century, year within the century.
    const char bytes[] = { char(date.day()), char(date.month()), char(date.year() / 100), char(date.year() % 100) };
    return QByteArray(bytes, sizeof bytes);
}

QByteArray encodeTime(const QString& text, Arguments& args)
{
    const QTime time = QTime::fromString(text, QStringLiteral("HH:mm:ss"));
    if (!time.isValid()) {
        args.fail(QStringLiteral("a time is written HH:MM:SS, e.g. 14:30:05, not \"%1\"").arg(text));
        return {};
    }
    const char bytes[] = { char(time.hour()), char(time.minute()), char(time.second()) };
    return QByteArray(bytes, sizeof bytes);
}

QByteArray encodeTempText(Arguments& args, const TextCharset& charset)
{
    QByteArray data;
    data.append(char(args.byte(0, "first line")));
    data.append(char(args.byte(1, "duration")));
    data.append('\0'); // not read by the controller
    if (args.count() - 2 > MAX_TEMP_TEXTS)
        args.fail(QStringLiteral("at most %1 texts").arg(MAX_TEMP_TEXTS));
    for (int i = 2; i < args.count(); ++i) {
        if (i > 2)
            data.append('\0');
        data.append(charset.encode(args.word(i)));
    }
    return data;
}

// What the first argument is called in the usage text: "<line>" -> "line".
QString firstArgumentName(const CatalogueEntry& entry)
{
    const int open = entry.arguments.indexOf(QLatin1Char('<'));
    const int close = entry.arguments.indexOf(QLatin1Char('>'), open);
    return open >= 0 && close > open ? entry.arguments.mid(open + 1, close - open - 1) : QStringLiteral("number");
}

QByteArray encode(const CatalogueEntry& entry, Arguments& args, const TextCharset& charset)
{
    switch (entry.request) {
    case RequestKind::None:
        args.expectAtMost(0);
        return {};
    case RequestKind::Byte:
        args.expectAtMost(1);
        return QByteArray(1, char(args.byte(0, firstArgumentName(entry))));
    case RequestKind::ByteText:
        return QByteArray(1, char(args.byte(0, firstArgumentName(entry)))) + charset.encode(args.text(1));
    case RequestKind::Text:
        if (args.count() == 0)
            args.fail(QStringLiteral("missing text"));
        return charset.encode(args.text(0));
    case RequestKind::Cursor: {
        args.expectAtMost(2);
        const char bytes[] = { char(args.byte(0, "column")), char(args.byte(1, "line")) };
        return QByteArray(bytes, sizeof bytes);
    }
    case RequestKind::LineColour: {
        args.expectAtMost(3);
        const bool cursor = args.word(0).compare(QLatin1String("cursor"), Qt::CaseInsensitive) == 0;
        const QByteArray line = cursor ? QByteArray() : QByteArray(1, char(args.byte(0, "line")));
        return line + colourCode(args.byte(1, "foreground"), args.byte(2, "background"), args);
    }
    case RequestKind::ItemColours:
    case RequestKind::UnitColour: {
        args.expectAtMost(3);
        const unsigned char target = args.byte(0, entry.request == RequestKind::ItemColours ? "item" : "unit text id");
        const unsigned char foreground = args.byte(1, "foreground");
        const unsigned char background = args.byte(2, "background");
        colourCode(foreground, background, args);
        int first = target;
        if (entry.request == RequestKind::UnitColour && args.ok()) {
            first = unitColourIndex(target);
            if (first < 0)
                args.fail(QStringLiteral("%1 is no unit text (84-90, 95-103)").arg(target));
        }
        // The second colour (background) comes before the first.
        const char bytes[] = { char(first), char(background), char(foreground) };
        return QByteArray(bytes, sizeof bytes);
    }
    case RequestKind::Float:
        args.expectAtMost(1);
        return RS232Message::float_to_bytearray(float(args.real(0, "value")));
    case RequestKind::Date:
        args.expectAtMost(1);
        return encodeDate(args.word(0), args);
    case RequestKind::Time:
        args.expectAtMost(1);
        return encodeTime(args.word(0), args);
    case RequestKind::Codec: {
        args.expectAtMost(1);
        TextCharset::Selector selector = TextCharset::Locale;
        if (!TextCharset::parse(args.word(0), &selector))
            args.fail(QStringLiteral("the character set is locale, utf8 or utf16"));
        return QByteArray(1, char(selector));
    }
    case RequestKind::VideoCounter: {
        args.expectAtMost(4);
        const char bytes[] = { char(args.byte(0, "hours")), char(args.byte(1, "minutes")),
                               char(args.byte(2, "seconds")), char(args.byte(3, "frames")) };
        return QByteArray(bytes, sizeof bytes);
    }
    case RequestKind::Position: {
        args.expectAtMost(2);
        const char bytes[] = { char(args.byte(0, "x")), char(args.byte(1, "y")) };
        return QByteArray(bytes, sizeof bytes);
    }
    case RequestKind::Integer: {
        args.expectAtMost(1);
        long long value = 0;
        if (!parseNumber(args.word(0), INT_MIN, INT_MAX, &value))
            args.fail(QStringLiteral("the value must be a whole number"));
        return RS232Message::int_to_bytearray(int(value));
    }
    case RequestKind::StartPosition:
        args.expectAtMost(3);
        return RS232Message::double_to_bytearray(args.real(0, "x"))
            + RS232Message::double_to_bytearray(args.real(1, "y"))
            + RS232Message::double_to_bytearray(args.real(2, "z"));
    case RequestKind::StartOrientation:
        args.expectAtMost(2);
        return RS232Message::float_to_bytearray(float(args.real(0, "a")))
            + RS232Message::float_to_bytearray(float(args.real(1, "b")));
    case RequestKind::TempText:
        return encodeTempText(args, charset);
    case RequestKind::Selector: {
        args.expectAtMost(2);
        if (args.count() == 0)
            return QByteArray("\x01\x01", 2);
        const char bytes[] = { char(args.byte(0, "selector")), char(args.byte(1, "selector")) };
        return QByteArray(bytes, sizeof bytes);
    }
    }
    return {};
}

} // namespace

bool parseByte(const QString& text, unsigned char* value)
{
    long long number = 0;
    if (!parseNumber(text, 0, 255, &number))
        return false;
    *value = static_cast<unsigned char>(number);
    return true;
}

bool encodeRequest(const CatalogueEntry& entry, const QStringList& arguments, const TextCharset& charset,
                   QByteArray* data, QString* error)
{
    error->clear();
    Arguments args(arguments, error);
    *data = encode(entry, args, charset);
    if (args.ok() && data->size() > 255)
        args.fail(QStringLiteral("the request is %1 bytes long; a frame carries at most 255").arg(data->size()));
    return args.ok();
}

QString describeRequest(RequestKind kind)
{
    switch (kind) {
    case RequestKind::None:
        return QStringLiteral("none");
    case RequestKind::Byte:
        return QStringLiteral("1 byte: the number");
    case RequestKind::ByteText:
        return QStringLiteral("1 byte: the number; then the text in the selected character set (may be empty)");
    case RequestKind::Text:
        return QStringLiteral("the text in the selected character set");
    case RequestKind::Cursor:
        return QStringLiteral("2 bytes: column, line (0-based)");
    case RequestKind::LineColour:
        return QStringLiteral("2 bytes: line (1-based), colour byte; or 1 byte: colour byte alone for the cursor");
    case RequestKind::ItemColours:
        return QStringLiteral("3 bytes: item, background, foreground");
    case RequestKind::UnitColour:
        return QStringLiteral("3 bytes: colour index of the unit text (see Unit texts), background, foreground");
    case RequestKind::Float:
        return QStringLiteral("4 bytes: float");
    case RequestKind::Date:
        return QStringLiteral("4 bytes: day, month, century, year within the century");
    case RequestKind::Time:
        return QStringLiteral("3 bytes: hour, minute, second");
    case RequestKind::Codec:
        return QStringLiteral("1 byte: 0 locale codec, 1 UTF-8, 2 UTF-16 (other values ignored)");
    case RequestKind::VideoCounter:
        return QStringLiteral("4 bytes: hours, minutes, seconds, frames");
    case RequestKind::Position:
        return QStringLiteral("2 bytes: x, y");
    case RequestKind::Integer:
        return QStringLiteral("2 bytes: integer form");
    case RequestKind::StartPosition:
        return QStringLiteral("24 bytes: three doubles x, y, z");
    case RequestKind::StartOrientation:
        return QStringLiteral("8 bytes: two floats");
    case RequestKind::TempText:
        return QStringLiteral(
            "first line (1-based), duration, 1 unread byte, then up to five texts separated by zero bytes");
    case RequestKind::Selector:
        return QStringLiteral("2 bytes: selector pair (1, 1 = camera module type)");
    }
    return {};
}

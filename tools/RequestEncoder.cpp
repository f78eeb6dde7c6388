// SPDX-License-Identifier: BSD-2-Clause
#include "RequestEncoder.h"

#include "CharsetNames.h"
#include "ClockPayloads.h"
#include "OverlayColors.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "SensorPayloads.h"
#include "TextCharset.h"
#include "TextPayloads.h"

#include <QDate>
#include <QTime>

#include <climits>

namespace {

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

int colourCode(unsigned char foreground, unsigned char background, Arguments& args)
{
    if (foreground > 15 || background > 15)
        args.fail(QStringLiteral("colours are numbers from 0 to 15"));
    return static_cast<unsigned char>(ColorCodeFromPair(foreground, background));
}

QByteArray encodeDate(const QString& text, Arguments& args)
{
    const QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid() || date.year() < 0 || date.year() > 25599) {
        args.fail(QStringLiteral("a date is written YYYY-MM-DD, e.g. 2026-11-22, not \"%1\"").arg(text));
        return {};
    }
    return encodeDateSetting(date);
}

QByteArray encodeTime(const QString& text, Arguments& args)
{
    const QTime time = QTime::fromString(text, QStringLiteral("HH:mm:ss"));
    if (!time.isValid()) {
        args.fail(QStringLiteral("a time is written HH:MM:SS, e.g. 14:30:05, not \"%1\"").arg(text));
        return {};
    }
    return encodeTimeSetting(time);
}

QByteArray encodeTempText(Arguments& args, const TextCharset& charset)
{
    TempTexts temp;
    temp.firstLine = args.byte(0, "first line");
    temp.duration = args.byte(1, "duration");
    if (args.count() - 2 > TEMP_TEXT_LINES)
        args.fail(QStringLiteral("at most %1 texts").arg(TEMP_TEXT_LINES));
    for (int i = 2; i < args.count(); ++i)
        temp.texts.append(args.word(i));
    return encodeTempTexts(temp, charset);
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
        return encodeNumberedText({ args.byte(0, firstArgumentName(entry)), args.text(1) }, charset);
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
        LineColourSetting setting;
        setting.atCursor = args.word(0).compare(QLatin1String("cursor"), Qt::CaseInsensitive) == 0;
        setting.line = setting.atCursor ? 0 : args.byte(0, "line");
        setting.colourCode = colourCode(args.byte(1, "foreground"), args.byte(2, "background"), args);
        return encodeLineColourSetting(setting);
    }
    case RequestKind::ItemColours:
    case RequestKind::UnitColour: {
        args.expectAtMost(3);
        ColourSetting setting;
        setting.target = args.byte(0, entry.request == RequestKind::ItemColours ? "item" : "unit text id");
        setting.foreground = args.byte(1, "foreground");
        setting.background = args.byte(2, "background");
        colourCode(setting.foreground, setting.background, args);
        if (entry.request == RequestKind::UnitColour && args.ok()) {
            const int unitText = setting.target;
            setting.target = unitColourIndex(unitText);
            if (setting.target < 0)
                args.fail(QStringLiteral("%1 is no unit text (84-90, 95-103)").arg(unitText));
        }
        return encodeColourSetting(setting);
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
        if (!parseCharsetName(args.word(0), &selector))
            args.fail(QStringLiteral("the character set is locale, utf8 or utf16"));
        return QByteArray(1, char(selector));
    }
    case RequestKind::VideoCounter: {
        args.expectAtMost(4);
        return encodeVideoCounter(
            { args.byte(0, "hours"), args.byte(1, "minutes"), args.byte(2, "seconds"), args.byte(3, "frames") });
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
        return encodeStartPosition({ args.real(0, "x"), args.real(1, "y"), args.real(2, "z") });
    case RequestKind::StartOrientation:
        args.expectAtMost(2);
        return encodeStartOrientation({ float(args.real(0, "a")), float(args.real(1, "b")) });
    case RequestKind::TempText:
        return encodeTempText(args, charset);
    case RequestKind::Selector: {
        args.expectAtMost(2);
        if (args.count() == 0)
            return encodeDeviceSelector(CAMERA_MODULE_TYPE);
        return encodeDeviceSelector({ args.byte(0, "selector"), args.byte(1, "selector") });
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

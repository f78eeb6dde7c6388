// SPDX-License-Identifier: BSD-2-Clause
// The payload layouts that the service and talvox-pc share, as pure functions on real byte strings: what each
// decoder reads from full, short and long data (missing bytes read as 0, surplus ignored), and that encoding
// what was read gives the same bytes back. Floats and doubles go most significant byte first on every host:
// these tests also run in the big-endian and 32-bit cross builds.
#include "ClockPayloads.h"
#include "OverlayPayloads.h"
#include "SensorPayloads.h"

#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

QString number(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

// Each layout's fields as one line, so that a table row reads as bytes -> fields.
QString numbers(std::initializer_list<double> values)
{
    QStringList words;
    for (const double value : values)
        words << number(value);
    return words.join(' ');
}

QString fields(const DatePieces& date)
{
    return dateSettingText(date) + QStringLiteral(", year %1").arg(date.year());
}

QString fields(const TimePieces& time)
{
    return timeSettingText(time);
}

QString fields(const StatusLineState& state)
{
    return QStringLiteral("item %1, colour %2, ").arg(state.item).arg(state.colourCode, 0, 16)
        + (state.visible ? "visible" : "hidden");
}

QString fields(const ColourSetting& setting)
{
    return QStringLiteral("target %1, %2 on %3, code %4")
        .arg(setting.target)
        .arg(setting.foreground)
        .arg(setting.background)
        .arg(quint8(setting.colourCode()), 0, 16);
}

QString fields(const LineColourSetting& setting)
{
    return (setting.atCursor ? QStringLiteral("cursor") : QStringLiteral("line %1").arg(setting.line))
        + QStringLiteral(", code %1").arg(setting.colourCode, 0, 16);
}

QString fields(const UnitState& state)
{
    return QStringLiteral("format %1, ").arg(state.format) + (state.visible ? "visible" : "hidden") + ", at "
        + numbers({ double(state.x), double(state.y) });
}

QString fields(const VideoCounter& counter)
{
    return counter.isNoValue()
        ? QStringLiteral("no value")
        : numbers({ double(counter.hours), double(counter.minutes), double(counter.seconds), double(counter.frames) });
}

QString fields(const DeviceData& data)
{
    return QStringLiteral("selector %1%2, status %3, value %4")
        .arg(numbers({ double(data.selector.first), double(data.selector.second) }))
        .arg(data.selector == CAMERA_MODULE_TYPE ? " (camera module type)" : "")
        .arg(data.status)
        .arg(data.value);
}

QString fields(const ConverterReading& reading)
{
    return QStringLiteral("channel %1: %2").arg(reading.channel).arg(number(reading.value));
}

QString fields(const Measurement3D& data)
{
    return numbers({ data.x, data.y, data.z }) + ", " + number(data.distanceCounter);
}

QString fields(const Position3D& position)
{
    return numbers({ position.x, position.y, position.z });
}

QString fields(const Orientation3D& orientation)
{
    return numbers({ orientation.first, orientation.second });
}

// The date as the PC sets it from the fields read.
QByteArray encodeDatePieces(const DatePieces& date)
{
    return encodeDateSetting(QDate(date.year(), date.month.value, date.day.value));
}

QByteArray encodeTimePieces(const TimePieces& time)
{
    return encodeTimeSetting(QTime(time.hour.value, time.minute.value, time.second.value));
}

template <typename Layout>
QString decodeAndBack(const QByteArray& wire, Layout (*decode)(const QByteArray&), QByteArray (*encode)(const Layout&),
                      QByteArray* again)
{
    const Layout decoded = decode(wire);
    *again = encode(decoded);
    return fields(decoded);
}

// The fields of `wire` read as `layout`, and in `again` what the sending side writes for them.
QString decodeAndBack(const QString& layout, const QByteArray& wire, QByteArray* again)
{
    if (layout == "date")
        return decodeAndBack(wire, decodeDate, encodeDatePieces, again);
    if (layout == "time")
        return decodeAndBack(wire, decodeTime, encodeTimePieces, again);
    if (layout == "status line state")
        return decodeAndBack(wire, decodeStatusLineState, encodeStatusLineState, again);
    if (layout == "colour setting")
        return decodeAndBack(wire, decodeColourSetting, encodeColourSetting, again);
    if (layout == "line colour")
        return decodeAndBack(wire, decodeLineColourSetting, encodeLineColourSetting, again);
    if (layout == "unit state")
        return decodeAndBack(wire, decodeUnitState, encodeUnitState, again);
    if (layout == "video counter")
        return decodeAndBack(wire, decodeVideoCounter, encodeVideoCounter, again);
    if (layout == "device data")
        return decodeAndBack(wire, decodeDeviceData, encodeDeviceData, again);
    if (layout == "converter")
        return decodeAndBack(wire, decodeConverterReading, encodeConverterReading, again);
    if (layout == "3D data")
        return decodeAndBack(wire, decodeMeasurement3D, encodeMeasurement3D, again);
    if (layout == "start position")
        return decodeAndBack(wire, decodeStartPosition, encodeStartPosition, again);
    return decodeAndBack(wire, decodeStartOrientation, encodeStartOrientation, again);
}
} // namespace

class TestPayloads : public QObject
{
    Q_OBJECT

private slots:
    // `roundTrip`: the wire is what the sender writes, and encoding the decoded fields gives it back.
    void decode_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("fields");
        QTest::addColumn<bool>("roundTrip");
        QTest::newRow("date setting") << "date" << hex("160b141a") << "2026-11-22, year 2026" << true;
        QTest::newRow("date: one digit pieces get a 0") << "date" << hex("09020503") << "0503-02-09, year 503" << true;
        QTest::newRow("date: a missing piece is left out") << "date" << hex("160b14") << "20-11-22, year 2000" << false;
        QTest::newRow("date: nothing") << "date" << QByteArray() << "--, year 0" << false;
        QTest::newRow("date: a year byte over 99 stays")
            << "date" << hex("0101147b") << "20123-01-01, year 2123" << false;
        QTest::newRow("time setting, reply's 0 ignored") << "time" << hex("0e1e0500") << "14:30:05" << false;
        QTest::newRow("time setting") << "time" << hex("0e1e05") << "14:30:05" << true;
        QTest::newRow("time: second missing") << "time" << hex("0e1e") << "14:30:" << false;
        QTest::newRow("status line state")
            << "status line state" << hex("021f010000") << "item 2, colour 1f, visible" << true;
        QTest::newRow("status line state: any byte but 0 is visible")
            << "status line state" << hex("0100ff") << "item 1, colour 0, visible" << false;
        QTest::newRow("colour setting: background before foreground")
            << "colour setting" << hex("010f02") << "target 1, 2 on 15, code 2f" << true;
        QTest::newRow("colour setting: a background over 15 spills into the foreground")
            << "colour setting" << hex("011102") << "target 1, 2 on 17, code 31" << true;
        QTest::newRow("colour setting: target alone")
            << "colour setting" << hex("11") << "target 17, 0 on 0, code 0" << false;
        QTest::newRow("line colour") << "line colour" << hex("031d") << "line 3, code 1d" << true;
        QTest::newRow("line colour: the colour alone is the cursor's")
            << "line colour" << hex("f1") << "cursor, code f1" << true;
        QTest::newRow("line colour: nothing is line 0") << "line colour" << QByteArray() << "line 0, code 0" << false;
        QTest::newRow("unit state") << "unit state" << hex("05010aff") << "format 5, visible, at 10 255" << true;
        QTest::newRow("unit state: short") << "unit state" << hex("0500") << "format 5, hidden, at 0 0" << false;
        QTest::newRow("video counter") << "video counter" << hex("01020318") << "1 2 3 24" << true;
        QTest::newRow("video counter: 99 in all four is no value")
            << "video counter" << hex("63636363") << "no value" << true;
        QTest::newRow("video counter: 99 in three is a value")
            << "video counter" << hex("01636363") << "1 99 99 99" << true;
        QTest::newRow("device data") << "device data" << hex("01010007")
                                     << "selector 1 1 (camera module type), status 0, value 7" << true;
        QTest::newRow("device data: unknown selector")
            << "device data" << hex("02070100") << "selector 2 7, status 1, value 0" << true;
        QTest::newRow("converter") << "converter" << hex("0041480000") << "channel 0: 12.5" << true;
        QTest::newRow("converter: float cut short") << "converter" << hex("074148") << "channel 7: 12.5" << false;
        QTest::newRow("3D data") << "3D data" << hex("3ff0000000000000c0000000000000003fe000000000000041480000")
                                 << "1 -2 0.5, 12.5" << true;
        QTest::newRow("3D data: y cut short, z and distance missing")
            << "3D data" << hex("3ff0000000000000c000") << "1 -2 0, 0" << false;
        QTest::newRow("start position") << "start position" << hex("3ff8000000000000c0000000000000007e37e43c8800759c")
                                        << "1.5 -2 1e+300" << true;
        QTest::newRow("start position: surplus ignored")
            << "start position" << hex("3ff0000000000000bff00000000000003ff0000000000000ff") << "1 -1 1" << false;
        QTest::newRow("start orientation") << "start orientation" << hex("3f000000be800000") << "0.5 -0.25" << true;
        QTest::newRow("start orientation: one float") << "start orientation" << hex("3f800000") << "1 0" << false;
    }

    void decode()
    {
        QFETCH(QString, layout);
        QFETCH(QByteArray, wire);
        QFETCH(bool, roundTrip);
        // Exactly wire.size() bytes allocated: a read past them shows under a sanitizer.
        const QByteArray exact(wire.constData(), wire.size());
        QByteArray again;
        QTEST(decodeAndBack(layout, exact, &again), "fields");
        if (roundTrip)
            QCOMPARE(again.toHex(), wire.toHex());
    }

    // The controller answers the century as 20 and the year as (year + 48) mod 256, whatever it sets from.
    void clockReplies_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QByteArray>("date");
        QTest::addColumn<QByteArray>("time");
        QTest::newRow("2026") << QDateTime(QDate(2026, 11, 22), QTime(14, 30, 5)) << hex("160b141a") << hex("0e1e0500");
        QTest::newRow("1999: year byte 255")
            << QDateTime(QDate(1999, 12, 31), QTime(23, 59, 59)) << hex("1f0c14ff") << hex("173b3b00");
        QTest::newRow("2100: year byte 100")
            << QDateTime(QDate(2100, 1, 1), QTime(0, 0)) << hex("01011464") << hex("00000000");
    }

    void clockReplies()
    {
        QFETCH(QDateTime, now);
        QTEST(encodeDateReply(now.date()), "date");
        QTEST(encodeTimeReply(now.time()), "time");
        QCOMPARE(encodeTimeSetting(now.time()), encodeTimeReply(now.time()).left(3));
    }

    // Items 1 to 4 are the fixed texts 94 to 91; the text commands take any other byte as a text id.
    void statusLineItems()
    {
        const struct {
            int item;
            int textId;
        } rows[] = { { 0, 0 }, { 1, 94 }, { 2, 93 }, { 3, 92 }, { 4, 91 }, { 5, 5 }, { 255, 255 } };
        for (const auto& row : rows) {
            QCOMPARE(isStatusLineItem(row.item), row.textId != row.item);
            QCOMPARE(statusLineTextId(row.item), row.textId);
        }
    }
};

QTEST_GUILESS_MAIN(TestPayloads)
#include "test_payloads.moc"

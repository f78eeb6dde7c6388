// Dispatch and the system commands end to end: which handler a (command,
// group) pair reaches, the software texts in each character set, the
// character set selector, the locale pushed by the system service, and the
// clock queries and settings (the date programs are recording stand-ins).
#include "RS232Message.h"
#include "TestRig.h"

#include <QDateTime>
#include <QTextCodec>
#include <QtTest>

namespace {
const quint8 GROUP_ACTION = 0;
const quint8 GROUP_QUERY = 1;
const quint8 GROUP_SETTING = 2;
const quint8 CMD_CODEC = 0x01;
const quint8 CMD_METERCOUNTER_1 = 0x30;
const quint8 CMD_DATE = 0x40;
const quint8 CMD_TIME = 0x50;
const quint8 CMD_VIDEOCOUNTER = 0x70;
const quint8 CMD_STATUSLINE = 0x90;
const quint8 CMD_SOFTWARE_VERSION = 0xFE;
const quint8 CMD_SOFTWARE_ID = 0xFF;

const char* const VERSION_TEXT = "Vemo <Name> GUI: V<x>.<y>.<z>-rc<w> in work";
const char* const ID_TEXT = "Vemo QR KTL-interface: V1.12 - May 12 2020 - 11:44:29";

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (int v : values)
        result.append(char(v));
    return result;
}
}

class TestDispatchAndSystem : public QObject
{
    Q_OBJECT

    TestRig rig;

    // Frames are handled one at a time: once a later codec query is answered,
    // the frame before it is done, and a reply of its own would have come first.
    bool settled() { return rig.query(CMD_CODEC, GROUP_QUERY).size() == 1; }

    void setSelector(int selector)
    {
        QVERIFY(rig.send(CMD_CODEC, GROUP_SETTING, bytes({ selector })));
        QCOMPARE(rig.query(CMD_CODEC, GROUP_QUERY), bytes({ selector }));
    }

    // The log written since `from`, one line each, without the "talvox[pid]: " prefix.
    QStringList logSince(int from)
    {
        QStringList lines = rig.serviceLog().mid(from).split('\n', Qt::SkipEmptyParts);
        for (QString& line : lines)
            line = line.section(": ", 1);
        return lines;
    }

    // Signals arrive on their own time: poll the line until the answer shows it.
    bool waitForAnswer(quint8 command, const QByteArray& request, const QByteArray& answer)
    {
        return QTest::qWaitFor([&] { return rig.query(command, GROUP_QUERY, request) == answer; }, 3000);
    }

    float meterCounter1() { return RS232Message::bytearray_to_float(rig.query(CMD_METERCOUNTER_1, GROUP_QUERY)); }

private slots:
    // A locale with non-Latin letters, so the locale codec differs from both
    // UTF-8 and Latin-1.
    void initTestCase()
    {
        RigOptions options;
        options.locale = "ru_RU";
        TALVOX_RIG_START(rig, options);
    }

    void init() { rig.clearCalls(); }

    void dispatch_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<int>("group");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("handler"); // empty: not in the table
        QTest::newRow("0x30 query") << 0x30 << 1 << "0x30|0x1" << "RS232Handler::fh_get_metercounter_1";
        QTest::newRow("0x30 action") << 0x30 << 0 << "0x30|0x0" << "RS232Handler::fh_sys_visibility";
        QTest::newRow("0x30 setting") << 0x30 << 2 << "0x30|0x2" << "RS232Handler::fh_set_metercounter_1";
        QTest::newRow("0x3B query") << 0x3B << 1 << "0x3b|0x1" << "RS232Handler::fh_get_metercounter_3";
        QTest::newRow("0x3C setting") << 0x3C << 2 << "0x3c|0x2" << "RS232Handler::fh_set_metercounter_3";
        QTest::newRow("0x3C query") << 0x3C << 1 << "0x3c|0x1" << "RS232Handler::fh_get_unit_state";
        QTest::newRow("0x3E query") << 0x3E << 1 << "0x3e|0x1" << "RS232Handler::fh_get_metercounter_resolution";
        QTest::newRow("0x3E setting") << 0x3E << 2 << "0x3e|0x2" << "RS232Handler::fh_set_unit_position";
        QTest::newRow("0xF6 query") << 0xF6 << 1 << "0xf6|0x1" << "RS232Handler::fh_get_device_value";
        QTest::newRow("0xF6 setting") << 0xF6 << 2 << "0xf6|0x2" << "RS232Handler::fh_set_unit_position";
        QTest::newRow("0x01 setting") << 0x01 << 2 << "0x1|0x2" << "RS232Handler::fh_set_codec";
        QTest::newRow("0xFF query") << 0xFF << 1 << "0xff|0x1" << "RS232Handler::fh_get_softwareid";
        QTest::newRow("0x3B setting") << 0x3B << 2 << "0x3b|0x2" << QString();
        QTest::newRow("0x3C action") << 0x3C << 0 << "0x3c|0x0" << QString();
        QTest::newRow("0xFF action") << 0xFF << 0 << "0xff|0x0" << QString();
        QTest::newRow("0xFF setting") << 0xFF << 2 << "0xff|0x2" << QString();
        QTest::newRow("0x02 query") << 0x02 << 1 << "0x2|0x1" << QString();
        QTest::newRow("0xAC action") << 0xAC << 0 << "0xac|0x0" << QString();
    }
    void dispatch()
    {
        QFETCH(int, command);
        QFETCH(int, group);
        QFETCH(QString, key);
        QFETCH(QString, handler);
        const int logStart = rig.serviceLog().size();

        QVERIFY(rig.send(quint8(command), quint8(group)));
        if (!handler.isEmpty() && group == GROUP_QUERY) {
            const std::optional<RigReply> reply = rig.readReply();
            QVERIFY2(reply, qPrintable(rig.lastError()));
            QCOMPARE(int(reply->command), command);
            QCOMPARE(int(reply->group), group);
        }
        QVERIFY(settled());
        QVERIFY(QTest::qWaitFor([&] { return logSince(logStart).contains("RS232Handler::fh_get_codec done."); }));

        const QStringList lines = logSince(logStart);
        const QStringList dispatched = lines.filter(QRegularExpression("^handling "));
        if (handler.isEmpty()) {
            // Acknowledged and dropped without a word: only the codec query shows.
            QCOMPARE(dispatched, QStringList({ "handling 0x1|0x1 30" }));
            return;
        }
        QCOMPARE(dispatched, QStringList({ "handling " + key + " 30", "handling 0x1|0x1 30" }));
        const int start = lines.indexOf(dispatched.at(0));
        const QStringList handled = lines.mid(start, lines.indexOf(dispatched.at(1), start) - start);
        QVERIFY2(!handled.filter(QRegularExpression("^" + QRegularExpression::escape(handler) + "\\b")).isEmpty(),
                 qPrintable(lines.join('\n')));
    }

    void softwareTexts_data()
    {
        QTest::addColumn<int>("selector");
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray utf16Version = QTextCodec::codecForName("UTF-16")->fromUnicode(VERSION_TEXT);
        const QByteArray utf16Id = QTextCodec::codecForName("UTF-16")->fromUnicode(ID_TEXT);
        QTest::newRow("version, locale codec") << 0 << 0xFE << QByteArray(VERSION_TEXT);
        QTest::newRow("id, locale codec") << 0 << 0xFF << QByteArray(ID_TEXT);
        QTest::newRow("version, UTF-8") << 1 << 0xFE << QByteArray(VERSION_TEXT);
        QTest::newRow("id, UTF-8") << 1 << 0xFF << QByteArray(ID_TEXT);
        QTest::newRow("version, UTF-16") << 2 << 0xFE << utf16Version;
        QTest::newRow("id, UTF-16") << 2 << 0xFF << utf16Id;
    }
    void softwareTexts()
    {
        QFETCH(int, selector);
        QFETCH(int, command);
        QFETCH(QByteArray, expected);
        setSelector(selector);
        const QByteArray reply = rig.query(quint8(command), GROUP_QUERY);
        setSelector(0);
        QCOMPARE(reply, expected);
        if (selector == 2) {
            // A byte-order mark, then two bytes a character.
            QCOMPARE(reply.size(), 2 + 2 * int(qstrlen(command == CMD_SOFTWARE_VERSION ? VERSION_TEXT : ID_TEXT)));
            QVERIFY(reply.startsWith("\xFF\xFE") || reply.startsWith("\xFE\xFF"));
        }
    }

    void cyrillicInTheLocaleCodec()
    {
        // "Привет" in UTF-8, read back in ISO-8859-5; "Мир" the other way.
        const QByteArray iso88595 = bytes({ 0xBF, 0xE0, 0xD8, 0xD2, 0xD5, 0xE2 });
        setSelector(1);
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, bytes({ 1 }) + QStringLiteral("Привет").toUtf8()));
        setSelector(0);
        QCOMPARE(rig.query(CMD_STATUSLINE, GROUP_QUERY, bytes({ 1 })), bytes({ 1 }) + iso88595);

        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, bytes({ 2, 0xBC, 0xD8, 0xE0 })));
        QVERIFY(rig.waitForCall("set_text_string(1093, \"Мир\")"));
    }

    void codecSelector_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("selector"); // after the request, starting from 1
        QTest::newRow("0") << bytes({ 0 }) << 0;
        QTest::newRow("1") << bytes({ 1 }) << 1;
        QTest::newRow("2") << bytes({ 2 }) << 2;
        QTest::newRow("3 ignored") << bytes({ 3 }) << 1;
        QTest::newRow("0x80 ignored") << bytes({ 0x80 }) << 1;
        QTest::newRow("0xFF ignored") << bytes({ 0xFF }) << 1;
        QTest::newRow("no data reads 0") << QByteArray() << 0;
        QTest::newRow("extra bytes") << bytes({ 2, 1 }) << 2;
    }
    void codecSelector()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, selector);
        setSelector(1);
        QVERIFY(rig.send(CMD_CODEC, GROUP_SETTING, request));
        const QByteArray answer = rig.query(CMD_CODEC, GROUP_QUERY);
        setSelector(0);
        QCOMPARE(answer, bytes({ selector }));
    }

    // "locale_changed" chooses the locale codec by country and feet for the
    // United States. Status line item 3 holds a text whose bytes differ in
    // each of the four codecs; meter counter 1 holds 12.5 m.
    void localeChanges_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("textBytes");
        QTest::addColumn<bool>("metric");
        const QByteArray iso88595 = bytes({ 0xB6, '?', '?', '?' });
        const QByteArray iso88592 = bytes({ '?', 0xBB, '?', '?' });
        const QByteArray iso885916 = bytes({ '?', '?', 0xA4, 0xBA });
        const QByteArray iso885915 = bytes({ '?', '?', 0xA4, '?' });
        QTest::newRow("ru_RU") << "ru_RU" << iso88595 << true;
        QTest::newRow("uk_UA") << "uk_UA" << iso88595 << true;
        QTest::newRow("bg_BG") << "bg_BG" << iso88595 << true;
        QTest::newRow("pl_PL") << "pl_PL" << iso885916 << true;
        QTest::newRow("ro_RO") << "ro_RO" << iso885916 << true;
        QTest::newRow("hu_HU") << "hu_HU" << iso885916 << true;
        QTest::newRow("sk_SK") << "sk_SK" << iso88592 << true;
        QTest::newRow("de_DE") << "de_DE" << iso885915 << true;
        QTest::newRow("en_GB") << "en_GB" << iso885915 << true;
        QTest::newRow("en_US") << "en_US" << iso885915 << false;
        QTest::newRow("empty code") << "" << iso885915 << true;
        QTest::newRow("no locale") << "not a locale" << iso885915 << true;
    }
    void localeChanges()
    {
        QFETCH(QString, locale);
        QFETCH(QByteArray, textBytes);
        QFETCH(bool, metric);
        const QByteArray item = bytes({ 3 });
        setSelector(1);
        QVERIFY(rig.send(CMD_STATUSLINE, GROUP_SETTING, item + QStringLiteral("Жť€ș").toUtf8()));
        setSelector(0);
        QVERIFY(rig.emitSignal("meter_counter_changed", { 12.5 }));

        // From a locale whose bytes differ, so the wait below shows the change.
        const bool fromSlovak = textBytes != bytes({ '?', 0xBB, '?', '?' });
        QVERIFY(rig.emitSignal("locale_changed", { fromSlovak ? "sk_SK" : "ru_RU" }));
        QVERIFY(waitForAnswer(CMD_STATUSLINE, item, item + (fromSlovak ? bytes({ '?', 0xBB, '?', '?' })
                                                                          : bytes({ 0xB6, '?', '?', '?' }))));
        QCOMPARE(meterCounter1(), 12.5f);

        QVERIFY(rig.emitSignal("locale_changed", { locale }));
        QVERIFY(waitForAnswer(CMD_STATUSLINE, item, item + textBytes));
        // Feet by the factor 3.28: 41.0.
        QCOMPARE(meterCounter1(), metric ? 12.5f : 41.0f);

        QVERIFY(rig.emitSignal("locale_changed", { "ru_RU" }));
        QVERIFY(waitForAnswer(CMD_STATUSLINE, item, item + bytes({ 0xB6, '?', '?', '?' })));
    }

    void clockQueries_data()
    {
        QTest::addColumn<int>("command");
        QTest::newRow("date") << int(CMD_DATE);
        QTest::newRow("time") << int(CMD_TIME);
    }
    void clockQueries()
    {
        QFETCH(int, command);
        const auto answerAt = [&](const QDateTime& t) {
            if (command == CMD_DATE)
                return bytes({ t.date().day(), t.date().month(), 20, (t.date().year() + 48) % 256 });
            return bytes({ t.time().hour(), t.time().minute(), t.time().second(), 0 });
        };
        const QDateTime before = QDateTime::currentDateTime();
        const QByteArray answer = rig.query(quint8(command), GROUP_QUERY);
        const QDateTime after = QDateTime::currentDateTime();
        // The clock may pass a second boundary during the query.
        QVERIFY2(answer == answerAt(before) || answer == answerAt(after), answer.toHex().constData());
    }

    // The command line of the date stand-in, for the clock at `t`. An invalid
    // date or time formats to nothing.
    void clockSettings_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("date"); // "yyyy-MM-dd", empty: today, "-": invalid
        QTest::addColumn<QString>("time"); // "hh:mm:ss", empty: now, "-": invalid
        QTest::newRow("12 May 2020") << int(CMD_DATE) << bytes({ 12, 5, 20, 20 }) << "2020-05-12" << QString();
        QTest::newRow("year 2100") << int(CMD_DATE) << bytes({ 1, 1, 21, 0 }) << "2100-01-01" << QString();
        QTest::newRow("31 December 1999") << int(CMD_DATE) << bytes({ 31, 12, 19, 99 }) << "1999-12-31" << QString();
        QTest::newRow("month 13") << int(CMD_DATE) << bytes({ 12, 13, 20, 20 }) << "-" << QString();
        QTest::newRow("two date bytes") << int(CMD_DATE) << bytes({ 12, 5 }) << "-" << QString();
        QTest::newRow("no date bytes") << int(CMD_DATE) << QByteArray() << "-" << QString();
        QTest::newRow("14:30:05") << int(CMD_TIME) << bytes({ 14, 30, 5 }) << QString() << "14:30:05";
        QTest::newRow("00:00:00") << int(CMD_TIME) << bytes({ 0, 0, 0 }) << QString() << "00:00:00";
        QTest::newRow("hour 24") << int(CMD_TIME) << bytes({ 24, 0, 0 }) << QString() << "-";
        QTest::newRow("one time byte") << int(CMD_TIME) << bytes({ 9 }) << QString() << "-";
        QTest::newRow("0xFF bytes") << int(CMD_TIME) << bytes({ 0xFF, 0xFF, 0xFF }) << QString() << "-";
    }
    void clockSettings()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, request);
        QFETCH(QString, date);
        QFETCH(QString, time);
        const auto commandLineAt = [&](const QDateTime& now) {
            const QDate d = date.isEmpty() ? now.date() : QDate::fromString(date, "yyyy-MM-dd");
            const QTime t = time.isEmpty() ? now.time() : QTime::fromString(time, "hh:mm:ss");
            return "date " + d.toString("MMdd") + t.toString("HHmm") + d.toString("yyyy") + t.toString(".ss");
        };
        const int known = rig.standinCalls().size();

        const QDateTime before = QDateTime::currentDateTime();
        QVERIFY(rig.send(quint8(command), GROUP_SETTING, request));
        QVERIFY(settled());
        const QDateTime after = QDateTime::currentDateTime();

        const QStringList ran = rig.standinCalls().mid(known);
        QCOMPARE(ran.size(), 2);
        QVERIFY2(ran.at(0) == commandLineAt(before) || ran.at(0) == commandLineAt(after), qPrintable(ran.at(0)));
        QCOMPARE(ran.at(1), QString("hwclock -w -u"));
    }

    void videoCounterSignalChangesNothing()
    {
        const QByteArray counter = rig.query(CMD_VIDEOCOUNTER, GROUP_QUERY);
        QCOMPARE(counter.size(), 4);
        QVERIFY(rig.emitSignal("videocounter_changed", { 9, 8, 7, 6 }));
        // A signal the service does take, sent after it, shows it has been delivered.
        QVERIFY(rig.emitSignal("meter_counter_changed", { 3.5 }));
        QVERIFY(QTest::qWaitFor([&] { return meterCounter1() == 3.5f; }, 3000));

        QCOMPARE(rig.query(CMD_VIDEOCOUNTER, GROUP_QUERY), counter);
        QCOMPARE(rig.calls(), QStringList({ "get_videocounter()", "get_videocounter()" }));
    }
};

QTEST_GUILESS_MAIN(TestDispatchAndSystem)
#include "test_dispatch_and_system.moc"

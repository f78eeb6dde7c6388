// The message frame: header arithmetic, validity, copies, text form and the int and short-input quirks of the
// value encodings (their byte order on every host is test_portability's).
#include "RS232Message.h"

#include <QtTest>

#include <climits>

namespace {
QByteArray hex(const char* text) { return QByteArray::fromHex(text); }

// A message holding `data`; lo and hi, if given, announce another length.
RS232Message message(int command, int group, const QByteArray& data, int lo = -1, int hi = -1)
{
    RS232Message m;
    m.set_command_id(command);
    m.set_group_id(group);
    m.set_data(data);
    if (lo >= 0) {
        m.set_length_lo(lo);
        m.set_length_hi(hi);
    }
    return m;
}
}

class TestMessage : public QObject
{
    Q_OBJECT

private slots:
    // An int travels as its upper 16 bits, the lower of the two bytes first.
    void intPair_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QByteArray>("wire");
        QTest::newRow("0x12345678") << 0x12345678 << hex("3412");
        QTest::newRow("65535 is lost") << 65535 << hex("0000");
        QTest::newRow("INT_MIN") << INT_MIN << hex("0080");
    }

    void intPair()
    {
        QFETCH(int, value);
        QFETCH(QByteArray, wire);
        QCOMPARE(RS232Message::int_to_bytearray(value).toHex(), wire.toHex());
        QCOMPARE(RS232Message::bytearray_to_int(wire), int(quint32(value) & 0xFFFF0000u));
    }

    // The float and double decoders read missing trailing bytes as 0; the int decoder wants exactly two, else 0.
    void decodersOnShortInput_data()
    {
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QByteArray>("asFloat");
        QTest::addColumn<QByteArray>("asDouble");
        QTest::addColumn<int>("asInt");
        QTest::newRow("empty") << QByteArray() << hex("00000000") << hex("0000000000000000") << 0;
        QTest::newRow("two") << hex("3ff0") << hex("3ff00000") << hex("3ff0000000000000") << int(0xF03F0000u);
        QTest::newRow("five") << hex("4001020304") << hex("40010203") << hex("4001020304000000") << 0;
    }

    void decodersOnShortInput()
    {
        QFETCH(QByteArray, wire);
        // Exactly wire.size() bytes allocated: reading past them shows under a sanitizer.
        const QByteArray exact(wire.constData(), wire.size());
        QTEST(RS232Message::float_to_bytearray(RS232Message::bytearray_to_float(exact)), "asFloat");
        QTEST(RS232Message::double_to_bytearray(RS232Message::bytearray_to_double(exact)), "asDouble");
        QTEST(RS232Message::bytearray_to_int(exact), "asInt");
    }

    // The announced length is length lo + length hi, not a 16-bit number.
    void sumLength()
    {
        for (const int half : {1, 255}) { // 1+1 is 2, not 257
            RS232Message m = message(5, 1, {}, half, half);
            QCOMPARE(m.get_setted_length(), 2 * half);
            for (int i = 0; i < 2 * half; ++i) {
                QVERIFY(!m.is_data_complete());
                m.append_data_byte(0xEE);
            }
            QVERIFY(m.is_valid());
            QCOMPARE(int(m.get_length_lo()), half); // appending leaves the header alone
            m.append_data_byte(0xEE);
            QVERIFY(!m.is_data_complete());
            QVERIFY(!m.is_valid());
        }
    }

    // set_data() writes size & 0xFF and size >> 8: beyond 255 bytes the sum no longer matches.
    void lengthFromDataSize()
    {
        const RS232Message full = message(5, 1, QByteArray(255, 'x')), over = message(5, 1, QByteArray(256, 'x'));
        QCOMPARE(QPoint(full.get_length_lo(), full.get_length_hi()), QPoint(255, 0));
        QVERIFY(full.is_valid());
        QCOMPARE(QPoint(over.get_length_lo(), over.get_length_hi()), QPoint(0, 1));
        QCOMPARE(over.get_data_length(), 256);
        QVERIFY(!over.is_valid());
    }

    // Command 0 and group 255 are invalid; clearing the data keeps the ids; a copy takes its length bytes from
    // the data, whatever the source announced; a byte the data lacks reads as 0.
    void idsClearingCopiesAndDataBytes()
    {
        QVERIFY(!message(0, 1, {}).is_valid());
        QVERIFY(!message(5, 255, {}).is_valid());
        QVERIFY(message(255, 254, {}).is_valid()); // only the receiver limits groups
        RS232Message m = message(7, 2, hex("010203"));
        m.clear_data();
        QCOMPARE(m.toStr(), QString("0x7|0x2|0x0|0x0|"));
        QVERIFY(m.is_valid());
        m.clear();
        QCOMPARE(m.toStr(), QString("0x0|0xff|0x0|0x0|"));
        QVERIFY(!m.is_valid());

        const RS232Message source = message(9, 1, hex("aa01"), 3, 2);
        RS232Message copy(source);
        QCOMPARE(copy.toStr(), QString("0x9|0x1|0x2|0x0|0xaa|0x1"));
        QVERIFY(copy.is_valid());
        copy.append_data_byte(0xBB);
        copy.set_command_id(10);
        QCOMPARE(source.toStr(), QString("0x9|0x1|0x3|0x2|0xaa|0x1"));
        QCOMPARE(int(source.data_byte(0)), 0xAA);
        QCOMPARE(int(source.data_byte(2)), 0);
        QCOMPARE(int(source.data_byte(-1)), 0);
        QCOMPARE(int(byte_at(QByteArray(), 0)), 0);
    }
};

QTEST_APPLESS_MAIN(TestMessage)
#include "test_message.moc"

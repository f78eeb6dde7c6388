// The message frame: header arithmetic, validity, copies, text form and the
// value encodings, which travel most significant byte first on every host.
#include "RS232Message.h"

#include <QtTest>

#include <cfloat>
#include <climits>

namespace {
QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int value : values)
        out.append(char(value));
    return out;
}

RS232Message message(int command, int group, const QByteArray& data)
{
    RS232Message m;
    m.set_command_id(command);
    m.set_group_id(group);
    m.set_data(data);
    return m;
}
}

class TestMessage : public QObject
{
    Q_OBJECT

private slots:
    void floatEncoding_data();
    void floatEncoding();
    void doubleEncoding_data();
    void doubleEncoding();
    void intPair_data();
    void intPair();
    void intPairDecoding_data();
    void intPairDecoding();
    void shortInputReadsZeros_data();
    void shortInputReadsZeros();

    void sumLength_data();
    void sumLength();
    void setDataLengthBytes_data();
    void setDataLengthBytes();
    void validity_data();
    void validity();
    void clearing();
    void copyRecomputesLength_data();
    void copyRecomputesLength();
    void copyIsIndependent();
    void textForm_data();
    void textForm();
    void dataByteOutOfRange();
};

// ---- value encodings ----------------------------------------------------

void TestMessage::floatEncoding_data()
{
    QTest::addColumn<float>("value");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("1.0") << 1.0f << bytes({0x3F, 0x80, 0x00, 0x00});
    QTest::newRow("-2.5") << -2.5f << bytes({0xC0, 0x20, 0x00, 0x00});
    QTest::newRow("0.0") << 0.0f << bytes({0x00, 0x00, 0x00, 0x00});
    QTest::newRow("-0.0") << -0.0f << bytes({0x80, 0x00, 0x00, 0x00});
    QTest::newRow("123.456") << 123.456f << bytes({0x42, 0xF6, 0xE9, 0x79});
    QTest::newRow("FLT_MAX") << FLT_MAX << bytes({0x7F, 0x7F, 0xFF, 0xFF});
    QTest::newRow("denormal") << 1.401298464e-45f << bytes({0x00, 0x00, 0x00, 0x01});
}

void TestMessage::floatEncoding()
{
    QFETCH(float, value);
    QFETCH(QByteArray, wire);
    QCOMPARE(RS232Message::float_to_bytearray(value).toHex(), wire.toHex());
    const float back = RS232Message::bytearray_to_float(wire);
    QCOMPARE(RS232Message::float_to_bytearray(back).toHex(), wire.toHex()); // bit-exact, sign of zero too
}

void TestMessage::doubleEncoding_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("1.0") << 1.0 << bytes({0x3F, 0xF0, 0, 0, 0, 0, 0, 0});
    QTest::newRow("-2.0") << -2.0 << bytes({0xC0, 0x00, 0, 0, 0, 0, 0, 0});
    QTest::newRow("0.1") << 0.1 << bytes({0x3F, 0xB9, 0x99, 0x99, 0x99, 0x99, 0x99, 0x9A});
    QTest::newRow("DBL_MIN") << DBL_MIN << bytes({0x00, 0x10, 0, 0, 0, 0, 0, 0});
    QTest::newRow("DBL_MAX") << DBL_MAX << bytes({0x7F, 0xEF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    QTest::newRow("all bytes differ") << 1.0000000000000004 << bytes({0x3F, 0xF0, 0, 0, 0, 0, 0, 0x02});
}

void TestMessage::doubleEncoding()
{
    QFETCH(double, value);
    QFETCH(QByteArray, wire);
    QCOMPARE(RS232Message::double_to_bytearray(value).toHex(), wire.toHex());
    QCOMPARE(RS232Message::bytearray_to_double(wire), value);
}

// The integer travels as its upper 16 bits, lower of the two bytes first.
void TestMessage::intPair_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QByteArray>("wire");
    QTest::newRow("0x12345678") << 0x12345678 << bytes({0x34, 0x12});
    QTest::newRow("100 is lost") << 100 << bytes({0x00, 0x00});
    QTest::newRow("65535 is lost") << 65535 << bytes({0x00, 0x00});
    QTest::newRow("65536") << 65536 << bytes({0x01, 0x00});
    QTest::newRow("-1") << -1 << bytes({0xFF, 0xFF});
    QTest::newRow("INT_MIN") << INT_MIN << bytes({0x00, 0x80});
    QTest::newRow("INT_MAX") << INT_MAX << bytes({0xFF, 0x7F});
}

void TestMessage::intPair()
{
    QFETCH(int, value);
    QFETCH(QByteArray, wire);
    QCOMPARE(RS232Message::int_to_bytearray(value).toHex(), wire.toHex());
    // Self-consistent: the round trip keeps the upper half only.
    QCOMPARE(RS232Message::bytearray_to_int(wire), int(quint32(value) & 0xFFFF0000u));
}

void TestMessage::intPairDecoding_data()
{
    QTest::addColumn<QByteArray>("wire");
    QTest::addColumn<int>("value");
    QTest::newRow("34 12") << bytes({0x34, 0x12}) << 0x12340000;
    QTest::newRow("ff ff") << bytes({0xFF, 0xFF}) << int(0xFFFF0000u);
    QTest::newRow("empty") << QByteArray() << 0;
    QTest::newRow("one byte") << bytes({0x34}) << 0;
    QTest::newRow("three bytes") << bytes({0x34, 0x12, 0x00}) << 0;
}

void TestMessage::intPairDecoding()
{
    QFETCH(QByteArray, wire);
    QFETCH(int, value);
    QCOMPARE(RS232Message::bytearray_to_int(wire), value);
}

// The float and double decoders do not check the size; a short piece must
// read its missing trailing bytes as 0, never past the end.
void TestMessage::shortInputReadsZeros_data()
{
    QTest::addColumn<QByteArray>("wire");
    QTest::addColumn<QByteArray>("asFloat");
    QTest::addColumn<QByteArray>("asDouble");
    QTest::newRow("empty") << QByteArray() << bytes({0, 0, 0, 0}) << bytes({0, 0, 0, 0, 0, 0, 0, 0});
    QTest::newRow("two") << bytes({0x3F, 0xF0}) << bytes({0x3F, 0xF0, 0, 0}) << bytes({0x3F, 0xF0, 0, 0, 0, 0, 0, 0});
    QTest::newRow("five") << bytes({0x40, 1, 2, 3, 4}) << bytes({0x40, 1, 2, 3}) << bytes({0x40, 1, 2, 3, 4, 0, 0, 0});
    QTest::newRow("nine") << bytes({1, 2, 3, 4, 5, 6, 7, 8, 9}) << bytes({1, 2, 3, 4})
                          << bytes({1, 2, 3, 4, 5, 6, 7, 8});
}

void TestMessage::shortInputReadsZeros()
{
    QFETCH(QByteArray, wire);
    QFETCH(QByteArray, asFloat);
    QFETCH(QByteArray, asDouble);
    // Decode from a copy that has exactly wire.size() bytes allocated.
    const QByteArray exact(wire.constData(), wire.size());
    QCOMPARE(RS232Message::float_to_bytearray(RS232Message::bytearray_to_float(exact)).toHex(), asFloat.toHex());
    QCOMPARE(RS232Message::double_to_bytearray(RS232Message::bytearray_to_double(exact)).toHex(), asDouble.toHex());
}

// ---- header, validity, copies ---------------------------------------------

// The announced length is length lo + length hi, not a 16-bit number.
void TestMessage::sumLength_data()
{
    QTest::addColumn<int>("lo");
    QTest::addColumn<int>("hi");
    QTest::addColumn<int>("setted");
    QTest::newRow("3+2") << 3 << 2 << 5;
    QTest::newRow("1+1 is 2, not 257") << 1 << 1 << 2;
    QTest::newRow("0+1") << 0 << 1 << 1;
    QTest::newRow("255+255") << 255 << 255 << 510;
    QTest::newRow("0+0") << 0 << 0 << 0;
}

void TestMessage::sumLength()
{
    QFETCH(int, lo);
    QFETCH(int, hi);
    QFETCH(int, setted);
    RS232Message m;
    m.set_command_id(5);
    m.set_group_id(1);
    m.set_length_lo(lo);
    m.set_length_hi(hi);
    QCOMPARE(m.get_setted_length(), setted);
    QCOMPARE(int(m.get_length_lo()), lo);
    QCOMPARE(int(m.get_length_hi()), hi);
    for (int i = 0; i < setted; ++i) {
        QVERIFY(!m.is_data_complete());
        m.append_data_byte(0xEE);
    }
    QVERIFY(m.is_data_complete());
    QVERIFY(m.is_valid());
    QCOMPARE(int(m.get_length_lo()), lo); // appending leaves the header alone
    m.append_data_byte(0xEE);
    QVERIFY(!m.is_data_complete());
    QVERIFY(!m.is_valid());
}

void TestMessage::setDataLengthBytes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("lo");
    QTest::addColumn<int>("hi");
    QTest::addColumn<bool>("valid");
    QTest::newRow("0") << 0 << 0 << 0 << true;
    QTest::newRow("1") << 1 << 1 << 0 << true;
    QTest::newRow("255") << 255 << 255 << 0 << true;
    QTest::newRow("256") << 256 << 0 << 1 << false;
    QTest::newRow("300") << 300 << 0x2C << 1 << false;
    QTest::newRow("511") << 511 << 255 << 1 << false;
    QTest::newRow("512") << 512 << 0 << 2 << false;
}

void TestMessage::setDataLengthBytes()
{
    QFETCH(int, size);
    QFETCH(int, lo);
    QFETCH(int, hi);
    QFETCH(bool, valid);
    const RS232Message m = message(5, 1, QByteArray(size, 'x'));
    QCOMPARE(int(m.get_length_lo()), lo);
    QCOMPARE(int(m.get_length_hi()), hi);
    QCOMPARE(m.get_data_length(), size);
    QCOMPARE(m.get_setted_length(), lo + hi);
    QCOMPARE(m.is_valid(), valid);
}

void TestMessage::validity_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("group");
    QTest::addColumn<bool>("valid");
    QTest::newRow("5/1") << 5 << 1 << true;
    QTest::newRow("command 0") << 0 << 1 << false;
    QTest::newRow("group 255") << 5 << 255 << false;
    QTest::newRow("group 254") << 255 << 254 << true; // only the receiver limits groups
    QTest::newRow("group 0") << 1 << 0 << true;
}

void TestMessage::validity()
{
    QFETCH(int, command);
    QFETCH(int, group);
    QFETCH(bool, valid);
    const RS232Message m = message(command, group, bytes({1, 2}));
    QCOMPARE(m.is_valid(), valid);
}

void TestMessage::clearing()
{
    RS232Message fresh;
    QVERIFY(!fresh.is_valid());
    QVERIFY(fresh.is_data_complete());
    QCOMPARE(fresh.toStr(), QString("0x0|0xff|0x0|0x0|"));

    RS232Message m = message(7, 2, bytes({1, 2, 3}));
    m.clear_data(); // ids stay
    QCOMPARE(m.toStr(), QString("0x7|0x2|0x0|0x0|"));
    QVERIFY(m.is_valid());
    m.set_data(bytes({1}));
    m.clear();
    QCOMPARE(m.toStr(), QString("0x0|0xff|0x0|0x0|"));
    QVERIFY(!m.is_valid());
}

// A copy takes its length bytes from the data, whatever the source announced.
void TestMessage::copyRecomputesLength_data()
{
    QTest::addColumn<int>("lo");
    QTest::addColumn<int>("hi");
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("copyText");
    QTest::newRow("announces 5, holds 2") << 3 << 2 << 2 << "0x9|0x1|0x2|0x0|0x0|0x1";
    QTest::newRow("announces 0, holds 1") << 0 << 0 << 1 << "0x9|0x1|0x1|0x0|0x0";
    QTest::newRow("1+1 holding 2 becomes 2+0") << 1 << 1 << 2 << "0x9|0x1|0x2|0x0|0x0|0x1";
}

void TestMessage::copyRecomputesLength()
{
    QFETCH(int, lo);
    QFETCH(int, hi);
    QFETCH(int, size);
    QFETCH(QString, copyText);
    RS232Message source;
    source.set_command_id(9);
    source.set_group_id(1);
    source.set_length_lo(lo);
    source.set_length_hi(hi);
    for (int i = 0; i < size; ++i)
        source.append_data_byte(i);

    const RS232Message copy(source);
    QCOMPARE(copy.toStr(), copyText);
    QVERIFY(copy.is_valid());
    QCOMPARE(int(source.get_length_lo()), lo); // the source is untouched
    QCOMPARE(int(source.get_length_hi()), hi);
}

void TestMessage::copyIsIndependent()
{
    RS232Message source = message(9, 1, bytes({0xAA}));
    RS232Message copy(source);
    copy.append_data_byte(0xBB);
    copy.set_command_id(10);
    QCOMPARE(source.toStr(), QString("0x9|0x1|0x1|0x0|0xaa"));

    // 256 bytes: the copy's header is recomputed as lo 0, hi 1 and stays invalid.
    const RS232Message big = message(9, 1, QByteArray(256, 'x'));
    const RS232Message bigCopy(big);
    QCOMPARE(int(bigCopy.get_length_lo()), 0);
    QCOMPARE(int(bigCopy.get_length_hi()), 1);
    QVERIFY(!bigCopy.is_valid());

    QByteArray taken = source.get_data(); // a copy, not a window into the message
    taken[0] = 0;
    QCOMPARE(int(source.data_byte(0)), 0xAA);
}

void TestMessage::textForm_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("lo");
    QTest::addColumn<int>("hi");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QString>("text");
    QTest::newRow("example") << 5 << 1 << 2 << 0 << bytes({0x1F, 0x0A}) << "0x5|0x1|0x2|0x0|0x1f|0xa";
    QTest::newRow("no data") << 0x30 << 1 << 0 << 0 << QByteArray() << "0x30|0x1|0x0|0x0|";
    QTest::newRow("lo before hi") << 0xFF << 0 << 0xAB << 0xCD << bytes({0x00, 0xFF})
                                  << "0xff|0x0|0xab|0xcd|0x0|0xff";
    QTest::newRow("one byte") << 1 << 2 << 1 << 0 << bytes({0x80}) << "0x1|0x2|0x1|0x0|0x80";
}

void TestMessage::textForm()
{
    QFETCH(int, command);
    QFETCH(int, group);
    QFETCH(int, lo);
    QFETCH(int, hi);
    QFETCH(QByteArray, data);
    QFETCH(QString, text);
    RS232Message m;
    m.set_command_id(command);
    m.set_group_id(group);
    m.set_length_lo(lo);
    m.set_length_hi(hi);
    for (char byte : data)
        m.append_data_byte(byte);
    QCOMPARE(m.toStr(), text);
}

void TestMessage::dataByteOutOfRange()
{
    const RS232Message m = message(1, 1, bytes({0xFE}));
    QCOMPARE(int(m.data_byte(0)), 0xFE);
    QCOMPARE(int(m.data_byte(1)), 0);
    QCOMPARE(int(m.data_byte(-1)), 0);
    QCOMPARE(int(byte_at(QByteArray(), 0)), 0);
}

QTEST_APPLESS_MAIN(TestMessage)
#include "test_message.moc"

// SPDX-License-Identifier: BSD-2-Clause
// The value encodings of the message frame, checked bit by bit from raw patterns so that they hold on the
// controller (big-endian, 32-bit) as on the development host (these tests run in the s390x and i386 cross
// builds too), with the int and short-input quirks; and no read past the data.
#include "RS232Message.h"

#include <QtTest>

#include <cstring>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

QByteArray bigEndian(quint64 bits, int count)
{
    QByteArray bytes;
    for (int i = count - 1; i >= 0; --i)
        bytes.append(char((bits >> (8 * i)) & 0xFF));
    return bytes;
}

template <typename To, typename From> To bitCast(From from)
{
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}
} // namespace

class TestMessage : public QObject
{
    Q_OBJECT

private slots:
    // Each pattern goes out most significant byte first and comes back with the same bits, also when read at an
    // odd address (values follow each other in a request without padding).
    void patterns_data()
    {
        QTest::addColumn<quint32>("floatBits");
        QTest::addColumn<quint64>("doubleBits");
        QTest::newRow("normal, high bit in every byte") << quint32(0xC1B2A394) << Q_UINT64_C(0xC1B2A39485F6E7D8);
        QTest::newRow("-0") << quint32(0x80000000) << Q_UINT64_C(0x8000000000000000);
        QTest::newRow("signalling NaN with payload") << quint32(0x7F812345) << Q_UINT64_C(0x7FF0DEADBEEF0001);
        QTest::newRow("subnormal") << quint32(0x007FFFFF) << Q_UINT64_C(0x0000000000000001);
    }

    void patterns()
    {
        QFETCH(quint32, floatBits);
        QFETCH(quint64, doubleBits);
#if defined(__i386__) && !defined(__SSE2_MATH__)
        // x87 quiets a signalling NaN whenever a value passes through its registers (a float or double return
        // value always does on i386); the controller's PowerPC and any SSE host keep it.
        if (QByteArray(QTest::currentDataTag()).contains("NaN"))
            QSKIP("x87 floating point quiets signalling NaNs");
#endif
        QCOMPARE(RS232Message::float_to_bytearray(bitCast<float>(floatBits)), bigEndian(floatBits, 4));
        QCOMPARE(bitCast<quint32>(RS232Message::bytearray_to_float(bigEndian(floatBits, 4))), floatBits);
        QCOMPARE(RS232Message::double_to_bytearray(bitCast<double>(doubleBits)), bigEndian(doubleBits, 8));
        const QByteArray storage = 'x' + bigEndian(doubleBits, 8);
        const QByteArray unaligned = QByteArray::fromRawData(storage.constData() + 1, 8);
        QCOMPARE(bitCast<quint64>(RS232Message::bytearray_to_double(unaligned)), doubleBits);
    }

    // An int travels as its upper 16 bits, the lower of the two bytes first.
    void intPair_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QByteArray>("wire");
        QTest::newRow("lower 16 bits dropped, not rounded") << 0x1234FFFF << hex("3412");
        QTest::newRow("negative, high bit in both bytes") << int(0x81C37FFFu) << hex("c381");
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
};

QTEST_GUILESS_MAIN(TestMessage)
#include "test_message.moc"

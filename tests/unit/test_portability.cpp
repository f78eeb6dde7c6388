// The line encodings checked bit by bit from raw patterns, so that they hold on the controller (big-endian,
// 32-bit) as on the development host: these tests run in the s390x and i386 cross builds too.
#include "RS232Message.h"

#include <QtTest>
#include <cstring>

namespace {
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
}

class TestPortability : public QObject
{
    Q_OBJECT

private slots:
    // Names the byte order and word size in the log, so a cross run shows it ran on the intended target.
    void hostReport()
    {
        qInfo("byte order: %s, pointer: %d bits, long: %d bits, char is %s",
              QSysInfo::ByteOrder == QSysInfo::BigEndian ? "big-endian" : "little-endian", int(8 * sizeof(void*)),
              int(8 * sizeof(long)), char(-1) < 0 ? "signed" : "unsigned");
    }

    // Each pattern goes out most significant byte first and comes back with the same bits.
    void patterns_data()
    {
        QTest::addColumn<quint32>("floatBits");
        QTest::addColumn<quint64>("doubleBits");
        QTest::newRow("normal, high bit in every byte") << quint32(0xC1B2A394) << Q_UINT64_C(0xC1B2A39485F6E7D8);
        QTest::newRow("-0") << quint32(0x80000000) << Q_UINT64_C(0x8000000000000000);
        QTest::newRow("-inf") << quint32(0xFF800000) << Q_UINT64_C(0xFFF0000000000000);
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
        QCOMPARE(bitCast<quint64>(RS232Message::bytearray_to_double(bigEndian(doubleBits, 8))), doubleBits);
    }

    // Handlers decode values at any offset in a request (three doubles back to back, a float after a byte).
    void decodingAtAnyAlignment()
    {
        for (int offset = 0; offset < 8; ++offset) {
            const QByteArray storage = QByteArray(offset, '\x55') + bigEndian(Q_UINT64_C(0x400921FB54442D18), 8); // pi
            const QByteArray view = QByteArray::fromRawData(storage.constData() + offset, 8);
            QCOMPARE(RS232Message::bytearray_to_double(view), 3.141592653589793);
            QCOMPARE(RS232Message::bytearray_to_float(view.left(4)), 2.1426990032196045f); // 0x400921FB
            QCOMPARE(RS232Message::bytearray_to_int(view.mid(2, 2)), int(0xFB210000u));
        }
    }
};

QTEST_GUILESS_MAIN(TestPortability)
#include "test_portability.moc"

// The line encodings checked bit by bit from raw patterns, so that they hold
// on the controller (big-endian, 32-bit) as on the development host: these
// tests run in the s390x and i386 cross builds too (scripts/cross-test).
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

quint32 floatBits(float value)
{
    quint32 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

quint64 doubleBits(double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}
}

class TestPortability : public QObject
{
    Q_OBJECT

private slots:
    void hostReport();
    void floatPatterns_data();
    void floatPatterns();
    void doublePatterns_data();
    void doublePatterns();
    void decodingAtAnyAlignment_data();
    void decodingAtAnyAlignment();
};

// Names the byte order and word size in the log, so a cross run shows that
// it really ran on the target it was meant for.
void TestPortability::hostReport()
{
    qInfo("byte order: %s, pointer: %d bits, long: %d bits, char is %s",
          QSysInfo::ByteOrder == QSysInfo::BigEndian ? "big-endian" : "little-endian", int(8 * sizeof(void*)),
          int(8 * sizeof(long)), char(-1) < 0 ? "signed" : "unsigned");
}

// Every pattern goes out most significant byte first and comes back with the
// same bits: NaN payloads, infinities, signed zero, subnormals, and bytes that
// differ in every position so that a swapped pair cannot pass.
void TestPortability::floatPatterns_data()
{
    QTest::addColumn<quint32>("bits");
    QTest::newRow("distinct bytes") << quint32(0x3F8A5C71);
    QTest::newRow("high bit in every byte") << quint32(0xC1B2A394);
    QTest::newRow("quiet NaN with payload") << quint32(0x7FC12345);
    QTest::newRow("negative quiet NaN") << quint32(0xFFFFFFFF);
    QTest::newRow("signalling NaN") << quint32(0x7F800001);
    QTest::newRow("+inf") << quint32(0x7F800000);
    QTest::newRow("-inf") << quint32(0xFF800000);
    QTest::newRow("-0") << quint32(0x80000000);
    QTest::newRow("largest subnormal") << quint32(0x007FFFFF);
}

void TestPortability::floatPatterns()
{
    QFETCH(quint32, bits);
#if defined(__i386__) && !defined(__SSE2_MATH__)
    // x87 quiets a signalling NaN whenever a float passes through its
    // registers (a float return value always does on i386); the controller's
    // PowerPC and any SSE host keep it.
    if ((bits & 0x7FC00000) == 0x7F800000 && (bits & 0x003FFFFF) != 0)
        QSKIP("x87 floating point quiets signalling NaNs");
#endif
    float value;
    std::memcpy(&value, &bits, sizeof value);
    QCOMPARE(RS232Message::float_to_bytearray(value), bigEndian(bits, 4));
    QCOMPARE(floatBits(RS232Message::bytearray_to_float(bigEndian(bits, 4))), bits);
}

void TestPortability::doublePatterns_data()
{
    QTest::addColumn<quint64>("bits");
    QTest::newRow("distinct bytes") << Q_UINT64_C(0x3FF123456789ABCD);
    QTest::newRow("high bit in every byte") << Q_UINT64_C(0xC1B2A39485F6E7D8);
    QTest::newRow("quiet NaN with payload") << Q_UINT64_C(0x7FF8DEADBEEF0001);
    QTest::newRow("signalling NaN") << Q_UINT64_C(0x7FF0000000000001);
    QTest::newRow("-inf") << Q_UINT64_C(0xFFF0000000000000);
    QTest::newRow("-0") << Q_UINT64_C(0x8000000000000000);
    QTest::newRow("smallest subnormal") << Q_UINT64_C(0x0000000000000001);
}

void TestPortability::doublePatterns()
{
    QFETCH(quint64, bits);
#if defined(__i386__) && !defined(__SSE2_MATH__)
    if ((bits & Q_UINT64_C(0x7FF8000000000000)) == Q_UINT64_C(0x7FF0000000000000)
        && (bits & Q_UINT64_C(0x0007FFFFFFFFFFFF)) != 0)
        QSKIP("x87 floating point quiets signalling NaNs");
#endif
    double value;
    std::memcpy(&value, &bits, sizeof value);
    QCOMPARE(RS232Message::double_to_bytearray(value), bigEndian(bits, 8));
    QCOMPARE(doubleBits(RS232Message::bytearray_to_double(bigEndian(bits, 8))), bits);
}

// Handlers decode values that sit at any offset in a request (three doubles
// back to back, a float after a byte); the decoders must not care how the
// bytes are aligned in memory.
void TestPortability::decodingAtAnyAlignment_data()
{
    QTest::addColumn<int>("offset");
    for (int offset = 0; offset < 8; ++offset)
        QTest::newRow(QByteArray::number(offset).constData()) << offset;
}

void TestPortability::decodingAtAnyAlignment()
{
    QFETCH(int, offset);
    QByteArray storage(offset, '\x55');
    storage += bigEndian(Q_UINT64_C(0x400921FB54442D18), 8); // pi
    const QByteArray view = QByteArray::fromRawData(storage.constData() + offset, 8);
    QCOMPARE(RS232Message::bytearray_to_double(view), 3.141592653589793);
    QCOMPARE(RS232Message::bytearray_to_float(view.left(4)), 2.1426990032196045f); // 0x400921FB
    QCOMPARE(RS232Message::bytearray_to_int(view.mid(2, 2)), int(0xFB210000u));
}

QTEST_GUILESS_MAIN(TestPortability)
#include "test_portability.moc"

// SPDX-License-Identifier: BSD-2-Clause
// Texts on the line in the selected character set, and the payloads that carry them, as both ends read and
// write them. UTF-16 goes out in the sender's byte order after a byte-order mark: on the controller
// (big-endian) FE FF, here mostly FF FE; the expected bytes are written big-endian and turned for the host.
#include "TextCharset.h"
#include "TextPayloads.h"

#include <QSysInfo>
#include <QtTest>

namespace {
QByteArray hex(const char* text)
{
    return QByteArray::fromHex(text);
}

// UTF-16 written big-endian, in the host's order.
QByteArray inHostOrder(QByteArray bigEndian)
{
    if (QSysInfo::ByteOrder == QSysInfo::LittleEndian) {
        char* bytes = bigEndian.data();
        for (int i = 0; i + 1 < bigEndian.size(); i += 2)
            std::swap(bytes[i], bytes[i + 1]);
    }
    return bigEndian;
}

// The charset a row names: "utf8", "utf16", a codec name, a country, or "none" (Latin-1, before any locale).
TextCharset charsetNamed(const QString& name)
{
    TextCharset charset;
    if (name == "utf8")
        charset.select(TextCharset::Utf8);
    else if (name == "utf16")
        charset.select(TextCharset::Utf16);
    else if (name == "Russia")
        charset.setLocaleCountry(QLocale::RussianFederation);
    else if (name == "Slovakia")
        charset.setLocaleCountry(QLocale::Slovakia);
    else if (name == "Poland")
        charset.setLocaleCountry(QLocale::Poland);
    else if (name == "Germany")
        charset.setLocaleCountry(QLocale::Germany);
    else if (name != "none")
        charset.setLocaleCodec(name);
    return charset;
}
} // namespace

class TestTextPayloads : public QObject
{
    Q_OBJECT

private slots:
    void encodings_data()
    {
        QTest::addColumn<QString>("charset");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("no locale yet: Latin-1") << "none" << QString::fromUtf8("Grü") << hex("4772fc");
        QTest::newRow("no locale yet: what Latin-1 lacks is ?") << "none" << QString::fromUtf8("€") << hex("3f");
        QTest::newRow("any other country: ISO-8859-15") << "Germany" << QString::fromUtf8("€ü") << hex("a4fc");
        QTest::newRow("Russia: ISO-8859-5") << "Russia" << QString::fromUtf8("Жж") << hex("b6d6");
        QTest::newRow("Slovakia: ISO-8859-2") << "Slovakia" << QString::fromUtf8("ť") << hex("bb");
        QTest::newRow("Poland: ISO-8859-16") << "Poland" << QString::fromUtf8("ș") << hex("ba");
        QTest::newRow("UTF-8") << "utf8" << QString::fromUtf8("Grüße") << hex("4772c3bcc39f65");
        QTest::newRow("UTF-16: mark, then the host's order")
            << "utf16" << QString::fromUtf8("Gü") << inHostOrder(hex("feff004700fc"));
        QTest::newRow("UTF-16: even an empty text has the mark") << "utf16" << QString() << inHostOrder(hex("feff"));
    }

    void encodings()
    {
        QFETCH(QString, charset);
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        const TextCharset set = charsetNamed(charset);
        QCOMPARE(set.encode(text).toHex(), bytes.toHex());
        if (!bytes.contains('?'))
            QCOMPARE(set.decode(bytes), text);
    }

    // Either byte order is read by its mark, whatever the host's.
    void utf16FromEitherEnd()
    {
        const TextCharset utf16 = charsetNamed("utf16");
        QCOMPARE(utf16.decode(hex("feff00470072")), QStringLiteral("Gr"));
        QCOMPARE(utf16.decode(hex("fffe47007200")), QStringLiteral("Gr"));
    }

    // A typed byte reads as the locale codec reads it alone, and as the new codec once the locale changes.
    void typedBytesFollowTheLocale()
    {
        TextCharset charset = charsetNamed("Germany");
        QCOMPARE(charset.typedChar(0xa4), QChar(0x20ac)); // ISO-8859-15: the euro sign
        QCOMPARE(charset.typedChar(0x41), QChar('A'));
        charset.setLocaleCountry(QLocale::RussianFederation);
        QCOMPARE(charset.typedChar(0xa4), QChar(0x0404)); // ISO-8859-5: Ukrainian Ye
        QVERIFY(charset.setLocaleCodec("ISO-8859-15"));
        QCOMPARE(charset.typedChar(0xa4), QChar(0x20ac));
    }

    // The codec setting selects with 0 to 2 only; any other byte leaves the selection as it was.
    void selectorBytes()
    {
        TextCharset charset;
        QVERIFY(charset.selectByte(2));
        QCOMPARE(charset.selected(), TextCharset::Utf16);
        QVERIFY(!charset.selectByte(3));
        QVERIFY(!charset.selectByte(255));
        QCOMPARE(charset.selected(), TextCharset::Utf16);
        QVERIFY(charset.selectByte(0));
        QCOMPARE(charset.selected(), TextCharset::Locale);
    }

    // Latin-1 (no locale codec) keeps every byte, so the rows show exactly where texts start and end.
    void numberedTexts_data()
    {
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("line and text") << hex("034869") << 3 << QStringLiteral("Hi");
        QTest::newRow("number alone") << hex("05") << 5 << QString();
        QTest::newRow("nothing") << QByteArray() << 0 << QString();
    }

    void numberedTexts()
    {
        QFETCH(QByteArray, wire);
        QFETCH(int, number);
        QFETCH(QString, text);
        const TextCharset latin1;
        const NumberedText decoded = decodeNumberedText(QByteArray(wire.constData(), wire.size()), latin1);
        QCOMPARE(decoded.number, number);
        QCOMPARE(decoded.text, text);
        if (!wire.isEmpty())
            QCOMPARE(encodeNumberedText(decoded, latin1).toHex(), wire.toHex());
    }

    // Only items 1 to 4 are echoed before a status line text; other bytes address an overlay text by its id.
    void statusLineTexts_data()
    {
        QTest::addColumn<int>("item");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("number");
        QTest::newRow("item 1") << 1 << hex("014f4b") << 1;
        QTest::newRow("item 4") << 4 << hex("044f4b") << 4;
        QTest::newRow("text 0") << 0 << hex("4f4b") << 0;
        QTest::newRow("text 7") << 7 << hex("4f4b") << 7;
    }

    void statusLineTexts()
    {
        QFETCH(int, item);
        QFETCH(QByteArray, reply);
        const TextCharset latin1;
        QCOMPARE(encodeStatusLineText(item, QStringLiteral("OK"), latin1).toHex(), reply.toHex());
        const NumberedText decoded = decodeStatusLineText(item, reply, latin1);
        QTEST(decoded.number, "number");
        QCOMPARE(decoded.text, QStringLiteral("OK"));
    }

    // First line, duration, an unread byte, then texts split at zero bytes: as many as there are, even beyond the
    // five lines the controller draws, and none when the data end before the first.
    void tempTexts_data()
    {
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<int>("firstLine");
        QTest::addColumn<int>("duration");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("two texts") << hex("040a0041420043 44") << 4 << 10 << QStringList { "AB", "CD" };
        QTest::newRow("empty texts between zeros") << hex("010200410000") << 1 << 2 << QStringList { "A", "", "" };
        QTest::newRow("one zero byte: two empty texts") << hex("01020000") << 1 << 2 << QStringList { "", "" };
        QTest::newRow("six texts") << hex("0102ff6100620063006400650066") << 1 << 2
                                   << QStringList { "a", "b", "c", "d", "e", "f" };
        QTest::newRow("no text byte") << hex("040a00") << 4 << 10 << QStringList();
        QTest::newRow("first line only") << hex("04") << 4 << 0 << QStringList();
    }

    void tempTexts()
    {
        QFETCH(QByteArray, wire);
        QFETCH(QStringList, texts);
        const TextCharset latin1;
        const TempTexts decoded = decodeTempTexts(QByteArray(wire.constData(), wire.size()), latin1);
        QTEST(decoded.firstLine, "firstLine");
        QTEST(decoded.duration, "duration");
        QCOMPARE(decoded.texts, texts);
        if (wire.size() > 3) // the unread byte goes out as 0
            QCOMPARE(encodeTempTexts(decoded, latin1).toHex(), (wire.left(2) + '\0' + wire.mid(3)).toHex());
    }
};

QTEST_GUILESS_MAIN(TestTextPayloads)
#include "test_text_payloads.moc"

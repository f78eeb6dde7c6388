// SPDX-License-Identifier: BSD-2-Clause
// Every value encoding of the message frame, every payload layout and the
// small codecs of the text screen, on arbitrary values and on data of any
// size: round trips must be bit-exact, short data reads as zeros, nothing
// reads outside a buffer.
#include "ClockPayloads.h"
#include "FuzzCheck.h"
#include "OverlayColors.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "SensorPayloads.h"
#include "TextCharset.h"
#include "TextCursor.h"
#include "TextPayloads.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QStringList>
#include <cstdint>
#include <cstring>

namespace {
unsigned char byteOf(const QByteArray& bytes, int index)
{
    return static_cast<unsigned char>(bytes.constData()[index]);
}

// The big-endian value of the first `count` bytes, missing bytes as 0.
uint64_t leadingBits(const QByteArray& bytes, int count)
{
    uint64_t bits = 0;
    for (int i = 0; i < count; ++i)
        bits = (bits << 8) | (i < bytes.size() ? byteOf(bytes, i) : 0);
    return bits;
}

void checkFloat(uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof value);
    const QByteArray bytes = RS232Message::float_to_bytearray(value);
    FUZZ_CHECK(bytes.size() == 4);
    FUZZ_CHECK(leadingBits(bytes, 4) == bits); // most significant byte first
    const float back = RS232Message::bytearray_to_float(bytes);
    uint32_t backBits;
    std::memcpy(&backBits, &back, sizeof backBits);
    FUZZ_CHECK(backBits == bits); // NaN payloads included
}

void checkDouble(uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    const QByteArray bytes = RS232Message::double_to_bytearray(value);
    FUZZ_CHECK(bytes.size() == 8);
    FUZZ_CHECK(leadingBits(bytes, 8) == bits);
    const double back = RS232Message::bytearray_to_double(bytes);
    uint64_t backBits;
    std::memcpy(&backBits, &back, sizeof backBits);
    FUZZ_CHECK(backBits == bits);
}

// The integer form keeps the upper 16 bits, lower byte of them first.
void checkInt(int value)
{
    const uint32_t bits = static_cast<uint32_t>(value);
    const QByteArray bytes = RS232Message::int_to_bytearray(value);
    FUZZ_CHECK(bytes.size() == 2);
    FUZZ_CHECK(byteOf(bytes, 0) == ((bits >> 16) & 0xFF));
    FUZZ_CHECK(byteOf(bytes, 1) == (bits >> 24));
    FUZZ_CHECK(static_cast<uint32_t>(RS232Message::bytearray_to_int(bytes)) == (bits & 0xFFFF0000u));
}

// Decoders on data of any size: missing bytes are zeros, extra bytes ignored.
void checkDecoders(const QByteArray& data)
{
    const float f = RS232Message::bytearray_to_float(data);
    uint32_t fBits;
    std::memcpy(&fBits, &f, sizeof fBits);
    FUZZ_CHECK(fBits == leadingBits(data, 4));

    const double d = RS232Message::bytearray_to_double(data);
    uint64_t dBits;
    std::memcpy(&dBits, &d, sizeof dBits);
    FUZZ_CHECK(dBits == leadingBits(data, 8));

    // Only a pair is an integer; the second byte is the most significant.
    const uint32_t i = static_cast<uint32_t>(RS232Message::bytearray_to_int(data));
    const uint32_t pair = data.size() == 2 ? uint32_t(byteOf(data, 1)) << 24 | uint32_t(byteOf(data, 0)) << 16 : 0;
    FUZZ_CHECK(i == pair);
}

// The first `count` bytes of the data, missing ones as 0.
QByteArray padded(const QByteArray& data, int count)
{
    QByteArray bytes = data.left(count);
    bytes.append(QByteArray(count - bytes.size(), '\0'));
    return bytes;
}

// A date or time piece is there exactly when the data reach it, and a
// setting with a piece missing never reads as a date or time.
void checkClock(const QByteArray& data)
{
    const DatePieces date = decodeDate(data);
    const ClockPiece dateBytes[] = { date.day, date.month, date.century, date.yearInCentury };
    for (int i = 0; i < 4; ++i) {
        FUZZ_CHECK(dateBytes[i].present == (i < data.size()));
        FUZZ_CHECK(dateBytes[i].value == (i < data.size() ? byteOf(data, i) : 0));
    }
    const TimePieces time = decodeTime(data);
    FUZZ_CHECK(time.second.present == (data.size() >= 3) && time.hour.value == (data.isEmpty() ? 0 : byteOf(data, 0)));
    if (data.size() < 4)
        FUZZ_CHECK(!QDate::fromString(dateSettingText(date), "yyyy-MM-dd").isValid());
    if (data.size() < 3)
        FUZZ_CHECK(!QTime::fromString(timeSettingText(time), "hh:mm:ss").isValid());
}

// Layouts of whole bytes and of floats and doubles give their bytes back,
// missing ones as zeros (a visibility byte comes back as 0 or 1).
void checkLayouts(const QByteArray& data)
{
    FUZZ_CHECK(encodeVideoCounter(decodeVideoCounter(data)) == padded(data, 4));
    FUZZ_CHECK(encodeColourSetting(decodeColourSetting(data)) == padded(data, 3));
    FUZZ_CHECK(encodeDeviceData(decodeDeviceData(data)) == padded(data, 4));
    FUZZ_CHECK(encodeDeviceSelector(decodeDeviceSelector(data)) == padded(data, 2));
    FUZZ_CHECK(encodeConverterReading(decodeConverterReading(data)) == padded(data, 5));
    FUZZ_CHECK(encodeMeasurement3D(decodeMeasurement3D(data)) == padded(data, 28));
    FUZZ_CHECK(encodeStartPosition(decodeStartPosition(data)) == padded(data, 24));
    FUZZ_CHECK(encodeStartOrientation(decodeStartOrientation(data)) == padded(data, 8));
    FUZZ_CHECK(encodeLineColourSetting(decodeLineColourSetting(data)) == padded(data, data.size() == 1 ? 1 : 2));

    QByteArray state = padded(data, 5);
    state[2] = char(byteOf(state, 2) != 0);
    state[3] = state[4] = 0;
    FUZZ_CHECK(encodeStatusLineState(decodeStatusLineState(data)) == state);
    state = padded(data, 4);
    state[1] = char(byteOf(state, 1) != 0);
    FUZZ_CHECK(encodeUnitState(decodeUnitState(data)) == state);
}

// Texts in a codec that maps every byte to one character, zero bytes
// included: the bytes come back exactly. Under UTF-8 and UTF-16 any data
// decodes, whatever it holds.
void checkTexts(const QByteArray& data, unsigned char selector)
{
    TextCharset charset;
    FUZZ_CHECK(charset.setLocaleCodec("ISO-8859-1"));
    if (!data.isEmpty())
        FUZZ_CHECK(encodeNumberedText(decodeNumberedText(data, charset), charset) == data);
    const TempTexts temp = decodeTempTexts(data, charset);
    if (data.size() > 3) {
        FUZZ_CHECK(temp.texts.size() == data.mid(3).count('\0') + 1);
        FUZZ_CHECK(encodeTempTexts(temp, charset) == data.left(2) + '\0' + data.mid(3));
    } else {
        FUZZ_CHECK(temp.texts.isEmpty());
    }
    const NumberedText status
        = decodeStatusLineText(selector, encodeStatusLineText(selector, temp.texts.value(0), charset), charset);
    FUZZ_CHECK(status.number == selector && status.text == temp.texts.value(0));

    FUZZ_CHECK(charset.selectByte(selector) == (selector <= 2));
    decodeTempTexts(data, charset);
    decodeNumberedText(data, charset);
}

void checkByteAt(const RS232Message& message, const QByteArray& data, int index)
{
    const unsigned char expected = (index >= 0 && index < data.size()) ? byteOf(data, index) : 0;
    FUZZ_CHECK(byte_at(data, index) == expected);
    FUZZ_CHECK(message.data_byte(index) == expected);
}

// The text form read back: header ids and lengths, then the data bytes.
void checkText(const RS232Message& message)
{
    const QStringList fields = message.toStr().split('|');
    const int dataSize = message.get_data_length();
    FUZZ_CHECK(fields.size() == 4 + (dataSize > 0 ? dataSize : 1));
    const unsigned header[]
        = { message.get_command_id(), message.get_group_id(), message.get_length_lo(), message.get_length_hi() };
    for (int i = 0; i < fields.size(); ++i) {
        if (i == 4 && dataSize == 0) {
            FUZZ_CHECK(fields.at(i).isEmpty());
            continue;
        }
        const QString& field = fields.at(i);
        FUZZ_CHECK(field.startsWith("0x"));
        FUZZ_CHECK(field.size() <= 4);
        bool ok = false;
        const unsigned value = field.mid(2).toUInt(&ok, 16);
        FUZZ_CHECK(ok && field.mid(2) == QString::number(value, 16)); // lower case, no padding
        FUZZ_CHECK(value == (i < 4 ? header[i] : message.data_byte(i - 4)));
    }
}

void checkMessage(FuzzedDataProvider& input)
{
    RS232Message message;
    FUZZ_CHECK(!message.is_valid());
    FUZZ_CHECK(message.toStr() == "0x0|0xff|0x0|0x0|");

    const unsigned char command = input.ConsumeIntegral<unsigned char>();
    const unsigned char group = input.ConsumeIntegral<unsigned char>();
    const std::string raw = input.ConsumeRandomLengthString(1200);
    const QByteArray data(raw.data(), int(raw.size()));
    message.set_command_id(command);
    message.set_group_id(group);
    message.set_data(data);

    const int size = data.size();
    FUZZ_CHECK(message.get_data() == data);
    FUZZ_CHECK(message.get_length_lo() == (size & 0xFF));
    FUZZ_CHECK(message.get_length_hi() == ((size >> 8) & 0xFF));
    FUZZ_CHECK(message.is_data_complete() == (size <= 255));
    FUZZ_CHECK(message.is_valid() == (command != 0 && group != 255 && size <= 255));
    checkText(message);
    checkDecoders(data);
    checkClock(data);
    checkLayouts(data);
    checkTexts(data, command);

    for (int k = 0; k < 4; ++k)
        checkByteAt(message, data, input.ConsumeIntegral<int>());
    checkByteAt(message, data, -1);
    checkByteAt(message, data, size);
    checkByteAt(message, data, size - 1);

    // A copy takes its length bytes from the data, whatever the source says.
    message.set_length_lo(input.ConsumeIntegral<unsigned char>());
    message.set_length_hi(input.ConsumeIntegral<unsigned char>());
    const RS232Message copy(message);
    FUZZ_CHECK(copy.get_command_id() == command && copy.get_group_id() == group);
    FUZZ_CHECK(copy.get_data() == data);
    FUZZ_CHECK(copy.get_length_lo() == (size & 0xFF) && copy.get_length_hi() == ((size >> 8) & 0xFF));
    checkText(message);

    // Filled byte by byte as the receiver does: the length bytes stay.
    const unsigned char lo = message.get_length_lo();
    const unsigned char hi = message.get_length_hi();
    message.append_data_byte(input.ConsumeIntegral<unsigned char>());
    FUZZ_CHECK(message.get_data_length() == size + 1);
    FUZZ_CHECK(message.get_length_lo() == lo && message.get_length_hi() == hi);
    FUZZ_CHECK(message.is_data_complete() == (lo + hi == size + 1));

    message.clear_data();
    FUZZ_CHECK(message.get_command_id() == command && message.get_group_id() == group);
    FUZZ_CHECK(message.get_data_length() == 0 && message.get_setted_length() == 0);
    message.clear();
    FUZZ_CHECK(message.toStr() == "0x0|0xff|0x0|0x0|");
}

void checkColors(unsigned char code)
{
    static const int shorthands[4][2] = { { 1, 0 }, { 1, 15 }, { 15, 0 }, { 15, 1 } };
    EOverlayTextColor foreground = OVERLAY_COLOR_0;
    EOverlayTextColor background = OVERLAY_COLOR_0;
    GetColorsFromChar(static_cast<char>(code), foreground, background);
    FUZZ_CHECK(foreground >= 0 && foreground <= 15 && background >= 0 && background <= 15);
    if (code < 4) {
        FUZZ_CHECK(foreground == shorthands[code][0] && background == shorthands[code][1]);
    } else {
        FUZZ_CHECK(foreground == code >> 4 && background == (code & 0x0F));
    }
}

// Placing and advancing the text cursor on a screen of any size. On a
// proper screen (at least one column, one ordinary line) the cursor stays on
// the ordinary lines and walks them as one ring of width * (count - 4) cells.
void checkCursor(FuzzedDataProvider& input)
{
    const unsigned char width = input.ConsumeIntegral<unsigned char>();
    const unsigned char count = input.ConsumeIntegral<unsigned char>();
    const unsigned char column = input.ConsumeIntegral<unsigned char>();
    const unsigned char line = input.ConsumeIntegral<unsigned char>();
    const int steps = input.ConsumeIntegralInRange<int>(-5, 1100);

    TextCursor cursor;
    cursor.place(column, line, width, count);
    const bool proper = width >= 1 && count >= 5;
    if (proper) {
        FUZZ_CHECK(cursor.column == 0 || cursor.column < width - 1);
        FUZZ_CHECK(cursor.line >= 3 && cursor.line <= count - 2);
    }
    const TextCursor placed = cursor;
    cursor.advance(steps, width, count);
    if (proper) {
        const long cells = long(width) * (count - 4);
        const long start = long(placed.line - 3) * width + placed.column;
        const long taken = steps < 0 ? 0 : (steps > 1000 ? 1000 : steps);
        const long end = (start + taken) % cells;
        FUZZ_CHECK(cursor.line == 3 + end / width);
        FUZZ_CHECK(cursor.column == end % width);
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);

    checkFloat(input.ConsumeIntegral<uint32_t>());
    checkDouble(input.ConsumeIntegral<uint64_t>());
    checkInt(input.ConsumeIntegral<int>());
    checkCursor(input);
    checkMessage(input);
    for (size_t i = 0; i < size; ++i)
        checkColors(data[i]);
    return 0;
}

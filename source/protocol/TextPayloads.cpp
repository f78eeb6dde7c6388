// SPDX-License-Identifier: BSD-2-Clause
#include "TextPayloads.h"

#include "ByteView.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"
#include "TextCharset.h"

#include <QList>

namespace {
const int TEMP_TEXTS_OFFSET = 3;
const char TEMP_TEXT_SEPARATOR = '\0';
} // namespace

QByteArray encodeNumberedText(const NumberedText& numbered, const TextCharset& charset)
{
    return char(numbered.number & 0xFF) + charset.encode(numbered.text);
}

NumberedText decodeNumberedText(const QByteArray& data, const TextCharset& charset)
{
    return NumberedText { byte_at(data, 0), charset.decode(bytesFrom(data, 1)) };
}

QByteArray encodeStatusLineText(int item, const QString& text, const TextCharset& charset)
{
    return isStatusLineItem(item) ? encodeNumberedText({ item, text }, charset) : charset.encode(text);
}

NumberedText decodeStatusLineText(int item, const QByteArray& reply, const TextCharset& charset)
{
    return isStatusLineItem(item) ? decodeNumberedText(reply, charset) : NumberedText { item, charset.decode(reply) };
}

QByteArray encodeTempTexts(const TempTexts& temp, const TextCharset& charset)
{
    const char header[] = { char(temp.firstLine & 0xFF), char(temp.duration & 0xFF), 0 };
    QByteArray data(header, sizeof header);
    for (int i = 0; i < temp.texts.size(); ++i) {
        if (i > 0)
            data.append(TEMP_TEXT_SEPARATOR);
        data.append(charset.encode(temp.texts.at(i)));
    }
    return data;
}

TempTexts decodeTempTexts(const QByteArray& request, const TextCharset& charset)
{
    TempTexts temp { byte_at(request, 0), byte_at(request, 1), QStringList() };
    if (request.size() > TEMP_TEXTS_OFFSET) {
        for (const QByteArray& text : bytesFrom(request, TEMP_TEXTS_OFFSET).split(TEMP_TEXT_SEPARATOR))
            temp.texts.append(charset.decode(text));
    }
    return temp;
}

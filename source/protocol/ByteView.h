// SPDX-License-Identifier: BSD-2-Clause
#ifndef BYTEVIEW_H
#define BYTEVIEW_H

#include <QByteArray>

// The bytes of `data` from `offset` on, without a copy: a view that must not
// outlive `data`. Empty when the data end before `offset`. The payload
// decoders read their pieces through it, as a frame's data can be 510 bytes.
inline QByteArray bytesFrom(const QByteArray& data, int offset)
{
    return offset >= 0 && offset < data.size()
        ? QByteArray::fromRawData(data.constData() + offset, data.size() - offset)
        : QByteArray();
}

#endif

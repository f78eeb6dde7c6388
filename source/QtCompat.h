// SPDX-License-Identifier: BSD-2-Clause
#ifndef QTCOMPAT_H
#define QTCOMPAT_H

// The few places where Qt 5.15 and Qt 6 have no common form. Everything else
// in the tree uses what both share (QRegularExpression, Qt::SkipEmptyParts,
// the QTextCodec class, which Qt 6 keeps in Core5Compat).
#include <QProcess>
#include <QTextCodec>
#include <QTextStream>
#include <QVariant>
#include <QtGlobal>

#include <memory>

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QStringConverter>
#endif

namespace QtCompat {

// Reads and writes the stream as UTF-8, whatever the locale says.
inline void setUtf8(QTextStream& stream)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    stream.setEncoding(QStringConverter::Utf8);
#else
    stream.setCodec("UTF-8");
#endif
}

// UTF-16 as the line carries it: a byte-order mark, then host byte order.
// Qt 5's codec writes the mark by itself, Qt 6's only through an encoder; an
// encoder with its default flags writes it on both, but Qt 6's only in front
// of a first character. The PC gets the mark alone for an empty text, as the
// board's Qt 5 sends it.
inline QByteArray encodeWithByteOrderMark(const QTextCodec* codec, const QString& text)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    if (text.isEmpty()) {
        const char16_t mark = QChar::ByteOrderMark;
        return QByteArray(reinterpret_cast<const char*>(&mark), sizeof mark);
    }
#endif
    const std::unique_ptr<QTextEncoder> encoder(codec->makeEncoder());
    return encoder->fromUnicode(text);
}

// Converts the variant to the type with this id, in place; false if it cannot.
inline bool convertTo(QVariant& value, int typeId)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return value.convert(QMetaType(typeId));
#else
    return value.convert(typeId);
#endif
}

// A process that runs childSetup() in the child between fork and exec.
class SetupProcess : public QProcess
{
public:
    SetupProcess()
    {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        setChildProcessModifier([this] { childSetup(); });
#endif
    }

protected:
    virtual void childSetup() = 0;

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    void setupChildProcess() override
    {
        childSetup();
    }
#endif
};

} // namespace QtCompat

#endif

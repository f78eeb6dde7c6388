// SPDX-License-Identifier: BSD-2-Clause
#include "CTextLinesManager.h"

#include "BusCall.h"
#include "CQuorendVideoOverlayInterface.h"
#include "CommandCatalogue.h"
#include "FixedTexts.h"

namespace {
// The status line's fixed overlay texts double as screen lines.
const int TEXT_ID_LINE_0 = STATUS_LINE_TEXT_IDS[0];
const int TEXT_ID_LINE_1 = STATUS_LINE_TEXT_IDS[1];
const int TEXT_ID_LINE_2 = STATUS_LINE_TEXT_IDS[2];
const int TEXT_ID_LAST_LINE = STATUS_LINE_TEXT_IDS[3];

// A position answer is [begin column, line, column after the last character].
const int POSITION_SIZE = 3;
const int COLORS_SIZE = 2;

unsigned char low8(const QVariant& value)
{
    return static_cast<unsigned char>(value.toUInt() & 0xFF);
}
} // namespace

CTextLinesManager::CTextLinesManager(CQuorendVideoOverlayInterface& overlay, BusCommand& bus, FixedTexts& fixedTexts)
    : m_rOverlay(overlay)
    , m_bus(bus)
    , m_fixedTexts(fixedTexts)
    , m_eCursorForeground(OVERLAY_COLOR_1)
    , m_eCursorBackground(OVERLAY_COLOR_13)
    , m_ucLineWidth(0)
    , m_ucLineCount(0)
    , m_bGeometryKnown(false)
{
    m_typedTextFlush.setSingleShot(true);
    m_typedTextFlush.setTimerType(Qt::PreciseTimer);
    m_typedTextFlush.setInterval(TYPED_TEXT_DELAY_MS);
    QObject::connect(&m_typedTextFlush, &QTimer::timeout, [this] { flushTypedText(); });
    readGeometry();
}

void CTextLinesManager::readGeometry()
{
    QDBusPendingReply<int> width = m_rOverlay.get_max_text_line_width();
    m_ucLineWidth = static_cast<unsigned char>(m_bus.waited(width));
    QDBusPendingReply<int> count = m_rOverlay.get_max_text_line_count();
    m_ucLineCount = static_cast<unsigned char>(m_bus.waited(count));
    // Until both are answered the size counts as 0 x 0 and is asked again.
    m_bGeometryKnown = width.isValid() && count.isValid();
}

void CTextLinesManager::ensureGeometry()
{
    if (!m_bGeometryKnown)
        readGeometry();
}

void CTextLinesManager::forgetOverlay()
{
    // What was not sent yet belonged to texts that went with the old instance.
    m_unsentTexts.clear();
    m_coveredTexts.clear();
    m_typedTextFlush.stop();
    m_lineTexts.clear();
    m_textSpans.clear();
    m_bGeometryKnown = false;
}

CTextLinesManager::~CTextLinesManager()
{
    flushTypedText();
    clearScreen();
}

int CTextLinesManager::getTextIdFromLine(unsigned char line) const
{
    // Checked in this order: on a screen of three lines or less the fixed
    // lines 0 to 2 win over the last line.
    if (line == 1)
        return TEXT_ID_LINE_1;
    if (line == 0)
        return TEXT_ID_LINE_0;
    if (line == 2)
        return TEXT_ID_LINE_2;
    if (line == m_ucLineCount - 1)
        return TEXT_ID_LAST_LINE;
    return 0;
}

void CTextLinesManager::setCursorPos(unsigned char column, unsigned char line)
{
    ensureGeometry();
    m_cursor.place(column, line, m_ucLineWidth, m_ucLineCount);
}

void CTextLinesManager::incCursorPos()
{
    ensureGeometry();
    m_cursor.advance(m_ucLineWidth, m_ucLineCount);
}

void CTextLinesManager::incCursorPos(int count)
{
    ensureGeometry();
    m_cursor.advance(count, m_ucLineWidth, m_ucLineCount);
}

void CTextLinesManager::setCursorColor(EOverlayTextColor foreground, EOverlayTextColor background)
{
    m_eCursorForeground = foreground;
    m_eCursorBackground = background;
    setTextLineColor(m_cursor.line, foreground, background);
}

void CTextLinesManager::setTextLineColor(unsigned char line, EOverlayTextColor foreground, EOverlayTextColor background)
{
    for (auto it = m_lineTexts.constFind(line); it != m_lineTexts.constEnd() && it.key() == line; ++it)
        m_rOverlay.set_text_colors(int(it.value()), foreground, background);
}

int CTextLinesManager::keptTextEndingAt(unsigned char column, unsigned char line) const
{
    for (auto it = m_lineTexts.constFind(line); it != m_lineTexts.constEnd() && it.key() == line; ++it) {
        const auto span = m_textSpans.constFind(it.value());
        if (span != m_textSpans.constEnd() && span->end() == column)
            return int(it.value());
    }
    return 0;
}

int CTextLinesManager::obtainAdjacentText(unsigned char column, unsigned char line)
{
    const int handle = keptTextEndingAt(column, line);
    // A sibling left a query unanswered and none has answered since: the
    // overlay may hang, or be a new instance whose owner change is still on
    // its way. It must confirm the text before anything is written on it,
    // and it is asked once it has what was typed so far.
    if (handle != 0 && m_bus.sibling_silent()) {
        flushTypedText();
        const QVariantList position = m_bus.waited_list(m_rOverlay.get_text_position(handle));
        // Unknown whether a text ends here: starting one could hide it.
        if (m_bus.timed_out())
            return 0;
        if (position.size() == POSITION_SIZE && low8(position.at(2)) == column)
            return handle;
    } else if (handle != 0) {
        return handle;
    }
    return createTextAt(column, line, m_eCursorForeground, m_eCursorBackground);
}

int CTextLinesManager::createTextAt(unsigned char column, unsigned char line, int foreground, int background)
{
    const int handle = m_bus.waited(m_rOverlay.create_text());
    if (m_bus.timed_out())
        return 0;
    m_rOverlay.set_text_position(handle, column, line);
    m_rOverlay.set_text_colors(handle, foreground, background);
    m_rOverlay.show_text(handle);
    m_lineTexts.insert(line, quint32(handle));
    if (handle != 0)
        m_textSpans.insert(quint32(handle), TextSpan { column, QString() });
    return handle;
}

void CTextLinesManager::appendToText(int handle, const QString& addition, bool typed)
{
    const auto span = m_textSpans.find(quint32(handle));
    // Handle 0 (the overlay could not create a text) has no string of its own.
    if (span == m_textSpans.end()) {
        m_rOverlay.set_text_string(handle, addition);
        return;
    }
    span->text.append(addition);
    if (!typed) {
        m_rOverlay.set_text_string(handle, span->text);
        return;
    }
    if (!m_unsentTexts.contains(quint32(handle)))
        m_unsentTexts.append(quint32(handle));
    if (!m_typedTextFlush.isActive())
        m_typedTextFlush.start();
}

bool CTextLinesManager::flushTypedText()
{
    if (m_unsentTexts.isEmpty() && m_coveredTexts.isEmpty())
        return false;
    m_typedTextFlush.stop();
    for (const quint32 handle : qAsConst(m_unsentTexts)) {
        // A text covered and destroyed meanwhile is not written first.
        const auto span = m_textSpans.constFind(handle);
        if (span != m_textSpans.constEnd())
            m_rOverlay.set_text_string(int(handle), span->text);
    }
    for (const quint32 handle : qAsConst(m_coveredTexts))
        m_rOverlay.destroy_text(int(handle));
    m_unsentTexts.clear();
    m_coveredTexts.clear();
    return true;
}

void CTextLinesManager::dropTextsCoveredBy(int handle, unsigned char line)
{
    // Off the screen nothing is drawn over anything.
    const auto found = m_textSpans.constFind(quint32(handle));
    if (found == m_textSpans.constEnd() || !m_bGeometryKnown || line >= m_ucLineCount)
        return;
    // Its columns, not the iterator: erasing a covered text below may move
    // the hash's other entries (Qt 6 closes the gap in its open addressing),
    // and the iterator would then read another text's span, or none.
    const int topBegin = found->begin;
    const int topEnd = topBegin + found->length();
    // The line's texts come most recent first: those after this one lie below it.
    bool below = false;
    for (auto it = m_lineTexts.find(line); it != m_lineTexts.end() && it.key() == line;) {
        const auto span = m_textSpans.constFind(it.value());
        if (below && span != m_textSpans.constEnd() && span->coveredBy(topBegin, topEnd)) {
            m_coveredTexts.append(it.value());
            m_textSpans.erase(span);
            it = m_lineTexts.erase(it);
            continue;
        }
        below = below || int(it.value()) == handle;
        ++it;
    }
}

void CTextLinesManager::writeChar(const QChar& character)
{
    const int handle = obtainAdjacentText(m_cursor.column, m_cursor.line);
    // A text the overlay did not confirm in time is not written on; the
    // character is lost like any other failed call's, the cursor still
    // advances as the PC expects.
    if (!m_bus.timed_out()) {
        appendToText(handle, QString(character), true);
        dropTextsCoveredBy(handle, m_cursor.line);
    }
    incCursorPos();
}

void CTextLinesManager::writeText(const QString& text)
{
    // The whole text goes into one object, even past the right edge; only
    // the cursor wraps.
    const int handle = obtainAdjacentText(m_cursor.column, m_cursor.line);
    if (!m_bus.timed_out()) {
        appendToText(handle, text, false);
        dropTextsCoveredBy(handle, m_cursor.line);
        flushTypedText();
    }
    incCursorPos(text.length());
}

QString CTextLinesManager::getTextLineStr(unsigned char line)
{
    ensureGeometry();
    const int textId = getTextIdFromLine(line);
    if (textId != 0)
        return m_bus.waited(m_rOverlay.get_text_string(m_fixedTexts.handle(textId)));

    // Most recent text first, gaps not filled: this is what the PC expects.
    QString text;
    for (auto it = m_lineTexts.constFind(line); it != m_lineTexts.constEnd() && it.key() == line; ++it)
        text += m_bus.waited(m_rOverlay.get_text_string(int(it.value())));
    return text;
}

void CTextLinesManager::setTextLineStr(unsigned char line, const QString& text)
{
    ensureGeometry();
    const int textId = getTextIdFromLine(line);
    if (textId != 0) {
        m_rOverlay.set_text_string(m_fixedTexts.handle(textId), text);
        return;
    }

    int foreground = m_eCursorForeground;
    int background = m_eCursorBackground;
    const QList<quint32> texts = m_lineTexts.values(line);

    // A rewritten line keeps the colours of its most recent text.
    if (!texts.isEmpty()) {
        const QVariantList colors = m_bus.waited_list(m_rOverlay.get_text_colors(int(texts.first())));
        if (colors.size() == COLORS_SIZE) {
            foreground = colors.at(0).toInt();
            background = colors.at(1).toInt();
        }
    }

    // A single text that starts at column 0 is simply reused.
    if (texts.size() == 1) {
        const int handle = int(texts.first());
        const QVariantList position = m_bus.waited_list(m_rOverlay.get_text_position(handle));
        if (position.size() == POSITION_SIZE && low8(position.at(0)) == 0) {
            m_rOverlay.set_text_string(handle, text);
            if (handle != 0)
                m_textSpans.insert(quint32(handle), TextSpan { 0, text });
            return;
        }
    }
    // What the line holds is not known: leave it as it is.
    if (m_bus.timed_out())
        return;
    if (!texts.isEmpty())
        clearTextLine(line);

    const int handle = m_bus.waited(m_rOverlay.create_text());
    if (m_bus.timed_out())
        return;
    m_lineTexts.insert(line, quint32(handle));
    if (handle != 0)
        m_textSpans.insert(quint32(handle), TextSpan { 0, text });
    m_rOverlay.set_text_position(handle, 0, line);
    m_rOverlay.set_text_colors(handle, foreground, background);
    m_rOverlay.set_text_string(handle, text);
    m_rOverlay.show_text(handle);
}

void CTextLinesManager::clearTextLine(unsigned char line)
{
    ensureGeometry();
    const int textId = getTextIdFromLine(line);
    if (textId != 0) {
        m_rOverlay.set_text_string(m_fixedTexts.handle(textId), QString());
        return;
    }

    for (auto it = m_lineTexts.begin(); it != m_lineTexts.end();) {
        if (it.key() == line) {
            m_rOverlay.destroy_text(int(it.value()));
            m_textSpans.remove(it.value());
            it = m_lineTexts.erase(it);
        } else {
            ++it;
        }
    }
}

void CTextLinesManager::clearScreen()
{
    for (auto it = m_lineTexts.constBegin(); it != m_lineTexts.constEnd(); ++it)
        m_rOverlay.destroy_text(int(it.value()));
    m_lineTexts.clear();
    m_textSpans.clear();
}

// SPDX-License-Identifier: BSD-2-Clause
#ifndef CTEXTLINESMANAGER_H
#define CTEXTLINESMANAGER_H

#include "OverlayColors.h"
#include "TextCursor.h"

#include <QChar>
#include <QHash>
#include <QMultiMap>
#include <QString>
#include <QTimer>
#include <QVector>

class BusCommand;
class CQuorendVideoOverlayInterface;
class FixedTexts;

// The character screen the PC sees, mapped onto the overlay service's free
// standing text objects.
//
// A run of characters written one after another lives in one text object:
// a character is appended to the text that ends exactly where it goes, and
// otherwise starts a new text there (drawn over whatever is below). Lines 0,
// 1, 2 and the last line are the overlay's fixed texts 94, 93, 92 and 91 (the
// status line); the manager reads and writes those but owns no objects there.
//
// A text drawn completely over an older one on the same line hides it for
// good, so the older one is destroyed: rewriting a field in place keeps one
// object per field instead of one per write.
//
// The texts the manager created are written by nobody else, so their place
// and string are kept here and not asked of the overlay again. Typed
// characters arrive one at a time at up to 960 a second; the strings they
// change go to the overlay together, TYPED_TEXT_DELAY_MS after the first of
// them at the latest, and before any frame is handled (flushTypedText()), so
// that the PC's next command finds the overlay as if each had been sent.
class CTextLinesManager
{
public:
    CTextLinesManager(CQuorendVideoOverlayInterface& overlay, BusCommand& bus, FixedTexts& fixedTexts);
    ~CTextLinesManager();
    CTextLinesManager(const CTextLinesManager&) = delete;
    CTextLinesManager& operator=(const CTextLinesManager&) = delete;

    // Fixed text identifier of a screen line, 0 for an ordinary line.
    int getTextIdFromLine(unsigned char line) const;

    void setCursorPos(unsigned char column, unsigned char line);
    void incCursorPos();
    void incCursorPos(int count);
    void setCursorColor(EOverlayTextColor foreground, EOverlayTextColor background);
    void setTextLineColor(unsigned char line, EOverlayTextColor foreground, EOverlayTextColor background);

    // The text a character at (column, line) continues, or a new one there.
    int obtainAdjacentText(unsigned char column, unsigned char line);

    // How long a typed character may wait for the ones behind it: a person
    // sees no lag, and at 9600 baud about ten characters share one call. The
    // line may have held it back before it was read (RS232::TYPED_GATHER_MS).
    static constexpr int TYPED_TEXT_DELAY_MS = 10;

    // Typed at the cursor; the overlay gets it with the next flush.
    void writeChar(const QChar& character);
    void writeText(const QString& text);

    QString getTextLineStr(unsigned char line);
    void setTextLineStr(unsigned char line, const QString& text);
    void clearTextLine(unsigned char line);
    void clearScreen();
    // Sends the strings typed characters changed, and destroys the texts
    // they covered. Cheap when nothing waits; true if anything went out.
    bool flushTypedText();

    // The overlay service stopped or another instance took its name: its text
    // objects are gone. Forgets their handles (a new instance hands the same
    // numbers out again, to other texts) and reads the screen size again on
    // next use. The cursor and its colours stay: they are the PC's.
    void forgetOverlay();

private:
    // A text of the manager as the manager wrote it.
    struct TextSpan {
        unsigned char begin;
        QString text;
        int length() const { return int(text.length()); }
        // The column after its last character, as the overlay reports it.
        unsigned char end() const { return static_cast<unsigned char>((begin + length()) & 0xFF); }
        // Whether a text from column `topBegin` to before `topEnd`, drawn
        // above this text, hides every character of it.
        bool coveredBy(int topBegin, int topEnd) const
        {
            return length() > 0 && begin >= topBegin && begin + length() <= topEnd;
        }
    };
    // The kept text of the line that ends at `column`, most recent first; 0 if none.
    int keptTextEndingAt(unsigned char column, unsigned char line) const;
    // Appends to a text's string; `typed`: sent with the next flush, else at once.
    void appendToText(int handle, const QString& addition, bool typed);
    // Drops the older texts that `handle` now covers; their destroy_text
    // goes out with the next flush.
    void dropTextsCoveredBy(int handle, unsigned char line);

    // The screen size is read at construction and, while unknown (the overlay
    // did not answer), again before each use.
    void readGeometry();
    void ensureGeometry();
    int createTextAt(unsigned char column, unsigned char line, int foreground, int background);

    CQuorendVideoOverlayInterface& m_rOverlay;
    BusCommand& m_bus;
    FixedTexts& m_fixedTexts;
    // Every text object the manager created, filed under its screen line;
    // for one line the most recently created comes first.
    QMultiMap<unsigned char, quint32> m_lineTexts;
    // Their spans, by handle; handle 0 (a failed creation) has none.
    QHash<quint32, TextSpan> m_textSpans;
    // Texts whose string changed since the last flush, in the order of
    // their first change, and texts to destroy then.
    QVector<quint32> m_unsentTexts;
    QVector<quint32> m_coveredTexts;
    QTimer m_typedTextFlush;
    TextCursor m_cursor;
    EOverlayTextColor m_eCursorForeground;
    EOverlayTextColor m_eCursorBackground;
    unsigned char m_ucLineWidth;
    unsigned char m_ucLineCount;
    bool m_bGeometryKnown;
};

#endif

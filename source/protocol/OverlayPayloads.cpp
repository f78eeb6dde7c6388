// SPDX-License-Identifier: BSD-2-Clause
#include "OverlayPayloads.h"

#include "CommandCatalogue.h"
#include "OverlayColors.h"
#include "RS232Message.h"

namespace {
QByteArray lowBytes(std::initializer_list<int> values)
{
    QByteArray bytes;
    bytes.reserve(int(values.size()));
    for (const int value : values)
        bytes.append(char(value & 0xFF));
    return bytes;
}
} // namespace

bool isStatusLineItem(int item)
{
    return item >= 1 && item <= STATUS_LINE_ITEMS;
}

int statusLineTextId(int item)
{
    return isStatusLineItem(item) ? STATUS_LINE_TEXT_IDS[item - 1] : item;
}

QByteArray encodeStatusLineState(const StatusLineState& state)
{
    return lowBytes({ state.item, state.colourCode, state.visible ? 1 : 0, 0, 0 });
}

StatusLineState decodeStatusLineState(const QByteArray& reply)
{
    return StatusLineState { byte_at(reply, 0), byte_at(reply, 1), byte_at(reply, 2) != 0 };
}

char ColourSetting::colourCode() const
{
    return ColorCodeFromPair(foreground, background);
}

QByteArray encodeColourSetting(const ColourSetting& setting)
{
    return lowBytes({ setting.target, setting.background, setting.foreground });
}

ColourSetting decodeColourSetting(const QByteArray& request)
{
    return ColourSetting { byte_at(request, 0), byte_at(request, 2), byte_at(request, 1) };
}

QByteArray encodeLineColourSetting(const LineColourSetting& setting)
{
    return setting.atCursor ? lowBytes({ setting.colourCode }) : lowBytes({ setting.line, setting.colourCode });
}

LineColourSetting decodeLineColourSetting(const QByteArray& request)
{
    if (request.size() == 1)
        return LineColourSetting { true, 0, byte_at(request, 0) };
    return LineColourSetting { false, byte_at(request, 0), byte_at(request, 1) };
}

QByteArray encodeUnitState(const UnitState& state)
{
    return lowBytes({ state.format, state.visible ? 1 : 0, state.x, state.y });
}

UnitState decodeUnitState(const QByteArray& reply)
{
    return UnitState { byte_at(reply, 0), byte_at(reply, 1) != 0, byte_at(reply, 2), byte_at(reply, 3) };
}

bool VideoCounter::isNoValue() const
{
    return hours == NO_VIDEO_COUNTER.hours && minutes == NO_VIDEO_COUNTER.minutes && seconds == NO_VIDEO_COUNTER.seconds
        && frames == NO_VIDEO_COUNTER.frames;
}

QByteArray encodeVideoCounter(const VideoCounter& counter)
{
    return lowBytes({ counter.hours, counter.minutes, counter.seconds, counter.frames });
}

VideoCounter decodeVideoCounter(const QByteArray& data)
{
    return VideoCounter { byte_at(data, 0), byte_at(data, 1), byte_at(data, 2), byte_at(data, 3) };
}

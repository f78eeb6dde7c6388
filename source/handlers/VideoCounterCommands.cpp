// SPDX-License-Identifier: BSD-2-Clause
// Video counter commands: the running time code the video overlay service
// draws on the picture. On the bus it is five ints, a leading value (always 1
// when set, ignored when read) and the four counter values; on the line it is
// four bytes, one per counter value.
#include "VideoCounterCommands.h"

#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "Handlers.h"
#include "OverlayPayloads.h"
#include "RS232Message.h"

namespace {
const int COUNTER = 1;
const int LEAD_VALUE = 1;
const int BUS_VALUES = 5;
} // namespace

Reply fh_cmd_videocounter(VideoCounterCommands& counter, const RS232Message&, VideoCounterAction action)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_cmd_videocounter");
    switch (action) {
    case VideoCounterAction::Start:
        counter.overlay.videocounter_start(COUNTER);
        break;
    case VideoCounterAction::Stop:
        counter.overlay.videocounter_stop(COUNTER);
        break;
    case VideoCounterAction::StartAgain:
        // The PC's second start command: the activity query goes out, but its
        // answer is never read and decides nothing.
        counter.overlay.is_videocounter_active();
        counter.overlay.videocounter_start(COUNTER);
        break;
    }
    return no_reply();
}

Reply fh_get_videocounter(VideoCounterCommands& counter, const RS232Message&, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_get_videocounter");
    const QVariantList values = counter.bus.waited_list(counter.overlay.get_videocounter());

    // Anything but a proper counter goes out as the marker the PC reads as
    // "no value".
    VideoCounter time = NO_VIDEO_COUNTER;
    if (values.size() == BUS_VALUES)
        time = { values.at(1).toInt(), values.at(2).toInt(), values.at(3).toInt(), values.at(4).toInt() };
    return reply_with(encodeVideoCounter(time));
}

Reply fh_set_videocounter(VideoCounterCommands& counter, const RS232Message& request, NoArgument)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_set_videocounter");
    const VideoCounter time = decodeVideoCounter(request.data());
    if (counter.bus.may_send())
        counter.overlay.set_videocounter(LEAD_VALUE, time.hours, time.minutes, time.seconds, time.frames);
    return no_reply();
}

// SPDX-License-Identifier: BSD-2-Clause
// Video counter commands: the running time code the video overlay service
// draws on the picture. On the bus it is five ints, a leading value (always 1
// when set, ignored when read) and the four counter values; on the line it is
// four bytes, one per counter value.
#include "BusCall.h"
#include "CEventLogger.h"
#include "CQuorendVideoOverlayInterface.h"
#include "RS232Handler.h"

namespace {
const int COUNTER = 1;
const int LEAD_VALUE = 1;
const int BUS_VALUES = 5;
const int LINE_VALUES = 4;
// What the PC receives for every value when the overlay gives no proper
// counter: a marker it recognises as "no value".
const char NO_VALUE = 99;

void startCounter(CQuorendVideoOverlayInterface& overlay)
{
    overlay.videocounter_start(COUNTER);
}

void stopCounter(CQuorendVideoOverlayInterface& overlay)
{
    overlay.videocounter_stop(COUNTER);
}

// The PC's second start command: the activity query goes out, but its answer
// is never read and decides nothing; the counter is started either way.
void startCounterAgain(CQuorendVideoOverlayInterface& overlay)
{
    overlay.is_videocounter_active();
    overlay.videocounter_start(COUNTER);
}

struct CounterCommand {
    unsigned char command_id;
    void (*send)(CQuorendVideoOverlayInterface& overlay);
};

const CounterCommand COUNTER_COMMANDS[] = {
    { 0x73, startCounter },
    { 0x74, stopCounter },
    { 0x75, startCounterAgain },
};
} // namespace

RS232Handler::Reply RS232Handler::fh_cmd_videocounter(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_cmd_videocounter");
    for (const CounterCommand& row : COUNTER_COMMANDS) {
        if (row.command_id == request.get_command_id()) {
            row.send(*self.m_pVideoOverlay);
            return no_reply();
        }
    }
    return no_reply();
}

RS232Handler::Reply RS232Handler::fh_get_videocounter(RS232Handler& self, const RS232Message&)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_get_videocounter");
    const QVariantList counter = waited_list(self.m_pVideoOverlay->get_videocounter());

    QByteArray reply(LINE_VALUES, NO_VALUE);
    if (counter.size() == BUS_VALUES) {
        for (int i = 0; i < LINE_VALUES; ++i)
            reply[i] = char(counter.at(i + 1).toInt() & 0xFF);
    }
    return reply_with(reply);
}

RS232Handler::Reply RS232Handler::fh_set_videocounter(RS232Handler& self, const RS232Message& request)
{
    CEventLogger::logMessage(CEventLogger::LOG_LEVEL_DEBUG, "RS232Handler::fh_set_videocounter");
    if (may_send())
        self.m_pVideoOverlay->set_videocounter(LEAD_VALUE, request.data_byte(0), request.data_byte(1),
                                               request.data_byte(2), request.data_byte(3));
    return no_reply();
}

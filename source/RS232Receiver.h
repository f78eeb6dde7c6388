#ifndef RS232RECEIVER_H
#define RS232RECEIVER_H

#include "RS232Message.h"

// The frame receiver: a pure state machine over bytes, with no port behind
// it, so that it can be fed from a test or a fuzzer as well as from the line.
//
//   state 0 idle      0x02 starts a frame; bytes >= 0x20 are typed text;
//                     other control bytes are ignored
//   state 1           command id (any value)
//   state 2           group id; above 2 is refused
//   state 3           length lo
//   state 4           length hi; no data announced -> state 6
//   state 5           data, until length lo + length hi bytes are in
//   state 6           end; anything but 0x03 is refused
//
// The state survives between chunks, so a frame may span any number of reads.
class RS232Receiver
{
public:
    enum Event {
        NOTHING,        // byte consumed, nothing to do
        TYPED_CHAR,     // a printable byte outside a frame
        FRAME_VALID,    // a complete, valid frame is in message()
        FRAME_INVALID,  // a complete frame with command id 0: swallowed
        REFUSED         // the byte breaks the frame: NAK and start over
    };

    Event push(unsigned char byte);
    // Clears the message and goes back to idle (after a frame or a refusal).
    void reset();

    RS232Message& message() { return m_message; }
    int state() const { return m_iState; }

private:
    RS232Message m_message;
    int m_iState = 0;
};

#endif

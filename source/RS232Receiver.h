// SPDX-License-Identifier: BSD-2-Clause
#ifndef RS232RECEIVER_H
#define RS232RECEIVER_H

#include "RS232Message.h"

#include <QByteArray>

// What the receiver's rules ask of the line behind it: the serial link in the
// service, a test, a fuzzer, the PC-side client.
class RS232ReceiverSink
{
public:
    virtual ~RS232ReceiverSink() = default;
    // A valid frame is complete: the ACK goes out before it is handled.
    virtual void acknowledge() = 0;
    // The valid frame; the receiver clears it as soon as this returns.
    virtual void handle_frame(RS232Message& message) = 0;
    // `chunk[index]` broke the frame: answer NAK. The rest of the chunk is
    // discarded, even a frame that starts in it.
    virtual void refuse(const QByteArray& chunk, int index) = 0;
    // A printable byte outside a frame.
    virtual void type_char(char byte) = 0;
    // The end byte of a frame is due (before it is examined).
    virtual void end_due() { }
    // A complete frame with command id 0: neither ACK nor NAK.
    virtual void swallow_frame(const RS232Message& message) { (void)message; }
    // A control byte outside a frame, ignored by the rules (ACK and NAK are
    // such bytes when the PC's side reads them).
    virtual void control_byte(unsigned char byte) { (void)byte; }
};

// The frame receiver: a pure state machine with no port behind it and no log,
// so that it can be fed from a test or a fuzzer as well as from the line.
//
//   Idle      0x02 starts a frame; bytes >= 0x20 are typed text;
//             other control bytes are ignored
//   CommandId any value
//   GroupId   above 2 is refused
//   LengthLo
//   LengthHi  no data announced -> End
//   Data      until length lo + length hi bytes are in
//   End       anything but 0x03 is refused
//
// The state survives between reads, so a frame may span any number of them.
class RS232Receiver
{
public:
    enum class State { Idle, CommandId, GroupId, LengthLo, LengthHi, Data, End };
    enum class Event {
        Nothing,      // byte consumed, nothing to do
        TypedChar,    // a printable byte outside a frame
        ControlByte,  // another byte outside a frame, ignored
        FrameValid,   // a complete, valid frame is in message()
        FrameInvalid, // a complete frame with command id 0: swallowed
        Refused       // the byte breaks the frame: NAK and start over
    };

    // One read from the line, under every receive rule: ACK before the frame
    // is handled, a refused byte costs the rest of the read, a clean start
    // after each frame.
    void receive(const QByteArray& chunk, RS232ReceiverSink& sink);

    // One byte, without the rules above, for tools that show every byte of
    // a line (the trace decoder). After a frame or a refusal, call reset().
    Event push(unsigned char byte);
    // Clears the message and goes back to Idle.
    void reset();

    State state() const { return m_state; }
    bool in_frame() const { return m_state != State::Idle; }
    const RS232Message& message() const { return m_message; }

private:
    RS232Message m_message;
    State m_state = State::Idle;
};

#endif

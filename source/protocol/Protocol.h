// SPDX-License-Identifier: BSD-2-Clause
#ifndef PROTOCOL_H
#define PROTOCOL_H

// The bytes of the serial protocol that are not part of any command. The
// commands themselves are in CommandCatalogue.h.
namespace Protocol {

// A frame, both ways: STX, command id, group id, length lo, length hi,
// length lo + length hi data bytes, ETX.
const unsigned char STX = 0x02;
const unsigned char ETX = 0x03;
// The one-byte answers to a frame, outside any frame.
const unsigned char ACK = 0x06;
const unsigned char NAK = 0x15;
// Bytes from here up are typed text when they arrive outside a frame.
const unsigned char FIRST_PRINTABLE = 0x20;

// The group id: what a command does, and whether it is answered.
enum Group : unsigned char {
    ACTION = 0,  // actions and switches
    QUERY = 1,   // queries: the reply frame carries the request's ids
    SETTING = 2, // settings
};
const int GROUP_COUNT = 3;

} // namespace Protocol

#endif

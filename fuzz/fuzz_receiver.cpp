// SPDX-License-Identifier: BSD-2-Clause
// The frame receiver fed arbitrary bytes in arbitrary reads, through the same
// receive() the serial link calls, with a sink that checks every action it is
// asked for (ACK, NAK, frame, typed character) against the protocol's rules.
//
// Input layout: byte 0 gives n = byte0 % 8 chunk-length bytes that follow;
// each of them gives one chunk length (value + 1), used in turn and then
// again from the first. With n = 0 the rest is one chunk. The rest of the
// input is the byte stream on the line.
#include "FuzzCheck.h"
#include "RS232Receiver.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {
const unsigned char STX = 0x02;
const unsigned char ETX = 0x03;
const int LONGEST_DATA = 255 + 255;

class CheckingSink : public RS232ReceiverSink
{
public:
    std::vector<std::string> frames; // each handled frame's text form
    int acks = 0;
    int naks = 0;
    bool ackPending = false;
    bool endDue = false;

    void acknowledge() override
    {
        FUZZ_CHECK(!ackPending && endDue);
        ackPending = true;
        ++acks;
    }

    void handle_frame(RS232Message& message) override
    {
        FUZZ_CHECK(ackPending); // the PC sees the ACK ahead of any reply
        ackPending = false;
        endDue = false;
        FUZZ_CHECK(message.is_valid());
        FUZZ_CHECK(message.get_command_id() != 0);
        FUZZ_CHECK(message.get_group_id() <= 2);
        FUZZ_CHECK(message.get_data_length() <= LONGEST_DATA);
        // A handler copies the request to build its reply; the copy takes
        // its length bytes from the data, so above 255 bytes it is valid only
        // once the long length is set.
        RS232Message reply(message);
        FUZZ_CHECK(reply.get_data_length() == message.get_data_length());
        FUZZ_CHECK(reply.is_valid() == (message.get_data_length() <= 255));
        FUZZ_CHECK(reply.set_long_length() && reply.is_valid());
        frames.push_back(message.toStr().toStdString());
    }

    void refuse(const QByteArray& chunk, int index) override
    {
        FUZZ_CHECK(index >= 0 && index < chunk.size());
        const unsigned char byte = static_cast<unsigned char>(chunk.at(index));
        // Refused only at the group id (above 2) or where the end byte belongs.
        FUZZ_CHECK(endDue ? byte != ETX : byte > 2);
        endDue = false;
        ++naks;
    }

    void type_char(char byte) override { FUZZ_CHECK(static_cast<unsigned char>(byte) >= 0x20); }

    void control_byte(unsigned char byte) override { FUZZ_CHECK(byte < 0x20 && byte != STX); }

    void end_due() override
    {
        FUZZ_CHECK(!endDue);
        endDue = true;
    }

    void swallow_frame(const RS232Message& message) override
    {
        FUZZ_CHECK(endDue && message.get_command_id() == 0);
        endDue = false;
    }
};

void checkState(const RS232Receiver& receiver)
{
    const RS232Message& message = receiver.message();
    FUZZ_CHECK(message.get_data_length() <= LONGEST_DATA);
    switch (receiver.state()) {
    case RS232Receiver::State::Idle:
        FUZZ_CHECK(message.get_command_id() == 0 && message.get_group_id() == 255);
        FUZZ_CHECK(message.get_data_length() == 0);
        break;
    case RS232Receiver::State::Data:
        FUZZ_CHECK(message.get_data_length() < message.get_setted_length());
        break;
    case RS232Receiver::State::End:
        FUZZ_CHECK(message.is_data_complete());
        break;
    default:
        break;
    }
}

// Feeds the stream in the given reads; true if nothing was refused.
bool feed(CheckingSink& sink, const uint8_t* stream, size_t size, const uint8_t* splits, size_t splitCount)
{
    RS232Receiver receiver;
    size_t offset = 0;
    for (size_t chunk = 0; offset < size; ++chunk) {
        size_t length = splitCount ? size_t(splits[chunk % splitCount]) + 1 : size;
        if (length > size - offset)
            length = size - offset;
        const int naksBefore = sink.naks;
        receiver.receive(QByteArray(reinterpret_cast<const char*>(stream + offset), int(length)), sink);
        FUZZ_CHECK(sink.naks - naksBefore <= 1); // one NAK per read at most
        checkState(receiver);
        FUZZ_CHECK(!sink.endDue); // every end byte examined is settled within its read
        offset += length;
    }
    FUZZ_CHECK(sink.acks == int(sink.frames.size()) && !sink.ackPending);
    return sink.naks == 0;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const size_t splitCount = data[0] % 8;
    if (size < 1 + splitCount)
        return 0;
    const uint8_t* splits = data + 1;
    const uint8_t* stream = data + 1 + splitCount;
    const size_t streamSize = size - 1 - splitCount;

    CheckingSink inReads;
    const bool clean = feed(inReads, stream, streamSize, splits, splitCount);
    // Without a refusal, how the line cut the stream into reads changes nothing.
    CheckingSink whole;
    if (clean && feed(whole, stream, streamSize, nullptr, 0))
        FUZZ_CHECK(inReads.frames == whole.frames);
    return 0;
}

// The frame receiver fed arbitrary bytes in arbitrary chunks, driven the way
// the serial link drives it, with a recording stand-in for the link's actions
// (ACK, NAK, dispatch to the registry, typed characters).
//
// Input layout: byte 0 gives n = byte0 % 8 chunk-length bytes that follow;
// each of them gives one chunk length (value + 1), used in turn and then
// again from the first. With n = 0 the rest is one chunk. The rest of the
// input is the byte stream on the line.
#include "CEventLogger.h"
#include "FuzzCheck.h"
#include "RS232Receiver.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {
const unsigned char STX = 0x02;
const unsigned char ETX = 0x03;
const int LONGEST_DATA = 255 + 255;

// What the serial link would have done, in order, plus the bytes the receiver
// actually saw (a refusal drops the rest of its chunk unseen).
struct RecordingLink
{
    std::vector<unsigned char> seen;
    size_t frameStart = 0; // index in `seen` of the STX of the current frame
    int acks = 0;
    int naks = 0;
    int dispatches = 0;
    bool ackPending = false;

    void ack()
    {
        FUZZ_CHECK(!ackPending);
        ackPending = true;
        ++acks;
    }

    void nak() { ++naks; }

    void typed(unsigned char byte)
    {
        FUZZ_CHECK(byte >= 0x20);
        FUZZ_CHECK(byte != STX);
    }

    // The registry's view: the frame is the bytes seen since its STX.
    void dispatch(RS232Message& message)
    {
        FUZZ_CHECK(ackPending); // the PC sees the ACK ahead of any reply
        ackPending = false;
        ++dispatches;

        const size_t etx = seen.size() - 1;
        FUZZ_CHECK(seen[frameStart] == STX);
        FUZZ_CHECK(seen[etx] == ETX);
        FUZZ_CHECK(message.get_command_id() == seen[frameStart + 1]);
        FUZZ_CHECK(message.get_group_id() == seen[frameStart + 2]);
        FUZZ_CHECK(message.get_length_lo() == seen[frameStart + 3]);
        FUZZ_CHECK(message.get_length_hi() == seen[frameStart + 4]);
        const int size = message.get_data_length();
        FUZZ_CHECK(size_t(size) == etx - frameStart - 5);
        for (int i = 0; i < size; ++i)
            FUZZ_CHECK(message.data_byte(i) == seen[frameStart + 5 + i]);

        // A handler copies the request to build its reply; the copy takes
        // its length bytes from the data, so above 255 bytes it cannot be sent.
        RS232Message reply(message);
        FUZZ_CHECK(reply.get_data_length() == size);
        FUZZ_CHECK(reply.is_valid() == (size <= 255));
        FUZZ_CHECK(!message.toStr().isEmpty());
    }
};

void checkReceiverState(RS232Receiver& receiver)
{
    const int state = receiver.state();
    RS232Message& message = receiver.message();
    FUZZ_CHECK(state >= 0 && state <= 6);
    FUZZ_CHECK(message.get_data_length() <= LONGEST_DATA);
    if (state == 5)
        FUZZ_CHECK(message.get_data_length() < message.get_setted_length());
    if (state == 6)
        FUZZ_CHECK(message.is_data_complete());
    if (state >= 3)
        FUZZ_CHECK(message.get_group_id() <= 2);
    if (state == 0)
        FUZZ_CHECK(message.get_data_length() == 0);
}

void checkCleared(RS232Receiver& receiver)
{
    RS232Message& message = receiver.message();
    FUZZ_CHECK(receiver.state() == 0);
    FUZZ_CHECK(message.get_command_id() == 0);
    FUZZ_CHECK(message.get_group_id() == 255);
    FUZZ_CHECK(message.get_setted_length() == 0);
    FUZZ_CHECK(message.get_data_length() == 0);
}

// The serial link's handling of one read.
void feedChunk(RS232Receiver& receiver, RecordingLink& link, const uint8_t* chunk, size_t size)
{
    for (size_t i = 0; i < size; ++i) {
        const unsigned char byte = chunk[i];
        const int stateBefore = receiver.state();
        link.seen.push_back(byte);
        if (stateBefore == 0 && byte == STX)
            link.frameStart = link.seen.size() - 1;

        const RS232Receiver::Event event = receiver.push(byte);
        switch (event) {
        case RS232Receiver::NOTHING:
            break;
        case RS232Receiver::TYPED_CHAR:
            FUZZ_CHECK(stateBefore == 0);
            link.typed(byte);
            break;
        case RS232Receiver::FRAME_VALID: {
            RS232Message& message = receiver.message();
            FUZZ_CHECK(stateBefore == 6 && byte == ETX);
            FUZZ_CHECK(message.is_valid());
            FUZZ_CHECK(message.is_data_complete());
            FUZZ_CHECK(message.get_command_id() != 0);
            FUZZ_CHECK(message.get_group_id() <= 2);
            link.ack();
            link.dispatch(message);
            receiver.reset();
            checkCleared(receiver);
            break;
        }
        case RS232Receiver::FRAME_INVALID:
            // Complete and ended, but command id 0: no ACK, no NAK.
            FUZZ_CHECK(stateBefore == 6 && byte == ETX);
            FUZZ_CHECK(receiver.message().get_command_id() == 0);
            receiver.reset();
            checkCleared(receiver);
            break;
        case RS232Receiver::REFUSED:
            FUZZ_CHECK((stateBefore == 2 && byte > 2) || (stateBefore == 6 && byte != ETX));
            link.nak();
            receiver.reset();
            checkCleared(receiver);
            return; // the rest of the chunk is lost
        }
        checkReceiverState(receiver);
    }
}
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The receiver logs "stop" at every frame end; keep the fuzzer quiet.
    CEventLogger::initialize("talvox-fuzz", CEventLogger::LOG_LEVEL_EMERGENCY);
    CEventLogger::setLoggingEnabled(false);
    return 0;
}

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

    RS232Receiver receiver;
    RecordingLink link;
    checkCleared(receiver);

    size_t offset = 0;
    for (size_t chunk = 0; offset < streamSize; ++chunk) {
        size_t length = splitCount ? size_t(splits[chunk % splitCount]) + 1 : streamSize;
        if (length > streamSize - offset)
            length = streamSize - offset;
        const int naksBefore = link.naks;
        feedChunk(receiver, link, stream + offset, length);
        FUZZ_CHECK(link.naks - naksBefore <= 1); // one NAK per read at most
        offset += length;
    }
    FUZZ_CHECK(link.acks == link.dispatches);
    FUZZ_CHECK(!link.ackPending);
    return 0;
}

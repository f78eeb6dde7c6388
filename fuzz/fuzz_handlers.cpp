// SPDX-License-Identifier: BSD-2-Clause
// Every command handler fed arbitrary requests: each (command id, group id)
// pair of the table with data of any size, short, long and odd, dispatched
// through the real registry. No sibling service is reachable, so every query
// on the bus fails and reads as its zero value, as in the field when a
// service is down; replies go to a port that is not open.
//
// Setting the date runs /bin/date and /sbin/hwclock: this target refuses to
// run unless they are the recording stand-ins, so run it through
// sim-env/run-isolated (scripts/fuzz does).
//
// Input layout: byte 0 command id, byte 1 group id (taken modulo 3, as the
// receiver refuses anything above 2), the rest the data (at most 510 bytes,
// as on the line).
#include "CEventLogger.h"
#include "CommandCatalogue.h"
#include "FuzzCheck.h"
#include "RS232Handler.h"
#include "SystemClock.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QFile>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {
const int LONGEST_DATA = 255 + 255;

bool isStandIn(const char* path)
{
    QFile program(path);
    return program.open(QIODevice::ReadOnly) && program.read(4096).contains("TALVOX_STANDIN_LOG");
}

RS232Handler* registry = nullptr;

void dispatch(unsigned char command, unsigned char group, const QByteArray& data)
{
    RS232Message request;
    request.set_command_id(command);
    request.set_group_id(group);
    request.set_data(data);
    registry->exec_func(request);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    if (!isStandIn("/bin/date") || !isStandIn("/sbin/hwclock")) {
        std::fprintf(stderr,
                     "fuzz_handlers: /bin/date and /sbin/hwclock must be the recording stand-ins; "
                     "run it through sim-env/run-isolated\n");
        std::exit(2);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/talvox-fuzz-bus", 1);
    static QCoreApplication application(*argc, *argv);

    CEventLogger::initialize("talvox-fuzz", CEventLogger::LOG_LEVEL_EMERGENCY);
    CEventLogger::setLoggingEnabled(false);
    static SystemClock clock;
    registry = new RS232Handler(QDBusConnection::systemBus(), clock);
    registry->init();
    FUZZ_CHECK(registry->registered_count() == catalogue().size());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size)
{
    if (size < 2)
        return 0;
    const size_t dataSize = size - 2 > size_t(LONGEST_DATA) ? size_t(LONGEST_DATA) : size - 2;
    const QByteArray data(reinterpret_cast<const char*>(input + 2), int(dataSize));
    dispatch(input[0], input[1] % 3, data);

    // Typed text piles up text objects on the screen by design; start each
    // input from an empty screen.
    dispatch(0x88, 0, QByteArray());
    return 0;
}

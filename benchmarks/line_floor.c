// SPDX-License-Identifier: BSD-2-Clause
/* line-floor DEVICE [--bus]
 *
 * The floors the service is compared with on the same kind of line and bus:
 * the least a program can do per frame. It opens DEVICE ("pts/N") raw and
 * answers every read with one write: an ACK byte per end byte (0x03) in it.
 * With --bus, a status line query (command 0x90, group 1) is then answered
 * the way the service does it, with the same blocking calls to the video
 * overlay on the system bus (the text's handle by id, asked once per item,
 * then the text) and one reply frame. Ends when the line hangs up. */
#include <dbus/dbus.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

static DBusMessage* overlay_call(DBusConnection* bus, const char* method, int type, const void* argument)
{
    DBusMessage* call = dbus_message_new_method_call("local.vemo.quorend", "/videooverlay",
                                                     "local.vemo.quorend.videooverlay", method);
    dbus_message_append_args(call, type, argument, DBUS_TYPE_INVALID);
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, call, 750, NULL);
    dbus_message_unref(call);
    return reply;
}

/* The status line text: "" when a call fails. Writes a reply frame into `frame`. */
static int status_reply(DBusConnection* bus, unsigned char item, unsigned char* frame, int room)
{
    static dbus_int32_t handles[256];
    static int known[256];
    dbus_int32_t id = 95 - item;
    const char* text = "";
    DBusMessage* got_handle = NULL;
    if (!known[item]) {
        handles[item] = -1;
        got_handle = overlay_call(bus, "get_text_handle_by_id", DBUS_TYPE_INT32, &id);
        if (got_handle)
            known[item] = dbus_message_get_args(got_handle, NULL, DBUS_TYPE_INT32, &handles[item], DBUS_TYPE_INVALID);
    }
    dbus_int32_t handle = handles[item];
    DBusMessage* got_text = overlay_call(bus, "get_text_string", DBUS_TYPE_INT32, &handle);
    if (got_text)
        dbus_message_get_args(got_text, NULL, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    int size = (int)strlen(text);
    if (size > room - 8)
        size = room - 8;
    frame[0] = 0x02, frame[1] = 0x90, frame[2] = 0x01, frame[3] = (unsigned char)(size + 1), frame[4] = 0;
    frame[5] = item;
    memcpy(frame + 6, text, (size_t)size);
    frame[6 + size] = 0x03;
    if (got_text)
        dbus_message_unref(got_text);
    if (got_handle)
        dbus_message_unref(got_handle);
    return size + 7;
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: line-floor DEVICE [--bus]\n");
        return 64;
    }
    char path[256];
    snprintf(path, sizeof path, "/dev/%s", argv[1]);
    const int fd = open(path, O_RDWR | O_NOCTTY);
    struct termios raw;
    if (fd < 0 || tcgetattr(fd, &raw) != 0) {
        perror(path);
        return 1;
    }
    cfmakeraw(&raw);
    tcsetattr(fd, TCSANOW, &raw);

    DBusConnection* bus = NULL;
    if (argc > 2 && strcmp(argv[2], "--bus") == 0 && !(bus = dbus_bus_get(DBUS_BUS_SYSTEM, NULL))) {
        fprintf(stderr, "line-floor: no system bus\n");
        return 1;
    }
    unsigned char in[4096], acks[4096], out[300];
    memset(acks, 0x06, sizeof acks);
    for (;;) {
        const ssize_t got = read(fd, in, sizeof in);
        if (got <= 0)
            return 0;
        size_t ends = 0;
        for (ssize_t i = 0; i < got; ++i)
            ends += in[i] == 0x03;
        if (ends && write(fd, acks, ends) != (ssize_t)ends)
            return 0;
        if (bus && got >= 7 && in[0] == 0x02 && in[1] == 0x90 && in[2] == 0x01) {
            const int size = status_reply(bus, in[5], out, sizeof out);
            if (write(fd, out, (size_t)size) != size)
                return 0;
        }
    }
}

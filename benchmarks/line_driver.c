// SPDX-License-Identifier: BSD-2-Clause
/* line-driver [options] -- PROGRAM [ARG...]
 *
 * The PC end of the benchmark: opens a pty pair, starts PROGRAM with every
 * argument "@DEV@" replaced by the pty's name ("pts/N", as after talvox -d),
 * waits for the first answer to a probe query and then sends each kind of
 * frame, one at a time, each sent once its answer is complete. Per phase it
 * prints one line:
 *     KIND FRAMES ACK_MEDIAN_US ANSWER_MEDIAN_US T0 T1
 * (T0, T1: CLOCK_REALTIME seconds around the phase, to cut a system call
 * trace), then "startup_ms MS", "rss_kb KB", "hwm_kb KB".
 *
 *   --frames N   frames per phase (default 200)
 *   --burst N    frames of the burst phase, written at once (default 2000)
 *   --floor      PROGRAM answers with ACK only, except the status line query
 *   --mark CMD   runs "CMD begin|end KIND PID" around each phase (and
 *                "CMD begin startup PID" is never run: start-up is what comes
 *                before the first begin)
 *   --timeout S  for any answer (default 10; valgrind needs more)
 *   --kinds LIST comma-separated phases (default probe,meter,status,clear,char,burst)
 *   --typed-times FILE  the CLOCK_REALTIME second at which each character
 *                of the line-rate phases was written, one a line
 *
 * Line-rate phases (not in the default list), each after a clear screen:
 * "typed", typed characters as a PC sends a line of text at 9600 baud, one
 * every 1.04 ms for a second; "mix", the same with a meter query after
 * every eighth character, its bytes at the same rate; "paced", the mix's
 * meter queries alone, each byte when it is due in the mix (the line stays
 * silent where the mix has a character): what the mix costs without its
 * text. Their line counts the characters; the medians are 0.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

struct kind {
    const char* name;
    unsigned char frame[8];
    int size;
    int reply; /* the service answers with a reply frame after the ACK */
};

static const struct kind KINDS[] = {
    { "probe", { 0x02, 0xFF, 0x01, 0x00, 0x00, 0x03 }, 6, 1 },        /* software id: a constant */
    { "meter", { 0x02, 0x30, 0x01, 0x00, 0x00, 0x03 }, 6, 1 },        /* meter counter: pushed value */
    { "status", { 0x02, 0x90, 0x01, 0x01, 0x00, 0x01, 0x03 }, 7, 1 }, /* status line 1: two bus calls */
    { "clear", { 0x02, 0x88, 0x00, 0x00, 0x00, 0x03 }, 6, 0 },        /* clear screen: a setting */
};

/* One second of the line: 960 bytes at 9600 baud. */
#define LINE_RATE_CHARS 960

static int master = -1, slave = -1, floor_mode = 0, timeout_ms = 10000;
static FILE* typed_times;
static pid_t child;

static double now(clockid_t clock)
{
    struct timespec t;
    clock_gettime(clock, &t);
    return (double)t.tv_sec + (double)t.tv_nsec / 1e9;
}

static void die(const char* what)
{
    fprintf(stderr, "line-driver: %s\n", what);
    if (child > 0)
        kill(child, SIGTERM);
    exit(1);
}

static void put(const unsigned char* bytes, int size)
{
    for (int done = 0; done < size;) {
        const ssize_t n = write(master, bytes + done, (size_t)(size - done));
        if (n > 0)
            done += (int)n;
        else if (errno != EINTR && errno != EAGAIN)
            die("cannot write to the line");
    }
}

/* The answers on the line: ACK bytes and complete frames. */
static struct {
    int acks, frames;
    int header; /* header bytes still due: command, group, length lo, length hi */
    int length_lo, left;
    double ack_at, frame_at;
} seen;

static void take(const unsigned char* bytes, int size, double at)
{
    for (int i = 0; i < size; ++i) {
        const unsigned char b = bytes[i];
        if (seen.header > 0) {
            if (--seen.header == 1)
                seen.length_lo = b;
            else if (seen.header == 0)
                seen.left = seen.length_lo + b + 1; /* the data and the end byte */
        } else if (seen.left > 0) {
            if (--seen.left == 0)
                seen.frames++, seen.frame_at = at;
        } else if (b == 0x06) {
            seen.acks++, seen.ack_at = at;
        } else if (b == 0x15) {
            die("the service answered NAK");
        } else if (b == 0x02) {
            seen.header = 4;
        }
    }
}

/* Reads until `acks` ACKs and `frames` frames were seen in all. */
static void await(int acks, int frames, int ms)
{
    const double deadline = now(CLOCK_MONOTONIC) + ms / 1000.0;
    while (seen.acks < acks || seen.frames < frames) {
        struct pollfd in = { master, POLLIN, 0 };
        const int left = (int)((deadline - now(CLOCK_MONOTONIC)) * 1000);
        if (left <= 0 || poll(&in, 1, left) <= 0)
            die("no answer in time");
        unsigned char buffer[4096];
        const ssize_t n = read(master, buffer, sizeof buffer);
        if (n > 0)
            take(buffer, (int)n, now(CLOCK_MONOTONIC));
        else if (n == 0 || (errno != EAGAIN && errno != EINTR))
            die("the line was hung up");
    }
}

static int by_value(const void* a, const void* b)
{
    const double x = *(const double*)a, y = *(const double*)b;
    return (x > y) - (x < y);
}

static double median(double* values, int n)
{
    qsort(values, (size_t)n, sizeof *values, by_value);
    return n ? values[n / 2] : 0;
}

/* One frame, answered in full; returns when its answer is complete. */
static void exchange(const struct kind* k, double* ack_us, double* answer_us)
{
    const int replies = k->reply && (!floor_mode || k->frame[1] == 0x90);
    const int acks = seen.acks + 1, frames = seen.frames + replies;
    const double sent = now(CLOCK_MONOTONIC);
    put(k->frame, k->size);
    await(acks, frames, timeout_ms);
    *ack_us = (seen.ack_at - sent) * 1e6;
    *answer_us = ((replies ? seen.frame_at : seen.ack_at) - sent) * 1e6;
}

/* A typed character is not answered: it is sent alone, read alone (the
 * driver holds the slave end too and sees the service take it), then a probe
 * shows it was handled. Its cost is this phase's minus the probe phase's. */
static void typed_char(double* ack_us, double* answer_us)
{
    const double sent = now(CLOCK_MONOTONIC);
    put((const unsigned char*)"A", 1);
    int waiting = 1;
    while (waiting > 0 || now(CLOCK_MONOTONIC) - sent < 0.001) {
        struct timespec pause = { 0, 100000 };
        nanosleep(&pause, NULL);
        if (ioctl(slave, FIONREAD, &waiting) != 0)
            waiting = 0;
        if (now(CLOCK_MONOTONIC) - sent > timeout_ms / 1000.0)
            die("the typed character was not read");
    }
    exchange(&KINDS[0], ack_us, answer_us);
}

/* n characters at 9600 baud's byte rate (10 bits a byte); with query_every
 * > 0 a meter query follows every query_every characters. Without typed,
 * the characters' times pass with nothing sent. Answers are read as they
 * come; the phase ends with every query answered and a probe. */
static void line_rate(int n, int query_every, int typed)
{
    const struct kind* q = &KINDS[1];
    const int queries = query_every > 0 ? n / query_every : 0;
    unsigned char* bytes = malloc((size_t)(n + queries * q->size));
    int size = 0;
    for (int i = 0; i < n; ++i) {
        bytes[size++] = (unsigned char)('a' + i % 26);
        if (query_every > 0 && (i + 1) % query_every == 0)
            memcpy(bytes + size, q->frame, (size_t)q->size), size += q->size;
    }
    const double byte_s = 10.0 / 9600, start = now(CLOCK_MONOTONIC);
    const int acks = seen.acks + queries, frames = seen.frames + queries;
    for (int j = 0; j < size; ++j) {
        /* Answers are read while the next byte is due. */
        for (double wait; (wait = start + j * byte_s - now(CLOCK_MONOTONIC)) > 0;) {
            struct pollfd in = { master, POLLIN, 0 };
            struct timespec t = { 0, (long)(wait * 1e9) };
            if (ppoll(&in, 1, &t, NULL) > 0) {
                unsigned char buffer[4096];
                const ssize_t r = read(master, buffer, sizeof buffer);
                if (r > 0)
                    take(buffer, (int)r, now(CLOCK_MONOTONIC));
            }
        }
        if (!typed && bytes[j] >= 'a')
            continue;
        put(bytes + j, 1);
        if (typed_times && bytes[j] >= 'a')
            fprintf(typed_times, "%.6f\n", now(CLOCK_REALTIME));
    }
    await(acks, frames, timeout_ms);
    double ack_us, answer_us;
    exchange(&KINDS[0], &ack_us, &answer_us);
    free(bytes);
}

static void burst(int n, double* per_frame_us)
{
    const struct kind* k = &KINDS[1];
    unsigned char* bytes = malloc((size_t)(n * k->size));
    for (int i = 0; i < n; ++i)
        memcpy(bytes + i * k->size, k->frame, (size_t)k->size);
    const int acks = seen.acks + n, frames = seen.frames + (floor_mode ? 0 : n);
    const double start = now(CLOCK_MONOTONIC);
    int done = 0;
    while (done < n * k->size || seen.acks < acks || seen.frames < frames) {
        struct pollfd fds = { master, POLLIN | (done < n * k->size ? POLLOUT : 0), 0 };
        if (poll(&fds, 1, timeout_ms) <= 0)
            die("the burst was not answered in time");
        if (fds.revents & POLLOUT) {
            const ssize_t w = write(master, bytes + done, (size_t)(n * k->size - done));
            if (w > 0)
                done += (int)w;
        }
        if (fds.revents & POLLIN) {
            unsigned char buffer[4096];
            const ssize_t r = read(master, buffer, sizeof buffer);
            if (r > 0)
                take(buffer, (int)r, now(CLOCK_MONOTONIC));
        }
        if (fds.revents & (POLLHUP | POLLERR) && !(fds.revents & POLLIN))
            die("the line was hung up");
    }
    *per_frame_us = (now(CLOCK_MONOTONIC) - start) * 1e6 / n;
    free(bytes);
}

static void mark(const char* command, const char* step, const char* kind)
{
    if (!command)
        return;
    char line[1024];
    snprintf(line, sizeof line, "%s %s %s %d", command, step, kind, (int)child);
    if (system(line) != 0)
        die("the mark command failed");
}

static long status_kb(const char* field)
{
    char path[64], line[256];
    long kb = -1;
    snprintf(path, sizeof path, "/proc/%d/status", (int)child);
    FILE* status = fopen(path, "r");
    while (status && fgets(line, sizeof line, status))
        if (strncmp(line, field, strlen(field)) == 0)
            kb = atol(line + strlen(field) + 1);
    if (status)
        fclose(status);
    return kb;
}

int main(int argc, char** argv)
{
    int frames = 200, burst_frames = 2000, first = 1;
    const char *mark_command = NULL, *kinds = "probe,meter,status,clear,char,burst";
    for (; first < argc && strcmp(argv[first], "--") != 0; ++first) {
        const char* value = first + 1 < argc ? argv[first + 1] : "";
        if (!strcmp(argv[first], "--frames"))
            frames = atoi(value), ++first;
        else if (!strcmp(argv[first], "--burst"))
            burst_frames = atoi(value), ++first;
        else if (!strcmp(argv[first], "--mark"))
            mark_command = value, ++first;
        else if (!strcmp(argv[first], "--timeout"))
            timeout_ms = atoi(value) * 1000, ++first;
        else if (!strcmp(argv[first], "--kinds"))
            kinds = value, ++first;
        else if (!strcmp(argv[first], "--typed-times")) {
            if (!(typed_times = fopen(value, "w")))
                die("cannot write the typed times");
            ++first;
        } else if (!strcmp(argv[first], "--floor"))
            floor_mode = 1;
        else
            die("unknown option (see the head of line_driver.c)");
    }
    if (++first >= argc || frames < 1 || burst_frames < 1)
        die("usage: line-driver [options] -- PROGRAM [ARG...]");

    struct termios raw;
    cfmakeraw(&raw);
    char name[128];
    if (openpty(&master, &slave, name, &raw, NULL) != 0)
        die("openpty failed");
    fcntl(master, F_SETFD, FD_CLOEXEC);
    fcntl(slave, F_SETFD, FD_CLOEXEC);
    fcntl(master, F_SETFL, fcntl(master, F_GETFL) | O_NONBLOCK);
    const char* device = name + strlen("/dev/");
    for (int i = first; i < argc; ++i)
        if (!strcmp(argv[i], "@DEV@"))
            argv[i] = (char*)device;

    /* The probe is written before the program starts: the line keeps it, and
     * its answer is the first thing the program does once it reads the line. */
    const double spawned = now(CLOCK_MONOTONIC);
    put(KINDS[0].frame, KINDS[0].size);
    if ((child = fork()) == 0) {
        execvp(argv[first], argv + first);
        _exit(127);
    }
    await(1, floor_mode ? 0 : 1, timeout_ms * 3);
    const double startup_ms = ((floor_mode ? seen.ack_at : seen.frame_at) - spawned) * 1e3;

    double* ack = malloc(sizeof(double) * (size_t)frames);
    double* answer = malloc(sizeof(double) * (size_t)frames);
    char* list = strdup(kinds);
    for (char* kind = strtok(list, ","); kind; kind = strtok(NULL, ",")) {
        const struct kind* k = NULL;
        for (size_t i = 0; i < sizeof KINDS / sizeof *KINDS; ++i)
            if (!strcmp(KINDS[i].name, kind))
                k = &KINDS[i];
        const int is_burst = !strcmp(kind, "burst"), is_char = !strcmp(kind, "char");
        const int is_mix = !strcmp(kind, "mix"), is_paced = !strcmp(kind, "paced");
        const int is_line_rate = !strcmp(kind, "typed") || is_mix || is_paced;
        if (!k && !is_burst && !is_char && !is_line_rate)
            die("unknown kind");
        const int n = is_burst ? burst_frames : is_line_rate ? LINE_RATE_CHARS : frames;
        if (is_line_rate)
            exchange(&KINDS[3], &ack[0], &answer[0]); /* an empty screen */
        mark(mark_command, "begin", kind);
        const double t0 = now(CLOCK_REALTIME);
        if (is_line_rate) {
            line_rate(n, is_mix || is_paced ? 8 : 0, !is_paced);
            ack[0] = answer[0] = 0;
        } else if (is_burst) {
            burst(n, &answer[0]);
            ack[0] = 0;
        } else {
            for (int i = 0; i < n; ++i) {
                if (is_char)
                    typed_char(&ack[i], &answer[i]);
                else
                    exchange(k, &ack[i], &answer[i]);
            }
        }
        const double t1 = now(CLOCK_REALTIME);
        mark(mark_command, "end", kind);
        const int counted = is_burst || is_line_rate ? 1 : n;
        printf("%s %d %.1f %.1f %.6f %.6f\n", kind, n, median(ack, counted), median(answer, counted), t0, t1);
        fflush(stdout);
    }
    if (typed_times)
        fclose(typed_times);
    printf("startup_ms %.1f\nrss_kb %ld\nhwm_kb %ld\n", startup_ms, status_kb("VmRSS:"), status_kb("VmHWM:"));

    /* Hanging up ends the service in order; a signal is only the fallback. */
    close(master);
    close(slave);
    for (int i = 0; i < 100; ++i) {
        if (waitpid(child, NULL, WNOHANG) == child)
            return 0;
        struct timespec pause = { 0, 50000000 };
        nanosleep(&pause, NULL);
    }
    kill(child, SIGTERM);
    waitpid(child, NULL, 0);
    return 0;
}

// SPDX-License-Identifier: BSD-2-Clause
#ifndef FUZZCHECK_H
#define FUZZCHECK_H

#include <cstdio>
#include <cstdlib>

// A broken invariant is a crash for libFuzzer: it stops, keeps the input as
// crash-<sha1> and prints where it happened.
#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #condition);                     \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (0)

#endif

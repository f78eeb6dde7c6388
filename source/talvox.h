// SPDX-License-Identifier: BSD-2-Clause
#ifndef TALVOX_H
#define TALVOX_H

// Process frame: the single-instance lock and the one way out of the process.

// Takes the lock file or ends the process with exit code 1.
void lock_start();
// Closes and removes the lock file.
void lock_end();
// Every orderly end of the process: removes the lock, then exit(status).
[[noreturn]] void app_exit(int status);

// The start-up sequence of the service; main() only calls this.
int talvox_main(int argc, char** argv);

#endif

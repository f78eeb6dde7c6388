// SPDX-License-Identifier: BSD-2-Clause
#ifndef TALVOX_H
#define TALVOX_H

// The start-up sequence of the service; main() only calls this. It builds
// every part, passes each the others it needs, and is the one place that
// ends the process.
int talvox_main(int argc, char** argv);

#endif

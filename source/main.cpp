// SPDX-License-Identifier: BSD-2-Clause
#include "talvox.h"

int main(int argc, char** argv)
{
    return talvox_main(argc, argv);
}

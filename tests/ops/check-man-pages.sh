#!/bin/sh
# SPDX-License-Identifier: BSD-2-Clause
# check-man-pages.sh PAGE...: each page renders without a warning from man.
# Exit 77 (skipped) without man.
set -eu
command -v man >/dev/null || { echo "man is not installed"; exit 77; }
status=0
for page in "$@"; do
    # man --warnings exits 0 on warnings: any output on standard error is a fault.
    warnings=$(MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null) || status=1
    if [ -n "$warnings" ]; then
        echo "$page:"
        echo "$warnings"
        status=1
    fi
done
exit $status

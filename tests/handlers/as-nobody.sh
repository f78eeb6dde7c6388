#!/bin/sh
# SPDX-License-Identifier: BSD-2-Clause
# as-nobody.sh TEST: runs a handler test program as the unprivileged user nobody, which proves that the
# handler tests need no root. Skips (77) when not run as root (then the suite itself proves it) or where
# nobody cannot reach the program (a build tree in a private home).
set -eu
if [ "$(id -u)" -ne 0 ]; then
    echo "as-nobody: not root, the handler tests already run unprivileged"
    exit 77
fi
nobody() { setpriv --reuid=nobody --regid=nogroup --clear-groups --inh-caps=-all "$@"; }
if ! nobody test -x "$1"; then
    echo "as-nobody: user nobody cannot run $1"
    exit 77
fi
HOME=/nonexistent nobody "$1"

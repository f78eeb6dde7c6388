#!/bin/sh
# SPDX-License-Identifier: BSD-2-Clause
# check-unit.sh UNIT TALVOX: systemd-analyze verify finds nothing to say about
# the template unit UNIT, checked as the instance talvox@ttyS0.service with
# its ExecStart pointed at the built TALVOX (the installed path is checked by
# scripts/package-test). Exit 77 (skipped) without systemd-analyze.
set -eu
unit=$1
talvox=$2
command -v systemd-analyze >/dev/null || { echo "systemd-analyze is not installed"; exit 77; }

dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
sed "s|^ExecStart=[^ ]*|ExecStart=$talvox|" "$unit" >"$dir/talvox@ttyS0.service"
# verify exits 0 on warnings too: any output is a fault.
output=$(systemd-analyze verify --man=no "$dir/talvox@ttyS0.service" 2>&1) || true
if [ -n "$output" ]; then
    echo "$output"
    exit 1
fi
systemd-analyze security --offline=true --man=no "$dir/talvox@ttyS0.service" 2>&1 | tail -n 1

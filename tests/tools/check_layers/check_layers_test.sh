#!/usr/bin/env bash
# tools/check-layers is silent on the tree good/, and on bad/ prints exactly expected.txt and fails.
# Usage: check_layers_test.sh CHECK_LAYERS
set -euo pipefail

check=$1
here=$(dirname "$0")

if ! found=$("$check" "$here/good") || [ -n "$found" ]; then
    printf 'good/ must pass silently, but the check said:\n%s\n' "$found"
    exit 1
fi

if found=$("$check" "$here/bad"); then
    echo 'bad/ must fail, but the check ended with status 0'
    exit 1
fi
diff "$here/bad/expected.txt" - <<<"$found"

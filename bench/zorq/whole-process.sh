#!/usr/bin/env bash
# bench/zorq/whole-process.sh [ZORQ]: times a whole zorq process answering
# '1 + 1' with hyperfine (target: under 2 ms), with and without the inspector
# plug-in, beside a bare process start measured in the same run.
# ZORQ defaults to build/tools/zorq/zorq in the repository.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
zorq=${1:-$here/../../build/tools/zorq/zorq}
if [ ! -x "$zorq" ]; then
  echo "whole-process.sh: no zorq at $zorq (build it, or pass its path)" >&2
  exit 2
fi

results=$(mktemp)
trap 'rm -f "$results"' EXIT

hyperfine --shell=none --warmup 50 --runs 500 --export-csv "$results" \
  --command-name process-start 'true' \
  --command-name zorq "$zorq '1 + 1'" \
  --command-name zorq-no-plugin "$zorq --no-plugin '1 + 1'" >&2

# Per command: mean wall time, CPU time (user + system: steadier on a busy
# machine) and the ratio of the wall time to a bare process start. Then the
# verdict on the target for zorq as users run it (with the plug-in).
awk -F, '
  NR == 1 { next }
  NR == 2 { start = $2 }
  { printf "%s: %.3f ms wall, %.3f ms CPU, %.1fx a process start\n",
           $1, $2 * 1000, ($5 + $6) * 1000, $2 / start }
  $1 == "zorq" { zorq = $2 * 1000 }
  END { printf "target (under 2 ms): %s\n", zorq < 2 ? "met" : "missed" }
' "$results"

#!/usr/bin/env bash
# bench/system/whole-process.sh [ZORQ]: times whole zorq processes asking
# about this machine with hyperfine, in one run:
#   zorq 'names of processes'       target: within half the time of ps -e -o pid=,comm=
#   zorq 'name of operating system' target: under 2 ms
# beside a bare process start and zorq '1 + 1' (what the system families add
# is the difference). ZORQ defaults to build/tools/zorq/zorq.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
zorq=${1:-$here/../../build/tools/zorq/zorq}
if [ ! -x "$zorq" ]; then
  echo "whole-process.sh: no zorq at $zorq (build it, or pass its path)" >&2
  exit 2
fi

results=$(mktemp)
trap 'rm -f "$results"' EXIT

hyperfine --shell=none --warmup 30 --runs 300 --export-json "$results" \
  --command-name 'process start' 'true' \
  --command-name 'ps -e -o pid=,comm=' 'ps -e -o pid=,comm=' \
  --command-name "zorq '1 + 1'" "$zorq '1 + 1'" \
  --command-name "zorq 'names of processes'" "$zorq 'names of processes'" \
  --command-name "zorq 'name of operating system'" "$zorq 'name of operating system'" >&2

# Mean wall and CPU time (user + system) per command, in milliseconds.
jq -r '
  def ms: . * 1000000 | round / 1000;
  .results[]
  | "\(.command): \(.mean | ms) ms wall, \(.user + .system | ms) ms CPU"
' "$results"
jq -r '
  (.results[1].mean) as $ps | (.results[3].mean) as $names
  | "names of processes / ps = \(($names / $ps * 100 | round) / 100)"
    + (if $names <= $ps / 2 then " (target met: within half)" else " (target missed)" end)
' "$results"
jq -r '.results[4].mean * 1000
  | "name of operating system: \(. * 1000 | round / 1000) ms"
    + (if . < 2 then " (target met: under 2 ms)" else " (target missed)" end)' "$results"

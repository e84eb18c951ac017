#!/usr/bin/env bash
# bench/zorq/whole-process.sh [ZORQ]: times a whole zorq process answering
# '1 + 1' with hyperfine (target: under 2 ms), with and without the inspector
# plug-in, beside a bare process start in the same run.
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

hyperfine --shell=none --warmup 50 --runs 500 --export-json "$results" \
  --command-name 'process start' 'true' \
  --command-name "zorq '1 + 1'" "$zorq '1 + 1'" \
  --command-name "zorq --no-plugin '1 + 1'" "$zorq --no-plugin '1 + 1'" >&2

# One line per command: mean wall time and CPU time (user + system, less
# sensitive to a busy machine) in milliseconds, and the ratio of the wall
# time to a bare process start.
jq -r '
  def ms: . * 1000000 | round / 1000;
  (.results[0].mean) as $start
  | .results[]
  | "\(.command): \(.mean | ms) ms wall, \(.user + .system | ms) ms CPU, \((.mean / $start * 10 | round) / 10)x a process start"
' "$results"
jq -r '.results[1].mean * 1000 | if . < 2 then "target met: under 2 ms" else "target missed: \(.) ms" end' "$results"

#!/usr/bin/env bash
# bench/whole-process.sh [ZORQ]: times whole zorq processes with hyperfine in
# one run, beside a bare process start and `ps`, and checks the targets:
#   zorq '1 + 1'                    under 2 ms
#   zorq 'name of operating system' under 2 ms
#   zorq 'names of processes'       within half the time of ps -e -o pid=,comm=
#   zorq --agent-state FILE 'status of action 42'  within 1.5x of zorq '1 + 1'
# ZORQ defaults to build/tools/zorq/zorq in the repository.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
zorq=${1:-$here/../build/tools/zorq/zorq}
if [ ! -x "$zorq" ]; then
  echo "whole-process.sh: no zorq at $zorq (build it, or pass its path)" >&2
  exit 2
fi

results=$(mktemp)
trap 'rm -f "$results"' EXIT

hyperfine --shell=none --warmup 30 --runs 300 --export-csv "$results" \
  --command-name start 'true' \
  --command-name ps 'ps -e -o pid=,comm=' \
  --command-name one-plus-one "$zorq '1 + 1'" \
  --command-name os-name "$zorq 'name of operating system'" \
  --command-name process-names "$zorq 'names of processes'" \
  --command-name agent-status "$zorq --agent-state $here/../docs/examples/agent-state.json 'status of action 42'" >&2

# Mean wall and CPU time (user + system: steadier on a busy machine) per
# command, then the verdict on each target.
awk -F, '
  NR == 1 { next }
  { wall[$1] = $2 * 1000
    printf "%-24s %8.3f ms wall %8.3f ms CPU\n", $1, $2 * 1000, ($5 + $6) * 1000 }
  END {
    printf "zorq 1 + 1 under 2 ms: %s\n", wall["one-plus-one"] < 2 ? "met" : "missed"
    printf "name of operating system under 2 ms: %s\n", wall["os-name"] < 2 ? "met" : "missed"
    printf "names of processes / ps = %.2f (target 0.5): %s\n",
           wall["process-names"] / wall["ps"],
           wall["process-names"] <= wall["ps"] / 2 ? "met" : "missed"
    printf "agent status / 1 + 1 = %.2f (target 1.5): %s\n",
           wall["agent-status"] / wall["one-plus-one"],
           wall["agent-status"] <= wall["one-plus-one"] * 1.5 ? "met" : "missed"
  }
' "$results"

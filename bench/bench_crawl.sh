#!/usr/bin/env bash
# Times a name search over a generated tree: `velmora search WORD --in T`
# beside `fdfind -u WORD T` and `find T -iname '*WORD*'`, warm cache, medians
# of several runs, and the ratios to fd. Also the crawl's peak resident
# memory on the tree and on a small part of it.
#
#   bench/bench_crawl.sh                 200,000 files in 20,000 folders
#   FILES_PER_FOLDER=5 RUNS=5 bench/bench_crawl.sh
#   TREE=/some/where WORD=report BUILD_DIR=... bench/bench_crawl.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps" --bench >/dev/null
tree=${TREE:-${TMPDIR:-/tmp}/velmora-bench-tree}
. "$root/bench/tree_setup.sh"
count_files=$(find "$tree" -type f | wc -l)
count_dirs=$(find "$tree" -type d | wc -l)
echo "tree: $tree ($count_files files, $count_dirs folders), word: $word"

# The three programs agree on the answer (velmora and find by name; fd also
# matches paths' last components the same way with -u).
v=$("$velmora" search "$word" --in "$tree" 2>/dev/null | wc -l)
f=$(find "$tree" -iname "*$word*" | wc -l)
d=$(fdfind -u "$word" "$tree" | wc -l)
echo "results: velmora $v, find $f, fd $d"

json=$(mktemp)
hyperfine --warmup 2 --runs "$runs" --export-json "$json" --style basic \
  -n velmora "$velmora search $word --in '$tree' >/dev/null 2>&1" \
  -n fd "fdfind -u '$word' '$tree' >/dev/null" \
  -n find "find '$tree' -iname '*$word*' >/dev/null" >/dev/null
python3 - "$json" <<'PY'
import json, statistics, sys
results = {r["command"]: statistics.median(r["times"]) for r in json.load(open(sys.argv[1]))["results"]}
fd = results["fd"]
print(f"{'program':10} {'median s':>10} {'ratio to fd':>12}")
for name in ("velmora", "fd", "find"):
    print(f"{name:10} {results[name]:10.3f} {results[name] / fd:12.2f}")
PY
rm -f "$json"

# Peak resident memory of the crawl on the whole tree and on one of its top
# folders (a twentieth of it): about equal when nothing grows with the tree.
peak() { /usr/bin/time -f %M "$velmora" search "$word" --in "$1" 2>&1 >/dev/null | tail -n 1 || true; }
one=$(find "$tree" -mindepth 1 -maxdepth 1 -type d -print -quit)
echo "peak resident memory: whole tree $(peak "$tree") KiB, one top folder $(peak "$one") KiB"

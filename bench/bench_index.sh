#!/usr/bin/env bash
# Times names-only indexes of a generated tree against plocate on the same
# tree, in one run, and prints the ratios:
#   - the first build (`velmora index add`) beside `updatedb` of that tree;
#   - an update of the unchanged tree beside the first build;
#   - a name query answered by the index alone (the tree moved away) beside
#     `plocate -i WORD` on its database;
#   - the size of the compacted index file.
#
#   bench/bench_index.sh                     200,000 files in 20,000 folders
#   FILES_PER_FOLDER=2 RUNS=5 bench/bench_index.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps" --bench >/dev/null
tree=${TREE:-${TMPDIR:-/tmp}/velmora-bench-index-tree}
. "$root/bench/tree_setup.sh"
echo "tree: $tree ($(find "$tree" -type f | wc -l) files, $(find "$tree" -type d | wc -l) folders), word: $word"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"; [ -d "$tree.away" ] && mv "$tree.away" "$tree"' EXIT
export VELMORA_HOME="$scratch/home"
db="$scratch/plocate.db"

seconds() { python3 -c 'import sys,time; t=time.monotonic(); import subprocess; subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL); print(f"{time.monotonic()-t:.3f}")' "$@"; }

# updatedb of plocate, limited to the tree (no PRUNE rules apply below it).
updatedb_s=$(seconds updatedb -l 0 -U "$tree" -o "$db" --prune-bind-mounts no)
add_s=$(seconds "$velmora" index add "$tree" --name Bench --updates-every never)
update_s=$(seconds "$velmora" index update Bench)
file=$("$velmora" index list --json | python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["file"])')
size=$(stat -c %s "$file")
echo "first build: velmora $add_s s, updatedb $updatedb_s s, ratio $(python3 -c "print(f'{$add_s/$updatedb_s:.2f}')")"
echo "update of the unchanged tree: $update_s s, first build / update $(python3 -c "print(f'{$add_s/$update_s:.2f}')")"
echo "compacted index: $size bytes ($(python3 -c "print(f'{$size/1048576:.1f}')") MiB)"

v=$(plocate -d "$db" -i "$word" | wc -l)
mv "$tree" "$tree.away"
i=$("$velmora" search "$word" --in "$tree" 2>/dev/null | wc -l)
echo "results: velmora through the index $i, plocate $v"
json=$(mktemp)
hyperfine --warmup 2 --runs "$runs" --export-json "$json" --style basic \
  -n velmora "$velmora search $word --in '$tree' >/dev/null 2>&1" \
  -n plocate "plocate -d '$db' -i '$word' >/dev/null" >/dev/null
mv "$tree.away" "$tree"
python3 - "$json" <<'PY'
import json, statistics, sys
results = {r["command"]: statistics.median(r["times"]) for r in json.load(open(sys.argv[1]))["results"]}
print(f"name query: velmora {results['velmora']:.3f} s, plocate {results['plocate']:.3f} s, "
      f"ratio {results['velmora'] / results['plocate']:.2f}")
PY
rm -f "$json"

# Sourced by the benchmark scripts: builds the Release velmora and generates
# the benchmark tree once per shape. Expects `root` and `tree` to be set;
# leaves `velmora`, `word`, `runs` and the tree's shape variables set.
build=${BUILD_DIR:-$root/build-bench}
word=${WORD:-report}
runs=${RUNS:-10}
tops=${TOPS:-20}
middles=${MIDDLES:-10}
leaves=${LEAVES:-100}
files=${FILES_PER_FOLDER:-10}

if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_BENCH=ON -DVELMORA_TESTS=OFF >/dev/null
fi
cmake --build "$build" --target velmora --parallel "${JOBS:-2}" >/dev/null
velmora="$build/bin/velmora"

stamp="$tops-$middles-$leaves-$files"
if [ ! -f "$tree/.generated-$stamp" ]; then
  rm -rf "$tree"
  mkdir -p "$tree"
  echo "generating $tree ..."
  python3 "$root/bench/generate_tree.py" "$tree" "$tops" "$middles" "$leaves" "$files"
  touch "$tree/.generated-$stamp"
fi

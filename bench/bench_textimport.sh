#!/usr/bin/env bash
# Times `velmora text` on a generated 100-page text PDF beside `pdftotext`
# (goal: within 1.5 times), and OCR of one 300-dpi page beside the
# `tesseract` command on the same image (goal: within 1.2 times). Medians of
# RUNS runs each (hyperfine), warm cache.
#   bench/bench_textimport.sh
#   RUNS=5 BUILD_DIR=... bench/bench_textimport.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/deps" --bench >/dev/null
build=${BUILD_DIR:-$root/build-bench}
runs=${RUNS:-10}
work=$(mktemp -d "${TMPDIR:-/tmp}/velmora-bench-text-XXXXXX")
trap 'rm -rf "$work"' EXIT
export VELMORA_HOME=$work/home

if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_BENCH=ON -DVELMORA_TESTS=OFF >/dev/null
fi
cmake --build "$build" --target velmora velmora-import --parallel "${JOBS:-2}" >/dev/null
velmora="$build/bin/velmora"

# A text PDF of 100 pages of 45 lines each, written by hand.
python3 - "$work/hundred.pdf" "$work/page.pdf" <<'PY'
import sys
def pdf(pages, size=12):
    objs = ["<< /Type /Catalog /Pages 2 0 R >>",
            "<< /Type /Pages /Kids [%s] /Count %d >>" % (" ".join("%d 0 R" % (4 + 2 * i) for i in range(len(pages))), len(pages)),
            "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
    for i, lines in enumerate(pages):
        objs.append("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 3 0 R >> >> /Contents %d 0 R >>" % (5 + 2 * i))
        s = "BT /F1 %d Tf %d TL 40 740 Td " % (size, size + 4) + " ".join("(%s) Tj T*" % l for l in lines) + " ET"
        objs.append("<< /Length %d >>\nstream\n%s\nendstream" % (len(s), s))
    out, offsets = "%PDF-1.4\n", []
    for n, o in enumerate(objs):
        offsets.append(len(out)); out += "%d 0 obj\n%s\nendobj\n" % (n + 1, o)
    x = len(out)
    out += "xref\n0 %d\n0000000000 65535 f \n" % (len(objs) + 1) + "".join("%010d 00000 n \n" % o for o in offsets)
    out += "trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objs) + 1, x)
    return out
text = "the quick brown fox jumps over the lazy dog while the quarterly budget report waits"
open(sys.argv[1], "w").write(pdf([["Page %d line %d: %s" % (p + 1, l + 1, text) for l in range(45)] for p in range(100)]))
open(sys.argv[2], "w").write(pdf([["Line %d: %s" % (l + 1, text) for l in range(30)]], 14))
PY
pdftoppm -r 300 -png -singlefile "$work/page.pdf" "$work/page"

echo "== text of a 100-page PDF"
hyperfine -N -w 2 -r "$runs" --export-json "$work/pdf.json" \
  "$velmora text $work/hundred.pdf" "pdftotext $work/hundred.pdf -" >/dev/null
echo "== OCR of one 300-dpi page"
hyperfine -N -w 1 -r "$((runs < 5 ? runs : 5))" --export-json "$work/ocr.json" \
  "$velmora text --ocr $work/page.png" "tesseract $work/page.png -" >/dev/null 2>&1

python3 - "$work/pdf.json" "$work/ocr.json" <<'PY'
import json, os, sys
label = lambda command: " ".join(os.path.basename(w) for w in command.split())
for f, goal in zip(sys.argv[1:], (1.5, 1.2)):
    r = json.load(open(f))["results"]
    ours, theirs = r[0]["median"], r[1]["median"]
    print("%-40s %8.1f ms" % (label(r[0]["command"]), ours * 1000))
    print("%-40s %8.1f ms" % (label(r[1]["command"]), theirs * 1000))
    print("ratio %.2f (goal <= %.1f)\n" % (ours / theirs, goal))
PY

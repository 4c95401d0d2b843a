# Generates TOPS x MIDDLES x LEAVES folders with FILES_PER_FOLDER empty files
# each, named from a fixed word list with a fixed seed, so that every run and
# every benchmark sees the same tree.
#   python3 bench/generate_tree.py ROOT TOPS MIDDLES LEAVES FILES_PER_FOLDER
import os, random, sys
root, tops, middles, leaves, files = sys.argv[1], *map(int, sys.argv[2:])
words = ["alpha", "budget", "notes", "report", "draft", "photo", "invoice", "summary", "letter", "plan",
         "music", "video", "backup", "scan", "minutes", "agenda", "thesis", "chart", "table", "memo"]
random.seed(7)
folders = 0
for t in range(tops):
    for m in range(middles):
        for l in range(leaves):
            d = os.path.join(root, f"{random.choice(words)}-{t}", f"{random.choice(words)}_{m}", f"leaf {l}")
            os.makedirs(d, exist_ok=True)
            folders += 1
            for f in range(files):
                name = f"{random.choice(words)} {random.choice(words)} {t}-{m}-{l}-{f}.{random.choice(['txt', 'pdf', 'jpg', 'doc'])}"
                open(os.path.join(d, name), "w").close()
print(f"{folders} leaf folders, {folders * files} files")

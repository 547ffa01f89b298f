#!/bin/bash
# The main job: a functional analysis of the bundled aravo data. Creates the
# session "aravo" from the raw files (answers in create.txt), then runs V and H
# on it (answers in analysis.txt: types from groups.txt, fuzzy types, Mantel
# correlations on Euclidean distances, all traits and OTUs, detailed results,
# a permutation test of 999 iterations with seed 20091).
# Usage: bash examples/aravo/run.sh path/to/kolven [working folder, default: the
# program's folder + /aravo]
set -eu
exe="$(cd "$(dirname "${1:-build/kolven}")" && pwd)/$(basename "${1:-build/kolven}")"
here="$(cd "$(dirname "$0")" && pwd)"
work="${2:-$(dirname "$exe")/aravo}"   # next to the program: build/aravo
mkdir -p "$work"
cp "$here"/traits.txt "$here"/community.txt "$here"/env.txt "$here"/species.txt \
   "$here"/groups.txt "$work"/
cd "$work"
# A report left by an earlier run would add a question (replace or append).
rm -f aravoPrinda.txt
LC_ALL=C "$exe" < "$here/create.txt" > create.log 2>&1
LC_ALL=C "$exe" < "$here/analysis.txt" > analysis.log 2>&1
echo
grep -E 'r\((TE|XE|XE\.T|RE|XE\.TR)\)=' aravoPrinda.txt || true
echo
echo "Report of the functional analysis: $(pwd)/aravoPrinda.txt"
echo "Console dialogues: $(pwd)/create.log and $(pwd)/analysis.log"

#!/bin/bash
# Times the trait subset search (option K) on 16 traits: the 8 traits of the
# bundled aravo data and 8 columns derived from them with a fixed seed, so
# that every size from 1 to 16 is searched (65,535 subsets). Types are the
# aravo partition (groups.txt), fuzzy; Mantel on Euclidean distances. The
# session holds a phylogeny made at benchmark time, for criterion 11.
# Each criterion runs once with the sizes 1 to 1 (16 subsets: the fixed cost
# of the session, the dialogue and the data prepared once) and once with 1 to
# 16; the difference gives the subsets per second of the search itself.
# Every run is repeated and the median taken, since the machine is shared.
# Usage: bash bench/bench_ranking.sh path/to/kolven [criteria] [threads] [repeats]
#   criteria: any of "10 1 9 16 17 11" (default "10 1 9"); threads: any of "1 2" (default both)
set -eu
exe="$(cd "$(dirname "${1:-build/kolven}")" && pwd)/$(basename "${1:-build/kolven}")"
criteria="${2:-10 1 9}"
threadsList="${3:-1 2}"
repeats="${4:-3}"
here="$(cd "$(dirname "$0")/.." && pwd)"
aravo="$here/examples/aravo"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$aravo"/community.txt "$aravo"/env.txt "$aravo"/species.txt "$aravo"/groups.txt "$work"/
cd "$work"
export LC_ALL=C

# A phylogeny of the 82 OTUs, made here from a fixed seed: each OTU takes a
# place on a line and the similarity of two OTUs is one minus their distance
# there (a full matrix of similarities in the 0-1 range).
awk 'BEGIN { srand(4711); for (i = 1; i <= 82; i++) p[i] = rand()
  for (i = 1; i <= 82; i++) { for (j = 1; j <= 82; j++) printf "%.4f ", 1 - (p[i] > p[j] ? p[i] - p[j] : p[j] - p[i]); print "" } }' \
  > phylo.txt

# 16 traits: each derived column mixes two original traits with noise drawn
# from a fixed seed; the label line follows the data.
awk -v OFS='\t' 'BEGIN { srand(20091) }
  NR <= 82 {
    for (j = 1; j <= 8; j++) v[j] = $j
    line = $0
    for (j = 1; j <= 8; j++) {
      a = v[j]; b = v[(j % 8) + 1]
      line = line OFS sprintf("%.6g", a * (0.5 + rand()) + b * rand() + rand())
    }
    print line; next }
  { printf "%s", $0; for (j = 1; j <= 8; j++) printf "\tD%d", j; print "" }' "$aravo/traits.txt" > traits.txt
sed -e 's/^aravo$/aravo16/' -e 's/^8$/16/' -e 's/^3 3 3 3 3 3 3 3$/3 3 3 3 3 3 3 3 3 3 3 3 3 3 3 3/' \
  -e '5s/^0$/1\nphylo.txt/' -e '18s/^0$/0\n2/' "$aravo/create.txt" > create.txt
"$exe" < create.txt > create.log 2>&1

prefs() {  # threads
  printf '18Nov2016\n0\n0.000000\n0.000000\n0\n0.000000\n0.000000\n1\nn\n0\n0.000000\n0.000000\n6\n2147483647\n6\nn\nn\nn\n1\n1\n0\n1\n2\n1\n%s\nSat Nov 21 08:00:00 2026\n' "$1" > KOLVEN.prf
}

answers() {  # criterion, largest size
  printf 'o\naravo16\nv\nk\n%s\n' "$1"
  if [ "$1" = 10 ]; then
    printf '1\n1\n1\n'
  elif [ "$1" = 16 ]; then
    printf 'n\nf\ngroups.txt\n1\n1\n1\n1\nn\n'
  else
    printf 'n\nf\ngroups.txt\n1\n1\n6\n1\n1\nn\n'
  fi
  printf '1\n%s\nn\n\nc\nc\nx\n' "$2"
}

run() {  # criterion, largest size -> "wall cpu" seconds
  answers "$1" "$2" > answers.txt
  local TIMEFORMAT='%R %U %S'
  { time "$exe" < answers.txt > run.log 2>&1; } 2> time.txt
  awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }' time.txt
}

median() { sort -g | awk '{ v[NR] = $0 } END { print v[int((NR + 1) / 2)] }'; }

# subsets/s is what the wall clock gives; per cpu-s what each second of
# processor time gives, which a loaded machine disturbs less.
printf '%-9s %7s %9s %9s %9s %9s %12s %12s\n' criterion threads subsets "fixed(s)" "wall(s)" "cpu(s)" \
  "subsets/s" "per cpu-s"
for c in $criteria; do
  for t in $threadsList; do
    prefs "$t"
    read -r fw fc < <(for r in $(seq "$repeats"); do run "$c" 1; done | median)
    read -r aw ac < <(for r in $(seq "$repeats"); do run "$c" 16; done | median)
    awk -v c="$c" -v t="$t" -v fw="$fw" -v fc="$fc" -v aw="$aw" -v ac="$ac" 'BEGIN {
      n = 65535 - 16; s = aw - fw; if (s <= 0) s = 1e-9; u = ac - fc; if (u <= 0) u = 1e-9
      printf "%-9s %7s %9d %9.3f %9.3f %9.3f %12.0f %12.0f\n", c, t, 65535, fw, aw, ac, n / s, n / u }'
  done
done
grep -h 'optimal subset with 16 traits' aravo16ChRank_*.txt | sed 's/^/    /' || true
echo "Load average: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) processors"

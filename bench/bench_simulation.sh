#!/bin/bash
# Times the community assembly simulation (hidden option A) with evaluation:
# data sets of 20 sites, 30 OTUs and 4 traits generated from a trait
# correlation matrix, 2 factors generated from their correlation matrix,
# 200 iterations per set, fuzzy types, Mantel tests with the given number of
# permutations (observed arrangement included), a fixed seed. Runs once on
# each number of threads given, and checks that the result files agree.
# Usage: bash bench/bench_simulation.sh path/to/kolven [sets] [permutations] [threads...]
set -eu
exe="$(cd "$(dirname "${1:-build/kolven}")" && pwd)/$(basename "${1:-build/kolven}")"
sets="${2:-100}"
permutations="${3:-99}"
shift $(( $# > 3 ? 3 : $# ))
threads="${*:-1 2}"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export LC_ALL=C

printf '1 0.3 -0.2 0.1\n0.3 1 0.25 0\n-0.2 0.25 1 0.4\n0.1 0 0.4 1\n' > tcorr.txt
printf '1 0.35\n0.35 1\n' > fcorr.txt
printf '0.8 -0.3\n0 0.6\n-0.5 0.2\n0.4 0\n' > resp.txt
printf '0.3 -0.1 0.2 0\n0 0.25 -0.15 0.1\n' > effect.txt

{
  printf 'A\n20\n30\n4\nc\ntcorr.txt\nn\nr\n-1\n-5\n0.3\n0.7\n0.05\nr\n2\nc\nfcorr.txt\nn\nn\n'
  printf 'resp.txt\neffect.txt\nr\n-1\n-5\n0.2\n0.8\nr\n-2\n-5\n0.4\n0.6\n20\n200\n0.5\ny\n%s\nk\n' "$sets"
  for i in $(seq 1 30); do printf '%d ' "$i"; done
  printf '\n1\ny\n%s\nt\n0\n2\n20261124\n1\n6\n1\n1\nn\ny\n1\n0.05\nX\n' "$permutations"
} > answers.txt

prf() {  # preferences with `threads` processors
  printf '18Nov2016\n0\n0.000000\n0.000000\n0\n0.000000\n0.000000\n1\nn\n0\n0.000000\n0.000000\n6\n2147483647\n6\nn\nn\nn\n1\n1\n0\n1\n2\n1\n%s\nThu Jan  1 00:00:00 2026\n' "$1" > KOLVEN.prf
}

first=""
for t in $threads; do
  prf "$t"
  mkdir -p "run$t"
  start=$(date +%s.%N)
  /usr/bin/time -f "%U %S" -o time.txt "$exe" < answers.txt > "run$t/stdout.txt" 2>&1
  end=$(date +%s.%N)
  read -r user sys < time.txt
  grep -v -e '^[A-Z][a-z][a-z] [A-Z][a-z][a-z] ' -e 'Elapsed time' FinalSimulatedData.txt > "run$t/report.txt"
  printf 'threads %s: wall %.2f s, cpu %.2f s\n' "$t" "$(echo "$end - $start" | bc)" "$(echo "$user + $sys" | bc)"
  if [ -z "$first" ]; then first=$t; elif ! cmp -s "run$first/report.txt" "run$t/report.txt"; then
    echo "FinalSimulatedData.txt differs between $first and $t threads"; exit 1
  fi
done
sed -n '/PROBABILITIES OF Ho/,$p' "run$first/report.txt"

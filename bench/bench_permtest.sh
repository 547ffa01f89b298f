#!/bin/bash
# Times the functional analysis with permutation tests on the bundled aravo
# data: its partition (groups.txt) as types, fuzzy types, all traits and
# OTUs, a fixed seed. Mantel on Euclidean distances uses the session as
# bundled; Procrustes and RV, which E's nominal variable excludes, use a
# second session whose six variables are declared quantitative with
# different units. Each measure runs once with 1 iteration and once with N
# (9,999 by default); the difference is the cost of the N - 1 random
# arrangements, and the larger run's report gives the probabilities.
# When Rscript with the packages vegan and ade4 is on the machine, R's
# single-statistic tests run after them on the same data, and the ratios
# of wall times are printed: vegan::protest against the Procrustes test,
# ade4::RV.rtest against the RV test, each with N permutations, on the
# community-weighted means T of all traits against the six variables of E
# (KOLVEN's r(TE)). KOLVEN_PRF names a preference file to run with (it
# sets the threads).
# Usage: bash bench/bench_permtest.sh path/to/kolven [iterations] [measures]
#   measures: any of "1 2 3" (1 Mantel, 2 Procrustes, 3 RV); default all.
set -eu
exe="$(cd "$(dirname "${1:-build/kolven}")" && pwd)/$(basename "${1:-build/kolven}")"
iterations="${2:-9999}"
measures="${3:-1 2 3}"
here="$(cd "$(dirname "$0")/.." && pwd)/examples/aravo"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here"/traits.txt "$here"/community.txt "$here"/env.txt "$here"/species.txt "$here"/groups.txt "$work"/
cd "$work"
export LC_ALL=C
if [ -n "${KOLVEN_PRF:-}" ]; then cp "$KOLVEN_PRF" KOLVEN.prf; fi

# The bundled session, and the one with quantitative variables of different
# units: the answer "5 k 3 3 2 3 4 3 y" (several types) becomes "2".
"$exe" < "$here/create.txt" > create.log 2>&1
awk 'NR == 2 { print "aravoq"; next }
     skip > 0 { skip--; next }
     $0 == "5" && !done { print "2"; skip = 3; done = 1; next }
     { print }' "$here/create.txt" > createq.txt
"$exe" < createq.txt > createq.log 2>&1

answers() {  # session, iterations, measure
  printf 'O\n%s\nv\nh\nn\nf\ngroups.txt\n1\ny\n%s\nt\n0\n2\n20091\n%s\n' "$1" "$2" "$3"
  [ "$3" = 1 ] && printf '6\n'
  printf '1\n1\nn\nn\n\nc\nc\nx\n'
}

run() {  # session, iterations, measure -> "wall cpu" seconds
  answers "$1" "$2" "$3" > answers.txt
  rm -f "$1Prinda.txt"
  local TIMEFORMAT='%R %U %S'
  { time "$exe" < answers.txt > run.log 2>&1; } 2> time.txt
  awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }' time.txt
}

names=(none Mantel Procrustes RV)
wall=(0 0 0 0)
printf '%-11s %10s %12s %12s %12s %12s\n' measure iterations "wall(1)" "cpu(1)" "wall(N)" "cpu(N)"
for m in $measures; do
  session=aravo
  [ "$m" = 1 ] || session=aravoq
  read -r w1 c1 < <(run "$session" 1 "$m")
  read -r wn cn < <(run "$session" "$iterations" "$m")
  printf '%-11s %10s %12s %12s %12s %12s\n' "${names[$m]}" "$iterations" "$w1" "$c1" "$wn" "$cn"
  wall[$m]=$wn
  grep -E 'r\((TE|XE|XE\.T|RE|XE\.TR)\)=' "${session}Prinda.txt" | sed 's/^/    /'
done
# R's single-statistic tests on the same matrices, when R has the packages.
peers() {
  cat > peers.R <<EOF
suppressMessages({ library(vegan); library(ade4) })
B <- as.matrix(read.table("traits.txt", nrows = 82))
W <- as.matrix(read.table("community.txt", nrows = 75))
E <- as.matrix(read.table("env.txt", nrows = 75))
T <- (W / rowSums(W)) %*% B
set.seed(20091)
p <- system.time(protest(T, E, permutations = $iterations))["elapsed"]
r <- system.time(RV.rtest(as.data.frame(T), as.data.frame(E), nrepet = $iterations))["elapsed"]
cat(sprintf("%.3f %.3f\\n", p, r))
EOF
  Rscript peers.R 2>/dev/null
}
if command -v Rscript >/dev/null 2>&1 && Rscript -e 'library(vegan); library(ade4)' >/dev/null 2>&1; then
  read -r tp tr < <(peers)
  for m in 2 3; do
    [ "${wall[$m]}" = 0 ] && continue
    peer=$tp what="vegan::protest"
    [ "$m" = 3 ] && peer=$tr what="ade4::RV.rtest"
    awk -v k="${wall[$m]}" -v r="$peer" -v n="$iterations" -v what="$what" -v name="${names[$m]}" \
      'BEGIN { printf "%s %s: %.3f s wall; %s test / %s = %.1f\n", what, n, r, name, what, k / r }'
  done
fi
echo "Load average: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) processors"

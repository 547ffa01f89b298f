#!/bin/bash
# Runs the fuzz targets of the readers for a given time, all at once and at
# the lowest priority, with seed corpora made from the end-to-end cases.
#   bash tests/fuzz/run_fuzz.sh BUILD_DIR SECONDS [TARGET...]
# BUILD_DIR is a build configured with CXX=clang++ -DKOLVEN_FUZZ=ON. Targets:
# fuzzFormda fuzzTrack fuzzPreferences fuzzRawData (default: all four).
# Corpora grow in BUILD_DIR/fuzz/corpus/TARGET, logs go to
# BUILD_DIR/fuzz/TARGET.log and failing inputs to BUILD_DIR/fuzz/artifacts/.
set -u
build="$(cd "$1" && pwd)"
seconds="$2"
shift 2
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(fuzzFormda fuzzTrack fuzzPreferences fuzzRawData)
src="$(cd "$(dirname "$0")/../.." && pwd)"
cases="$src/tests/e2e/cases"
work="$build/fuzz"
mkdir -p "$work/artifacts"

# Seeds: files of the cases (set-up and expected) by their kind.
seed_files() {  # $1 target corpus, $2 find pattern
  local n=0
  while IFS= read -r -d '' f; do
    n=$((n + 1)); cp "$f" "$1/seed_$n"
  done < <(find "$cases" "$src/tests/data" -type f -name "$2" -print0 | sort -z)
}

# Seeds of the raw-data dialogue: the answers of each case that formats raw
# data, from the data menu on, followed by the raw files of its set-up.
seed_raw() {  # $1 corpus
  local n=0
  for c in "$cases"/*/; do
    [ -f "$c/input" ] || continue
    sed -n 3p "$c/input" | grep -qx 1 || continue
    n=$((n + 1))
    { tail -n +3 "$c/input"
      if [ -d "$c/setup" ]; then
        for f in "$c"/setup/*; do
          case "$f" in *Formda.txt|*Trk.txt|*.prf) continue ;; esac
          [ -f "$f" ] || continue
          printf '\n==> %s\n' "$(basename "$f")"; cat "$f"
        done
      fi
    } > "$1/seed_$n"
  done
}

for t in "${targets[@]}"; do
  corpus="$work/corpus/$t"
  if [ ! -d "$corpus" ]; then
    mkdir -p "$corpus"
    case "$t" in
      fuzzFormda) seed_files "$corpus" '*Formda.txt' ;;
      fuzzTrack) seed_files "$corpus" '*Trk.txt' ;;
      fuzzPreferences) seed_files "$corpus" 'KOLVEN.prf' ;;
      fuzzRawData) seed_raw "$corpus" ;;
    esac
  fi
done

pids=()
for t in "${targets[@]}"; do
  mkdir -p "$work/artifacts/$t"
  ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 LC_ALL=C \
    nice -n 19 "$build/tests/fuzz/$t" -max_total_time="$seconds" -timeout=120 \
    -close_fd_mask=3 -print_final_stats=1 -dict="$src/tests/fuzz/kolven.dict" \
    -artifact_prefix="$work/artifacts/$t/" "$work/corpus/$t" > "$work/$t.log" 2>&1 &
  pids+=($!)
done
status=0
for k in "${!pids[@]}"; do
  wait "${pids[$k]}" || status=1
  t="${targets[$k]}"
  echo "== $t: $(grep -E '^#[0-9]+' "$work/$t.log" | tail -1)"
  grep -E 'stat::number_of_executed_units|ERROR|==ABORT|deadly signal|Test unit written' "$work/$t.log" | head -5
done
exit $status

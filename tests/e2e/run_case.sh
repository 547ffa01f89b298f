#!/bin/bash
# Runs one end-to-end case of kolven in a fresh temporary directory and
# compares standard output, standard error, exit status and every file
# written with the case's expected files.
#
# A case folder holds:
#   input            answers fed on standard input (absent: empty input)
#   setup/           files copied into the working directory before the run
#   mask             optional extended regexes, one a line; matching lines
#                    of any compared text become <MASKED>
#   progress         optional Perl regexes of progress labels, one a line: a
#                    run of such progress lines (how many appear depends on
#                    the clock) becomes one line <PROGRESS>
#   expected/stdout, expected/stderr, expected/status
#   expected/files/  every file that the run created or changed
# Lines that look like a ctime time stamp are always masked.
# With KOLVEN_UPDATE=1 the expected files are rewritten from this run.
set -u
exe="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
case_dir="$(cd "$2" && pwd)"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if [ -d "$case_dir/setup" ]; then cp -a "$case_dir/setup/." "$work/"; fi
input="$case_dir/input"
[ -f "$input" ] || input=/dev/null

(cd "$work" && LC_ALL=C timeout 250 "$exe" < "$input" > "$work/.stdout" 2> "$work/.stderr")
status=$?
echo "$status" > "$work/.status"

mask() {
  local f="$1"
  if [ -f "$case_dir/progress" ]; then
    while IFS= read -r re; do
      [ -n "$re" ] || continue
      RE="$re" perl -0pi -e 's/(?:(?:$ENV{RE}) *\n?)+/<PROGRESS>\n/g' "$f"
    done < "$case_dir/progress"
  fi
  sed -E 's/^(Mon|Tue|Wed|Thu|Fri|Sat|Sun) (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 0-9][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}$/<TIMESTAMP>/' "$f" > "$f.masked"
  if [ -f "$case_dir/mask" ]; then
    while IFS= read -r re; do
      [ -n "$re" ] || continue
      sed -E -i "s/^.*(${re}).*$/<MASKED>/" "$f.masked"
    done < "$case_dir/mask"
  fi
}

# Files the run created or changed, relative to the working directory.
written=()
while IFS= read -r -d '' f; do
  rel="${f#$work/}"
  case "$rel" in .stdout|.stderr|.status|*.masked) continue ;; esac
  if [ -f "$case_dir/setup/$rel" ] && cmp -s "$f" "$case_dir/setup/$rel"; then continue; fi
  written+=("$rel")
done < <(find "$work" -type f -print0 | sort -z)

if [ "${KOLVEN_UPDATE:-0}" = 1 ]; then
  rm -rf "$case_dir/expected"; mkdir -p "$case_dir/expected/files"
  for s in stdout stderr status; do mask "$work/.$s"; cp "$work/.$s.masked" "$case_dir/expected/$s"; done
  for rel in "${written[@]+"${written[@]}"}"; do
    mkdir -p "$(dirname "$case_dir/expected/files/$rel")"
    mask "$work/$rel"; cp "$work/$rel.masked" "$case_dir/expected/files/$rel"
  done
  echo "updated $case_dir"; exit 0
fi

fail=0
compare() {  # $1 actual file, $2 expected file, $3 what
  mask "$1"
  if [ ! -f "$2" ]; then echo "FAIL $3: not expected (written by the run)"; fail=1; return; fi
  if ! cmp -s "$1.masked" "$2"; then
    echo "FAIL $3 differs (first differences, expected vs actual):"
    diff "$2" "$1.masked" | head -20
    fail=1
  fi
}
compare "$work/.stdout" "$case_dir/expected/stdout" stdout
compare "$work/.stderr" "$case_dir/expected/stderr" stderr
compare "$work/.status" "$case_dir/expected/status" "exit status"
for rel in "${written[@]+"${written[@]}"}"; do
  compare "$work/$rel" "$case_dir/expected/files/$rel" "file $rel"
done
if [ -d "$case_dir/expected/files" ]; then
  while IFS= read -r -d '' f; do
    rel="${f#$case_dir/expected/files/}"
    [ -f "$work/$rel" ] || { echo "FAIL file $rel: expected but not written"; fail=1; }
  done < <(find "$case_dir/expected/files" -type f -print0)
fi
[ $fail = 0 ] && echo "PASS $(basename "$case_dir")"
exit $fail

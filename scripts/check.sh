#!/usr/bin/env bash
# ./dev check: what can be said of the tree without running it. Every step runs; the exit status says
# whether all of them were content.
#
#   scripts/check.sh BUILD_DIR     BUILD_DIR is configured and built
#
# KORVO_TIDY_SECONDS caps clang-tidy's time (default 2700); see scripts/tidy.py.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2
buildDir=$1
failed=()

step() {
  local name=$1 start=$SECONDS
  shift
  printf '== %s\n' "$name"
  if "$@"; then
    printf '   ok (%d s)\n' "$((SECONDS - start))"
  else
    printf '   FAILED: %s\n' "$name"
    failed+=("$name")
  fi
}

tracked() { git ls-files -z --cached --others --exclude-standard -- "$@"; }

# Formatter and linters see differently from version to version. The tree keeps to those of Debian 12;
# what later ones find is shown, and does not fail.
judge=step
advised() {
  local name=$1
  shift
  step "$name" "$@"
  if [[ ${#failed[@]} -gt 0 && ${failed[-1]} == "$name" ]]; then
    unset 'failed[-1]'
    printf '   (advice only)\n'
  fi
  return 0
}
[[ $(clang-tidy --version) =~ version\ 14\. ]] || judge=advised

formatted() { tracked '*.h' '*.cpp' | xargs -0 -r clang-format --dry-run -Werror; }

# The documents are published for other machines: they name no archive host and no folder of the
# machine that somebody happened to work on.
portable() {
  local hosts='[a-z0-9-]+\.debian\.org|registry\.[a-z]+js|files\.python'
  local folders='(^|[^[:alnum:]_.$}/])/(root|home|work|Users)/[[:alnum:]]'
  ! git grep --untracked -nIE "$hosts|$folders" -- . ':!scripts/check.sh'
}

# Blanks at line ends, conflict marks and files without a last line end.
tidyText() {
  local bad=0 file
  if git grep --untracked -nIE '^(<<<<<<<|>>>>>>>) ' -- .; then bad=1; fi
  if git grep --untracked -nIE '[[:blank:]]+$' -- '*.h' '*.cpp' '*.cmake' '*CMakeLists.txt' '*.md' '*.sh' '*.py' dev .ci .clang-*; then
    bad=1
  fi
  while IFS= read -r -d '' file; do
    if [[ -s $file && -n $(tail -c 1 "$file") ]]; then
      printf '%s: no line end at its end\n' "$file"
      bad=1
    fi
  done < <(tracked '*.h' '*.cpp' '*.cmake' '*CMakeLists.txt' '*.md' '*.sh' '*.py')
  return "$bad"
}

scripts() {
  local files
  mapfile -d '' -t files < <(tracked '*.sh' dev .ci/run)
  bash -n "${files[@]}" || return 1
  # 1091: a sourced file that is named by a variable is checked on its own.
  shellcheck --exclude=1091 "${files[@]}"
}

headersAlone() {
  # CMake makes the target when the first library declares its headers.
  [[ $(cmake --build "$buildDir" --target help) == *all_verify_interface_header_sets* ]] || return 0
  cmake --build "$buildDir" --parallel "${KORVO_JOBS:-$(nproc)}" \
    --target all_verify_interface_header_sets
}

# Every class names itself (fmTypeName) over its parent: duplInheritedMember.
cppcheckSources() {
  local roots=() root
  for root in text platform KorvoL2 agent client; do
    [[ -d $root ]] && roots+=("$root")
  done
  [[ ${#roots[@]} -eq 0 ]] && return
  mkdir -p "$buildDir/cppcheck"
  cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++20 --language=c++ -I . \
    --enable=warning,performance,portability --suppress=missingIncludeSystem \
    --suppress=normalCheckLevelMaxBranches --suppress=duplInheritedMember \
    --cppcheck-build-dir="$buildDir/cppcheck" -j "${KORVO_JOBS:-$(nproc)}" "${roots[@]}"
}

tidied() {
  cmake --preset lint >"$buildDir/lint.log" 2>&1 || { cat "$buildDir/lint.log" && return 1; }
  /usr/bin/python3 scripts/tidy.py build/lint
}

# The command that the README opens with, as it is typed: tests call only what is behind it.
demonstrated() { ./dev demo >"$buildDir/demo.log" 2>&1 || { cat "$buildDir/demo.log" && return 1; }; }

"$judge" 'formatting (clang-format)' formatted
step 'text files' tidyText
step 'no hosts, no local folders' portable
step 'scripts (bash -n, shellcheck)' scripts
step 'headers compile alone' headersAlone
step 'the demo runs (./dev demo)' demonstrated
"$judge" 'cppcheck' cppcheckSources
"$judge" 'clang-tidy' tidied

if [[ ${#failed[@]} -gt 0 ]]; then
  printf '\ncheck: failed: %s\n' "$(IFS=';' && printf '%s' "${failed[*]}")"
  exit 1
fi
printf '\ncheck: everything is in order\n'

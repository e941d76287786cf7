#!/usr/bin/env bash
# Installs the library into a temporary prefix, checks the installed layout,
# and builds and runs a small program outside the source tree against it,
# once through pkg-config and once through find_package.  ORVLSERRPATH is
# unset and the program runs in an empty directory: the text of its error
# report must come from the installed message file, found through the
# library's default search list.
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
unset ORVLSERRPATH LIB

echo "== Installing into $prefix"
cmake -S "$source_dir" -B "$work/build" -DCMAKE_INSTALL_PREFIX="$prefix" -DORVLS_TESTS=OFF >/dev/null
cmake --build "$work/build" -j2 --target orvls >/dev/null
cmake --install "$work/build" >/dev/null

fail() { echo "check_install: $*" >&2; exit 1; }
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orvls.pc)")
libdir=$(pkg-config --variable=libdir orvls)
version=$(pkg-config --modversion orvls)
for file in "$prefix/include/orvls.h" "$prefix/share/orvls/orvls_e.bin" "$prefix/share/doc/orvls/README.md" \
  "$libdir/cmake/orvls/orvlsConfig.cmake" "$libdir/liborvls.so.$version"; do
  [ -f "$file" ] || fail "$file is not installed"
done
[ "$(readlink "$libdir/liborvls.so")" = liborvls.so.${version%%.*} ] || fail "liborvls.so is not a link to the SONAME"
[ "$(readlink "$libdir/liborvls.so.${version%%.*}")" = "liborvls.so.$version" ] || fail "the SONAME is not a link"
objdump -p "$libdir/liborvls.so.$version" | grep -q "SONAME *liborvls.so.${version%%.*}$" || fail "wrong SONAME"

mkdir "$work/run"
run() { (cd "$work/run" && LD_LIBRARY_PATH=$libdir "$@") || fail "$1 failed"; }

echo "== A program built through pkg-config"
# shellcheck disable=SC2046
cc -std=c99 -Wall -Werror -o "$work/consumer_pc" "$source_dir/tests/install/consumer/consumer.c" \
  $(pkg-config --cflags --libs orvls)
run "$work/consumer_pc"

# Without the installed message file the same program must notice.
mv "$prefix/share/orvls/orvls_e.bin" "$work/orvls_e.bin"
if (cd "$work/run" && LD_LIBRARY_PATH=$libdir "$work/consumer_pc" >/dev/null 2>&1); then
  fail "the program does not tell a report without the message file"
fi
mv "$work/orvls_e.bin" "$prefix/share/orvls/orvls_e.bin"

echo "== A program built through find_package(orvls)"
cp -r "$source_dir/tests/install/consumer" "$work/consumer"
cmake -S "$work/consumer" -B "$work/consumer/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer/build" >/dev/null
run "$work/consumer/build/consumer"
echo "check_install: 2 passed, 0 failed"

#!/usr/bin/env bash
# Installs a build into a folder of its own, then builds and runs the consumer against it twice: by find_package and
# by pkg-config. The example of the README is compiled and run as it stands there.

set -euo pipefail
cmake=$1 compiler=$2 build=$3 source=$4
consumer=$source/tests/install/consumer

work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
prefix="$work/a prefix"
"$cmake" --install "$build" --prefix "$prefix" > /dev/null

awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source/README.md" > "$work/example.cpp"
grep -q 'int main' "$work/example.cpp" || { echo "README.md has no example program."; exit 1; }

echo "== find_package"
"$cmake" -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DEXAMPLE="$work/example.cpp" > /dev/null
"$cmake" --build "$work/build" > "$work/log" || { cat "$work/log"; exit 1; }
"$work/build/consumer" "$work/picture.bmp"

echo "== pkg-config"
PKG_CONFIG_PATH=$(dirname -- "$(find "$prefix" -name zrkio.pc)")
export PKG_CONFIG_PATH
# It escapes what a shell would take apart, in a way that xargs understands.
mapfile -d '' -t flags < <(pkg-config --cflags --libs zrkio | xargs printf '%s\0')
"$compiler" "$consumer/main.cpp" "${flags[@]}" -o "$work/by_pkg_config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir zrkio | xargs printf '%s')
export LD_LIBRARY_PATH
"$work/by_pkg_config" "$work/picture.bmp"

# Compilers may call a virtual function directly where they know the class, so each must be there for programs to link.
echo "== virtual functions are the library's"
library=$(find "$prefix" -name 'libzrkio.so' | head -n 1)
nm -DC --defined-only "$library" > "$work/symbols"
awk '/^(class|struct) ZRKIO_API/ { name = $3 } /^ *X_DECLARE_RUNTIME_CLASS$/ { print name }' \
  "$prefix"/include/zrkio/*.h > "$work/classes.txt"
[[ $(wc -l < "$work/classes.txt") -gt 15 ]] || { echo "The headers declare no classes."; exit 1; }
while read -r class; do
  for function in "GetRuntimeClass() const" "~$class()"; do
    grep -qF " $class::$function" "$work/symbols" ||
      { echo "$class::$function is not exported."; exit 1; }
  done
done < "$work/classes.txt"

echo "== every class, by each compiler"
real_path() { readlink -f -- "$(command -v "$1")"; }
for other in "$compiler" g++ clang++; do
  command -v "$other" > /dev/null || continue
  # The compiler of the build is mostly one of the other two, by another name.
  [[ $other == "$compiler" || $(real_path "$other") != "$(real_path "$compiler")" ]] || continue
  for level in -O0 -O2 -O3; do
    "$other" -std=c++20 "$level" "$consumer/classes.cpp" "${flags[@]}" -o "$work/classes"
    "$work/classes" > /dev/null || { echo "$other $level: not all classes are made"; exit 1; }
  done
done

echo "== the example of the README"
"$work/build/example" "$work/picture.bmp" > "$work/said"
cat "$work/said"
diff "$work/said" "$consumer/example.expected"

if [[ -d $prefix/bin ]]; then
  echo "== the installed program"
  "$prefix/bin/zrkio" --version
fi

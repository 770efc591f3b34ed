#!/usr/bin/env bash
# Fails when the shared library exports more than its API. Every dynamic symbol must be a
# part of a public class or function, named as they are (C..., Vx..., VX..., i... classes;
# the VxKd, VxKdInterface, HpvSystems and cu... namespaces; the vxkdui_ functions), and none
# may be an implementation class (Impl), a test helper, or an instance of the standard
# library. Prints the count of exported symbols.
#
#   scripts/check-exports.sh path/to/libvxkd.so
set -euo pipefail
lib="$1"

mangled=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//')
# What sanitizer builds add of their own; not the library's API and absent from releases.
mangled=$(grep -vE '^(__asan|__odr_asan|__ubsan|__sanitizer|__lsan)' <<<"$mangled" || true)
demangled=$(c++filt <<<"$mangled")
count=$(grep -c . <<<"$mangled" || true)

failed=0
report() {  # report HEADING SYMBOLS
  [ -n "$2" ] || return 0
  failed=1
  echo "$lib: $1:"
  sed 's/^/  /' <<<"$2" | head -20
}

report "implementation classes exported" "$(grep -E '(^|[^A-Za-z0-9_])Impl([^A-Za-z0-9_]|$)' <<<"$demangled" || true)"
report "test helpers exported" \
  "$(grep -E 'vxkd_test::|Recording|Faulty|Fake[A-Z]|TempFolder|TempRegistry|TempDataset' <<<"$demangled" || true)"
# A standard-library instance: std:: or __gnu_cxx:: before the parameter list, also behind a
# return type (function templates) or "typeinfo for" and the like.
report "standard-library instances exported" \
  "$(grep -E '^[^(]*(^|[ *&<,])(std|__gnu_cxx)::' <<<"$demangled" || true)"
prefix='(C[A-Z]|Vx|VX|i[A-Z]|HpvSystems::|cu[A-Z][A-Za-z]*::|vxkdui_)'
special='((typeinfo|typeinfo name|vtable|VTT|construction vtable|guard variable) for |(non-)?virtual thunk to )'
report "symbols outside the API's names exported" \
  "$(grep -vE "^${special}?${prefix}" <<<"$demangled" || true)"

echo "$lib exports $count symbols"
exit $failed

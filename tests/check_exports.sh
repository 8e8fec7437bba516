#!/usr/bin/env bash
# Holds the list of what the built library exports. Type information and virtual tables go with the classes that the
# host reaches through interfaces; what the standard library's templates leave behind is not ours.
set -u
expected=$(dirname "$0")/exported_symbols.txt
actual=$(nm -D --defined-only -C "$1" | cut -d' ' -f3- | grep -E 'ZYNE::CollaborationFwk::' | grep -vE '^(typeinfo|vtable|VTT|construction vtable|non-virtual thunk|virtual thunk|guard variable|std::|void std::|bool std::)' | sort -u)
diff -u "$expected" <(printf '%s\n' "$actual")

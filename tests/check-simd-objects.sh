#!/bin/sh
# Fails if an object file compiled with instruction-set flags defines a weak
# (shared inline) symbol that the linker could hand to portable code.
status=0
for object in "$@"; do
  case "$object" in
    *_avx*)
      shared=$(nm "$object" | grep -E ' [WVu] ')
      if [ -n "$shared" ]; then
        echo "$object defines shared code:"
        echo "$shared"
        status=1
      fi
      ;;
  esac
done
exit $status

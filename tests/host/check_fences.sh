#!/bin/bash
# Each store that begins a step or its progress is followed by a full fence: two locked exchanges, or stores with a
# fence, in each of the two functions. Argument: the host's library.
set -euo pipefail
code=$(objdump -d --no-show-raw-insn -C "$1")
for function in setNumberOfSteps setMaxProgress; do
  body=$(awk -v name="AbstractPrivateImplementation::$function(" 'index($0, name) && /^[0-9a-f]+ </ && !/@plt>/ {on=1} on {print}
    on && /^$/ {exit}' <<<"$code")
  [[ -n $body ]] || { echo "$function isn't there"; exit 1; }
  fences=$(grep -cE '\bxchg +%[a-z0-9]+,[^,]*\(|\bmfence\b|\block ' <<<"$body" || true)
  ((fences >= 2)) || { echo "$function has $fences full fences instead of 2"; echo "$body"; exit 1; }
done

#!/bin/bash
# Installs those of the named Debian packages that are missing. With none missing it takes milliseconds.
set -euo pipefail

missing=()
for package in "$@"; do
  status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed* ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || {
    echo "Missing packages, and neither root nor sudo to install them: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
echo "installing ${missing[*]} ..." >&2
quietly() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }
quietly apt-get update
quietly apt-get install -y --no-install-recommends "${missing[@]}"

#!/usr/bin/env bash
# Installs, with apt-get, the Debian packages the build and the tests need
# and the machine lacks. The packages are listed in scripts/packages/*.txt,
# one per line ('#' starts a comment); each part of the library keeps its
# own list there.
set -euo pipefail
cd "$(dirname "$0")"

wanted=()
for list in packages/*.txt; do
    while read -r package _; do
        [[ -z "$package" || "$package" == \#* ]] && continue
        wanted+=("$package")
    done <"$list"
done

missing=()
for package in "${wanted[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

if [[ $(id -u) -ne 0 ]]; then
    echo "deps.sh: missing packages: ${missing[*]} (run as root to install them)" >&2
    exit 1
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

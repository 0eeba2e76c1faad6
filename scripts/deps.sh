#!/usr/bin/env bash
# Installs, with apt-get, the Debian packages a task needs and the machine
# lacks. Usage: scripts/deps.sh <group>...   (groups: build test)
set -euo pipefail

declare -A groups
groups[build]="g++ make cmake pkgconf"
groups[test]="googletest libgtest-dev libbenchmark-dev clang libclang-rt-dev"

wanted=()
for group in "$@"; do
    if [[ -z "${groups[$group]+set}" ]]; then
        echo "deps.sh: unknown group '$group'" >&2
        exit 2
    fi
    # shellcheck disable=SC2206
    wanted+=(${groups[$group]})
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

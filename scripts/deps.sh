#!/usr/bin/env bash
# Installs, with apt-get, the Debian packages the machine lacks for one
# purpose:
#
#   scripts/deps.sh demo   building the library and the kel tool, and
#                          running "kel demo" (what scripts/demo.sh needs)
#   scripts/deps.sh test   everything: also the tests, the sanitizers, the
#                          Windows build under Wine, fuzzing, the reference
#                          documentation (the default)
#
# The packages are listed in scripts/packages/*.txt, one per line, each part
# of the library keeping its own list; '#' starts a comment. A package
# needed for the demo says so after its name ("zlib1g-dev  demo"); every
# other package is needed only by the test command.
set -euo pipefail
cd "$(dirname "$0")"

purpose=${1:-test}
case $purpose in
demo | test) ;;
*)
    echo "usage: deps.sh [demo|test]" >&2
    exit 2
    ;;
esac

wanted=()
declare -A listed=()  # several lists may name one package
for list in packages/*.txt; do
    while read -r package tag _; do
        [[ -z "$package" || "$package" == \#* ]] && continue
        [[ $purpose == demo && $tag != demo ]] && continue
        [[ -n ${listed[$package]:-} ]] && continue
        listed[$package]=1
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

#!/usr/bin/env bash
# install-deps.sh [LIST]: installs the Debian packages of LIST (default
# tools/deps.txt) that are missing. A line "a | b" is met by either package
# (b replaces a on some machines); when neither is installed, a is.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
list=${1:-"$here/deps.txt"}
installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "ok installed"
}
missing=()
while read -r line; do
  line=${line%%#*}
  [[ -z "${line// /}" ]] && continue
  IFS='|' read -r -a choices <<<"$line"
  met=false
  for pkg in "${choices[@]}"; do
    installed "${pkg// /}" && { met=true; break; }
  done
  $met || missing+=("${choices[0]// /}")
done < "$list"
[[ ${#missing[@]} -eq 0 ]] && exit 0
sudo_cmd=()
[[ $(id -u) -ne 0 ]] && sudo_cmd=(sudo)
echo "Installing: ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"

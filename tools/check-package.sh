#!/usr/bin/env bash
# check-package.sh [DEB]: checks the package that tools/package.sh built (the
# newest build/orvalis_*_amd64.deb by default): every file it must hold, the
# dependencies found in the binaries, the programs run from an unpacked copy
# (as an ordinary user when run as root), lintian without errors, the
# desktop entry and the AppStream metadata.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
deb=${1:-$(ls -t "$root"/build/orvalis_*_amd64.deb | head -1)}
"$root/tools/install-deps.sh"
fail() { echo "check-package: $*" >&2; exit 1; }
step() { echo "check-package: $*"; }

version=$(dpkg-deb -f "$deb" Version)
app_id=org.orvalis.Orvalis
step "files of $(basename "$deb")"
contents=$(dpkg-deb --contents "$deb" | awk '{print $6}' | sed 's|^\./|/|')
expected=(/usr/bin/orvalis /usr/bin/orvalis-cli /usr/bin/orvalis-balance-sim
  "/usr/share/applications/$app_id.desktop" "/usr/share/metainfo/$app_id.metainfo.xml"
  /usr/share/mime/packages/orvalis.xml
  /usr/share/doc/orvalis/manual/index.html /usr/share/doc/orvalis/copyright /usr/share/doc/orvalis/changelog.gz
  /usr/share/man/man1/orvalis.1.gz /usr/share/man/man1/orvalis-cli.1.gz /usr/share/man/man1/orvalis-balance-sim.1.gz)
for size in 16 22 24 32 48 64 128 256; do
  expected+=("/usr/share/icons/hicolor/${size}x$size/apps/$app_id.png")
done
for example in "$root"/res/examples/*; do
  expected+=("/usr/share/orvalis/examples/$(basename "$example")")
done
for file in "${expected[@]}"; do
  grep -qxF "$file" <<<"$contents" || fail "$file is not in the package"
done

step "dependencies"
depends=$(dpkg-deb -f "$deb" Depends)
for library in libc6 libqt6core6 libqt6widgets6 qt6-qpa-plugins; do
  grep -q "\b$library\b" <<<"$depends" || fail "Depends lacks $library: $depends"
done

step "programs run from an unpacked copy"
tmp=$(mktemp -d)
trap 'chmod -R u+w "$tmp"; rm -rf "$tmp"' EXIT
chmod 755 "$tmp"
dpkg -x "$deb" "$tmp/root"
home="$tmp/home"
mkdir -p "$home"
bin="$tmp/root/usr/bin"
# The programs' folder is not writable, as /usr/bin is not; root writes
# anywhere, so then the programs run as the user nobody.
chmod a-w "$bin"
as_user=()
if [[ $(id -u) -eq 0 ]]; then
  chown nobody "$home"
  as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
fi
run() { env -i PATH=/usr/bin:/bin HOME="$home" LANG=C.UTF-8 "${as_user[@]}" env "$@"; }
[[ $(run "$bin/orvalis" --version) == "orvalis $version" ]] || fail "orvalis --version: $(run "$bin/orvalis" --version)"
[[ $(run "$bin/orvalis-cli" --version) == "orvalis-cli $version" ]] || fail "orvalis-cli --version"
run "$bin/orvalis" --help | grep -q '/D<driver>' || fail "orvalis --help names no options"
run "$bin/orvalis-balance-sim" --help | grep -q -- '--interval' || fail "orvalis-balance-sim --help"
shown=$(run "$bin/orvalis-cli" show "$tmp/root/usr/share/orvalis/examples/Balance.tbb") \
  || fail "orvalis-cli show on the installed example failed"
grep -q 'Name: *"Balance"' <<<"$shown" || fail "orvalis-cli show: $shown"

# First start of the installed program (/Automation: it ends after starting
# up): the program folder is the user's data folder, the settings file is in
# the user's config folder.
run QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="$home" "$bin/orvalis" /Automation >/dev/null 2>&1 \
  || fail "the unpacked program did not start"
[[ -f "$home/.config/Orvalis/Orvalis.ini" ]] || fail "no settings file in ~/.config/Orvalis"
[[ -d "$home/.local/share/Orvalis" ]] || fail "no program folder ~/.local/share/Orvalis"

step "lintian"
lintian_log="$tmp/lintian.log"
lintian --tag-display-limit 0 "$deb" >"$lintian_log" 2>&1 || true
cat "$lintian_log"
if grep -q '^E: ' "$lintian_log"; then fail "lintian reports errors"; fi

step "desktop entry and AppStream metadata"
desktop-file-validate "$tmp/root/usr/share/applications/$app_id.desktop"
appstreamcli validate --no-net --explain "$tmp/root/usr/share/metainfo/$app_id.metainfo.xml"
step "$(basename "$deb") passed"

#!/usr/bin/env bash
# The layers include only downwards: the core (driver, comm, instrument,
# terminal, res) no widgets and nothing of a ui/ folder or app/; the shared
# widget base res/ui nothing of the other ui/ folders or app/; the windows'
# ui/ folders nothing of app/, which reaches them through CAppServices,
# CFrameServices and CDocumentFrame.
set -uo pipefail
root=$1
cd "$root" || exit 1
status=0

# Prints "file: header" for every quoted include of the files that names a
# header found in one of the folders.
includes_from() {
  local files=$1; shift
  local file header folder
  for file in $files; do
    while read -r header; do
      for folder in "$@"; do
        [[ -f "$folder/$header" ]] && echo "$file: $folder/$header"
      done
    done < <(sed -n 's/^#include "\([^"]*\)".*/\1/p' "$file")
  done
}

refuse() {
  local what=$1 found=$2
  [[ -z "$found" ]] && return
  echo "$what:"; echo "$found"; status=1
}

core=$(ls driver/*.{h,cpp} comm/*.{h,cpp} instrument/*.{h,cpp} terminal/*.{h,cpp} res/*.{h,cpp} 2>/dev/null)
windows=$(ls comm/ui/* driver/ui/* instrument/ui/* terminal/ui/*)
uifolders=(comm/ui driver/ui instrument/ui terminal/ui res/ui)

refuse "the core includes widget headers" "$(grep -l '#include <Q\(Widget\|Dialog\|MainWindow\|MdiArea\|MdiSubWindow\|Action\|Label\|PlainTextEdit\)\b' $core)"
refuse "the core includes a window's header" "$(includes_from "$core" app "${uifolders[@]}")"
refuse "res/ui includes a window's header" "$(includes_from "$(ls res/ui/*)" app comm/ui driver/ui instrument/ui terminal/ui)"
refuse "a window's ui/ folder includes app/" "$(includes_from "$windows" app)"
exit $status

#!/bin/sh
# Runs the drawing browser offscreen on a drawing and checks that it saved a
# screenshot: a PNG of the window's size. Keeps the picture when
# VANTROVE_KEEP_SCREENSHOT names a file to copy it to.
set -eu
browser=$1 drawing=$2
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
"$browser" "$drawing" --block TITLE --screenshot "$dir/browser.png"
head -c 8 "$dir/browser.png" | od -An -c | grep -q 'P   N   G'
[ "$(stat -c %s "$dir/browser.png")" -gt 10000 ]
if [ -n "${VANTROVE_KEEP_SCREENSHOT:-}" ]; then cp "$dir/browser.png" "$VANTROVE_KEEP_SCREENSHOT"; fi
"$browser" "$dir/missing.dxf" --screenshot "$dir/x.png" 2>/dev/null && exit 1
[ ! -e "$dir/x.png" ]

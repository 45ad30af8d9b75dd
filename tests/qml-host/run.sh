#!/usr/bin/env bash
# Installs the library and the dev server, starts the installed server on its installed demo
# channel and plays Host.qml in Qt's `qml` runtime at several screen sizes.
# Usage: run.sh <build dir> <qml dir inside the prefix> <work dir>
set -euo pipefail
build=$1 qmldir=$2 work=$3
here=$(cd "$(dirname "$0")" && pwd)
qml=/usr/lib/qt6/bin/qml
[ -x "$qml" ] || { echo "SKIP: Qt's qml runtime is not installed (qml-qt6; scripts/setup)"; exit 0; }

rm -rf "$work"
mkdir -p "$work/shots" "$work/config"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
# Tools know the installed module, and pkg-config the installed library.
/usr/lib/qt6/bin/qmllint -I "$work/prefix/$qmldir" "$here/Snippet.qml"
libs=$(PKG_CONFIG_PATH="$(dirname "$(find "$work/prefix" -name vantora.pc)")" pkg-config --libs vantora)
[ -e "$(echo "$libs" | sed -n 's/^-L\([^ ]*\) .*/\1/p')/libvantora.so" ] ||
  { echo "vantora.pc points elsewhere: $libs"; exit 1; }

"$work/prefix/bin/vantora-devserver" --port 0 --db "$work/dev.sqlite" >"$work/devserver.log" 2>&1 &
server=$!
trap 'kill $server 2>/dev/null || true' EXIT
for _ in $(seq 100); do
  grep -q 'VANTORA_REALTIME_URL=' "$work/devserver.log" && break
  sleep 0.1
done
grep -q "data $work/prefix/share/vantora/devserver/demo" "$work/devserver.log" ||
  { echo "the installed dev server does not serve its installed demo data:"; cat "$work/devserver.log"; exit 1; }
while IFS= read -r line; do
  line=${line#export }
  case "$line" in VANTORA_*=*) export "${line?}" ;; esac
done <"$work/devserver.log"
origin=${VANTORA_API_BASE%/userApi}

status=0
for size in 1280x720 1920x1080 3840x2160 1440x1080; do
  echo "== $size"
  # A new viewer each time, remembered in a settings folder of the test's own.
  if ! XDG_CONFIG_HOME="$work/config/$size" QT_QPA_PLATFORM=offscreen timeout 60 \
      "$qml" -I "$work/prefix/$qmldir" "$here/Host.qml" -- "$size" "$work/shots" "$origin"; then
    status=1
  fi
done
ls "$work/shots"
exit $status

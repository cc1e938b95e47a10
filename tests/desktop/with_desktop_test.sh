#!/bin/sh
# scripts/with-desktop answers the command's exit status and leaves nothing behind, whatever way things end.
#   with_desktop_test.sh PATH-OF-WITH-DESKTOP
set -u
with_desktop=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkfifo "$work/folder"
failures=0

expect() {
  [ "$2" = "$3" ] || { echo "$1: expected $3, was $2"; failures=$((failures + 1)); }
}

# Every process of a desktop has its folder in its environment.
expect_nothing_left() {
  for _ in $(seq 200); do
    left=$(grep -lsa "XDG_RUNTIME_DIR=$folder" /proc/[0-9]*/environ)
    [ -z "$left" ] && [ ! -e "${folder%/run}" ] && return
    sleep 0.1
  done
  echo "$1: left behind: $left $(ls -d "${folder%/run}")"
  failures=$((failures + 1))
}

tell='echo "$XDG_RUNTIME_DIR" >'"$work/folder"
# how it is called, the command after it has told its folder, exit status
while read -r name status command; do
  "$with_desktop" sh -c "$tell; $command" 2>/dev/null &
  read -r folder <"$work/folder"
  wait $!
  expect "$name" $? "$status"
  expect_nothing_left "$name"
done <<END
success 0 true
failure 7 exit 7
signal 139 kill -SEGV \$\$
daemon 0 setsid sleep 1000 & true
stubborn 0 (trap '' TERM HUP INT; exec sleep 1000) & true
desktop-gone 3 pkill -KILL -P \$PPID dbus-daemon; exit 3
END

for victim in script inner; do
  "$with_desktop" sh -c "$tell; exec sleep 1000" 2>/dev/null &
  script=$!
  read -r folder <"$work/folder"
  [ $victim = script ] && pid=$script || pid=$(pgrep -P $script)
  kill -KILL "$pid"
  wait $script
  expect_nothing_left "$victim killed"
done

"$with_desktop" sh -c "$tell; exec sleep 1000" &
read -r folder <"$work/folder"
kill -TERM $!
wait $!
expect "asked to end" $? 143
expect_nothing_left "asked to end"

"$with_desktop" /no/such/program 2>/dev/null
expect "no such command" $? 125

exit $failures

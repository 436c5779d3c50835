#!/usr/bin/env bash
# KDE's real file search in a private session (own HOME, own D-Bus session,
# no display): a message Baloo indexed before Tessivo was enabled, without
# its text, is found by a body word after `tessivo baloo-setup`, and still is
# after the step runs a second time.
#
#   baloo_enable_test.sh TESSIVO MAKE_MESSAGES PLUGIN_PATH FAKE_POWER_MANAGEMENT [SANITIZERS]
#
# Exits 77 (skipped) when Baloo's programs are missing or the build is
# instrumented (Baloo cannot load a sanitizer build of the plug-in).
set -euo pipefail
tessivo=$1 make_messages=$2 plugin_path=$3 fake_power=$4 sanitizers=${5:-}

if [ -n "$sanitizers" ]; then
  echo "skipped: a $sanitizers build of the plug-in cannot be loaded by Baloo"
  exit 77
fi
for program in dbus-run-session baloo_file balooctl balooshow baloosearch update-mime-database; do
  command -v "$program" > /dev/null || { echo "skipped: $program is not installed (baloo-kf5, shared-mime-info)"; exit 77; }
done
if [ -z "${TESSIVO_BALOO_SESSION:-}" ]; then
  TESSIVO_BALOO_SESSION=1 exec dbus-run-session -- "$0" "$@"
fi

home=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2> /dev/null || true; done
  wait 2> /dev/null || true
  rm -rf "$home"
}
trap cleanup EXIT
export HOME=$home XDG_DATA_HOME=$home/.local/share XDG_CONFIG_HOME=$home/.config XDG_CACHE_HOME=$home/.cache
export XDG_RUNTIME_DIR=$home/run QT_QPA_PLATFORM=offscreen QT_PLUGIN_PATH=$plugin_path
# A session whose data folders leave out /usr/local/share: the enable step must not depend on it.
export XDG_DATA_DIRS=/usr/share
mkdir -p "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[Basic Settings]\nIndexing-Enabled=true\n' > "$XDG_CONFIG_HOME/baloofilerc"
"$make_messages" "$home/mail" 1
message=$home/mail/folder0/message0.msg   # its body: "message 0 tessivo0"

fail() {
  echo "FAILED: $*"
  balooctl status 2>&1 || true
  balooshow -x "$message" 2>&1 || true
  exit 1
}

# Polls the condition (a command) every 0.3 s for up to 60 s.
wait_for() {
  for _ in $(seq 200); do
    if "$@"; then return 0; fi
    sleep 0.3
  done
  return 1
}
idle_with_message_indexed() {
  balooshow -x "$message" 2> /dev/null | grep -q '^Terms:' &&
    balooctl status 2> /dev/null | grep -q 'Indexer state: Idle' &&
    balooctl status 2> /dev/null | grep -q 'waiting for content indexing: 0'
}
found() { baloosearch tessivo0 2> /dev/null | grep -qx "$message"; }

"$fake_power" 2> /dev/null &
pids+=($!)
baloo_file 2> /dev/null &
pids+=($!)

wait_for idle_with_message_indexed || fail "Baloo did not index the message"
found && fail "found before the enable step: the test does not start from a textless entry"
echo "indexed by Baloo without its text"

"$tessivo" baloo-setup "$home/mail" || fail "baloo-setup failed"
wait_for found || fail "not found by its body word after baloo-setup"
echo "found by its body word after baloo-setup"
balooshow "$message" 2> /dev/null | grep -q 'Title: Message for the search hosts' ||
  fail "balooshow does not show the subject as the title"

"$tessivo" baloo-setup "$home/mail" || fail "baloo-setup failed the second time"
wait_for found || fail "not found by its body word after a second baloo-setup"
wait_for idle_with_message_indexed || fail "Baloo did not settle after a second baloo-setup"
found || fail "the body words were lost once Baloo settled"
echo "still found after a second baloo-setup"

#!/usr/bin/env bash
# vornsh records its own session (`record FILE`, the recorder linked in ahead of
# libvornlcapi) and vorn-replay replays the file onto a fresh reference host
# with every result and output matching.  Also: the recording's options come
# from the environment, a bad one is refused with no file made, and a
# recording VORN_RECORD started is the one `record` reports and stops.
# Usage: record_replay.sh VORN_REPLAY [EMULATOR...] VORNSH
# (the emulator, when cross-built, runs both programs)
set -uo pipefail
replay_program=$1
shift
vornsh=("$@")
replay=("${@:1:$#-1}" "$replay_program")
passed=0
failed=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
unset VORN_RECORD VORN_RECORD_MAX_BYTES VORN_RECORD_KEEP VORN_RECORD_GETTERS VORN_RECORD_PACKETS

expect() {
  local what=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
  else
    echo "FAILED: $what"
    failed=$((failed + 1))
  fi
}

size_of() { stat -c %s "$1" 2>/dev/null || echo missing; }

# A short session from a card not yet up (the recording starts before the
# library's init, as a replay does): a VLAN, a PVID set and read back, a
# cable pulled and plugged while the shell's callbacks listen.
said=$("${vornsh[@]}" --no-init - 2>&1 <<'SESSION'
record session.rec
init
callbacks on
vlan create 10
vlan add 10 - 1/1/3
set_port_pvid 1/1/3 10
get_port_pvid 1/1/3
link 1/1/2 down
link 1/1/2 up
record off
SESSION
)
status=$?
echo "$said"
size=$(size_of session.rec)
expect "the session runs (exit $status)" test "$status" -eq 0
expect "record says where it records" grep -qx 'recording to session.rec' <<<"$said"
expect "record off says the file's size ($size bytes)" grep -qx "recorded $size bytes to session.rec" <<<"$said"

printed=$("${replay[@]}" --print session.rec 2>&1)
echo "$printed"
for recorded in vorn_lcmgr_api_init vorn_create_vlan vorn_set_port_pvid vorn_get_port_pvid vorn_register_link_change_callback; do
  expect "the recording holds $recorded" grep -q "$recorded" <<<"$printed"
done
expect "the recording holds the link changes" test "$(grep -c -i 'link' <<<"$printed")" -ge 3

replayed=$("${replay[@]}" session.rec 2>&1)
status=$?
echo "$replayed"
expect "vorn-replay session.rec matches every call (exit $status)" test "$status" -eq 0

# A bad option is refused by name, and no file is made.
said=$(VORN_RECORD_KEEP=x "${vornsh[@]}" - <<<"record refused.rec" 2>&1)
status=$?
echo "$said"
expect "a bad VORN_RECORD_KEEP is refused (exit $status)" test "$status" -eq 2
expect "the refusal names VORN_RECORD_KEEP=x" grep -q 'record: .*VORN_RECORD_KEEP=x' <<<"$said"
expect "a refused recording makes no file" test ! -e refused.rec

# A recording started with the process is reported, kept and stopped.
said=$(VORN_RECORD=started.rec "${vornsh[@]}" --keep-going - 2>&1 <<'SESSION'
record
record other.rec
record off
record
SESSION
)
echo "$said"
size=$(size_of started.rec)
expect "record reports VORN_RECORD's file" grep -qx 'recording to started.rec' <<<"$said"
expect "a second recording is refused" grep -q "record: already recording to started.rec" <<<"$said"
expect "record off stops VORN_RECORD's recording ($size bytes)" grep -qx "recorded $size bytes to started.rec" <<<"$said"
expect "after record off, not recording" test "$(tail -n 1 <<<"$said")" = "not recording"
expect "the refused file is not made" test ! -e other.rec

echo "record and replay: $passed passed, $failed failed"
if [[ $failed -gt 0 ]]; then echo "[  FAILED  ] $failed tests, listed above"; fi
echo "[  PASSED  ] $passed tests."
[[ $failed -eq 0 ]]

#!/bin/bash
# The LLDP example agent against Debian's lldpd.  The agent's port 1/1/3 is a
# TAP in network namespace "peer", where lldpd runs on it; each side must list
# the other as its neighbour; the link going down, and then lldpd's shutdown,
# must make the agent forget it at once; SIGTERM must end the agent cleanly.
#
# Everything lives in namespaces of the test's own (network, mount, UTS, PID),
# so that nothing outlives a failed run: whatever ends the test's shell, the
# first process of the PID namespace, ends lldpd and the agent too.  /run is
# a fresh tmpfs there (for /run/netns and lldpd's own files).  Without root, unshare or lldpd the test
# skips, or fails when CI=true.
#
# Usage: lldp_test.sh PATH-TO-vorn_lldp_agent
set -u

agent=${1:?usage: lldp_test.sh PATH-TO-vorn_lldp_agent}
deadline_seconds=30

# --- Outside: check what the test needs, then run again in new namespaces.
unavailable()
{
    echo "lldp_test: $1"
    if [ "${CI:-}" = true ]; then
        echo "[  FAILED  ] 1 test, listed below:"
        echo "[  FAILED  ] LldpAgentAgainstLldpd.Environment ($1)"
        exit 1
    fi
    echo "lldp_test: SKIPPED (set CI=true to make this a failure)"
    echo "[  PASSED  ] 0 tests."
    exit 0
}

if [ -z "${VORN_LLDP_TEST_NAMESPACES:-}" ]; then
    [ -x "$agent" ] || { echo "lldp_test: $agent is not an executable"; exit 1; }
    for tool in unshare ip lldpd lldpcli mount hostname; do
        PATH=$PATH:/usr/sbin:/sbin command -v "$tool" >/dev/null || unavailable "$tool is not installed"
    done
    [ "$(id -u)" = 0 ] || unavailable "needs root (network namespaces, a TAP, lldpd)"
    [ -c /dev/net/tun ] || unavailable "no /dev/net/tun"
    namespaces=(--net --mount --uts --pid --fork --kill-child --mount-proc --propagation private)
    why=$(unshare "${namespaces[@]}" true 2>&1) || unavailable "cannot create namespaces: $why"
    VORN_LLDP_TEST_NAMESPACES=1 exec unshare "${namespaces[@]}" bash "$0" "$@"
fi

# --- Inside the test's namespaces.
export PATH=$PATH:/usr/sbin:/sbin
agent_pid=
lldpd_pid=
cleanup()
{
    for pid in $lldpd_pid $agent_pid; do kill "$pid" 2>/dev/null; done
    for pid in $lldpd_pid $agent_pid; do wait "$pid" 2>/dev/null; done
}
trap cleanup EXIT

passed=()
failed=()
# check NAME COMMAND...: one case, counted in the summary.
check()
{
    local name=$1
    shift
    echo "[ RUN      ] LldpAgentAgainstLldpd.$name"
    if "$@"; then
        echo "[       OK ] LldpAgentAgainstLldpd.$name"
        passed+=("$name")
    else
        echo "[  FAILED  ] LldpAgentAgainstLldpd.$name"
        failed+=("$name")
    fi
}

summary()
{
    echo "[  PASSED  ] ${#passed[@]} tests."
    if [ ${#failed[@]} -gt 0 ]; then
        echo "[  FAILED  ] ${#failed[@]} tests, listed below:"
        for name in "${failed[@]}"; do echo "[  FAILED  ] LldpAgentAgainstLldpd.$name"; done
        return 1
    fi
}

# poll SECONDS COMMAND...: true as soon as the command succeeds, false when
# the time is up.
poll()
{
    local end=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $end ] || return 1
        sleep 0.2
    done
}

show_logs()
{
    for file in agent.out agent.err lldpd.log neighbors; do
        [ -s "$work/$file" ] && { echo "--- $file"; cat "$work/$file"; }
    done
    return 0
}

running() { kill -0 "$1" 2>/dev/null; }
in_peer() { ip netns exec peer "$@"; }
lldpcli_peer() { in_peer lldpcli -u "$work/lldpd.sock" "$@"; }

# The test's files, on the tmpfs that goes with the mount namespace.  lldpd
# runs lldpcli unprivileged, and it must reach the control socket.
work=/run/lldp-test
mount -t tmpfs tmpfs /run && mkdir -p /run/netns /run/lldpd $work && chmod 755 $work ||
    { echo "lldp_test: cannot mount a tmpfs on /run"; exit 1; }

# The topology: the agent's card with port 1/1/3 on TAP vt1 in "peer".
hostname peer
ip link set lo up
ip netns add peer || { echo "lldp_test: ip netns add peer failed"; exit 1; }
: >"$work/lldpd.conf"

agent_mac=02:00:00:00:00:2a
"$agent" --interval 1 --system-name vorn-switch --chassis-mac $agent_mac 1/1/3=tap:vt1@peer \
    >"$work/agent.out" 2>"$work/agent.err" &
agent_pid=$!
tap_up() { running "$agent_pid" && in_peer ip link set vt1 up 2>/dev/null; }
if ! poll $deadline_seconds tap_up; then
    echo "lldp_test: the agent did not create vt1 in namespace peer"
    show_logs
    check AgentStarts false
    summary
    exit 1
fi
peer_mac=$(ip -n peer link show vt1 | awk '/link\/ether/ { print $2 }')

ip netns exec peer lldpd -d -u "$work/lldpd.sock" -I vt1 -O "$work/lldpd.conf" >"$work/lldpd.log" 2>&1 &
lldpd_pid=$!
lldpd_answers() { running "$lldpd_pid" && lldpcli_peer show configuration >/dev/null 2>&1; }
if ! poll $deadline_seconds lldpd_answers; then
    echo "lldp_test: lldpd did not answer on its control socket"
    show_logs
    check LldpdStarts false
    summary
    exit 1
fi
lldpcli_peer configure lldp tx-interval 1 >/dev/null
lldpcli_peer configure system hostname peer >/dev/null

# Both neighbour listings, in the one deadline.
agent_line="neighbour 1/1/3: chassis $peer_mac port $peer_mac description \"vt1\" system \"peer\""
agent_hears_lldpd() { grep -qxF "$agent_line" "$work/agent.out"; }
lldpd_hears_agent()
{
    lldpcli_peer show neighbors -f keyvalue >"$work/neighbors" 2>&1 &&
        grep -qxF "lldp.vt1.chassis.mac=$agent_mac" "$work/neighbors" &&
        grep -qxF "lldp.vt1.chassis.name=vorn-switch" "$work/neighbors" &&
        grep -qxF "lldp.vt1.port.ifname=1/1/3" "$work/neighbors" &&
        grep -qxF "lldp.vt1.port.descr=port 1/1/3" "$work/neighbors"
}
both_hear() { agent_hears_lldpd && lldpd_hears_agent; }
poll $deadline_seconds both_hear
check AgentListsLldpdAsItsNeighbour agent_hears_lldpd
check LldpdListsTheAgentAsItsNeighbour lldpd_hears_agent
echo "lldpd's neighbours:"
cat "$work/neighbors"

# vt1 down in the peer: the port's link goes down and what it heard is
# forgotten; up again: lldpd is heard again.
gone_line() { echo "neighbour gone 1/1/3: chassis $peer_mac port $peer_mac .* ($1)"; }
forgotten_on_link_down() { grep -qx "$(gone_line 'link down')" "$work/agent.out"; }
heard_twice() { [ "$(grep -cxF "$agent_line" "$work/agent.out")" = 2 ]; }
in_peer ip link set vt1 down
check AgentForgetsLldpdWhenTheLinkGoesDown poll $deadline_seconds forgotten_on_link_down
in_peer ip link set vt1 up
check AgentHearsLldpdWhenTheLinkComesBack poll $deadline_seconds heard_twice

# lldpd's shutdown LLDPDU (time to live 0) on SIGTERM: forgotten at once,
# long before the 120 s lldpd's neighbours live.
kill -TERM "$lldpd_pid"
wait "$lldpd_pid"
lldpd_pid=
forgotten() { grep -qx "$(gone_line 'shut down')" "$work/agent.out"; }
check AgentForgetsLldpdOnItsShutdown poll 10 forgotten

# SIGTERM ends the agent's serve loop: it exits 0, and its TAP is gone.
kill -TERM "$agent_pid"
stopped() { ! running "$agent_pid"; }
ended_cleanly()
{
    poll $deadline_seconds stopped || return 1
    wait "$agent_pid"
    local status=$?
    agent_pid=
    [ $status = 0 ] || { echo "the agent exited with status $status"; return 1; }
    ! ip -n peer link show vt1 >/dev/null 2>&1 || { echo "vt1 outlived the agent"; return 1; }
}
check AgentEndsOnSigterm ended_cleanly

echo "the agent's neighbours:"
cat "$work/agent.out"
[ ${#failed[@]} = 0 ] || show_logs
summary

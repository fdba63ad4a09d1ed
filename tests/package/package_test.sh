#!/usr/bin/env bash
# Installs the package into a root of its own, runs its daemon there as the package's user and in a network namespace of
# its own, reads a posted report through the API, and purges the package: nothing may be left. Usage: package_test.sh DEB.
# Ends with 77, which counts as skipped, where there is no package or this user may not do it.
set -euo pipefail

if [[ ! -f ${1-} ]]; then
    echo "There is no package ${1-}; ./dev package builds it." >&2
    exit 77
fi
if ((EUID != 0)); then
    echo 'Only root can install a package and make a network namespace.' >&2
    exit 77
fi
if [[ -z ${insideNamespaces-} ]]; then
    insideNamespaces=yes exec unshare --net --pid --fork --kill-child --mount-proc "$0" "$(realpath "$1")"
fi

export PATH=$PATH:/usr/sbin:/sbin
readonly package=$1 patienceSeconds=30
readonly document='{"structured": {"name": "package.check", "time": "2024-03-05T14:07:09Z", "status": 1}, "unstructured": {}}'
folder=$(mktemp -d "${TMPDIR:-/tmp}/sentrel-package-XXXXXX")
readonly folder root=$folder/root
trap 'rm -rf -- "$folder"' EXIT

fail() {
    printf 'package_test: %s\n' "$1" >&2
    exit 1
}

# expect WHAT WANTED FOUND
expect() {
    [[ $2 == "$3" ]] || fail "$1 is \"$3\", not \"$2\""
}

# With a file of others in each directory that a host has anyway.
make_root() {
    local directory
    chmod 0755 "$folder"
    for directory in etc/systemd/system usr var/lib/prometheus/node-exporter var/lib/systemd var/log; do
        mkdir -p "$root/$directory"
        touch "$root/$directory/of-others"
    done
    mkdir -p "$root"/var/lib/dpkg/{info,updates}
    touch "$root/var/lib/dpkg/status"
    echo 'root:x:0:0:root:/root:/bin/sh' >"$root/etc/passwd"
    echo 'root:x:0:' >"$root/etc/group"
}

# What is below the root, but for the books of dpkg and what every change of the users leaves.
list_root() {
    (cd "$root" && find . -path ./var/lib/dpkg -prune -o -print | grep -Ev '^./etc/(passwd-|group-|g?shadow-?|\.pwd\.lock)$' |
        sort)
}

run_dpkg() {
    local output
    output=$(dpkg --root="$root" --force-script-chrootless --force-depends --log=/dev/null "$@" 2>&1) ||
        fail "dpkg $* failed: $output"
    [[ $output != *'sentrel:'*'there is no key'* ]] || fail "a maintainer script complains: $output"
}

id_of() {
    awk -F: -v name="$2" '$1 == name { print $3 }' "$root/etc/$1"
}

# owned PATH: mode and owner.
owned() {
    stat --format '%a %u %g' "$root/$1"
}

check_installed() {
    expect 'the owner of the reports' "750 $user $group" "$(owned var/lib/korvex/sentrel/reports)"
    expect 'the owner of the audit log' "750 $user $group" "$(owned var/log/korvex)"
    expect 'the owner of the signing key' '600 0 0' "$(owned var/lib/korvex/oru/token/signing-key.json)"
    expect 'the owner of its directory' '700 0 0' "$(owned var/lib/korvex/oru/token)"
    [[ -L $root/etc/systemd/system/multi-user.target.wants/sentrel.service ]] || fail 'the daemon is not enabled'
    [[ ! -e $root/etc/systemd/system/timers.target.wants/sentrel-metrics.timer ]] || fail 'the timer is enabled'
    systemd-analyze security --offline=true --threshold=25 --root="$root" sentrel.service >"$folder/exposure" ||
        fail "the unit is exposed more than it says: $(tail -n 1 "$folder/exposure")"
}

# As the unit does it, without the service manager. Returns when the API is served.
start_daemon() {
    local line
    coproc daemon {
        exec env -i SENTREL_ROOT="$root" setpriv --reuid "$user" --regid "$group" --clear-groups --no-new-privs \
            --bounding-set=-all "$root/usr/sbin/sentrel" -r "$root/var/lib/korvex/sentrel/reports" 2>&1
    }
    until [[ ${line-} == *'quon endpoint started at 9984'* ]]; do
        read -r -t "$patienceSeconds" -u "${daemon[0]}" line || fail "the daemon does not start; it said last: ${line-}"
    done
}

check_report() {
    local answer
    answer=$(curl --silent --noproxy '*' --max-time "$patienceSeconds" --output /dev/null --write-out '%{http_code}' \
        --header 'Content-Type: application/json' --data "$document" http://localhost:9996/package.check)
    expect 'the answer to a report' 200 "$answer"
    mount --bind "$root/etc/passwd" /etc/passwd # the tool sends its token only to root and to the user sentrel
    answer=$("$root/usr/bin/sentrelctl" --root "$root" list --json)
    [[ $answer == *'"package.check"'*'"WARNING"'* || $answer == *'"WARNING"'*'"package.check"'* ]] ||
        fail "the listing lacks the report: $answer"
    expect 'the owner of a report' "640 $user $group" "$(owned var/lib/korvex/sentrel/reports/package.check-0.json)"
    expect 'the owner of the audit log' "640 $user $group" "$(owned var/log/korvex/audit.jsonl)"
}

stop_daemon() {
    # shellcheck disable=SC2154 # coproc sets it
    local process=$daemon_PID status=0
    kill -TERM "$process"
    wait "$process" || status=$?
    expect 'the status of the daemon' 0 "$status"
}

make_root
list_root >"$folder/before"
ip link set lo up
run_dpkg --install "$package"
user=$(id_of passwd sentrel)
group=$(id_of group korvex)
check_installed
start_daemon
check_report
stop_daemon
echo '{"http_port": 9997}' >"$root/etc/korvex/tabulon/oru/health/sentrel.json"
touch "$root/var/lib/prometheus/node-exporter/sentrel.prom"
run_dpkg --remove sentrel
[[ ! -e $root/var/lib/prometheus/node-exporter/sentrel.prom ]] || fail 'removing the package leaves its metrics'
[[ -s $root/var/lib/korvex/sentrel/reports/package.check.json ]] || fail 'removing the package took the reports away'
run_dpkg --purge sentrel
list_root | diff "$folder/before" - || fail 'purging the package leaves or takes away what the lines above name'
expect 'the user of the package' '' "$(id_of passwd sentrel)$(id_of group korvex)"

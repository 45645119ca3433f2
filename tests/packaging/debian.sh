#!/bin/bash
# debian.sh BUILD: builds the packages, then installs, runs, upgrades and purges them in a private root.
# shellcheck disable=SC2016 # texts in single quotes are for other shells
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout"

if [ "${VESK_PRIVATE_ROOT:-}" != 1 ]; then
    scripts/package --from "$build" --to "$build/package" >"$build/package.log" 2>&1 || { cat "$build/package.log" >&2; exit 1; }
    # What the packages need from outside, in the versions of this machine, for a package database of their own.
    for deb in "$build"/package/*.deb; do
        dpkg-deb -f "$deb" Depends | tr ',' '\n' | awk -v native="$(dpkg --print-architecture)" 'NF && $1 !~ /^vesk/ { print $1 ":" native }'
    done | sort -u | xargs dpkg-query -W -f 'Package: ${Package}\nStatus: install ok installed\nVersion: ${Version}\nArchitecture: ${Architecture}\nMaintainer: x\nDescription: x\n\n' >"$build/package/outside"
    scripts/private-root --build "$build" "$checkout/tests/packaging/debian.sh" "$build"
    exit
fi

root=$scratch/root
real=$(echo "$build"/package/vesk-nl80211_*.deb)
mapfile -t debs < <(printf '%s\n' "$build"/package/*.deb | grep -v nl80211) # it takes vesk-sim's place, later

# dpkg works on a root of its own; the maintainer scripts run with DPKG_ROOT. Root may not exist in here.
export FAKEROOTDONTTRYCHOWN=1
package() { fakeroot dpkg --root="$root" --force-script-chrootless --log=/dev/null "$@" >"$scratch/dpkg.out" 2>&1; }
state() { dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Status} ${Version}' "$1" 2>/dev/null || true; }
stop_daemon() { kill "$daemon"; wait "$daemon" || wrong 'the daemon did not end in good order'; }
expect() { "${@:2}" || { cat "$scratch/dpkg.out" >&2; wrong "$1"; }; }
within() { # SECONDS COMMAND...
    local deadline=$((SECONDS + $1))
    until "${@:2}"; do
        [ "$SECONDS" -lt "$deadline" ] || return 1
        sleep 0.1
    done
}

mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/tmp"
cp "$build/package/outside" "$root/var/lib/dpkg/status"
sed -n 's/^Package: //p' "$build/package/outside" | while read -r name; do
    touch "$root/var/lib/dpkg/info/$name.list"
done

# Without a device's libraries the daemon is installed all the same, and its service tells what is missing.
check_platform() { sed "s|/usr/sbin|$root&|" "$root/usr/libexec/vesk/platform-check" | sh 2>&1; }
expect 'the daemon alone' package -i "$build"/package/vesk{,-bus}_*.deb
[ "$(check_platform | grep -oE 'lib[a-z]+\.so' | xargs)" = 'libhul.so librilk.so' ] || wrong "missing: $(check_platform)"
expect 'the daemon alone, purged' package --purge vesk vesk-bus

# The layout before vesk-bus: its files in vesk-sim. The upgrade moves them.
old=$scratch/old
mkdir "$old"
for name in vesk vesk-sim vesk-bus; do
    dpkg-deb -x "$build/package/$name"_*.deb "$old/${name/bus/sim}"
done
old_package() { # NAME RELATIONS
    mkdir "$old/$1/DEBIAN"
    printf 'Package: %s\nVersion: 1.4.3\nArchitecture: %s\nMaintainer: x\nDescription: x\n%b\n' "$1" \
        "$(dpkg --print-architecture)" "$2" >"$old/$1/DEBIAN/control"
    fakeroot dpkg-deb -b "$old/$1" "$old/$1.deb" >/dev/null
}
old_package vesk 'Depends: vesk-sim (= 1.4.3) | vesk-platform'
old_package vesk-sim 'Provides: vesk-bus, vesk-platform\nConflicts: vesk-bus, vesk-platform'
expect 'the former layout' package -i "$old"/*.deb
expect 'upgrade from the former layout' package --auto-deconfigure -i "${debs[@]}"
for package in vesk vesk-bus vesk-sim vesk-dev veskctl; do
    [[ $(state $package) == 'installed 1.4.3+2' ]] || wrong "$package after the upgrade: $(state $package)"
done
[ "$(dpkg-query --admindir="$root/var/lib/dpkg" -S /usr/lib/vesk/libubus.so)" = 'vesk-bus: /usr/lib/vesk/libubus.so' ] ||
    wrong 'vesk-bus has no libubus.so'
[ -z "$(check_platform)" ] || wrong "with all packages: $(check_platform)"
[ -d "$root/configs" ] || wrong 'the daemon has no folder for its configuration'
[ ! -e "$root/etc/systemd/system/timers.target.wants/vesk-metrics.timer" ] || wrong 'the timer is on unasked'
[ -L "$root/etc/systemd/system/multi-user.target.wants/vesk.service" ] || wrong 'the service is not enabled'
systemd-analyze verify --man=no --recursive-errors=no --root="$root" vesk.service vesk-busd.service \
    vesk-metrics.service vesk-metrics.timer || wrong 'unit files'

# The installed programs, with the search path of the unit; their libraries come from this root.
PATH=$root/usr/lib/vesk:$root/usr/sbin:$root/usr/bin:/usr/sbin:/usr/bin:/sbin:/bin
cp "$root/tmp/kor-product-cfg.json" /tmp/
vesk-busd &
vesk 2>/dev/null &
daemon=$!
within 60 bash -c '[ "$(veskctl version 2>/dev/null)" = "vesk 1.4.3" ]' || wrong 'the installed daemon does not answer'
grep -q "$root/usr/lib/vesk/librilk.so" "/proc/$daemon/maps" || wrong 'the libraries come from elsewhere'
within 60 test -p /tmp/drelm.in || wrong 'the daemon did not start its sibling'

# The example of the guide is a sender of events.
sed -n '/^```c$/,/^```$/{/^```/!p}' docs/guide.md >"$scratch/event.c"
cc -Wall -Wextra -Wpedantic -Werror -o "$scratch/event" "$scratch/event.c" || wrong "the guide's example"
veskctl watch >"$scratch/signals" &
within 60 bash -c '"$0/event" && grep -q "veskClientLeave .*mac=02:5e:70:00:00:01" "$0/signals"' "$scratch" || wrong "the guide's example sends no event"

# The example of a vendor's library, with the headers of vesk-dev: its country shows.
c++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -shared -fPIC -I"$root/usr/include/vesk" -o "$scratch/libhul.so" \
    "$root/usr/share/doc/vesk-dev/examples/hul.cpp" || wrong "the example of a vendor's library"
stop_daemon
LD_LIBRARY_PATH=$scratch vesk 2>/dev/null &
daemon=$!
within 60 bash -c 'veskctl radios 2>/dev/null | grep -q " AT "' || wrong "the example's country isn't in force"

# What the timer runs. Its folder is the service manager's to make.
mkdir /tmp/lib
while read -r command; do
    ${command/\/var\/lib/\/tmp\/lib} || wrong "$command"
done < <(sed -n 's|^ExecStart=/usr/bin/||p' "$root/lib/systemd/system/vesk-metrics.service" | sed 's|/vesk/|/|')
grep -q '^vesk_up 1' /tmp/lib/vesk.prom || wrong 'no metrics'
[ -s /tmp/lib/report.html ] || wrong 'no report'

# Real radios in the simulated ones' place: their files give way, and the daemon says that there are none here. And back.
stop_daemon
! package -i "$real" || wrong 'vesk-sim and vesk-nl80211 side by side'
expect 'without the simulated device' package --remove vesk-sim
expect 'real radios' package -i "$real"
[ ! -e "$root/tmp/kor-product-cfg.json" ] || wrong "the simulated device's product file is left, and goes first"
grep -q 'run vesk-setup' "$scratch/dpkg.out" || wrong 'nothing tells of vesk-setup'
[ -z "$(check_platform)" ] || wrong "with real radios: $(check_platform)"
systemd-analyze verify --man=no --recursive-errors=no --root="$root" vesk.service || wrong 'the drop-in'
if [ ! -e /sys/module/cfg80211 ]; then
    vesk 2>"$scratch/vesk.err" &
    daemon=$!
    within 60 grep -q 'no nl80211' "$scratch/vesk.err" || wrong "without radios: $(<"$scratch/vesk.err")"
    within 60 veskctl version >/dev/null 2>&1 || wrong 'the daemon without radios does not answer'
    ! vesk-setup 2>"$scratch/vesk.err" && grep -q 'no nl80211' "$scratch/vesk.err" || wrong 'vesk-setup without radios'
    ! vesk-radio-check >"$scratch/vesk.err" 2>&1 || wrong 'vesk-radio-check without radios'
    kill "$daemon"
fi
! ldd "$root/usr/sbin/vesk-radio-check" | grep 'not found' || wrong 'vesk-radio-check lacks a library'
expect 'without real radios' package --remove vesk-nl80211
expect 'the simulated device again' package -i "$build"/package/vesk-sim_*.deb
mkdir -p "$root/usr/etc" && touch "$root/usr/etc/vesk-radio.json"
expect 'real radios, purged' package --purge vesk-nl80211
[ ! -e "$root/usr/etc" ] || wrong 'what vesk-setup wrote is left'

# An upgrade keeps what the user made; a purge leaves nothing.
mkdir -p "$root/configs/vesk" && touch "$root/configs/vesk/vesk_debug_flag"
for deb in "${debs[@]}"; do
    dpkg-deb -R "$deb" "$scratch/next"
    sed -i '/^Version/s/1\.4\.3/1.4.4/' "$scratch/next/DEBIAN/control"
    fakeroot dpkg-deb -b "$scratch/next" "$scratch/$(basename "$deb" | sed s/1.4.3/1.4.4/)" >/dev/null
    rm -r "$scratch/next"
done
expect 'upgrade' package -i "$scratch"/*.deb
[ "$(state vesk) $(state veskctl)" = 'installed 1.4.4+2 installed 1.4.4+2' ] || wrong "after the upgrade: $(state vesk)"
[ -e "$root/configs/vesk/vesk_debug_flag" ] || wrong 'the upgrade took the configuration away'
mkdir -p "$root/var/lib/vesk" && touch "$root/var/lib/vesk/report.html"
expect 'purge' package --purge vesk vesk-bus vesk-sim vesk-dev veskctl
[ -z "$(state vesk)$(state vesk-bus)$(state vesk-sim)" ] || wrong "after the purge: $(state vesk)"
left=$(find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print)
[ -z "$left" ] || wrong "the purge left $left"
[ ! -e "$root/configs" ] || wrong 'the purge left /configs'

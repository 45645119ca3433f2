#!/bin/bash
# debian.sh BUILD: builds the packages, then installs, runs, upgrades and purges them in a private root.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout"

if [ "${VESK_PRIVATE_ROOT:-}" != 1 ]; then
    scripts/package --from "$build" --to "$build/package" >/dev/null
    # What the packages need from outside, in the versions of this machine, for a package database of their own.
    # shellcheck disable=SC2016
    for deb in "$build"/package/*.deb; do
        dpkg-deb -f "$deb" Depends | tr ',' '\n' | awk -v native="$(dpkg --print-architecture)" '$1 !~ /^vesk/ { print $1 ":" native }'
    done | sort -u | xargs dpkg-query -W -f 'Package: ${Package}\nStatus: install ok installed\nVersion: ${Version}\nArchitecture: ${Architecture}\nMaintainer: x\nDescription: x\n\n' >"$build/package/outside"
    scripts/private-root --build "$build" "$checkout/tests/packaging/debian.sh" "$build"
    exit
fi

root=$scratch/root
debs=("$build"/package/*.deb)

# dpkg works on a root of its own; the maintainer scripts run with DPKG_ROOT. Root may not exist in here.
export FAKEROOTDONTTRYCHOWN=1
package() { fakeroot dpkg --root="$root" --force-script-chrootless --log=/dev/null "$@" >"$scratch/dpkg.out" 2>&1; }
state() { dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Status} ${Version}' "$1" 2>/dev/null || true; }
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

package -i "$build"/package/vesk_*.deb && wrong 'vesk can be configured without the closed libraries'
expect 'installation' package -i "${debs[@]}"
[ -d "$root/configs" ] || wrong 'the daemon has no folder for its configuration'
[ -L "$root/etc/systemd/system/multi-user.target.wants/vesk.service" ] || wrong 'the service is not enabled'
systemd-analyze verify --man=no --recursive-errors=no --root="$root" vesk.service vesk-busd.service ||
    wrong 'unit files'

# The installed programs, with the search path of the unit; their libraries come from this root.
PATH=$root/usr/lib/vesk:$root/usr/sbin:$root/usr/bin:/usr/sbin:/usr/bin:/sbin:/bin
cp "$root/tmp/kor-product-cfg.json" /tmp/
vesk-busd &
vesk 2>/dev/null &
daemon=$!
# shellcheck disable=SC2016 # for the shell that asks again and again
within 60 bash -c '[ "$(veskctl version 2>/dev/null)" = "vesk 1.4.3" ]' || wrong 'the installed daemon does not answer'
grep -q "$root/usr/lib/vesk/librilk.so" "/proc/$daemon/maps" || wrong 'the libraries come from elsewhere'
within 60 test -p /tmp/drelm.in || wrong 'the daemon did not start its sibling'

# The example of the guide is a sender of events.
# shellcheck disable=SC2016
sed -n '/^```c$/,/^```$/{/^```/!p}' docs/guide.md >"$scratch/event.c"
cc -Wall -Wextra -Wpedantic -Werror -o "$scratch/event" "$scratch/event.c" || wrong "the guide's example"
veskctl watch >"$scratch/signals" &
# shellcheck disable=SC2016
within 60 bash -c '"$0/event" && grep -q "veskClientLeave .*mac=02:5e:70:00:00:01" "$0/signals"' "$scratch" || wrong "the guide's example sends no event"

# An upgrade keeps what the user made; a purge leaves nothing.
mkdir -p "$root/configs/vesk" && touch "$root/configs/vesk/vesk_debug_flag"
for deb in "${debs[@]}"; do
    dpkg-deb -R "$deb" "$scratch/next"
    sed -i 's/1\.4\.3/1.4.4/' "$scratch/next/DEBIAN/control"
    fakeroot dpkg-deb -b "$scratch/next" "$scratch/$(basename "$deb" | sed s/1.4.3/1.4.4/)" >/dev/null
    rm -r "$scratch/next"
done
expect 'upgrade' package -i "$scratch"/*.deb
[ "$(state vesk) $(state veskctl)" = 'installed 1.4.4 installed 1.4.4' ] || wrong "after the upgrade: $(state vesk)"
[ -e "$root/configs/vesk/vesk_debug_flag" ] || wrong 'the upgrade took the configuration away'
expect 'purge' package --purge vesk vesk-sim veskctl
[ -z "$(state vesk)$(state vesk-sim)" ] || wrong "after the purge: $(state vesk)"
left=$(find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print | grep -v kor-product-cfg.json || true)
[ -z "$left" ] || wrong "the purge left $left"
[ ! -e "$root/configs" ] || wrong 'the purge left /configs'

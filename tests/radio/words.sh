# shellcheck shell=dash
# What the shell of the radio tests knows beside its own: every command of theirs begins with these.
phone() { wpa_cli -p /run/station -i wlan2 "$@"; }
agent() { wpa_cli -p /run/station -i wlan3 "$@"; }
bsta() { wpa_cli -p /run/station -i bsta0 "$@"; }
neighbor() { hostapd_cli -p /run/neighbor -i wlan4 "$@"; }
ap() { hostapd_cli -p /run/hostapd -i "$@"; } # BSS COMMAND

# hostapd on the radios under test, with another file for 5 GHz if one is given.
start_hostapd() {
    hostapd -B -t -P /run/hostapd.pid -f /tmp/hostapd.log /etc/radio/access24.conf "${1:-/etc/radio/access5.conf}"
}
kill_hostapd() {
    for p in $(pidof hostapd); do ! grep -q access24 "/proc/$p/cmdline" || kill -9 "$p"; done
    rm -f /tmp/hostapd.log /run/hostapd/*
    sleep 1
}
are_up() { # the last access point of each radio
    for bss in wlan0s wlan1o; do
        grep -q up "/sys/class/net/$bss/operstate" && iw dev "$bss" info | grep -q channel || return
    done
    echo yes
}

air() { iw dev wlan3 scan -u freq "$1" flush passive; }              # MHZ: what the idle mesh node hears there
beacon() { air "$1" | sed -n "/^BSS $2/,/capability/p"; }            # MHZ BSSID
hwsim() { echo "$3" >"/sys/kernel/debug/ieee80211/$1/hwsim/$2"; }    # PHY FILE VALUE
own_interface() { basename /sys/class/net/wlan1b.sta*; }             # the mesh node's, on the backhaul
vlans() { bridge vlan show dev "$1" | tail -n +2 | tr -s ' \n' ' '; }
rfkill() { for r in /sys/class/rfkill/*; do ! grep -q "^$1$" "$r/name" || echo "$2" >"$r/soft"; done; } # PHY 0|1
woken() { sed -n 's/^voluntary_ctxt_switches:\t//p' "/proc/$(pidof drelm)/status"; }

# vesk-radio-check without any capability, with VARIABLE=VALUE if given: its status. What it finds is a line each in
# /tmp/check.
check() {
    env "$@" LD_PRELOAD=/vesk/lib/faults/libfaults.so /vesk/setpriv --bounding-set=-all vesk-radio-check --json >/tmp/json
    echo $?
    awk -F'"' '$2 == "of" { of = $4 } $2 == "value" { value = $4 } $2 == "verdict" { verdict = $4 }
        $2 == "library" { print of " " value ": " verdict " " $4 }' /tmp/json >/tmp/check
}

# What the daemon says where both files speak of the same: how many radios, their names, every interface and its role.
answers() {
    LD_LIBRARY_PATH=/vesk/lib/nl80211 vesk >/dev/null 2>&1 &
    for _ in $(seq 300); do ! veskctl version | grep -q '^vesk ' || break; sleep 0.1; done
    veskctl call getRadioCapability
    veskctl vaps
    veskctl radios
    for band in 0 3; do veskctl call getBstaIntfInfo $band; done
    killall vesk
    while pidof vesk >/dev/null; do sleep 0.1; done
}

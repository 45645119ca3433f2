# shellcheck shell=bash disable=SC2154
# Sourced by scripts/demo: the tour on radios of the kernel's simulator (mac80211_hwsim), with real hostapd and
# wpa_supplicant. phy 1 and 2 are the device's, 3 a telephone's, 4 a mesh node's, 5 and 6 the neighbours'.

phone=02:00:00:00:02:00 node=02:00:00:00:03:00
configs=$PWD/tests/radio
libraries=$(dirname "$(command -v vesk || echo build/vesk)")/lib/nl80211

simulated_phys() {
    local phy
    for phy in /sys/class/ieee80211/*; do
        [[ $(readlink "$phy") != *mac80211_hwsim* ]] || basename "$phy"
    done | sort -V
}

# A namespace of its own around the tour: the radios of the simulator go in with it, and nothing else is touched but the
# regulatory domain, which is one for the whole kernel and is put back.
enter_radios() { # DEMO-ARGUMENT...
    local phys=() phy before
    [ "$(simulated_phys | wc -l)" -ge 6 ] || modprobe mac80211_hwsim radios=6
    before=$(iw reg get | sed -n 's/^country \(..\).*/\1/p' | head -1)
    mapfile -t phys < <(simulated_phys | tail -n 6)
    mkfifo "$scratch/go"
    # shellcheck disable=SC2016
    RADIO_PHYS=${phys[*]} unshare -n -m bash -c 'read -r _ <"$1"; shift; exec "$@"' bash "$scratch/go" \
        bash "$0" --inside "$@" &
    local tour=$!
    sleep 0.2
    for phy in "${phys[@]}"; do iw phy "$phy" set netns "$tour"; done
    echo >"$scratch/go"
    local status=0
    wait "$tour" || status=$?
    iw reg set "${before:-00}"
    return "$status"
}

# What the namespaces of enter_radios lack: /sys of this network, folders of its own, names as the files have them.
arrange_radios() {
    local i=0 phy folder
    mount --make-rprivate / 2>/dev/null || true
    mount -t sysfs sysfs /sys
    mkdir -p /usr/etc /configs
    for folder in /tmp /run /usr/etc /configs; do mount -t tmpfs tmpfs "$folder"; done
    mkdir -p /var/run
    ip link set lo up
    for phy in $RADIO_PHYS; do
        local interface
        interface=$(basename "/sys/class/ieee80211/$phy/device/net/"*)
        [ "$interface" = "wlan$i" ] || ip link set "$interface" name "wlan$i"
        i=$((i + 1))
    done
    # shellcheck disable=SC2086 # two words
    set -- $RADIO_PHYS
    sed "s/\"phy0\"/\"$1\"/; s/\"phy1\"/\"$2\"/; s|/etc/radio|$configs|" "$configs/vesk-radio.json" >/usr/etc/vesk-radio.json
    sed "s/\"phy0\"/\"$1\"/; s/\"phy1\"/\"$2\"/" "$configs/kor-product-cfg.json" >/usr/etc/kor-product-cfg.json
    iw reg set US
    iw phy "$1" interface add bsta0 type managed
}

is_on_air() { [ "$(cat "/sys/class/net/$1/operstate")" = up ]; }
all_on_air() { is_on_air wlan0 && is_on_air wlan1 && is_on_air wlan4 && is_on_air wlan5; }

set_up_radios() {
    arrange_radios
    printf '\nTwo radios with three access points each, two neighbours, a telephone and a mesh node: hostapd and wpa_supplicant.\n'
    run "hostapd -B -f /tmp/hostapd.log $configs/access24.conf $configs/access5.conf"
    run "hostapd -B -f /tmp/neighbors.log $configs/neighbor24.conf $configs/neighbor5.conf"
    run "wpa_supplicant -B -i wlan2 -c $configs/phone.conf -f /tmp/phone.log"
    run "wpa_supplicant -B -i wlan3 -c $configs/agent.conf -f /tmp/agent.log"
    check within 60 all_on_air 'four radios are on the air'
    run "iw dev wlan1 info"
    start 'vesk-busd'
    within 5 test -S /var/run/ubus.sock || { echo "The broker doesn't start." >&2; exit 1; }
    start "veskctl watch > $watched"
    sleep 0.5
    start "env LD_LIBRARY_PATH=$libraries PATH=$libraries:\$PATH vesk 2> /tmp/vesk.err"
    check within 20 veskctl version 'the daemon answers on the bus' >/dev/null 2>&1
}

has_sibling() { pidof drelm >/dev/null; }

join_network() { # INTERFACE NETWORK WHERE MAC WHAT
    run "wpa_cli -p /run/station -i $1 select_network $2"
    check within 20 stations_show "$4 $3" "$5"
}

tour_radios() {
    run 'veskctl radios'
    check printed '2\.4 GHz .* 6 20 MHz' 'the 2.4 GHz radio, on channel 6'
    check printed '5 GHz .* 36 80 MHz' 'the 5 GHz radio, on channel 36, 80 MHz wide'
    run 'veskctl vaps'
    for name in wlan0 wlan0b wlan0s wlan1 wlan1b wlan1o bsta0; do
        check printed "\\b$name\\b" "access point or backhaul station $name"
    done

    check within 60 has_sibling 'the daemon started its sibling drelm, which listens to hostapd'
    printf '\nA telephone joins, with a real handshake; then a mesh node, on the backhaul ...\n'
    join_network wlan2 0 wlan0 "$phone" 'the telephone is in the station table'
    join_network wlan3 0 wlan1b "$node" 'the mesh node is in the station table'
    run 'veskctl stations'
    check printed "$phone .* -[0-9]+ dBm" 'the telephone has a level'
    run "iw dev wlan0 station dump | grep -E 'Station|signal:|bitrate'"
    check within 10 heard "veskClientJoin.*$phone" 'its join was a signal (veskClientJoin)'
    show_watch
    run 'vesk-radio-check 2>/dev/null | tail -n 1'
    check printed ' 0 differ' 'iw, hostapd_cli and /sys say the same as the daemon (vesk-radio-check)'

    printf '\nThe first scan visits every channel of both radios ...\n'
    check meanwhile 60 test -e /tmp/vesk_ready 'first scans over, ready flag set'
    run 'veskctl scan'
    check printed '^2.4 GHz +11 ' 'scan results of 2.4 GHz'
    check printed '^5 GHz +149 ' 'scan results of 5 GHz'
    run 'veskctl neighbors'
    check printed 'Familie Petersen' 'the neighbour on 2.4 GHz'
    check printed 'Werkstatt' 'the neighbour on 5 GHz'

    run "veskctl kick wlan0 $phone"
    check within 10 heard "veskClientLeave.*$phone" 'disconnected, it leaves (veskClientLeave) ...'
    join_network wlan2 1 wlan1 "$phone" '... and comes back on 5 GHz'
    show_watch
    run 'veskctl status'
    run 'veskctl report -o build/report.html'
    check test -s build/report.html 'the page of channels, neighbours and stations: build/report.html'
}

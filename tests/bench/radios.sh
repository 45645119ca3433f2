#!/bin/sh
# The daemon on real radios beside two shell loops, inside the guest of scripts/radio-guest: prints tables of figures.
# The guest's time counts instructions, of the kernel too: a busy host changes nothing.
phone=02:00:00:00:02:00 joins=7 libraries=/vesk/lib/nl80211

# All stations with their level, three ways.
with_vesk() {
    veskctl stations
}
with_iw() {
    for bss in $(iw dev | awk '$1 == "Interface" { name = $2 } $1 == "type" && $2 == "AP" { print name }'); do
        iw dev "$bss" station dump | awk -v bss="$bss" '
            $1 == "Station" { mac = $2 }
            $1 == "signal:" { print bss, mac, $2 }'
    done
}
with_hostapd_cli() {
    for socket in /run/hostapd/*; do
        bss=${socket##*/}
        hostapd_cli -p /run/hostapd -i "$bss" all_sta | awk -v bss="$bss" '
            length == 17 && /:.*:/ { mac = $0 }
            /^signal=/ { print bss, mac, substr($0, 8) }'
    done
}

lines() { awk -v name="$1() {" '$0 == name { on = 1; next } /^}/ { on = 0 } on { n++ } END { print n }' "$0"; }
micros() { awk '/^now at/ { printf "%d", $3 / 1000; exit }' /proc/timer_list; }
milli() { awk -v us="$1" 'BEGIN { printf "%.1f", us / 1000 }'; }

# Hearers of a join: they add the time to /tmp/heard. /vesk/date, since the shell has its own, of whole seconds.
by_signal() { exec veskctl watch --signal veskClientJoin >>/tmp/heard; }
by_action() { exec hostapd_cli -p /run/hostapd -i wlan0 -a /tmp/action >/dev/null; }
by_loop() { while sleep 1; do "$1" | grep -q $phone && /vesk/date +%T.%N >>/tmp/heard; done; }
cat >/tmp/action <<'END'
#!/bin/sh
[ "$2" != AP-STA-CONNECTED ] || /vesk/date +%T.%N >>/tmp/heard
END
chmod +x /tmp/action

# From hostapd's line in its log to the hearer's, least, median and most in ms. The joins fall on other parts of a second.
join_times() { # HEARER...
    "$@" &
    hearer=$! i=0
    while [ $i -lt $joins ]; do
        i=$((i + 1))
        wpa_cli -p /run/station -i wlan2 disconnect >/dev/null
        sleep 2.$i
        : >/tmp/heard
        wpa_cli -p /run/station -i wlan2 select_network 0 >/dev/null
        sleep 3
        echo "$(sed -n 's/^\([0-9.]*\): wlan0: AP-STA-CONNECTED.*/\1/p' /tmp/hostapd.log | tail -n 1)" \
            "$(grep -o -m 1 '[0-9]*:[0-9]*:[0-9]*\.[0-9]*' /tmp/heard)"
    done | awk 'split($2, t, ":") == 3 { print ((t[1] * 60 + t[2]) * 60 + t[3] - $1 % 86400) * 1000 }' | sort -n |
        awk '{ all[NR] = $1 } END { printf "%.1f / %.1f / %.1f (of %d)", all[1], all[int((NR + 1) / 2)], all[NR], NR }'
    kill $hearer
}

# CPU time in µs of the daemon and hostapd, all threads, up to now.
cpu() { cat /proc/$vesk/task/*/schedstat "/proc/$hostapd/schedstat" | awk '{ ns += $1 } END { printf "%d", ns / 1000 }'; }
cpu_while() { # off|on: in 45 s; three station polls, if on
    veskctl polling stations "$1" >/dev/null
    before=$(cpu)
    sleep 45
    echo $(($(cpu) - before))
}
asking() { # COMMAND: ms each of ten times
    begin=$(micros)
    for _ in 1 2 3 4 5 6 7 8 9 10; do "$1" >/tmp/stations; done
    milli $((($(micros) - begin) / 10))
}
memory() { # NAME PID: the kernel's count in status lags behind for young processes, this one is exact
    echo "| \`$1\` | $(awk '/^Rss:/ { print $2 }' "/proc/$2/smaps_rollup") | $(awk '/^Pss:/ { print $2 }' "/proc/$2/smaps_rollup") |"
}
halfway() { # COMMAND...: while it waits in the middle of its output
    mkfifo /tmp/pipe
    exec 3<>/tmp/pipe
    head -c 60000 /dev/zero >&3
    "$@" >/tmp/pipe &
    sleep 1
    memory "$1" $!
    kill $!
    rm /tmp/pipe
}

vesk-busd >/dev/null 2>&1 &
busd=$!
PATH=$libraries:$PATH LD_LIBRARY_PATH=$libraries vesk >/dev/null 2>&1 &
vesk=$!
until [ -e /tmp/vesk_ready ]; do sleep 1; done

echo '| hears of a join | after ms: least / median / most |'
echo '|---|---|'
echo "| \`veskctl watch\`, the bus signal | $(join_times by_signal) |"
echo "| \`hostapd_cli -a\`, an action script | $(join_times by_action) |"
echo "| loop over \`iw station dump\`, once a second | $(join_times by_loop with_iw) |"
echo "| loop over \`hostapd_cli all_sta\`, once a second | $(join_times by_loop with_hostapd_cli) |"

# 255 with the telephone's 256, as many as the daemon's table holds. hostapd's inactivity limit is 300 s.
vesk_radio_tests --crowd wlan1o
i=0
while [ $i -lt 255 ]; do
    hostapd_cli -p /run/hostapd -i wlan1o new_sta "$(printf '02:01:01:01:%02x:%02x' $((i >> 8)) $((i & 255)))" >/dev/null
    i=$((i + 1))
done
sleep 60 # the first polls ask hostapd of new stations, a few at a time
echo
echo '| all stations with level | ms | stations | lines of script |'
echo '|---|---|---|---|'
for way in vesk iw hostapd_cli; do
    echo "| $way | $(asking with_$way) | $(grep -c '02:0[01]:0[01]:0[01]:' /tmp/stations) | $(lines with_$way) |"
done
hostapd=$(cat /run/hostapd.pid)
without=$(cpu_while off)
with=$(cpu_while on)
echo
echo "A station poll of the daemon's own, of 256: $(milli $(((with - without) / 3))) ms, hostapd's share with it."
echo
echo '| resident, KiB | Rss | Pss |'
echo '|---|---|---|'
memory vesk $vesk
memory drelm "$(pidof drelm)"
memory vesk-busd $busd
memory sh $$
halfway iw dev wlan1o station dump
halfway hostapd_cli -p /run/hostapd -i wlan1o all_sta

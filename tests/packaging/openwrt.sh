#!/bin/bash
# openwrt.sh BUILD: the OpenWrt packages as far as it can be checked without OpenWrt.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout/packaging/openwrt/vesk"

# Stubs of rc.common and procd, which write down what they are asked for.
stubs() { # FUNCTION...
    for function in procd_{open,close}_instance procd_set_param procd_add_jail{,_mount,_mount_rw} procd_add_reload_trigger "$@"; do
        echo "$function() { echo $function \"\$@\"; }"
    done
}

# On a tree that has the bus in a folder of its own the init script makes the link, and daemon and client come by it.
# On one with the former path it leaves the socket alone. In private roots, since the paths are the device's.
if [ "${VESK_PRIVATE_ROOT:-}" = 1 ]; then
    stubs >"$scratch/stubs"
    socket=$2
    mkdir -p "$(dirname "$socket")"
    start() { # before the broker, and again behind it
        sh -euc '. "$1/stubs"; . "$2"; start_service' - "$scratch" files/vesk.init >/dev/null
        [ "$(readlink /var/run/ubus.sock)" = "$1" ] || wrong "the link: $(readlink /var/run/ubus.sock)"
    }
    start "$3"
    "$build/vesk-busd" -s "$socket" &
    until [ -S "$socket" ]; do sleep 0.05; done
    identity=$(stat -Lc %i "$socket")
    mkdir -p /run/ubus # a socket that is there stays, whatever else is
    start "$3"
    [ "$(stat -Lc %i /var/run/ubus.sock)" = "$identity" ] || wrong 'another socket than the bus'
    cp "$checkout/platform/sim/kor-product-cfg.json" /tmp/
    "$build/vesk" 2>/dev/null &
    for ((i = 0; i < 600; i++)); do
        ! "$build/veskctl" version >/dev/null 2>&1 || exit 0
        sleep 0.1
    done
    wrong "no daemon by the bus at $socket"
fi
while read -r socket link; do
    "$checkout/scripts/private-root" --build "$build" "$checkout/tests/packaging/openwrt.sh" "$build" "$socket" "$link" ||
        wrong "a bus at $socket"
done < <(rows sockets.rows)

shellcheck -s dash files/vesk.init || wrong 'shellcheck'

stubs link_bus mkdir ubus >"$scratch/stubs"
asked_by() { # COMMANDS
    sh -euc '. "$1/stubs"; . files/vesk.init; [ "$USE_PROCD" = 1 ]; . "$1/stubs"; '"$1" - "$scratch"
}
asked_by start_service >"$scratch/asked"
[ "$(head -n 2 "$scratch/asked" | xargs)" = 'link_bus mkdir -p /configs' ] || wrong 'the jail mounts a folder that may be missing'
[ "$(tail -n 1 "$scratch/asked")" = procd_close_instance ] || wrong 'the instance stays open'
while read -r line; do
    grep -qxF -- "$line" "$scratch/asked" || wrong "the init script doesn't ask for: $line"
done < <(rows procd.rows)
[ "$(asked_by 'service_triggers; reload_service')" = 'procd_add_reload_trigger wireless
ubus send tamlo.pelk.vesk.notifyWlanChange { "payload": 1 }' ] || wrong 'a changed Wi-Fi configuration is not announced'

# The read roles name each query and nothing else; the full ones leave nothing out.
queries=$(vesk-apidoc --json | jq -c '[.methods[].name | select(startswith("get"))] | sort')
while read -r file condition; do
    jq -e --argjson queries "$queries" "$condition" "files/$file" >/dev/null || wrong "packaging/openwrt/vesk/files/$file: not $condition"
done < <(rows roles.rows)

# The install rules of the Makefile against an installed build.
DESTDIR=$scratch/installed cmake --install "$build" --prefix /usr >/dev/null
# An empty entry in a RUNPATH is the working directory; what is installed names its own folder and nothing else.
runpath() { { readelf -dW "$1" 2>/dev/null || true; } | sed -n 's/.*(R.*PATH).*\[\(.*\)\]/\1/p'; }
while read -r file; do
    path=$(runpath "$file")
    case "$file" in
    "$scratch"/*) [[ $path =~ ^(\$ORIGIN(/\.\./lib/vesk(/nl80211:\$ORIGIN/\.\./lib/vesk)?)?)?$ ]] ;;
    *) [[ -z $path || :$path: != *::* ]] ;;
    esac || wrong "$file: RUNPATH $path"
done < <(find "$build" "$scratch/installed" -path '*/CMakeFiles' -prune -o -type f \( -perm -100 -o -name '*.so' \) -print)
mkdir "$scratch/include"
touch "$scratch/include/rules.mk" "$scratch/include/cmake.mk"
cp "$checkout/tests/packaging/package.mk" "$scratch/include/"
make -s TOPDIR="$scratch/include" INCLUDE_DIR="$scratch/include" SCRATCH="$scratch" vesk vesk-bus veskctl vesk-sim
for path in usr/sbin/vesk usr/bin/veskctl etc/init.d/vesk usr/share/rpcd/acl.d/vesk.json usr/sbin/run_drelm.sh usr/lib/vesk/librilk.so usr/lib/vesk/libvesk_ubus.so; do
    [ -e "$scratch/root/$path" ] || wrong "the package lacks $path"
done

# Real radios in the simulated ones' place: everything is there.
rm -r "$scratch/root/usr"
make -s TOPDIR="$scratch/include" INCLUDE_DIR="$scratch/include" SCRATCH="$scratch" vesk-nl80211
jq -e 'length == 5 and all(. == ["CAP_NET_ADMIN"])' "$scratch/root/etc/capabilities/vesk.json" >/dev/null || wrong 'capabilities'
for program in usr/sbin/vesk-setup usr/sbin/vesk-radio-check usr/sbin/drelm usr/lib/vesk/librilk.so usr/lib/vesk/libhul.so; do
    ! ldd "$scratch/root/$program" | grep 'not found' || wrong "$program lacks a library"
done
sh -n "$scratch/root/usr/sbin/run_drelm.sh"

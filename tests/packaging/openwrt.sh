#!/bin/bash
# openwrt.sh BUILD: the OpenWrt package as far as it can be checked without OpenWrt.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout/packaging/openwrt"

sh -n files/vesk.init
shellcheck -s dash files/vesk.init || wrong 'shellcheck'

# The init script on stubs of rc.common and procd, which write down what they are asked for.
(
    cd "$scratch"
    for function in procd_open_instance procd_set_param procd_add_jail procd_add_jail_mount procd_add_jail_mount_rw \
        procd_close_instance mkdir; do
        echo "$function() { echo $function \"\$@\"; }"
    done >stubs
    sh -euc '. ./stubs; . "$1"; [ "$USE_PROCD" = 1 ]; start_service' - "$checkout/packaging/openwrt/files/vesk.init" >asked
)
[ "$(head -n 1 "$scratch/asked")" = 'mkdir -p /configs' ] || wrong 'the jail mounts a folder that may be missing'
[ "$(tail -n 1 "$scratch/asked")" = procd_close_instance ] || wrong 'the instance stays open'
while read -r line; do
    grep -qxF -- "$line" "$scratch/asked" || wrong "the init script doesn't ask for: $line"
done <<'TABLE'
procd_set_param command /usr/sbin/vesk
procd_set_param respawn 3600 5 0
procd_set_param stderr 1
procd_set_param no_new_privs 1
procd_add_jail_mount_rw /tmp /configs /var/run
TABLE

# The read roles name each query and nothing else; the full ones leave nothing out.
methods | grep '^get' | sort >"$scratch/queries"
queries_of() { jq -r "$2 | .[]" "files/$1" | sort >"$scratch/role"; same "$1: the read role" "$scratch/queries" "$scratch/role"; }
queries_of vesk.acl.json '."vesk-read".read.ubus."tamlo.pelk.vesk"'
queries_of ubus-vesk-read.json '.access."tamlo.pelk.vesk".methods'
jq -e '."vesk-read" | has("write") | not' files/vesk.acl.json >/dev/null || wrong 'the read role writes'
jq -e '."vesk-full" | [.read, .write] | all(.ubus."tamlo.pelk.vesk" == ["*"])' files/vesk.acl.json >/dev/null ||
    wrong 'the full role is incomplete'
jq -e '.access."tamlo.pelk.vesk".methods == ["*"]' files/ubus-vesk-full.json >/dev/null || wrong 'the full group'

# The install rules of the Makefile against an installed build.
DESTDIR=$scratch/installed cmake --install "$build" --prefix /usr >/dev/null
mkdir "$scratch/include"
touch "$scratch/include/rules.mk" "$scratch/include/cmake.mk"
cat >"$scratch/include/package.mk" <<'STUB'
INSTALL_DIR := mkdir -p
INSTALL_BIN := install -m 755
INSTALL_DATA := install -m 644
CP := cp
PKG_INSTALL_DIR := $(SCRATCH)/installed
define BuildPackage
$(1):
	$(call Package/$(1)/install,$(SCRATCH)/root)
endef
STUB
make -s TOPDIR="$scratch/include" INCLUDE_DIR="$scratch/include" SCRATCH="$scratch" vesk vesk-sim
for path in usr/sbin/vesk etc/init.d/vesk usr/share/rpcd/acl.d/vesk.json usr/sbin/run_drelm.sh usr/lib/vesk/librilk.so; do
    [ -e "$scratch/root/$path" ] || wrong "the package lacks $path"
done

# Stands for OpenWrt's own: makes what a package installs in $(SCRATCH)/root.
INSTALL_DIR := mkdir -p
INSTALL_BIN := install -m 755
INSTALL_DATA := install -m 644
CP := cp
PKG_INSTALL_DIR := $(SCRATCH)/installed
define BuildPackage
$(1):
	$(call Package/$(1)/install,$(SCRATCH)/root)
endef

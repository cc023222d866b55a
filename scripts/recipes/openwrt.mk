# What packaging/openwrt/Makefile asks of the build system it is for, as small as that can be: it
# stands in for all three files that the recipe includes. WORK is an empty folder, DL the one with
# the tarball, and TOOLCHAIN what cmake is told about the machine.
INSTALL_DIR := install -d -m0755
CP := cp -fpR
PKG_INSTALL_DIR := $(WORK)/installed

define BuildPackage
all: $(1)
$(1):
	tar -C $(WORK) -xf $(DL)/$(PKG_SOURCE)
	cmake -S $(WORK)/$(PKG_NAME)-$(PKG_VERSION) -B $(WORK)/build -G Ninja \
		-DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_INSTALL_PREFIX=/usr $(TOOLCHAIN) $(CMAKE_OPTIONS)
	cmake --build $(WORK)/build
	DESTDIR=$(PKG_INSTALL_DIR) cmake --install $(WORK)/build
	$$(call Package/$(1)/install,$(WORK)/$(1))
endef

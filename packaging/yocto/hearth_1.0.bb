SUMMARY = "Common platform library of an LTE home router"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=0f6881770e35313723fad5084da1bc9f"

# A tarball of the repository beside this recipe, unpacked as hearth-1.0.0.
SRC_URI = "file://hearth-1.0.0.tar.gz"
S = "${WORKDIR}/hearth-1.0.0"

DEPENDS = "zlib"
inherit cmake pkgconfig
EXTRA_OECMAKE = "-DHEARTH_BUILD_TESTS=OFF -DHEARTH_BUILD_DEVICE=OFF"

SUMMARY = "Common platform library of an LTE home router"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=0f6881770e35313723fad5084da1bc9f"
SRC_URI = "file://${BP}.tar.gz"
DEPENDS = "zlib"
inherit cmake pkgconfig
EXTRA_OECMAKE = "-DHEARTH_BUILD_TESTS=OFF -DHEARTH_BUILD_DEVICE=OFF"

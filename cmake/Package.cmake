# The Debian package, made by CPack from what `cmake --install` puts below
# /usr (scripts/make-deb). dpkg-shlibdeps computes the libraries' packages from
# the programs and the codec host; only what is loaded without being linked is
# named here.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brassfold)
set(CPACK_PACKAGE_VENDOR "The Brassfold developers")
set(CPACK_PACKAGE_CONTACT "The Brassfold developers" CACHE STRING
    "Maintainer of the Debian package")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "workbench for Kinvar control surface codecs and mapping files")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Brassfold stands in for a host program of the Kinvar system, so that the\n"
    "people who write control surface codecs and mapping files can try them\n"
    "without any music software: load a codec, pick a surface model and its MIDI\n"
    "ports, and get a hardware panel that moves with the hardware and drives it.\n"
    "It validates mapping files, detects surfaces by probing, sends and shows raw\n"
    "MIDI, and comes with brassfold-check, which checks definition files,\n"
    "scripted codecs and mapping files in CI.")
string(JOIN "" CPACK_DEBIAN_PACKAGE_DESCRIPTION ${CPACK_DEBIAN_PACKAGE_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${BRASSFOLD_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt loads its platform plugins (the X11 and Wayland ones) at start, unlinked;
# without them the workbench cannot open a window. The icon theme's index
# tells Qt where the installed icon sizes lie.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, hicolor-icon-theme")
# JACK's MIDI ports are there only while a server runs; the workbench never
# starts one.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "jackd2")

include(CPack)

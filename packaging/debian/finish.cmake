# SPDX-License-Identifier: GPL-3.0-or-later
#
# Makes a Debian package of what was installed for it: documents where and as Debian has them, and the libraries that it
# depends on. Runs in CPack, which writes the package afterwards.
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")
set(docs "${root}/usr/share/doc/mirrane-editor")
set(version "${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

file(REMOVE "${docs}/LICENSE")
file(RENAME "${docs}/CHANGELOG.md" "${docs}/changelog")
configure_file("${CMAKE_CURRENT_LIST_DIR}/copyright" "${docs}/copyright" COPYONLY)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${docs}/changelog.Debian" "mirrane-editor (${version}) UNRELEASED; urgency=medium

  * Package of version ${CPACK_PACKAGE_VERSION}. What is new is told in changelog.gz.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
file(GLOB documents "${docs}/changelog*" "${root}/usr/share/man/man1/*.1")
execute_process(COMMAND gzip -9n ${documents} COMMAND_ERROR_IS_FATAL ANY)

# The browser's module is loaded when there is a page to show; without its libraries pages are shown as texts. So these
# are recommended, while those of the programs are needed.
set(programs "${root}/usr/bin/mirrane-editor" "${root}/usr/bin/qvtool")
file(GLOB modules "${root}/usr/lib/mirrane/*.so")
list(TRANSFORM modules PREPEND -e)
# Asked for, not read; the second one marks what belongs to the package.
file(WRITE "${root}/debian/control" "")
file(MAKE_DIRECTORY "${root}/DEBIAN")
execute_process(
    COMMAND dpkg-shlibdeps -O --ignore-missing-info ${programs} -dRecommends ${modules}
    WORKING_DIRECTORY "${root}"
    OUTPUT_VARIABLE found
    COMMAND_ERROR_IS_FATAL ANY
)
file(REMOVE_RECURSE "${root}/debian" "${root}/DEBIAN")
if(NOT found MATCHES "shlibs:Depends=([^\n]+)")
    message(FATAL_ERROR "dpkg-shlibdeps names no libraries: ${found}")
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${CMAKE_MATCH_1}, hicolor-icon-theme")
# The toolkit's own words in other languages, windows without an X server, and what shows the manual.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-translations-l10n, qt6-wayland, xdg-utils")
if(found MATCHES "shlibs:Recommends=([^\n]+)")
    string(PREPEND CPACK_DEBIAN_PACKAGE_RECOMMENDS "${CMAKE_MATCH_1}, ")
endif()

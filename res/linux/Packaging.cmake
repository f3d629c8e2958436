# Installation into /usr and the Debian package that tools/package.sh builds
# with CPack: the three programs, the desktop entry with the driver file
# types, the icon in the hicolor theme, AppStream metadata, the manual, the
# example drivers and the man pages. Dependencies come from the binaries
# (dpkg-shlibdeps).
include(GNUInstallDirs)
set(ORVALIS_LINUX ${PROJECT_SOURCE_DIR}/res/linux)
set(ORVALIS_PACKAGE_FILES ${PROJECT_BINARY_DIR}/package)
set(ORVALIS_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/orvalis)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

install(TARGETS orvalis orvalis-cli orvalis-balance-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

configure_file(${ORVALIS_LINUX}/orvalis.desktop.in ${ORVALIS_PACKAGE_FILES}/${ORVALIS_APP_ID}.desktop @ONLY)
configure_file(${ORVALIS_LINUX}/orvalis.metainfo.xml.in ${ORVALIS_PACKAGE_FILES}/${ORVALIS_APP_ID}.metainfo.xml @ONLY)
configure_file(${ORVALIS_LINUX}/copyright.in ${ORVALIS_PACKAGE_FILES}/copyright @ONLY)
configure_file(${ORVALIS_LINUX}/changelog.in ${ORVALIS_PACKAGE_FILES}/changelog @ONLY)
install(FILES ${ORVALIS_PACKAGE_FILES}/${ORVALIS_APP_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${ORVALIS_PACKAGE_FILES}/${ORVALIS_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${ORVALIS_LINUX}/orvalis-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages RENAME orvalis.xml)
install(FILES ${ORVALIS_PACKAGE_FILES}/copyright DESTINATION ${ORVALIS_DOC_DIR})
install(FILES ${PROJECT_SOURCE_DIR}/res/manual/index.html DESTINATION ${ORVALIS_DOC_DIR}/manual)
install(FILES ${ORVALIS_LINUX}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME orvalis)
file(GLOB ORVALIS_EXAMPLES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/res/examples/*)
install(FILES ${ORVALIS_EXAMPLES} DESTINATION ${CMAKE_INSTALL_DATADIR}/orvalis/examples)

# Man pages and the changelog, compressed the way Debian wants them (no name
# or time stamp inside, so the package is the same from build to build).
set(ORVALIS_COMPRESSED)
function(orvalis_gzip source target destination)
  add_custom_command(OUTPUT ${target}
    COMMAND sh -c "gzip -9nc '${source}' > '${target}'"
    DEPENDS ${source} VERBATIM)
  install(FILES ${target} DESTINATION ${destination})
  set(ORVALIS_COMPRESSED ${ORVALIS_COMPRESSED} ${target} PARENT_SCOPE)
endfunction()
foreach(page orvalis orvalis-cli orvalis-balance-sim)
  orvalis_gzip(${ORVALIS_LINUX}/man/${page}.1 ${ORVALIS_PACKAGE_FILES}/${page}.1.gz ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
orvalis_gzip(${ORVALIS_PACKAGE_FILES}/changelog ${ORVALIS_PACKAGE_FILES}/changelog.gz ${ORVALIS_DOC_DIR})

# The icon, drawn by CAppIcon, at the hicolor theme's sizes.
add_executable(orvalis-icons ${PROJECT_SOURCE_DIR}/tools/orvalis-icons.cpp)
target_link_libraries(orvalis-icons PRIVATE orvalis_gui)
set(ORVALIS_ICON_SIZES 16 22 24 32 48 64 128 256)
set(ORVALIS_ICONS)
foreach(size ${ORVALIS_ICON_SIZES})
  set(icon ${ORVALIS_PACKAGE_FILES}/icons/${size}x${size}/${ORVALIS_APP_ID}.png)
  list(APPEND ORVALIS_ICONS ${icon})
  install(FILES ${icon} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
add_custom_command(OUTPUT ${ORVALIS_ICONS}
  COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
          $<TARGET_FILE:orvalis-icons> ${ORVALIS_PACKAGE_FILES}/icons ${ORVALIS_APP_ID} ${ORVALIS_ICON_SIZES}
  DEPENDS orvalis-icons VERBATIM)
add_custom_target(orvalis-package-files ALL DEPENDS ${ORVALIS_ICONS} ${ORVALIS_COMPRESSED})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvalis)
set(CPACK_PACKAGE_VENDOR "The Orvalis developers")
set(CPACK_PACKAGE_CONTACT "${ORVALIS_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "terminal for laboratory instruments on a serial line")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ORVALIS_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${ORVALIS_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The window system plugins are only recommended by Qt; the program needs one.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libreoffice-calc")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The long description; CPack puts the summary above it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Orvalis talks to balances, titrators, pH meters and other instruments that
send their readings over a serial line (RS-232, USB serial converters). An
instrument driver says how to talk to one kind of instrument: line settings,
eight function keys, and a script that recognises and rewrites the strings
the instrument sends. The program shows the readings, writes them into
spreadsheet cells, sends commands and files, and opens VT100/VT52/ANSI
terminal windows on a line.
.
The package also holds orvalis-cli, which captures, replays and sends
without a window, and orvalis-balance-sim, a simulated balance for trying
out drivers without hardware.")
include(CPack)

# What `cmake --install` puts where, below the prefix:
#   bin/                        brassfold, brassfold-check
#   lib/brassfold/Codecs/Testing/LuaHost.kinvarcodec
#                               where an installed program's GetTestCodecFolder
#                               looks (kInstalledCodecBase, relative to bin/)
#   share/Thistlemarrow Software/Kinvar/
#                               the bundled examples, as a machine-wide data
#                               folder that the default XDG_DATA_DIRS holds
#   share/applications, share/icons, share/metainfo
#                               the desktop's entry, icon and software page
#   share/man/man1, share/doc/brassfold
#                               the manual pages and the user's manual
# The paths are fixed rather than GNUInstallDirs' choice, since the programs
# find the codec host by its place relative to bin/.

set(BRASSFOLD_HOMEPAGE "https://brassfold.org" CACHE STRING
    "Homepage of the project; the software centre's screenshots are its images/ pictures")

set(BRASSFOLD_CODEC_HOST_DIR lib/brassfold/Codecs/Testing)
set(BRASSFOLD_DATA_DIR "share/Thistlemarrow Software/Kinvar")
set(BRASSFOLD_DOC_DIR share/doc/brassfold)

# ---- Programs and the scripted codec host ----------------------------------
if(TARGET brassfold)
  install(TARGETS brassfold RUNTIME DESTINATION bin)
endif()
if(TARGET luahost)
  install(TARGETS luahost LIBRARY DESTINATION ${BRASSFOLD_CODEC_HOST_DIR})
endif()

# ---- Data --------------------------------------------------------------------
install(DIRECTORY "${CMAKE_SOURCE_DIR}/examples/Thistlemarrow Software/Kinvar/"
        DESTINATION "${BRASSFOLD_DATA_DIR}")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/ DESTINATION ${BRASSFOLD_DOC_DIR})

# ---- Desktop -------------------------------------------------------------------
set(desktop ${CMAKE_SOURCE_DIR}/desktop)
configure_file(${desktop}/${BRASSFOLD_APP_ID}.metainfo.xml.in
               ${CMAKE_BINARY_DIR}/desktop/${BRASSFOLD_APP_ID}.metainfo.xml @ONLY)
install(FILES ${desktop}/${BRASSFOLD_APP_ID}.desktop DESTINATION share/applications)
install(FILES ${CMAKE_BINARY_DIR}/desktop/${BRASSFOLD_APP_ID}.metainfo.xml DESTINATION share/metainfo)
install(FILES ${desktop}/icons/${BRASSFOLD_APP_ID}.svg DESTINATION share/icons/hicolor/scalable/apps)
file(GLOB icon_sizes RELATIVE ${desktop}/icons ${desktop}/icons/*x*)
foreach(size IN LISTS icon_sizes)
  install(FILES ${desktop}/icons/${size}/${BRASSFOLD_APP_ID}.png DESTINATION share/icons/hicolor/${size}/apps)
endforeach()

# ---- Manual pages ----------------------------------------------------------------
# Filled in with the paths of this prefix, and compressed as Debian keeps them.
set(BRASSFOLD_CODEC_HOST "${CMAKE_INSTALL_PREFIX}/${BRASSFOLD_CODEC_HOST_DIR}/LuaHost.kinvarcodec")
set(BRASSFOLD_DATA_FOLDER "${CMAKE_INSTALL_PREFIX}/${BRASSFOLD_DATA_DIR}")
set(BRASSFOLD_DOC_FOLDER "${CMAKE_INSTALL_PREFIX}/${BRASSFOLD_DOC_DIR}")
set(BRASSFOLD_MAN_DATE ${BRASSFOLD_RELEASE_DATE})
set(man_pages)
foreach(page brassfold.1 brassfold-check.1)
  configure_file(${CMAKE_SOURCE_DIR}/man/${page}.in ${CMAKE_BINARY_DIR}/man/${page} @ONLY)
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/man/${page}.gz
                     COMMAND gzip -9 -n -f -k ${page}
                     DEPENDS ${CMAKE_BINARY_DIR}/man/${page}
                     WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/man
                     COMMENT "Compressing the manual page ${page}")
  list(APPEND man_pages ${CMAKE_BINARY_DIR}/man/${page}.gz)
endforeach()
add_custom_target(man_pages ALL DEPENDS ${man_pages})
install(FILES ${man_pages} DESTINATION share/man/man1)

# What is installed beside the program, and how the two Debian packages are made of it: `cpack` in the build folder.
#
# Components: server   the program, its manual, menu entry and documents; `cmake --install` by hand takes it
#             python   the client package and its commands, where Debian keeps such; only for its .deb, for pip installs it
#                      everywhere else
# What only Debian wants of the server is excluded from ALL: it goes into the .deb alone.

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(packed ${PROJECT_BINARY_DIR}/packaging)

find_program(GZIP gzip)
set(packed_files "")
# Manuals and change logs are shipped compressed, and without a time in them.
function(compress SOURCE RESULT)
  add_custom_command(OUTPUT ${packed}/${RESULT}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${packed}
    COMMAND ${GZIP} -9nc ${SOURCE} > ${packed}/${RESULT}
    DEPENDS ${SOURCE} VERBATIM)
  set(packed_files ${packed_files} ${packed}/${RESULT} PARENT_SCOPE)
endfunction()

# The Python package's documents, whose links lead through the source tree.
foreach(document clients/python/README.md docs/loader.md)
  cmake_path(GET document FILENAME name)
  add_custom_command(OUTPUT ${packed}/${name}
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/${document} -DRESULT=${packed}/${name}
            -P ${CMAKE_CURRENT_LIST_DIR}/Document.cmake
    DEPENDS ${document} ${CMAKE_CURRENT_LIST_DIR}/Document.cmake VERBATIM)
  list(APPEND packed_files ${packed}/${name})
endforeach()

if(GZIP)
  compress(${packaging}/tessarel.1 tessarel.1.gz)
  compress(${packaging}/tessarel-load.1 tessarel-load.1.gz)
  compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog.gz)
  compress(${packaging}/debian/changelog changelog.Debian.gz)
  add_custom_target(packed ALL DEPENDS ${packed_files})
  install(FILES ${packed}/tessarel.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

install(FILES ${packaging}/tessarel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/tessarel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${packaging}/tessarel-48.png RENAME tessarel.png
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/48x48/apps)
install(FILES docs/client-interface.md docs/controls.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
# Whatever the checkout's permissions are.
set(readable OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
set(executable ${readable} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
install(DIRECTORY examples/clients/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples FILE_PERMISSIONS ${readable}
  PATTERN .gitignore EXCLUDE PATTERN node_modules EXCLUDE
  PATTERN *.rb PERMISSIONS ${executable} PATTERN *.sh PERMISSIONS ${executable})

foreach(component server python)
  set(package tessarel)
  if(component STREQUAL "python")
    set(package python3-tessarel)
  endif()
  install(FILES ${packed}/changelog.gz ${packed}/changelog.Debian.gz ${packaging}/debian/copyright
    DESTINATION share/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${packaging}/debian/lintian/${package} DESTINATION share/lintian/overrides
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${packed}/tessarel-load.1.gz DESTINATION share/man/man1 COMPONENT python EXCLUDE_FROM_ALL)
install(FILES ${packed}/README.md ${packed}/loader.md docs/client-interface.md DESTINATION share/doc/python3-tessarel
  COMPONENT python EXCLUDE_FROM_ALL)
install(DIRECTORY examples/ DESTINATION share/doc/python3-tessarel/examples FILE_PERMISSIONS ${executable} COMPONENT python
  EXCLUDE_FROM_ALL FILES_MATCHING PATTERN *.py PATTERN tessarel EXCLUDE PATTERN clients EXCLUDE PATTERN __pycache__ EXCLUDE)
install(CODE "set(source \"${PROJECT_SOURCE_DIR}/clients/python\")\nset(scratch \"${packed}/python\")"
  COMPONENT python EXCLUDE_FROM_ALL)
install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/InstallPython.cmake COMPONENT python EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL server python)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_CONTACT "The Tessarel maintainers <maintainers@tessarel.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own, in the first line of its description
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${executable})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME tessarel)
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION science)
set(CPACK_DEBIAN_SERVER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SERVER_PACKAGE_SUGGESTS "python3-tessarel, xvfb")
set(CPACK_DEBIAN_SERVER_DESCRIPTION
"server that shows dynamic graphs in three dimensions
Tessarel shows a graph while a program is still making it. A client in any
language creates and changes vertices, edges and styles by XML-RPC; the window
shows each change in the next frame and lays the graph out without pause, so
that the picture moves, settles and reacts.
.
It is for people who watch something live: a network, a build, a search, the
heap of a program. A change to a style reaches everything below it at once,
and a double click on a vertex calls the client back.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-tessarel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.11)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "tessarel, python3-networkx, python3-pygraphviz, python3-tqdm")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  "${packaging}/debian/python/postinst;${packaging}/debian/python/prerm")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
"Python client of Tessarel, and a loader of graph files
With this package a program makes a graph and Tessarel's window shows it live:
vertices, edges and styles are objects, their attributes are properties, and
many calls travel in one request.
.
tessarel-load shows GraphML, GML, GEXF, Pajek, DOT, edge lists, CSV and
node-link JSON files, or follows a stream of lines. It reads them by networkx,
and DOT by pygraphviz. A networkx graph is shown in one line, too.")

include(CPack)

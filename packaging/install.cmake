# What is installed, in two layouts: an administrator's, below the prefix (component "local"), and the Debian
# package's (component "package"), which only the packing asks for. "common" is in both.
include(GNUInstallDirs)
set(doc ${CMAKE_INSTALL_DOCDIR})

install(TARGETS tnsh COMPONENT common)
# Not where servers look for CGI programs: a client could name any page behind it.
install(TARGETS tnpage DESTINATION lib/tarnel COMPONENT common)
install(PROGRAMS webpage/tnserve DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT common)
install(PROGRAMS examples/web-conf DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnel/servers COMPONENT common)
install(FILES examples/lighttpd.conf.in DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnel/servers COMPONENT common)
install(FILES examples/sites/lighttpd-pages.conf.in DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnel/servers/sites COMPONENT common)
install(FILES examples/www/test.html DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnel/www COMPONENT common)
install(FILES lang/commands.ch DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnel/include COMPONENT common)
install(PROGRAMS examples/web-conf DESTINATION ${doc}/examples COMPONENT common)
file(GLOB server_configurations examples/*.conf.in)
install(FILES ${server_configurations} examples/swedish.lng DESTINATION ${doc}/examples COMPONENT common)
install(DIRECTORY examples/app examples/editor examples/screen examples/sites DESTINATION ${doc}/examples COMPONENT common
        PATTERN examples/app/data EXCLUDE)
install(DIRECTORY docs DESTINATION ${doc} COMPONENT common)

# For programs of one's own: the translator, the headers that its code includes, and what it links.
set(headers
  core/arrays.h core/blocks.h core/checks.h core/classes.h core/frame.h core/function.h core/memvars.h core/modules.h
  core/operators.h core/sequence.h core/signals.h core/stacks.h core/symbols.h core/var.h
  macro/evaluation.h macro/operations.h native/program.h)
foreach(header IN LISTS headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION include/tarnel/${folder} COMPONENT development)
endforeach()
install(TARGETS tnc tarnel_console_main tarnel_cgi_main tarnel_native tarnel_frontend tarnel_runtime ${runtime_parts}
        EXPORT TarnelTargets ARCHIVE DESTINATION lib/tarnel COMPONENT development
        RUNTIME COMPONENT development)
install(FILES translator/tnc.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT development)
install(EXPORT TarnelTargets NAMESPACE Tarnel:: DESTINATION lib/cmake/Tarnel COMPONENT development)
install(FILES packaging/TarnelConfig.cmake packaging/TarnelAddProgram.cmake DESTINATION lib/cmake/Tarnel COMPONENT development)

# Fills in what tells paths of a layout (sites, service, man page, README), below ${CMAKE_BINARY_DIR}/layout.
function(configure_layout layout prefix tables licence)
  set(out ${CMAKE_BINARY_DIR}/layout/${layout})
  set(PROGRAM ${prefix}/lib/cgi-bin/example0)
  set(FILES ${prefix}/share/tarnel/www)
  set(SOCKET /run/tarnel.socket)
  set(PAGE_PROGRAM ${prefix}/lib/tarnel/tnpage)
  set(PAGE_SOCKET /run/fcgiwrap.socket)  # of the system's own service, which may run it
  set(TABLES ${tables})
  foreach(server apache2 lighttpd nginx)
    configure_file(examples/sites/${server}.conf.in ${out}/${server}/tarnel.conf @ONLY)
    configure_file(examples/sites/${server}-pages.conf.in ${out}/${server}/tarnel-pages.conf @ONLY)
  endforeach()
  foreach(unit tarnel.service tarnel.socket)
    configure_file(packaging/${unit}.in ${out}/systemd/${unit} @ONLY)
  endforeach()
  configure_file(frontend/tarnel.8 ${out}/tarnel.8 @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS README.md)
  # A link to what isn't installed would lead nowhere.
  file(READ README.md readme)
  string(REGEX REPLACE "- \\[tests/README.md\\][^\n]*\n" "" readme "${readme}")
  string(REPLACE "(LICENSE)" "(${licence})" readme "${readme}")
  file(WRITE ${out}/README.md "${readme}")
endfunction()

# The program where web servers look for CGI programs, and the tables where it opens them.
configure_layout(local ${CMAKE_INSTALL_PREFIX} ${TARNEL_EXAMPLES_DIR} LICENSE)
set(layout ${CMAKE_BINARY_DIR}/layout/local)
install(PROGRAMS $<TARGET_FILE:tarnel> DESTINATION lib/cgi-bin RENAME example0 COMPONENT local)
install(FILES console/tnsh.1 webpage/tnserve.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT local)
install(FILES ${layout}/tarnel.8 webpage/tnpage.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT local)
install(DIRECTORY ${layout}/apache2 ${layout}/lighttpd ${layout}/nginx ${layout}/systemd
        DESTINATION ${doc}/examples COMPONENT local)
install(FILES ${layout}/README.md LICENSE DESTINATION ${doc} COMPONENT local)
install(FILES ${page_files} DESTINATION ${TARNEL_EXAMPLES_DIR} COMPONENT local)
# Tables that are there hold somebody's records: they stay.
install(CODE "
  set(tables \"\$ENV{DESTDIR}${TARNEL_EXAMPLES_DIR}\")
  if(EXISTS \"\${tables}/user.dbf\")
    message(STATUS \"Keeping the tables in \${tables}\")
  else()
    file(INSTALL \"${CMAKE_BINARY_DIR}/examples/\" DESTINATION \"${TARNEL_EXAMPLES_DIR}\")
  endif()" COMPONENT local)

add_custom_target(uninstall ${CMAKE_COMMAND} -D MANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt
  -D TABLES=${TARNEL_EXAMPLES_DIR} -P ${CMAKE_SOURCE_DIR}/packaging/uninstall.cmake)

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  include(packaging/package.cmake)
endif()

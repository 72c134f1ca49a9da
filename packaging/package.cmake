# The Debian package: cpack, or the target package. Its program opens the tables below /var, which the
# maintainer scripts in debian/ lay out.
set(package_tables /var/lib/tarnel/examples)
set(package_revision 1)
add_program(tarnel_packaged ${package_tables})
set_target_properties(tarnel_packaged PROPERTIES OUTPUT_NAME example0
                      RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/layout/package)
configure_layout(package /usr ${package_tables} copyright)
set(layout ${CMAKE_BINARY_DIR}/layout/package)
set(debian ${CMAKE_SOURCE_DIR}/packaging/debian)

function(install_packaged kind from to)
  install(${kind} ${from} DESTINATION ${to} ${ARGN} COMPONENT package EXCLUDE_FROM_ALL)
endfunction()
install_packaged(TARGETS tarnel_packaged lib/cgi-bin)
install_packaged(FILES "console/tnsh.1;webpage/tnserve.1" share/man/man1)
install_packaged(FILES "${layout}/tarnel.8;webpage/tnpage.8" share/man/man8)
install_packaged(FILES ${layout}/README.md share/doc/tarnel)
install_packaged(FILES ${debian}/changelog share/doc/tarnel RENAME changelog.Debian)
install_packaged(FILES ${debian}/copyright share/doc/tarnel)
install_packaged(FILES ${debian}/lintian-overrides share/lintian/overrides RENAME tarnel)
install_packaged(DIRECTORY ${CMAKE_BINARY_DIR}/examples share/tarnel)
install_packaged(FILES "${page_files}" share/tarnel/examples)
install_packaged(FILES "${layout}/systemd/tarnel.service;${layout}/systemd/tarnel.socket" /lib/systemd/system)
foreach(site tarnel tarnel-pages)
  install_packaged(FILES ${layout}/apache2/${site}.conf /etc/apache2/conf-available)
  install_packaged(FILES ${layout}/lighttpd/${site}.conf /etc/lighttpd/conf-available RENAME 50-${site}.conf)
  install_packaged(FILES ${layout}/nginx/${site}.conf /etc/nginx/snippets)
endforeach()
install(CODE "
  set(share \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/share\")
  execute_process(COMMAND gzip -9nf \"\${share}/man/man1/tnsh.1\" \"\${share}/man/man1/tnserve.1\"
    \"\${share}/man/man8/tarnel.8\" \"\${share}/man/man8/tnpage.8\"
    \"\${share}/doc/tarnel/changelog.Debian\" COMMAND_ERROR_IS_FATAL ANY)" COMPONENT package EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};tarnel;common;/;${CMAKE_BINARY_DIR};tarnel;package;/")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_NAME tarnel)
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${package_revision})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The Tarnel developers <tarnel@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION web)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Web pages over .dbf tables, and a console for them
The CGI program answers requests with pages over tables of records, memos and
indexes, which processes share by file locks; the pages that come with it are
demonstrations. The console tnsh evaluates expressions of the xBase language,
opens, shows, checks and edits tables, and runs scripts.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "lighttpd | httpd-cgi")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "nginx, fcgiwrap")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${debian}/postinst ${debian}/prerm ${debian}/postrm ${debian}/conffiles)
include(CPack)

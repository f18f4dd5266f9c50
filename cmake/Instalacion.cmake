# What "cmake --install" puts where, and the Debian package made of it (cpack).
#
#   bin/                the programs
#   lib/agenda/         libraries of ours and the loadable module: nobody else's, so not among the system's
#   share/              menu entry, icon, man pages, the manual, who may do what with all this

install(TARGETS agendatool RUNTIME DESTINATION bin)
install(FILES packaging/man/agendatool.1 DESTINATION share/man/man1)
set_target_properties(agendatool PROPERTIES INSTALL_RPATH "$ORIGIN/../lib/agenda")
set(propias dbase)
if(AGENDA_QT)
    list(APPEND propias dataset dbcontrols report ZenAgenda)
    install(TARGETS oficina RUNTIME DESTINATION bin)
    set_target_properties(oficina PROPERTIES INSTALL_RPATH "$ORIGIN/../lib/agenda")
    install(FILES packaging/man/oficina.1 DESTINATION share/man/man1)
    install(FILES packaging/oficina-agenda.desktop DESTINATION share/applications)
    install(FILES packaging/oficina-agenda.svg DESTINATION share/icons/hicolor/scalable/apps)
    # The program shows it, so it is not documentation that a small system may leave out (share/doc).
    install(DIRECTORY docs/manual/ DESTINATION share/oficina/manual PATTERN "*.sh" EXCLUDE)
endif()
install(FILES packaging/copyright DESTINATION share/doc/oficina-agenda)
# A module counts as a library also on Windows, where libraries and module lie beside the program.
set(bibliotecas lib/agenda)
if(WIN32)
    set(bibliotecas bin)
endif()
install(TARGETS ${propias} LIBRARY DESTINATION ${bibliotecas} RUNTIME DESTINATION ${bibliotecas} ARCHIVE DESTINATION lib/agenda EXCLUDE_FROM_ALL)
set_target_properties(${propias} PROPERTIES INSTALL_RPATH "$ORIGIN")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME oficina-agenda)
set(CPACK_PACKAGE_VENDOR "Agenda de la notaría")
set(CPACK_PACKAGE_CONTACT "Agenda de la notaría <agenda@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Agenda de citas de una notaría, para varios puestos")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/paquete")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_BINARY_DIR}/bin")
# The sheets are drawn for Arial; this is the face with its widths. The translation names the buttons of Qt's dialogs.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-liberation, qt6-translations-l10n")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Una hoja por día y notario, en la que varios oficiales escriben a la vez\n desde varios puestos sobre tablas dBase compartidas; hojas impresas del día y\n de la semana, y agendatool para el mantenimiento de las tablas.")
include(CPack)

# What "cmake --install" puts where, and the Debian package made of it (cpack).
#
#   bin/                the programs
#   lib/oficina/agenda/ libraries of ours and the loadable module: nobody else's, so not among the system's, nor one level
#                       below them, where the package tool takes them for the system's too
#   share/              menu entry, icon, man pages, the manual, who may do what with all this

# Packing packs what has been built; it does not build.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(programas agendatool)
set(propias dbase)
if(AGENDA_QT)
    list(APPEND programas oficina)
    list(APPEND propias dataset dbcontrols report ZenAgenda)
    install(FILES packaging/oficina-agenda.desktop DESTINATION share/applications)
    install(FILES packaging/oficina-agenda.svg DESTINATION share/icons/hicolor/scalable/apps)
    # The program shows it, so it is not documentation that a small system may leave out (share/doc).
    install(DIRECTORY docs/manual/ DESTINATION share/oficina/manual PATTERN "*.sh" EXCLUDE)
    # The program looks for it beside itself, installed or not, and knows no other place.
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/share/oficina")
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/docs/manual" "${CMAKE_BINARY_DIR}/share/oficina/manual" COPY_ON_ERROR SYMBOLIC)
endif()
install(TARGETS ${programas} RUNTIME DESTINATION bin)
# A module counts as a library also on Windows, where libraries and module lie beside the program.
set(bibliotecas lib/oficina/agenda)
if(WIN32)
    set(bibliotecas bin)
endif()
install(TARGETS ${propias} LIBRARY DESTINATION ${bibliotecas} RUNTIME DESTINATION ${bibliotecas} ARCHIVE DESTINATION ${bibliotecas} EXCLUDE_FROM_ALL)
set_target_properties(${programas} PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/../lib/oficina/agenda")

# instala_comprimido(SOURCE NAME FOLDER): a text for Debian's readers, who look for it compressed, without its name and
# time so that the same sources give the same package. Elsewhere it goes as it is.
find_program(AGENDA_GZIP gzip)
function(instala_comprimido fuente nombre carpeta)
    if(WIN32 OR NOT AGENDA_GZIP)
        install(FILES "${fuente}" DESTINATION "${carpeta}" RENAME "${nombre}")
        return()
    endif()
    set(hecho "${CMAKE_BINARY_DIR}/comprimido/${nombre}.gz")
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/comprimido")
    add_custom_command(OUTPUT "${hecho}" DEPENDS "${PROJECT_SOURCE_DIR}/${fuente}"
        COMMAND "${AGENDA_GZIP}" -9nc "${PROJECT_SOURCE_DIR}/${fuente}" > "${hecho}" VERBATIM)
    set_property(GLOBAL APPEND PROPERTY agenda_comprimidos "${hecho}")
    install(FILES "${hecho}" DESTINATION "${carpeta}")
endfunction()
foreach(programa IN LISTS programas)
    instala_comprimido(packaging/man/${programa}.1 ${programa}.1 share/man/man1)
endforeach()
instala_comprimido(packaging/changelog changelog share/doc/oficina-agenda)
get_property(comprimidos GLOBAL PROPERTY agenda_comprimidos)
add_custom_target(comprimidos ALL DEPENDS ${comprimidos})
install(FILES packaging/copyright DESTINATION share/doc/oficina-agenda)
install(FILES packaging/lintian-overrides DESTINATION share/lintian/overrides RENAME oficina-agenda)
# What the compiler has written its name into; stripping leaves it.
if(CMAKE_STRIP AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    foreach(uno IN LISTS programas propias)
        set(carpeta bin)
        if(uno IN_LIST propias)
            set(carpeta "${bibliotecas}")
        endif()
        install(CODE "if(CMAKE_INSTALL_DO_STRIP)
            execute_process(COMMAND \"${CMAKE_STRIP}\" --remove-section=.comment --remove-section=.note
                \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${carpeta}/$<TARGET_FILE_NAME:${uno}>\" COMMAND_ERROR_IS_FATAL ANY)
        endif()")
    endforeach()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME oficina-agenda)
set(CPACK_PACKAGE_VENDOR "Agenda de la notaría")
# Who answers for the package: to be named by whoever gives it to others. The domain belongs to nobody.
set(AGENDA_RESPONSABLE "Agenda de la notaría <agenda@example.org>" CACHE STRING "Maintainer of the Debian package")
set(CPACK_PACKAGE_CONTACT "${AGENDA_RESPONSABLE}")
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
    "Una hoja por día y notario, en la que varios oficiales escriben a la vez\ndesde varios puestos sobre tablas dBase compartidas; hojas impresas del día y\nde la semana, y agendatool para el mantenimiento de las tablas.")
include(CPack)

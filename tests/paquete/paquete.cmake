cmake_minimum_required(VERSION 3.25)

# Packs what stands in BUILD, unpacks it below WORK, reads its programs (elf.cmake) and has Debian's own reader of packages
# look at it.
#   cmake -DBUILD=folder -DWORK=folder -DBUILDER="path;path" -DFORTIFY=ON|OFF -DCPACK=cpack -DLINTIAN=lintian -P paquete.cmake

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
execute_process(COMMAND "${CPACK}" --config "${BUILD}/CPackConfig.cmake" -B "${WORK}" -D CPACK_THREADS=0
    WORKING_DIRECTORY "${WORK}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB paquetes "${WORK}/*.deb")
list(LENGTH paquetes cuantos)
if(NOT cuantos EQUAL 1)
    message(FATAL_ERROR "${cuantos} packages in ${WORK}")
endif()
execute_process(COMMAND dpkg-deb -x "${paquetes}" "${WORK}/dentro" COMMAND_ERROR_IS_FATAL ANY)

set(FOLDER "${WORK}/dentro")
include("${CMAKE_CURRENT_LIST_DIR}/elf.cmake")
foreach(necesario IN ITEMS bin/oficina bin/agendatool lib/oficina/agenda/libZenAgenda.so lib/oficina/agenda/libdbase.so
        share/oficina/manual/index.html share/man/man1/oficina.1.gz share/doc/oficina-agenda/changelog.gz)
    if(NOT EXISTS "${WORK}/dentro/usr/${necesario}")
        message(SEND_ERROR "the package lacks ${necesario}")
    endif()
endforeach()

# It runs from where it was unpacked, with the libraries of the package. Nothing of the place where it was built counts.
execute_process(COMMAND "${WORK}/dentro/usr/bin/agendatool" --version WORKING_DIRECTORY / COMMAND_ERROR_IS_FATAL ANY)

# The licence is for the owner to state; without the optimiser there are no guarded calls.
set(callados copyright-without-copyright-notice)
if(NOT FORTIFY)
    string(APPEND callados ",hardening-no-fortify-functions,mismatched-override,unused-override")
endif()
execute_process(COMMAND "${LINTIAN}" --allow-root --fail-on error,warning,info --display-info --suppress-tags "${callados}"
    "${paquetes}" RESULT_VARIABLE codigo OUTPUT_VARIABLE dicho ERROR_VARIABLE dicho)
if(NOT codigo EQUAL 0)
    message(SEND_ERROR "the package has faults:\n${dicho}")
endif()

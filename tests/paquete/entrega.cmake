cmake_minimum_required(VERSION 3.25)

# Configures SOURCE anew below WORK as it is given to offices, without what needs Qt, builds the little program and reads it.
#   cmake -DSOURCE=folder -DWORK=folder -DGENERATOR=name -P entrega.cmake

execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${WORK}" -G "${GENERATOR}" -DCMAKE_BUILD_TYPE=Release
        -DAGENDA_WERROR=ON -DAGENDA_QT=OFF -DAGENDA_BENCH=OFF
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK}" --target modelo_endurecido OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(FILES "${WORK}/bin/modelo_endurecido")
set(BUILDER "${SOURCE}")
set(FORTIFY ON)
include("${CMAKE_CURRENT_LIST_DIR}/elf.cmake")

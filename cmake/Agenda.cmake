# What every target of the project has in common.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
# Programs and libraries lie side by side and look for each other there: as they are built, so they are installed. A path
# that is written over at installing is filled up to its length meanwhile, with elements that mean the current folder.
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()

find_program(AGENDA_CCACHE ccache)
if(AGENDA_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${AGENDA_CCACHE}")
endif()

add_library(agenda_flags INTERFACE)
target_include_directories(agenda_flags INTERFACE "${PROJECT_SOURCE_DIR}")
if(MSVC)
    target_compile_options(agenda_flags INTERFACE /W4 /utf-8 /permissive- $<$<BOOL:${AGENDA_WERROR}>:/WX>)
else()
    target_compile_options(agenda_flags INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
                                                  -Woverloaded-virtual $<$<BOOL:${AGENDA_WERROR}>:-Werror>)
endif()
target_compile_definitions(agenda_flags INTERFACE QT_NO_FOREACH QT_NO_CONTEXTLESS_CONNECT
                                                  QT_DISABLE_DEPRECATED_BEFORE=0x060000 QT_NO_CAST_TO_ASCII)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 sees overlaps in sums of strings that are none (its bug 105651).
    target_compile_options(agenda_flags INTERFACE -Wno-restrict)
endif()
# No path of the machine that built it in what is given to others. Coverage looks for its sources by them.
if(NOT MSVC AND NOT AGENDA_COVERAGE)
    target_compile_options(agenda_flags INTERFACE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
endif()
include(Endurecido)
if(AGENDA_SANITIZE)
    target_compile_options(agenda_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
    target_link_options(agenda_flags INTERFACE -fsanitize=address,undefined)
endif()
if(AGENDA_COVERAGE)
    target_compile_options(agenda_flags INTERFACE --coverage)
    target_link_options(agenda_flags INTERFACE --coverage)
endif()

# agenda_library(NAME SHARED|STATIC|MODULE SOURCES file... LINK target... [MOC])
# MOC: the target has classes with Q_OBJECT.
function(agenda_library name kind)
    cmake_parse_arguments(PARSE_ARGV 2 arg "MOC" "" "SOURCES;LINK")
    add_library(${name} ${kind} ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC agenda_flags ${arg_LINK})
    if(arg_MOC)
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
    endif()
endfunction()

# agenda_test(NAME SOURCES file... LINK target...): one test program, each of its cases a test of ctest.
function(agenda_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE agenda_flags ${arg_LINK} GTest::gtest)
    # The data folder is handed over instead of being searched for, so that tests run from anywhere.
    target_compile_definitions(${name} PRIVATE AGENDA_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
endfunction()
include(GoogleTest)

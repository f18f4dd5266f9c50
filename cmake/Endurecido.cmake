# What the compiler and the linker of Debian offer against a fault of memory that somebody would use (its own
# "hardening=+all"), for every target on Linux. Sanitizers see more and want the program as it is.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR AGENDA_SANITIZE)
    return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

set(endurecido -fstack-protector-strong -Wformat -Werror=format-security)
foreach(opcion IN ITEMS -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "AGENDA_TIENE${opcion}" tiene)
    check_cxx_compiler_flag(${opcion} ${tiene}) # of some processors alone
    if(${tiene})
        list(APPEND endurecido ${opcion})
    endif()
endforeach()
target_compile_options(agenda_flags INTERFACE ${endurecido})
target_compile_definitions(agenda_flags INTERFACE _GLIBCXX_ASSERTIONS)
# Needs the optimiser, and says so as a warning. Some distributions set it themselves.
target_compile_options(agenda_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
target_link_options(agenda_flags INTERFACE -Wl,-z,relro,-z,now)

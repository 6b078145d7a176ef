# What compiler and linker do against an attacker who has found a fault of memory. tests/hardening checks the built
# programs; docs/security.md says what each costs.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)

check_pie_supported(LANGUAGES C CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-fstack-protector-strong -fstack-clash-protection)
# Indirect jumps end only where the compiler meant them to: x86, 64-bit ARM.
foreach(flag -fcf-protection=full -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "has${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        add_compile_options(${flag})
    endif()
endforeach()
# Checked copies and prints need the optimizer, which Debug builds do without.
# In this order, and so not among the definitions, which come first.
add_compile_options($<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
add_compile_definitions(_GLIBCXX_ASSERTIONS)

add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)

# What makes an attacker's work harder, in every build but a debugging one: each word that this
# compiler and linker know. tests/house/hardened.py finds their traces in what ships.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

function(harden_compiler name)
  check_cxx_compiler_flag("${ARGN}" HARDENS_${name})
  if(HARDENS_${name})
    add_compile_options("$<$<NOT:$<CONFIG:Debug>>:${ARGN}>")
  endif()
endfunction()

harden_compiler(STACK_PROTECTOR -fstack-protector-strong)
harden_compiler(STACK_CLASH -fstack-clash-protection)
# Of these two a machine has one: x86, arm64.
harden_compiler(CONTROL_FLOW -fcf-protection=full)
harden_compiler(BRANCHES -mbranch-protection=standard)
# A packager's own level goes first, since another one is an error.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
add_compile_definitions(_GLIBCXX_ASSERTIONS)

check_pie_supported(LANGUAGES CXX)
if(NOT CMAKE_CXX_LINK_PIE_SUPPORTED)
  message(WARNING "The programs can't be loaded at random addresses")
endif()
foreach(word relro now noexecstack separate-code)
  check_linker_flag(CXX -Wl,-z,${word} HARDENS_LINK_${word})
  if(HARDENS_LINK_${word})
    add_link_options(-Wl,-z,${word})
  endif()
endforeach()

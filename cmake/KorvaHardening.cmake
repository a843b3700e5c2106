# Defences in the built files against what a mistake in the code could be used for. Not where the code is
# instrumented: sanitizers and fuzzers find such mistakes themselves, and see less behind these.

include(CheckPIESupported)
# Else executables whose objects are position-independent would depend on the compiler's habits in linking.
check_pie_supported(LANGUAGES CXX)

set(KORVA_HARDENED ON)
if(KORVA_SANITIZERS OR KORVA_FUZZING OR KORVA_COVERAGE OR NOT (CMAKE_SYSTEM_NAME STREQUAL "Linux" OR MINGW))
  set(KORVA_HARDENED OFF)
endif()

add_library(KorvaHardening INTERFACE)
target_compile_options(KorvaHardening INTERFACE
  -fstack-protector-strong
  # Indices and preconditions of the standard library.
  -D_GLIBCXX_ASSERTIONS
  # The C library's checks need an optimised build, and say so in a warning otherwise.
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=3>)
if(MINGW)
  # What the guards and checks call. The rest is so on Windows: large frames touch each page in turn, MinGW-w64 links
  # programs that are loaded anywhere and stacks that are not executable, and Windows asks for no marks of jumps.
  target_link_libraries(KorvaHardening INTERFACE ssp)
else()
  target_compile_options(KorvaHardening INTERFACE
    # No frame reaches over the page that guards the end of the stack.
    -fstack-clash-protection
    # Marks every place that a jump by a pointer may go to. The linked files do not say that they are complete in
    # this, since the start files of g++ here have no marks, so that no loader switches it on by itself yet.
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)
  target_link_options(KorvaHardening INTERFACE "LINKER:-z,relro" "LINKER:-z,now" "LINKER:-z,noexecstack")
endif()

# For what is installed; the programs of tests, fuzzers and benchmarks do without, all but what they link of it.
function(korva_harden target)
  if(KORVA_HARDENED AND NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "${korva_not_installed}")
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:KorvaHardening>)
  endif()
endfunction()

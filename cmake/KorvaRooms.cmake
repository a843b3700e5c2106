# Every room of the repository is a target of its own, made ready by korva_room(): the language, the
# warnings and the visibility are the same everywhere, the include directories are not.

add_library(KorvaBuildFlags INTERFACE)
target_compile_features(KorvaBuildFlags INTERFACE cxx_std_20)
set(likes_gcc $<CXX_COMPILER_ID:GNU,Clang>)
target_compile_options(KorvaBuildFlags INTERFACE
  "$<${likes_gcc}:-Wall;-Wextra;-Wpedantic;-Wconversion;-Wshadow>"
  "$<$<CXX_COMPILER_ID:MSVC>:/W4;/wd4910;/permissive-;/utf-8;/Zc:__cplusplus>"
  # g++ 12 sees pieces of memory overlap in std::string's operator+ that do not.
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# Sources that are compiled together see each other's names; what warnings say of one alone the everyday build hears.
if(CMAKE_UNITY_BUILD)
  target_compile_options(KorvaBuildFlags INTERFACE $<${likes_gcc}:-Wno-shadow> $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
set(KORVA_SANITIZED OFF)
if(KORVA_SANITIZERS)
  set(KORVA_SANITIZED ON)
  target_compile_options(KorvaBuildFlags INTERFACE
    -fsanitize=${KORVA_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # Instrumented, g++'s own <regex> looks to it as if it read what was not set.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(KorvaBuildFlags INTERFACE -fsanitize=${KORVA_SANITIZERS})
endif()
if(KORVA_COVERAGE)
  target_compile_options(KorvaBuildFlags INTERFACE --coverage -fprofile-abs-path)
  target_link_options(KorvaBuildFlags INTERFACE --coverage)
endif()
if(KORVA_FUZZING)
  target_compile_options(KorvaBuildFlags INTERFACE -fsanitize=fuzzer-no-link)
endif()
# As hosts on Windows know them: without "lib".
if(WIN32)
  set(CMAKE_SHARED_LIBRARY_PREFIX "")
endif()
set(korva_not_installed "^${PROJECT_SOURCE_DIR}/(Tests|Fuzz|Benchmarks)")
include(KorvaHardening)

# Programs that are not installed have folders of their own beside the libraries' one.
function(korva_room target)
  set(libraries "${CMAKE_INSTALL_LIBDIR}")
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "${korva_not_installed}")
    cmake_path(RELATIVE_PATH CMAKE_LIBRARY_OUTPUT_DIRECTORY BASE_DIRECTORY "${CMAKE_BINARY_DIR}"
      OUTPUT_VARIABLE libraries)
  endif()
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:KorvaBuildFlags>)
  korva_harden(${target})
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    # CMake's own run path in the build tree is padded with empty elements, which mean the working folder.
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN;$ORIGIN/../${libraries}")
endfunction()

# A compiler cache knows a source by its text, which says too little of a precompiled header.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# Test programs are linked often: three times as fast where this linker is. What is installed is linked by the usual one.
if(NOT WIN32)
  find_program(KORVA_LLD ld.lld)
endif()

# The test programs that have threads, for the thread sanitizer.
add_custom_target(ThreadTests)

# What of the tests is left out by Wine: a line "PROGRAM SUITE.CASE REASON" each.
if(WIN32)
  set(korva_left_out_file "${PROJECT_SOURCE_DIR}/Tests/Windows/left-out")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${korva_left_out_file}")
  file(STRINGS "${korva_left_out_file}" korva_left_out REGEX "^[A-Za-z]")
endif()

# korva_left_out(VARIABLE PROGRAM): the argument that leaves them out of it; nothing if there are none.
function(korva_left_out variable program)
  set(left_out)
  foreach(line IN LISTS korva_left_out)
    if(line MATCHES "^${program} +([^ ]+) ")
      string(APPEND left_out ":${CMAKE_MATCH_1}")
    endif()
  endforeach()
  string(REGEX REPLACE "^:" "--gtest_filter=-" left_out "${left_out}")
  set(${variable} "${left_out}" PARENT_SCOPE)
endfunction()

# korva_test(NAME SOURCES file... LIBRARIES target... [APART file...] [LABELS label] [LOCK resource]
#   [COST number] [PRIVATE_NETWORKS] [ONE_ENTRY])
# A GoogleTest program whose cases ctest lists one by one, or with ONE_ENTRY as one: for many short ones, which a
# process each would make slow. APART are sources which say a name that another one says, and so are compiled by
# themselves also where the others are compiled together. No two with the same LOCK run at a time. The higher its COST,
# the earlier it is begun; what waits for a lock or in a lab comes before the rest, which fills the gaps. With
# PRIVATE_NETWORKS it has the right to make TestSupport::NetworkNamespace, or its cases count as skipped where the
# system grants that to nobody.
function(korva_test name)
  cmake_parse_arguments(arg "PRIVATE_NETWORKS;ONE_ENTRY" "LOCK;COST" "SOURCES;APART;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${arg_SOURCES} ${arg_APART})
  if(arg_APART)
    set_source_files_properties(${arg_APART} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  if(arg_PRIVATE_NETWORKS)
    target_sources(${name} PRIVATE "${PROJECT_SOURCE_DIR}/Tests/Support/NamespaceMain.cpp")
  endif()
  korva_room(${name})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} TestMain GTest::gmock)
  target_precompile_headers(${name} REUSE_FROM TestMain)
  if(KORVA_LLD)
    target_link_options(${name} PRIVATE -fuse-ld=lld)
  endif()
  if(arg_LABELS MATCHES "threads")
    add_dependencies(ThreadTests ${name})
  endif()
  set(lock)
  if(arg_LOCK)
    set(lock RESOURCE_LOCK ${arg_LOCK})
  endif()
  set(cost)
  if(arg_COST)
    set(cost COST ${arg_COST})
  elseif(arg_LOCK)
    set(cost COST 80)
  elseif(arg_LABELS MATCHES "lab|integration")
    set(cost COST 70)
  endif()
  # A process each costs an instrumented program more than most cases do, and so it does by Wine.
  if(arg_ONE_ENTRY OR WIN32 OR (KORVA_SANITIZED AND NOT arg_LABELS))
    korva_left_out(left_out ${name})
    add_test(NAME ${name} COMMAND ${name} ${left_out})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77 ${lock} ${cost} LABELS "${arg_LABELS}")
    if(WIN32) # its server and services are there before the first program, which they would hold open otherwise
      set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED wine)
    endif()
    return()
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77 ${lock} ${cost} LABELS "${arg_LABELS}")
endfunction()

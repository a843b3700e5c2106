# Every header suffices alone: the target all_verify_interface_header_sets compiles each by itself.

# korva_headers(TARGET [BASE folder] PATTERN...): the headers that the patterns find are the interface of the library
# TARGET, are included relative to BASE (the current folder), and each is checked. They are C++20, and say so to
# whoever links the library.
function(korva_headers target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "BASE" "")
  if(NOT arg_BASE)
    set(arg_BASE ".")
  endif()
  # Looked up, so that none is forgotten.
  file(GLOB headers CONFIGURE_DEPENDS ${arg_UNPARSED_ARGUMENTS})
  if(NOT headers)
    message(FATAL_ERROR "${target} has no headers ${arg_UNPARSED_ARGUMENTS}")
  endif()
  get_target_property(type ${target} TYPE)
  set(scope PUBLIC)
  if(type STREQUAL "INTERFACE_LIBRARY")
    set(scope INTERFACE)
  endif()
  target_sources(${target} ${scope} FILE_SET HEADERS BASE_DIRS "${arg_BASE}" FILES ${headers})
  target_compile_features(${target} ${scope} cxx_std_20)
  set_target_properties(${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  set_property(GLOBAL APPEND PROPERTY KORVA_CHECKED_HEADERS ${headers})
endfunction()

# korva_private_headers(TARGET PATTERN... [LIKE target...]): the headers that the patterns find are no library's
# interface (a program's own, a library's inner ones). Each is checked as TARGET and the others see it.
function(korva_private_headers target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIKE")
  set(name ${target}Headers)
  add_library(${name} INTERFACE)
  foreach(model IN LISTS target arg_LIKE)
    target_include_directories(${name} INTERFACE $<TARGET_PROPERTY:${model},INCLUDE_DIRECTORIES>)
    target_compile_definitions(${name} INTERFACE $<TARGET_PROPERTY:${model},COMPILE_DEFINITIONS>)
  endforeach()
  korva_headers(${name} ${arg_UNPARSED_ARGUMENTS})
endfunction()

# korva_expect_all_headers(FOLDER...): configuring fails if a header below a folder belongs to none of the above.
function(korva_expect_all_headers)
  list(TRANSFORM ARGV PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE patterns)
  list(TRANSFORM patterns APPEND "/*.h")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${patterns})
  get_property(checked GLOBAL PROPERTY KORVA_CHECKED_HEADERS)
  list(REMOVE_ITEM headers ${checked})
  if(headers)
    message(FATAL_ERROR "no korva_headers() or korva_private_headers() names ${headers}")
  endif()
endfunction()

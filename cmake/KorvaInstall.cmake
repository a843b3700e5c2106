# cmake --install: the plug-in, the reference host, the tool and the headers of their interfaces, with a
# package for find_package(NativeCameraKorva).

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/NativeCameraKorva")

foreach(target HostFramework ReferenceHost NativeCameraKorva)
  set(includes "${CMAKE_INSTALL_INCLUDEDIR}/${target}")
  if(target STREQUAL "NativeCameraKorva")
    set(includes "${CMAKE_INSTALL_INCLUDEDIR}") # the folder is part of the headers' names
  endif()
  install(TARGETS ${target}
    EXPORT NativeCameraKorvaTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    FILE_SET HEADERS DESTINATION "${includes}")
endforeach()
if(TARGET korva)
  install(TARGETS korva RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

install(EXPORT NativeCameraKorvaTargets NAMESPACE NativeCameraKorva:: DESTINATION "${package_dir}")
configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/NativeCameraKorvaConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/NativeCameraKorvaConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file(
  "${PROJECT_BINARY_DIR}/NativeCameraKorvaConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/NativeCameraKorvaConfig.cmake"
  "${PROJECT_BINARY_DIR}/NativeCameraKorvaConfigVersion.cmake"
  DESTINATION "${package_dir}")

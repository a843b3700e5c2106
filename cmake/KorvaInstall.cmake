# cmake --install: the plug-in, the reference host, the tool and the headers of their interfaces, with a
# package for find_package(NativeCameraKorva).

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/NativeCameraKorva")

install(TARGETS NativeCameraKorva ReferenceHost HostFramework
  EXPORT NativeCameraKorvaTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(TARGETS korva RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")

install(DIRECTORY "${PROJECT_SOURCE_DIR}/HostFramework/" "${PROJECT_BINARY_DIR}/HostFramework/include/"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/HostFramework" FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/ReferenceHost/include/"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/ReferenceHost" FILES_MATCHING PATTERN "*.h")
install(FILES
  "${PROJECT_SOURCE_DIR}/BackEnd/NativeCameraKorva/KorvaBinaryCommunication.h"
  "${PROJECT_SOURCE_DIR}/BackEnd/NativeCameraKorva/KorvaCameraLoader.h"
  "${PROJECT_SOURCE_DIR}/BackEnd/NativeCameraKorva/KorvaCommParser.h"
  "${PROJECT_SOURCE_DIR}/BackEnd/NativeCameraKorva/KorvaHelper.h"
  "${PROJECT_SOURCE_DIR}/BackEnd/NativeCameraKorva/KorvaMessage.h"
  "${PROJECT_BINARY_DIR}/BackEnd/NativeCameraKorva/include/NativeCameraKorva/KorvaExport.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/NativeCameraKorva")

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

# What `cmake --install` lays down beside the headers (see OrbuFloor): the library, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS orbu EXPORT OrbuTargets LIBRARY DESTINATION "${ORBU_LIBDIR}")
install(EXPORT OrbuTargets NAMESPACE Orbu:: DESTINATION "${ORBU_LIBDIR}/cmake/Orbu")

configure_package_config_file(cmake/OrbuConfig.cmake.in "${PROJECT_BINARY_DIR}/OrbuConfig.cmake"
  INSTALL_DESTINATION "${ORBU_LIBDIR}/cmake/Orbu")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OrbuConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/OrbuConfig.cmake" "${PROJECT_BINARY_DIR}/OrbuConfigVersion.cmake"
  DESTINATION "${ORBU_LIBDIR}/cmake/Orbu")

configure_file(cmake/orbu.pc.in "${PROJECT_BINARY_DIR}/orbu.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orbu.pc" DESTINATION "${ORBU_LIBDIR}/pkgconfig")

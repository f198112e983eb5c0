# What is installed and how it is found: headers, the two libraries, the virtual instrument, the
# CMake package, pkg-config files and the packages that CPack makes.

include(CMakePackageConfigHelpers)

install(DIRECTORY include/quorvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY virtual/daq/include/ virtual/serial/include/ virtual/laser/include/ virtual/motor/include/
    virtual/stage/include/ virtual/beads/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY samples DESTINATION ${CMAKE_INSTALL_DATADIR}/quorvex COMPONENT runtime
    USE_SOURCE_PERMISSIONS)  # the virtual instrument's dkl.exe is a program

install(TARGETS quorvex quorvex-messages quorvex-virtual-daq quorvex-virtual-serial quorvex-virtual-laser
    quorvex-virtual-motor quorvex-virtual-stage quorvex-virtual-beads
    quorvex_headers
    EXPORT quorvexTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS quorvex-virtual-laser-program quorvex-virtual-motors quorvex-virtual-stage-program quorvex-virtual-detector
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
set_target_properties(quorvex_headers PROPERTIES EXPORT_NAME headers)
install(EXPORT quorvexTargets NAMESPACE quorvex::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex COMPONENT development)

configure_package_config_file(cmake/quorvexConfig.cmake.in ${PROJECT_BINARY_DIR}/quorvexConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quorvexConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
# From the pkg-config folder back to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH QUORVEX_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/quorvex.pc.in ${PROJECT_BINARY_DIR}/quorvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quorvexConfig.cmake ${PROJECT_BINARY_DIR}/quorvexConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/quorvex COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/quorvex.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvex)
set(CPACK_PACKAGE_VENDOR Velmora)
set(CPACK_PACKAGE_CONTACT "Velmora <support@velmora.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)

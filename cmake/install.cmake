include(CMakePackageConfigHelpers)

install(TARGETS daxlib EXPORT daxlib
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(dax_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/daxlib)
install(EXPORT daxlib
    FILE daxlibConfig.cmake NAMESPACE daxlib:: DESTINATION ${dax_package_dir})
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/daxlibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/daxlibConfigVersion.cmake DESTINATION ${dax_package_dir})

# daxlib.pc tells the prefix from its own place, so that an installed tree can be moved.
set(dax_pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(SET dax_pc_full NORMALIZE ${CMAKE_INSTALL_PREFIX}/${dax_pc_dir})
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${dax_pc_full} OUTPUT_VARIABLE DAX_PC_PREFIX)
configure_file(cmake/daxlib.pc.in daxlib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/daxlib.pc DESTINATION ${dax_pc_dir})

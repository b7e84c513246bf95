include(CMakePackageConfigHelpers)

get_property(headers GLOBAL PROPERTY ZEVRIN_PUBLIC_HEADERS)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zevrin COMPONENT Development)
install(TARGETS zevrin EXPORT ZevrinTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Zevrin)
install(EXPORT ZevrinTargets NAMESPACE Zevrin:: DESTINATION ${package_dir} COMPONENT Development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZevrinConfig.cmake.in ZevrinConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(ZevrinConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZevrinConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZevrinConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT Development)

# Relative to where the file is found, so that another prefix can be chosen when installing.
set(pc_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH ZEVRIN_PREFIX_FROM_PC /prefix/${pc_dir} /prefix)
string(REGEX REPLACE "/$" "" ZEVRIN_PREFIX_FROM_PC ${ZEVRIN_PREFIX_FROM_PC})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zevrin.pc.in zevrin.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zevrin.pc DESTINATION ${pc_dir} COMPONENT Development)

# USB3 Vision cameras without being root. Read by the system below /usr only.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/60-zevrin.rules DESTINATION lib/udev/rules.d COMPONENT Runtime)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime
        PATTERN Doxyfile EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/CONTRIBUTING.md
              ${PROJECT_SOURCE_DIR}/LICENSE
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Runtime)

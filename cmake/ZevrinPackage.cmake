# The Debian packages: zevrin, to run (library, program, udev rules), and zevrin-dev, to build with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zevrin)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Zevrin developers <zevrin@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Runtime Development)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The library, the program zevrin, and udev rules for USB3 Vision cameras.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zevrin)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION science)
# The library is looked for where it was built: no package has it yet.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "To build programs with: headers, the CMake package, the pkg-config file and examples.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME zevrin-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "zevrin (= ${PROJECT_VERSION}), libboost-thread-dev")

include(CPack)

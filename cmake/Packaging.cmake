# Debian packages of the installation components (cpack -G DEB, or
# scripts/package.sh): the runtime library named after its soname, its -dev
# package and the program's package. Dependencies on Debian's libraries come
# from dpkg-shlibdeps; those between the three packages pin the same version.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvconfigstore)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "host configuration store client")
set(CPACK_PACKAGE_CONTACT "CorvConfigStore maintainers <corvconfigstore@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps looks for the program's own library in the build tree; the
# dependency on its package comes from the component dependencies.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libcorvconfigstore${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "host configuration store client - shared library\n\
The library host processes link to read and write configuration objects:\n\
JSON objects validated against key schemas and kept in an SQLite store.")
# Programs linking the library depend on this package at this version or later.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcorvconfigstore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The headers include rapidjson's; the pkg-config file needs pkg-config.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "rapidjson-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "pkg-config")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "host configuration store client - development files\n\
Headers, the CMake package and the pkg-config file for building programs\n\
with the configuration store client library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME corvcfg)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "host configuration store client - command-line program\n\
corvcfg sets up, reads and writes the host configuration store; with its\n\
bash completion and manual page.")

include(CPack)

# What `cmake --install` lays out: the product home, as the library expects it.
#
#   <prefix>/bin/ztintsvr                     the server
#   <prefix>/shlib/libztint.so*               the library
#   <prefix>/share/pkgconfig/ztint.pc         for pkg-config
#   <prefix>/share/cmake/ztint/               for find_package(ztint)
#   <prefix>/include/                         the public headers, generated ones too
#   <prefix>/<architecture>/messages/         the message catalogs
#
# The default prefix is the library's default product home, so that a default
# install needs no ZT_HOME. `cpack` makes a .deb of the same layout.
# Included from the top CMakeLists.txt after the targets exist.

include(CMakePackageConfigHelpers)

file(GLOB ztint_public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/*.h)
install(FILES ${ztint_public_headers}
              ${ZTINT_GENERATED_DIR}/include/ztint_api.h
              ${ZTINT_GENERATED_DIR}/include/ztint_signatures.h
        DESTINATION include)

configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/ztint.pc.in
               ${PROJECT_BINARY_DIR}/install/ztint.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/install/ztint.pc DESTINATION share/pkgconfig)

configure_file(${PROJECT_SOURCE_DIR}/cmake/templates/ztintConfig.cmake.in
               ${PROJECT_BINARY_DIR}/install/ztintConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/ztintConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/install/ztintConfig.cmake
              ${PROJECT_BINARY_DIR}/install/ztintConfigVersion.cmake
        DESTINATION share/cmake/ztint)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ztint)
set(CPACK_PACKAGE_VENDOR "The ztint developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Client library and server of the ztint defect and change tracking system")
set(CPACK_PACKAGING_INSTALL_PREFIX ${ZTINT_DEFAULT_PRODUCT_HOME})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The ztint developers <ztint@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The server loads PostgreSQL's client library only for a store on PostgreSQL.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libpq5)
set(CPACK_STRIP_FILES ON)
# The library in shlib/ is the package's own, not a system library.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/cmake/libs)
include(CPack)

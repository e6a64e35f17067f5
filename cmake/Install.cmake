# What `cmake --install` puts where: the library with its public headers, as a CMake package
# (find_package(OptionsMgr)) and for pkg-config (optionsmgr). And the Debian package made from that.
include(CMakePackageConfigHelpers)

# Public headers give the namespace default visibility; those that do not are for the library's own sources.
file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} qorvane/*.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${headers})
set(private_headers)
foreach(header IN LISTS headers)
  file(STRINGS ${header} hidden REGEX "^namespace qorvane::inline")
  if(hidden)
    string(REPLACE "." "\\." pattern ${header})
    list(APPEND private_headers REGEX "/${pattern}$" EXCLUDE)
  endif()
endforeach()

install(TARGETS OptionsMgr EXPORT OptionsMgrTargets)
install(DIRECTORY qorvane TYPE INCLUDE FILES_MATCHING PATTERN "*.h" PATTERN "vocabulary/*.def"
        PATTERN "foundation/failures.def"
        ${private_headers})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OptionsMgr)
configure_package_config_file(cmake/OptionsMgrConfig.cmake.in OptionsMgrConfig.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OptionsMgrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT OptionsMgrTargets NAMESPACE OptionsMgr:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/OptionsMgrConfig.cmake ${PROJECT_BINARY_DIR}/OptionsMgrConfigVersion.cmake
        DESTINATION ${package_dir})

# pkg-config takes a path below the prefix, or one of its own.
foreach(dir LIBDIR INCLUDEDIR)
  cmake_path(APPEND pkgconfig_${dir} "\${prefix}" "${CMAKE_INSTALL_${dir}}")
endforeach()
# A static library's users link what the library itself needs.
if(BUILD_SHARED_LIBS)
  set(pkgconfig_requires Requires.private)
else()
  set(pkgconfig_requires Requires)
endif()
configure_file(cmake/optionsmgr.pc.in optionsmgr.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/optionsmgr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# ---- the Debian package: cpack, in the build folder ----------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME liboptionsmgr-dev)
set(CPACK_PACKAGE_CONTACT "The OptionsMgr maintainers <maintainers@qorvane.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# A static library's users link what the library itself needs.
if(NOT BUILD_SHARED_LIBS)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libicu-dev")
endif()
include(CPack)

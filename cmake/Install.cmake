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

install(TARGETS OptionsMgr EXPORT OptionsMgrTargets
        LIBRARY COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
install(DIRECTORY qorvane TYPE INCLUDE COMPONENT development FILES_MATCHING PATTERN "*.h" PATTERN "vocabulary/*.def"
        PATTERN "foundation/failures.def"
        ${private_headers})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OptionsMgr)
configure_package_config_file(cmake/OptionsMgrConfig.cmake.in OptionsMgrConfig.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OptionsMgrConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT OptionsMgrTargets NAMESPACE OptionsMgr:: DESTINATION ${package_dir} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/OptionsMgrConfig.cmake ${PROJECT_BINARY_DIR}/OptionsMgrConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

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
install(FILES ${PROJECT_BINARY_DIR}/optionsmgr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# ---- the Debian packages: cpack, in the build folder ---------------------------------------------------
# liboptionsmgr1 (of a shared build), liboptionsmgr-dev, optionsmgr, optionsmgr-firm,
# optionsmgr-window. A static build has the library in -dev.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL development)
set(CPACK_PACKAGE_NAME optionsmgr)
# Each package has its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "The OptionsMgr maintainers <maintainers@qorvane.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

string(CONCAT about
       "OptionsMgr keeps every preference and every preparer, firm, discounter\n"
       "and authorization detail of an income-tax suite, for each product (T1,\n"
       "T2) and tax year, in files that survive crashes, full disks and flipped\n"
       "bits.\n.\n")
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liboptionsmgr-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "settings library of an income-tax suite (development files)\n${about}This package holds its headers, and what CMake and pkg-config find it\nby.")
if(BUILD_SHARED_LIBS)
  list(APPEND CPACK_COMPONENTS_ALL library)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME liboptionsmgr${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
      "settings library of an income-tax suite\n${about}This package holds the shared library.")
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${same_version}")
  # No package that is installed has the library that the programs are linked with: it is found here.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
else()
  # A static library's users link what the library itself needs.
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS libicu-dev)
endif()
if(OPTIONSMGR_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME optionsmgr)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION misc)
  set(CPACK_DEBIAN_TOOL_DESCRIPTION
      "settings of an income-tax suite on the command line\n${about}This package holds the command-line tool, its manual pages and its\ncompletion scripts.")
endif()
if(OPTIONSMGR_FIRM)
  list(APPEND CPACK_COMPONENTS_ALL firm)
  set(CPACK_DEBIAN_FIRM_PACKAGE_NAME optionsmgr-firm)
  set(CPACK_DEBIAN_FIRM_PACKAGE_SECTION misc)
  set(CPACK_DEBIAN_FIRM_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers, init-system-helpers (>= 1.52)")
  set(CPACK_DEBIAN_FIRM_PACKAGE_RECOMMENDS optionsmgr)
  set(CPACK_DEBIAN_FIRM_DESCRIPTION
      "settings of a firm's desks in PostgreSQL\n${about}This package holds the program that administers a firm's settings in\nPostgreSQL and, as an agent, keeps each machine's files like them.")
  set(firm_scripts ${PROJECT_SOURCE_DIR}/cmake/debian/optionsmgr-firm)
  set(CPACK_DEBIAN_FIRM_PACKAGE_CONTROL_EXTRA ${firm_scripts}/postinst ${firm_scripts}/prerm ${firm_scripts}/postrm)
endif()
if(OPTIONSMGR_WINDOW)
  list(APPEND CPACK_COMPONENTS_ALL window)
  set(CPACK_DEBIAN_WINDOW_PACKAGE_NAME optionsmgr-window)
  set(CPACK_DEBIAN_WINDOW_PACKAGE_SECTION misc)
  set(CPACK_DEBIAN_WINDOW_PACKAGE_SUGGESTS optionsmgr)
  set(CPACK_DEBIAN_WINDOW_DESCRIPTION
      "settings of an income-tax suite in a window\n${about}This package holds a window in which every setting is found, changed,\ncompared with last year and taken back, in English and French.")
endif()

# Whose the library is that was found here has to be said.
if(BUILD_SHARED_LIBS)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    if(NOT component MATCHES "^(library|development)$")
      list(APPEND CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} (>= ${PROJECT_VERSION})")
      list(JOIN CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
    endif()
  endforeach()
endif()

# What only packages hold: compressed pages, the changelog, the copyright.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(CODE "execute_process(COMMAND \"${PROJECT_SOURCE_DIR}/cmake/debian/files\" \"${PROJECT_BINARY_DIR}\"
    ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE} ${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\" COMMAND_ERROR_IS_FATAL ANY)"
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)

# What every program of the project has besides its sources: how it is installed, and the pages that it prints.

# Installs the program. Outside the system's folders it finds the library that is installed beside it; the system's own
# are searched anyway.
function(optionsmgr_install_program program component)
  file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(${program} PROPERTIES INSTALL_RPATH
                        $<IF:$<BOOL:${BUILD_SHARED_LIBS}>,\$ORIGIN/${libraries},>)
  install(TARGETS ${program} COMPONENT ${component})
  install(CODE "if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
    file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}/usr/${CMAKE_INSTALL_BINDIR}/${program}\")
  endif()"
          COMPONENT ${component})
endfunction()

# The manual pages of these sections and the completion scripts are what the program prints, into that folder.
function(optionsmgr_pages program folder component)
  add_custom_command(OUTPUT ${folder}/man/man1/${program}.1
                     COMMAND ${PROJECT_SOURCE_DIR}/scripts/tool-pages $<TARGET_FILE:${program}> ${folder} ${ARGN}
                     DEPENDS ${program} ${PROJECT_SOURCE_DIR}/scripts/tool-pages)
  string(REPLACE - _ target ${program}_pages)
  add_custom_target(${target} ALL DEPENDS ${folder}/man/man1/${program}.1)
  install(DIRECTORY ${folder}/ DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT ${component})
endfunction()

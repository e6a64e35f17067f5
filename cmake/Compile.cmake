# The compiler settings that every target of the project shares.
function(optionsmgr_compile_options target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion
                                           -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # Optimising, g++ 12 takes any "literal" + std::string for an overlapping copy (GCC bug 105651), and what a
    # variant does not hold for something that may be read.
    target_compile_options(${target} PRIVATE -Wno-restrict -Wno-maybe-uninitialized)
  endif()
  if(OPTIONSMGR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(OPTIONSMGR_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${OPTIONSMGR_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${OPTIONSMGR_SANITIZE})
  endif()
endfunction()

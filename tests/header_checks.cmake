# Each public header stands alone and is clean, as C99 and as C++11.

file(GLOB headers RELATIVE ${PROJECT_SOURCE_DIR}/include CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/include/ovk/*.h)

foreach(language c cpp)
  set(sources)
  foreach(header IN LISTS headers)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/header_checks/${header}.${language})
    file(CONFIGURE OUTPUT ${source}
      CONTENT "#include <${header}>\n#include <${header}>\ntypedef int not_empty;\n")
    list(APPEND sources ${source})
  endforeach()
  add_library(header_checks_${language} OBJECT ${sources})
  target_include_directories(header_checks_${language} PRIVATE ${PROJECT_SOURCE_DIR}/include)
  target_compile_options(header_checks_${language} PRIVATE -Wall -Wextra -Wpedantic -Werror)
endforeach()
set_target_properties(header_checks_cpp PROPERTIES CXX_STANDARD 11)

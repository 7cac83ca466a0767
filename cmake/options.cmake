# What every target of the project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(ovk_options INTERFACE)
target_compile_options(ovk_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -fstack-protector-strong)
target_compile_options(ovk_options INTERFACE
  # Designated initialisers leave the rest zero on purpose.
  -Wno-missing-field-initializers)
target_compile_definitions(ovk_options INTERFACE
  _GNU_SOURCE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
target_link_options(ovk_options INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)

# For what uses the C++ runtime: g++ 12 has a false alarm about joining its strings.
add_library(ovk_cxx_options INTERFACE)
target_link_libraries(ovk_cxx_options INTERFACE ovk_options)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(ovk_cxx_options INTERFACE -Wno-restrict)
endif()

if(OVK_WERROR)
  target_compile_options(ovk_options INTERFACE -Werror)
endif()

if(OVK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(OVK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Compile and link settings shared by every target of the project.

add_library(hearth_warnings INTERFACE)
target_compile_options(hearth_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wformat=2 -Wno-format-nonliteral
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion>)
if(HEARTH_WERROR)
  target_compile_options(hearth_warnings INTERFACE -Werror)
endif()

# All targets, GoogleTest's own included, carry the sanitizer.
if(HEARTH_SANITIZE)
  add_compile_options(-fsanitize=${HEARTH_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${HEARTH_SANITIZE})
  if(HEARTH_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

find_package(Threads REQUIRED)

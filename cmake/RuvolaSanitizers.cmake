# RUVOLA_SANITIZE is a comma-separated list handed to -fsanitize (e.g. "address,undefined" or "thread").
set(RUVOLA_SANITIZE "" CACHE STRING "Sanitizers to build with, as passed to -fsanitize=")
if(RUVOLA_SANITIZE)
  add_compile_options(-fsanitize=${RUVOLA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RUVOLA_SANITIZE})
endif()

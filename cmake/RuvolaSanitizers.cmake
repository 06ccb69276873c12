# RUVOLA_SANITIZE is a comma-separated list handed to -fsanitize (e.g. "address,undefined" or "thread").
set(RUVOLA_SANITIZE "" CACHE STRING "Sanitizers to build with, as passed to -fsanitize=")
if(RUVOLA_SANITIZE)
  add_compile_options(-fsanitize=${RUVOLA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RUVOLA_SANITIZE})
endif()

# RUVOLA_FUZZ gives every target libFuzzer's coverage hooks; the fuzz targets link its driver.
if(RUVOLA_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

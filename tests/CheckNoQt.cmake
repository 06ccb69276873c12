cmake_minimum_required(VERSION 3.25)
# Fails when any of FILES needs a Qt library at run time: the core must stay free of Qt.
foreach(file IN LISTS FILES)
  file(GET_RUNTIME_DEPENDENCIES EXECUTABLES "${file}" RESOLVED_DEPENDENCIES_VAR resolved
       UNRESOLVED_DEPENDENCIES_VAR unresolved)
  foreach(library IN LISTS resolved unresolved)
    if(library MATCHES "libQt")
      message(FATAL_ERROR "${file} links ${library}")
    endif()
  endforeach()
  message(STATUS "${file}: no Qt")
endforeach()

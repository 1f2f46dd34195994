# Runs inside cpack once the stage tree is in the package's staging folder:
# adds the files that live outside the prefix, each only for a program that
# is really there, so that a missing program never leaves a dangling link or
# a desktop entry that cannot start.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(prefix ${CPACK_PACKAGING_INSTALL_PREFIX})
if(NOT IS_DIRECTORY "${root}${prefix}/bin")
  message(FATAL_ERROR "no ${prefix}/bin in the staging folder ${root}")
endif()

foreach(tool IN LISTS CPACK_TESSEL_TOOLS)
  if(EXISTS "${root}${prefix}/bin/${tool}")
    file(MAKE_DIRECTORY "${root}/usr/bin")
    file(CREATE_LINK "${prefix}/bin/${tool}" "${root}/usr/bin/${tool}" SYMBOLIC)
  endif()
endforeach()

file(GLOB entries "${CPACK_TESSEL_DESKTOP_DIR}/*.desktop.in")
foreach(entry IN LISTS entries)
  get_filename_component(name "${entry}" NAME)
  string(REGEX REPLACE "\\.in$" "" name "${name}")
  # com.corvane.<program>.desktop starts bin/<program>.
  string(REGEX REPLACE "^com\\.corvane\\.(.*)\\.desktop$" "\\1" program "${name}")
  if(EXISTS "${root}${prefix}/bin/${program}")
    set(PREFIX "${prefix}")
    configure_file("${entry}" "${root}/usr/share/applications/${name}" @ONLY)
  endif()
endforeach()

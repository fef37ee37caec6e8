# Installs the build into PREFIX (emptied first) and checks that the binary runs from there
# and that the files naming it name the installed one.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  RESULT_VARIABLE status OUTPUT_QUIET)
if(status)
  message(FATAL_ERROR "cmake --install into ${PREFIX} failed: ${status}")
endif()

execute_process(COMMAND "${PREFIX}/bin/orvella" --version RESULT_VARIABLE status OUTPUT_VARIABLE out)
if(status OR NOT out STREQUAL "orvella ${VERSION}\n")
  message(FATAL_ERROR "the installed orvella --version said \"${out}\" (status ${status})")
endif()

foreach(file share/applications/org.orvella.Orvella.desktop share/dbus-1/services/org.orvella.Orvella.service)
  file(STRINGS "${PREFIX}/${file}" exec REGEX "^Exec=")
  if(NOT exec STREQUAL "Exec=${PREFIX}/bin/orvella")
    message(FATAL_ERROR "${file} runs \"${exec}\", not the installed binary")
  endif()
endforeach()

# Runs at install time: the desktop entry and the bus activation file name the binary by
# its full path, which is known only once the prefix is (cmake --install --prefix, CPack).
set(binary "${CMAKE_INSTALL_PREFIX}/${ORVELLA_BINDIR}/orvella")
# Both files split Exec at spaces and read quotes and backslashes; such a prefix is quoted.
if(binary MATCHES "[ \t\"'\\\\$`]")
  string(REGEX REPLACE "([\"\\\\$`])" "\\\\\\1" binary "${binary}")
  set(binary "\"${binary}\"")
endif()
set(ORVELLA_EXEC "${binary}")
set(staged "${ORVELLA_GEN_DIR}/installed")
configure_file("${ORVELLA_GEN_DIR}/org.orvella.Orvella.desktop.in" "${staged}/org.orvella.Orvella.desktop" @ONLY)
configure_file("${ORVELLA_SOURCE_DIR}/org.orvella.Orvella.service.in" "${staged}/org.orvella.Orvella.service" @ONLY)
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${ORVELLA_DATADIR}/applications" TYPE FILE
  FILES "${staged}/org.orvella.Orvella.desktop")
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${ORVELLA_DATADIR}/dbus-1/services" TYPE FILE
  FILES "${staged}/org.orvella.Orvella.service")

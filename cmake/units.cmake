# Runs at installation: the units of systemd name the programs where they are installed to, which --prefix may say.
# TANEXICS_PACKAGING is the folder of the templates, TANEXICS_SBINDIR and TANEXICS_BINDIR are those of the programs,
# absolute or relative to the prefix.

cmake_policy(VERSION 3.25)
foreach(folder SBINDIR BINDIR)
  cmake_path(ABSOLUTE_PATH TANEXICS_${folder} BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
endforeach()
# What the two units that report have in common stands once.
foreach(part EXEC SERVICE)
  string(TOLOWER ${part} file)
  file(READ "${TANEXICS_PACKAGING}/units/${file}.in" text)
  string(STRIP "${text}" text)
  string(CONFIGURE "${text}" TANEXICS_${part} @ONLY)
endforeach()
set(units "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/systemd/system")
foreach(unit tanexics-event@.service tanexics-incident@.service tanexics-metrics.service)
  message(STATUS "Installing: ${units}/${unit}")
  configure_file("${TANEXICS_PACKAGING}/units/${unit}.in" "${units}/${unit}" @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()

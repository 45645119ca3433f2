# CMake fills a build tree's RUNPATH up with empty entries, to have room for the installed one, and the loader takes
# an empty entry as the working directory. So a binary that is installed is linked with its RUNPATH as it stands.

# A library that finds its neighbours beside itself.
function(vesk_install_libraries)
  set_target_properties(${ARGN} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${ARGN} LIBRARY DESTINATION lib/vesk)
endfunction()

# A program that finds the libraries in lib/ beside it, and in ../lib/vesk once it is installed; a folder below these that
# is named goes first.
function(vesk_install_program target destination)
  set(installed "$ORIGIN/../lib/vesk")
  set(built "$ORIGIN/lib")
  foreach(folder ${ARGN})
    list(PREPEND installed "$ORIGIN/../lib/vesk/${folder}")
    list(PREPEND built "$ORIGIN/lib/${folder}")
  endforeach()
  set(runpath "${installed}" "${built}" ${VESK_BUS_FOLDERS})
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${runpath}")
  install(TARGETS ${target} RUNTIME DESTINATION ${destination})
  if(NOT CMAKE_SKIP_RPATH)
    string(REPLACE ";" ":" runpath "${runpath}")
    string(REPLACE ";" ":" installed "${installed}")
    install(CODE "file(RPATH_CHANGE FILE
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${destination}/$<TARGET_FILE_NAME:${target}>\"
      OLD_RPATH [[${runpath}]] NEW_RPATH [[${installed}]])")
  endif()
endfunction()

cmake_minimum_required(VERSION 3.22)
# Checks that every source folder includes only folders of its own layer or below, and that
# nothing outside the front ends includes Qt. Run as
#   cmake -DSRC=<folder with the source folders> -P tools/check_layers.cmake
# It prints each offending include and fails when there is one.

# Rank of each folder: a folder may include its own files and those of lower ranks only.
set(rank_foundation 0)
set(rank_usb 1)
set(rank_workbench 2)
# The window models: the GPIO screen and the About box stand alone, the main window drives
# the GPIO screen, the script windows drive both.
set(rank_gpio 3)
set(rank_about 3)
set(rank_main_window 4)
set(rank_scripts 5)
set(rank_app 6)
# The front ends.
set(rank_qt 7)
set(rank_cli 7)
set(rank_python 7)
set(front_ends qt cli python)

if(NOT SRC)
  message(FATAL_ERROR "usage: cmake -DSRC=<src folder> -P check_layers.cmake")
endif()

get_filename_component(SRC ${SRC} ABSOLUTE)
file(GLOB_RECURSE files RELATIVE ${SRC} ${SRC}/*.h ${SRC}/*.cpp)
set(faults 0)
foreach(file ${files})
  string(REGEX MATCH "^[^/]+" folder ${file})
  if(NOT DEFINED rank_${folder})
    message(SEND_ERROR "${file}: the folder ${folder} has no place in the layer order")
    math(EXPR faults "${faults} + 1")
    continue()
  endif()
  file(STRINGS ${SRC}/${file} includes REGEX "^[ \t]*#[ \t]*include")
  foreach(line ${includes})
    if(line MATCHES "#[ \t]*include[ \t]*\"([^/\"]+)/")
      set(target ${CMAKE_MATCH_1})
      if(NOT DEFINED rank_${target})
        continue()
      endif()
      if(NOT target STREQUAL folder AND NOT rank_${target} LESS rank_${folder})
        message(SEND_ERROR "${file}: ${folder} may not include ${target}: ${line}")
        math(EXPR faults "${faults} + 1")
      endif()
    elseif(line MATCHES "#[ \t]*include[ \t]*<Q" AND NOT folder IN_LIST front_ends)
      message(SEND_ERROR "${file}: only the front ends use Qt: ${line}")
      math(EXPR faults "${faults} + 1")
    endif()
  endforeach()
endforeach()

if(faults GREATER 0)
  message(FATAL_ERROR "${faults} include(s) break the layer order")
endif()

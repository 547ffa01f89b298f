# Checks the include directions between the folders of the source tree: a
# file of folder F may include headers of F itself and of the folders that
# KOLVEN_LAYER_<F> allows, nothing else; and no file but shell/main.cpp
# and shell/menus.cpp includes shell/menus.h, the top of the program.
# Included by CMakeLists.txt at configure time, and run as a test
# (cmake -DKOLVEN_SOURCE_DIR=... -P checkLayers.cmake) so that a file added
# later is checked too. Production file names do not contain "Test" (tools
# that filter test files by name would drop them).

# The layers, lowest first, and what each may include.
set(KOLVEN_FOLDERS TarnLib shell session permutation scaling ranking simulation)
set(KOLVEN_LAYER_TarnLib "")
set(KOLVEN_LAYER_shell TarnLib)
set(KOLVEN_LAYER_session TarnLib shell)
set(KOLVEN_LAYER_permutation TarnLib shell session)
set(KOLVEN_LAYER_scaling TarnLib shell session permutation)
set(KOLVEN_LAYER_ranking TarnLib shell session permutation scaling)
set(KOLVEN_LAYER_simulation TarnLib shell session permutation scaling)

function(kolven_check_layers sourceDir)
  set(violations "")
  foreach(folder ${KOLVEN_FOLDERS})
    file(GLOB files "${sourceDir}/${folder}/*.cpp" "${sourceDir}/${folder}/*.h")
    foreach(f ${files})
      get_filename_component(name ${f} NAME)
      if(name MATCHES "Test")
        list(APPEND violations "${folder}/${name}: a production file named like a test")
      endif()
      file(STRINGS ${f} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"[A-Za-z]+/")
      foreach(line ${lines})
        string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([A-Za-z]+)/([^\"]*)\".*$" "\\1" target "${line}")
        string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([A-Za-z]+)/([^\"]*)\".*$" "\\2" header "${line}")
        set(top FALSE)
        if(folder STREQUAL "shell" AND (name STREQUAL "main.cpp" OR name STREQUAL "menus.cpp"))
          set(top TRUE)
        endif()
        if(top)
          continue()
        endif()
        if(target STREQUAL "shell" AND header STREQUAL "menus.h")
          list(APPEND violations "${folder}/${name} includes shell/menus.h (the top)")
        elseif(NOT target STREQUAL folder)
          list(FIND KOLVEN_LAYER_${folder} ${target} allowed)
          if(allowed EQUAL -1)
            list(APPEND violations "${folder}/${name} includes ${target}/${header}")
          endif()
        endif()
      endforeach()
    endforeach()
  endforeach()
  if(violations)
    string(REPLACE ";" "\n  " text "${violations}")
    message(FATAL_ERROR "Includes against the layers:\n  ${text}")
  endif()
endfunction()

if(CMAKE_SCRIPT_MODE_FILE AND KOLVEN_SOURCE_DIR)
  kolven_check_layers(${KOLVEN_SOURCE_DIR})
  message(STATUS "Layers respected")
endif()

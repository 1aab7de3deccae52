# The layers of the libraries, lowest first, and the links between them that
# the build allows. A library links only libraries of lower layers, plus the
# links within one layer listed below; anything else is a configure error
# naming both libraries. Programs (apps/), tests, fuzz targets and benchmarks
# stand above every layer.
#
#   0  platform/base      the exception, descriptors and I/O, atomic files, time, geometry
#   1  platform/*         the stand-ins for the desktop platform
#   2  subsystems         timecode, fsutil, records, settings
#   3  movie services     movie, xmeml
#   4  protocol           what a parent and the conduit share
#   5  conduit, client    the service and the C++ client library

# qrl_declare_library(<name> <folder> <layer>): the library target qrl_<name>
# built from <folder> (relative to the repository root) sits in <layer>.
function(qrl_declare_library name folder layer)
  set_property(GLOBAL APPEND PROPERTY QRL_DECLARED_LIBRARIES ${name})
  set_property(GLOBAL PROPERTY QRL_FOLDER_${name} ${folder})
  set_property(GLOBAL PROPERTY QRL_LAYER_${name} ${layer})
endfunction()

qrl_declare_library(platform_base      platform/base      0)
qrl_declare_library(platform_process   platform/process   1)
qrl_declare_library(platform_archive   platform/archive   1)
qrl_declare_library(platform_quicktime platform/quicktime 1)
qrl_declare_library(platform_graphics  platform/graphics  1)
qrl_declare_library(platform_ipc       platform/ipc       1)
qrl_declare_library(timecode           timecode           2)
qrl_declare_library(fsutil             fsutil             2)
qrl_declare_library(records            records            2)
qrl_declare_library(settings           settings           2)
qrl_declare_library(movie              movie              3)
qrl_declare_library(xmeml              xmeml              3)
qrl_declare_library(protocol           protocol           4)
qrl_declare_library(conduit            conduit            5)
qrl_declare_library(client             clients/cpp        5)

# Links within one layer, as "<from>><to>".
set(QRL_SAME_LAYER_LINKS
  # the keyed unarchiver logs what it skips
  "platform_archive>platform_process"
  # messages are property lists; names live in the runtime directory
  "platform_ipc>platform_archive"
  "platform_ipc>platform_process"
  # the records name frame rates and timecodes
  "records>timecode"
  # Until the protocol library holds the remote interface table, the client
  # takes it from the conduit; then the client links protocol and ipc only.
  "client>conduit")

# Libraries that link nothing of ours at all: the timecode engine is the
# standard library alone.
set(QRL_STANDALONE_LIBRARIES timecode)

# Sets <out_var> to why qrl_<from> may not link qrl_<to>, or to "" when it may.
function(qrl_link_refusal out_var from to)
  get_property(from_layer GLOBAL PROPERTY QRL_LAYER_${from})
  get_property(to_layer GLOBAL PROPERTY QRL_LAYER_${to})
  get_property(from_folder GLOBAL PROPERTY QRL_FOLDER_${from})
  get_property(to_folder GLOBAL PROPERTY QRL_FOLDER_${to})
  set(refusal "")
  if("${from_layer}" STREQUAL "")
    set(refusal "qrl::${from} has no layer: declare it in cmake/QrlLayers.cmake")
  elseif("${to_layer}" STREQUAL "")
    set(refusal "qrl::${from} links qrl::${to}, which has no layer: declare it in "
                "cmake/QrlLayers.cmake")
  elseif(from IN_LIST QRL_STANDALONE_LIBRARIES)
    set(refusal "qrl::${from} (${from_folder}/) links nothing of ours, but links "
                "qrl::${to} (${to_folder}/)")
  elseif(from_layer LESS to_layer OR
         (from_layer EQUAL to_layer AND NOT "${from}>${to}" IN_LIST QRL_SAME_LAYER_LINKS))
    set(refusal "qrl::${from} (${from_folder}/, layer ${from_layer}) may not link qrl::${to} "
                "(${to_folder}/, layer ${to_layer}): dependencies point down the layers "
                "of cmake/QrlLayers.cmake")
  endif()
  string(JOIN "" refusal ${refusal})
  set(${out_var} "${refusal}" PARENT_SCOPE)
endfunction()

# The qrl_* library names among the link items of a target property.
function(qrl_linked_libraries out_var target property)
  get_target_property(items ${target} ${property})
  set(names "")
  if(items)
    foreach(item IN LISTS items)
      if(item MATCHES "^(\\$<LINK_ONLY:)?qrl(::|_)([A-Za-z0-9_]+)>?$")
        list(APPEND names ${CMAKE_MATCH_3})
      endif()
    endforeach()
  endif()
  list(REMOVE_DUPLICATES names)
  set(${out_var} "${names}" PARENT_SCOPE)
endfunction()

# Run once at the end of the top-level CMakeLists.txt. Checks every link of
# every library of ours (however it was made), that each declared folder with
# a CMakeLists.txt is built, and that each tests/, fuzz/ and bench/ folder of
# a library is listed; writes the graph the include check reads.
function(qrl_check_layering)
  get_property(libraries GLOBAL PROPERTY QRL_DECLARED_LIBRARIES)
  get_property(added GLOBAL PROPERTY QRL_ADDED_FOLDERS)
  set(roots "")
  if(BUILD_TESTING)
    list(APPEND roots tests fuzz)
  endif()
  if(QRL_BUILD_BENCH)
    list(APPEND roots bench)
  endif()
  set(graph "# library folder layer links (generated by cmake/QrlLayers.cmake)\n")
  foreach(name IN LISTS libraries)
    get_property(folder GLOBAL PROPERTY QRL_FOLDER_${name})
    get_property(layer GLOBAL PROPERTY QRL_LAYER_${name})
    foreach(root IN ITEMS "" ${roots})
      if(root STREQUAL "")
        set(dir "${PROJECT_SOURCE_DIR}/${folder}")
      else()
        set(dir "${PROJECT_SOURCE_DIR}/${root}/${folder}")
      endif()
      if(EXISTS "${dir}/CMakeLists.txt" AND NOT dir IN_LIST added)
        file(RELATIVE_PATH shown "${PROJECT_SOURCE_DIR}" "${dir}")
        if(root STREQUAL "")
          set(list_file CMakeLists.txt)
        else()
          set(list_file ${root}/CMakeLists.txt)
        endif()
        message(FATAL_ERROR "${shown}/CMakeLists.txt exists but ${shown} is not built: add "
                            "${folder} to the folder list of ${list_file}")
      endif()
    endforeach()
    if(NOT TARGET qrl_${name})
      continue()
    endif()
    qrl_linked_libraries(direct qrl_${name} LINK_LIBRARIES)
    qrl_linked_libraries(interface qrl_${name} INTERFACE_LINK_LIBRARIES)
    list(APPEND direct ${interface})
    list(REMOVE_DUPLICATES direct)
    foreach(to IN LISTS direct)
      qrl_link_refusal(refusal ${name} ${to})
      if(refusal)
        message(FATAL_ERROR "${refusal}")
      endif()
    endforeach()
    list(JOIN direct "," links)
    string(APPEND graph "library ${name} ${folder} ${layer} ${links}\n")
  endforeach()
  # Why each link the layers forbid is refused, for the include check's messages.
  foreach(from IN LISTS libraries)
    foreach(to IN LISTS libraries)
      if(NOT from STREQUAL to)
        qrl_link_refusal(refusal ${from} ${to})
        if(refusal)
          string(APPEND graph "refused ${from} ${to} ${refusal}\n")
        endif()
      endif()
    endforeach()
  endforeach()
  file(WRITE "${PROJECT_BINARY_DIR}/layering/graph.txt" "${graph}")
endfunction()

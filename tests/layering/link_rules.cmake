cmake_minimum_required(VERSION 3.25)
# Run with cmake -P: the layer rules of cmake/QrlLayers.cmake on the links at
# their boundaries, each one the configure step allows or refuses.
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/QrlLayers.cmake)

set(allowed
  "platform_process>platform_base"
  "platform_ipc>platform_archive"
  "records>timecode"
  "records>platform_archive"
  "settings>platform_quicktime"
  "movie>records"
  "xmeml>platform_quicktime"
  "protocol>platform_ipc"
  "conduit>protocol"
  "client>protocol")
set(refused
  "platform_base>platform_process"
  "platform_quicktime>movie"
  "platform_archive>platform_ipc"
  "platform_process>platform_archive"
  "timecode>platform_base"
  "records>movie"
  "movie>xmeml"
  "protocol>conduit"
  "conduit>client"
  "client>conduit"
  "movie>nonesuch")

set(failures 0)
foreach(edge IN LISTS allowed refused)
  string(REPLACE ">" ";" pair "${edge}")
  list(GET pair 0 from)
  list(GET pair 1 to)
  qrl_link_refusal(refusal ${from} ${to})
  if(edge IN_LIST allowed AND refusal)
    message(SEND_ERROR "${edge} should be allowed, but: ${refusal}")
    math(EXPR failures "${failures} + 1")
  elseif(edge IN_LIST refused AND NOT refusal)
    message(SEND_ERROR "${edge} should be refused, but is allowed")
    math(EXPR failures "${failures} + 1")
  elseif(refusal)
    message(STATUS "refused ${edge}: ${refusal}")
  endif()
endforeach()
if(failures GREATER 0)
  message(FATAL_ERROR "${failures} link rules wrong")
endif()

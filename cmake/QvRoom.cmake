# SPDX-License-Identifier: GPL-3.0-or-later

# qv_room_view(TARGET FOLDER SCOPE): the include path that shows FOLDER under its own name, and nothing else.
function(qv_room_view target folder scope)
    cmake_path(GET folder FILENAME name)
    set(view "${CMAKE_BINARY_DIR}/rooms/${name}")
    file(MAKE_DIRECTORY "${view}")
    file(CREATE_LINK "${folder}" "${view}/${name}" SYMBOLIC)
    target_include_directories(${target} ${scope} "${view}")
endfunction()

# qv_room(NAME [USES room...] [LINKS target...])
#
# Declares the room NAME: a static library of every .cpp file below the folder NAME beside the calling CMakeLists.txt.
#
#     qv_room(base)
#     qv_room(store     USES base LINKS qvlib_headers PkgConfig::PUGIXML)
#     qv_room(timeline  USES base store)
#
# A room is included by its name, #include "store/Grid.h", and only by those who name it. Each room has an include path
# of its own that holds one link, <build>/rooms/store/store -> src/store, so an include of a room that is not named ends
# in "No such file or directory", also when a room that is named uses it. Whoever includes a header therefore names the
# rooms that this header includes.
#
# A program links all of the rooms it stands on by naming the highest: what lies below comes along for the linker alone.
# Rooms are declared from the bottom up, so a cycle cannot be written.
function(qv_room name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "USES;LINKS")
    if(room_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "qv_room(${name}): what is ${room_UNPARSED_ARGUMENTS}?")
    endif()

    set(folder "${CMAKE_CURRENT_SOURCE_DIR}/${name}")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${folder}/*.cpp")
    add_library(${name} STATIC ${sources})

    qv_room_view(${name} "${folder}" PUBLIC)

    foreach(used IN LISTS room_USES)
        if(NOT TARGET ${used})
            message(FATAL_ERROR "qv_room(${name}): the room ${used} is not declared above it")
        endif()
    endforeach()
    # PRIVATE: the includes stop here, the linker still gets the whole chain.
    target_link_libraries(${name} PRIVATE ${room_USES} ${room_LINKS})
endfunction()

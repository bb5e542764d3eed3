# A library's sources, listed room by room so that the build reads the way the house is laid out.
# Used by the kit's own build only; not installed.

# vorna_room(<sources-var> <room> <folder>...)
# Appends the sources and headers directly inside each folder (relative to the current source
# directory) to <sources-var>, grouped under <room> in IDEs. A folder that does not exist yet
# adds nothing; the glob is rechecked at each build, so a file that appears later is picked up.
function(vorna_room sources_var room)
    set(found "")
    foreach(folder IN LISTS ARGN)
        file(GLOB in_folder CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp
                                              ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.h)
        list(APPEND found ${in_folder})
    endforeach()
    if(found)
        source_group(${room} FILES ${found})
    endif()
    set(${sources_var} ${${sources_var}} ${found} PARENT_SCOPE)
endfunction()

# vorna_check_rooms(<sources-var> <root> [EXCLUDE_REGEX <regex>])
# Fails the configuration when a .cpp under <root> belongs to no room: a file added to a new
# folder would otherwise silently stay out of the library.
function(vorna_check_rooms sources_var root)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "EXCLUDE_REGEX" "")
    file(GLOB_RECURSE strays CONFIGURE_DEPENDS ${root}/*.cpp)
    if(arg_EXCLUDE_REGEX)
        list(FILTER strays EXCLUDE REGEX "${arg_EXCLUDE_REGEX}")
    endif()
    if(${sources_var})
        list(REMOVE_ITEM strays ${${sources_var}})
    endif()
    if(strays)
        list(JOIN strays "\n  " listed)
        message(FATAL_ERROR "These sources are in no room of ${root}; add their folder to a "
                            "vorna_room() line of the layer they belong to:\n  ${listed}")
    endif()
endfunction()

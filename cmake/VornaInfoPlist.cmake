# vorna_add_info_plist(<target> <file> [INSTALL_DESTINATION <dir>])
#
# The kit reads the host's Info.plist (bundle identifier, versions, the "Vorna" dictionary with
# the client credentials) from beside the running executable, the real file behind any symbolic
# link. This puts <file> there as "Info.plist" after every build of the executable <target>,
# and, with INSTALL_DESTINATION, installs it as "Info.plist" into <dir>: give the directory the
# executable is installed into.
#
# Comes with find_package(Vorna), and with the kit's own build for its examples.
function(vorna_add_info_plist target file)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "INSTALL_DESTINATION" "")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "vorna_add_info_plist: unexpected arguments ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT TARGET ${target})
        message(FATAL_ERROR "vorna_add_info_plist: ${target} is not a target")
    endif()
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "EXECUTABLE")
        message(FATAL_ERROR "vorna_add_info_plist: ${target} is not an executable; the kit looks "
                            "for the Info.plist beside the program that runs")
    endif()
    if(NOT IS_ABSOLUTE "${file}")
        set(file "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
    endif()
    if(NOT EXISTS "${file}")
        message(FATAL_ERROR "vorna_add_info_plist: no such file ${file}")
    endif()

    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different "${file}"
                "$<TARGET_FILE_DIR:${target}>/Info.plist"
        VERBATIM)
    # A step after the build runs only when the executable is linked again: an edited
    # Info.plist has to cause that, or the old copy would stay beside the program.
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${file}")

    if(arg_INSTALL_DESTINATION)
        install(FILES "${file}" DESTINATION "${arg_INSTALL_DESTINATION}" RENAME Info.plist)
    endif()
endfunction()

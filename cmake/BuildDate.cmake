# date_at_link(TARGET SOURCE): compiles SOURCE as a part of each link of the program TARGET, so that the date and time
# that SOURCE takes from the compiler are those of the build of this program.
#
# An ordinary object keeps the date of its own compilation, which an incremental build skips and a compiler cache takes
# from an older build. The object of this function is in no rule of the build: it is made by the link, and a build with
# nothing to do stays one. A library that TARGET links may hold the same symbols; the linker takes the object first.
function(date_at_link target source)
    get_filename_component(source ${source} ABSOLUTE)
    get_filename_component(name ${source} NAME)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${target}.${name}${CMAKE_CXX_OUTPUT_EXTENSION})
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
    # The compiler itself, without the launcher. The variable is for a compiler that is a link to ccache.
    add_custom_command(TARGET ${target} PRE_LINK
        COMMAND ${CMAKE_COMMAND} -E env CCACHE_DISABLE=1 ${CMAKE_CXX_COMPILER} ${flags} -std=c++17
            -c ${source} -o ${object}
        VERBATIM)
    target_link_options(${target} PRIVATE ${object})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${source})
    set_property(DIRECTORY APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${object})
endfunction()

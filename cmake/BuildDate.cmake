# date_at_link(TARGET SOURCE): compiles SOURCE as part of each link of TARGET, so that __DATE__ and __TIME__ in SOURCE
# are the date and time of the program's build.
#
# An ordinary object keeps the date of its own compilation; an incremental build does not renew it, and ccache may
# return an older object. This object is built only by the link step, so a build without changes still does nothing. A
# library that TARGET links may define the same symbols; the linker prefers the object.
function(date_at_link target source)
    get_filename_component(source ${source} ABSOLUTE)
    get_filename_component(name ${source} NAME)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/${target}.${name}${CMAKE_CXX_OUTPUT_EXTENSION})
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
    # Calls the compiler without the launcher. CCACHE_DISABLE covers a compiler that is a symbolic link to ccache.
    add_custom_command(TARGET ${target} PRE_LINK
        COMMAND ${CMAKE_COMMAND} -E env CCACHE_DISABLE=1 ${CMAKE_CXX_COMPILER} ${flags} -std=c++17
            -c ${source} -o ${object}
        VERBATIM)
    target_link_options(${target} PRIVATE ${object})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${source})
    set_property(DIRECTORY APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${object})
endfunction()

# fw_room(NAME SOURCES a.cpp ... LINKS room ... PRIVATE_LINKS lib ...)
# One room: a static library whose headers are included by their path from the top folder.
# A room with headers only is an interface library.
function(fw_room name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    if(ARG_SOURCES)
        add_library(${name} STATIC ${ARG_SOURCES})
        target_link_libraries(${name} PUBLIC fw_options ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS})
    else()
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE fw_options ${ARG_LINKS})
    endif()
endfunction()

# Include roots: a target sees the headers of the folders it links, and no others.
#
#   orlimbara_include_root(<target> <folder> [FILES <file>...])
#
# Gives <target> an include directory that contains only a link named like <folder>, so that its
# headers are included as "folder/header.h". With FILES the directory holds links to just these files
# of the folder. Who links <target> gets the include directory too. Because the top of the repository
# is never an include directory, an include in a direction that no link allows fails to compile.
function(orlimbara_include_root target folder)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "FILES")
    set(root "${CMAKE_BINARY_DIR}/roots/${target}")
    set(source "${PROJECT_SOURCE_DIR}/${folder}")
    file(REMOVE_RECURSE "${root}/${folder}") # what an earlier configuration put there; links are not followed
    if(arg_FILES)
        file(MAKE_DIRECTORY "${root}/${folder}")
        foreach(file IN LISTS arg_FILES)
            file(CREATE_LINK "${source}/${file}" "${root}/${folder}/${file}" SYMBOLIC)
        endforeach()
    else()
        file(MAKE_DIRECTORY "${root}")
        file(CREATE_LINK "${source}" "${root}/${folder}" SYMBOLIC)
    endif()
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "INTERFACE_LIBRARY")
        target_include_directories(${target} INTERFACE "$<BUILD_INTERFACE:${root}>")
    else()
        target_include_directories(${target} PUBLIC "${root}")
    endif()
endfunction()

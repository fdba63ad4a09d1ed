# Reads src/layers.txt, creates a static library for each row, and links programs with the libraries that they include.
#
#   sentrel_read_layers()                    sets sentrelRows and, for each row R, sentrelUses_R (targets, lowest first)
#   sentrel_add_row_library(ROW)             the library of a row, if its folder has sources
#   sentrel_link_included(TARGET FILES...)   links TARGET with the library of each project header that FILES include

# `platform/sys` -> `platform_sys`
function(sentrel_target_of row out)
    string(REPLACE "/" "_" target ${row})
    set(${out} ${target} PARENT_SCOPE)
endfunction()

# Sets sentrelRows and sentrelUses_ROW in the caller. A row may name only rows above it in the file, so there are no cycles.
function(sentrel_read_layers)
    set(layerFile ${PROJECT_SOURCE_DIR}/src/layers.txt)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${layerFile})
    file(STRINGS ${layerFile} lines REGEX "^[a-z].*:")
    set(rows)
    foreach(line IN LISTS lines)
        if(NOT line MATCHES "^([a-z0-9_/]+):(.*)$")
            message(FATAL_ERROR "src/layers.txt: cannot read \"${line}\"; write FOLDER: FOLDER|FOLDER/...|@TOKEN ...")
        endif()
        set(row ${CMAKE_MATCH_1})
        separate_arguments(names UNIX_COMMAND "${CMAKE_MATCH_2}")
        set(uses)
        foreach(name IN LISTS names)
            if(name MATCHES "^@(.+)$")
                list(APPEND uses third_party_${CMAKE_MATCH_1})
            elseif(name MATCHES "^(.+)/\\.\\.\\.$")
                set(below ${rows})
                list(FILTER below INCLUDE REGEX "^${CMAKE_MATCH_1}(/|$)")
                foreach(lower IN LISTS below)
                    sentrel_target_of(${lower} target)
                    list(APPEND uses ${target})
                endforeach()
            elseif(name IN_LIST rows)
                sentrel_target_of(${name} target)
                list(APPEND uses ${target})
            else()
                message(FATAL_ERROR "src/layers.txt: \"${row}\" names \"${name}\", which has no row above it")
            endif()
        endforeach()
        list(APPEND rows ${row})
        set(sentrelUses_${row} ${uses} PARENT_SCOPE)
    endforeach()
    set(sentrelRows ${rows} PARENT_SCOPE)
endfunction()

# The longest row that is `path` or a folder above it; empty if there is none. `path` is relative to src/.
function(sentrel_row_of path out)
    set(best)
    set(bestLength 0)
    foreach(row IN LISTS sentrelRows)
        string(LENGTH ${row} length)
        string(FIND "${path}/" "${row}/" position)
        if(position EQUAL 0 AND length GREATER bestLength)
            set(best ${row})
            set(bestLength ${length})
        endif()
    endforeach()
    set(${out} "${best}" PARENT_SCOPE)
endfunction()

# Sets in the caller the files below src/ROW with the given glob ending that belong to this row and to no row below its
# folder. A program's main.cc and the texts in templates/ belong to no row.
function(sentrel_row_files row ending out)
    file(
        GLOB_RECURSE found
        CONFIGURE_DEPENDS
        RELATIVE ${PROJECT_SOURCE_DIR}/src
        ${PROJECT_SOURCE_DIR}/src/${row}/*.${ending}
    )
    set(files)
    foreach(file IN LISTS found)
        sentrel_row_of(${file} owner)
        get_filename_component(name ${file} NAME)
        if(owner STREQUAL row AND NOT name STREQUAL "main.cc" AND NOT file MATCHES "/templates/")
            list(APPEND files ${PROJECT_SOURCE_DIR}/src/${file})
        endif()
    endforeach()
    set(${out} "${files}" PARENT_SCOPE)
endfunction()

function(sentrel_add_row_library row)
    sentrel_row_files(${row} cc sources)
    sentrel_row_files(${row} h headers)
    if(NOT sources AND NOT headers)
        return()
    endif()

    sentrel_target_of(${row} target)
    if(sources)
        set(scope PUBLIC)
        add_library(${target} STATIC ${sources})
    else()
        set(scope INTERFACE)
        add_library(${target} INTERFACE)
    endif()
    # A header whose .cc file is beside it is compiled alone with that, which includes it first (tools/check-layers).
    set(loneHeaders)
    foreach(header IN LISTS headers)
        string(REGEX REPLACE "h$" "cc" source ${header})
        if(NOT EXISTS ${source})
            list(APPEND loneHeaders ${header})
        endif()
    endforeach()
    target_sources(
        ${target}
        ${scope}
        FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${headers}
        FILE_SET loneHeaders TYPE HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/src FILES ${loneHeaders}
    )
    set_target_properties(
        ${target} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON INTERFACE_HEADER_SETS_TO_VERIFY loneHeaders
    )

    target_link_libraries(${target} ${scope} sentrel_flags)
    foreach(use IN LISTS sentrelUses_${row})
        if(TARGET ${use})
            target_link_libraries(${target} ${scope} ${use})
        endif()
    endforeach()
endfunction()

# For programs outside the layers (tests, fuzz targets, benches), which may use every library.
function(sentrel_link_included target)
    set(rows)
    foreach(file IN LISTS ARGN)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
        file(STRINGS ${file} includes REGEX "^#include \"")
        foreach(include IN LISTS includes)
            string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" path "${include}")
            sentrel_row_of("${path}" row)
            list(APPEND rows ${row})
        endforeach()
    endforeach()
    list(REMOVE_DUPLICATES rows)
    foreach(row IN LISTS rows)
        sentrel_target_of(${row} library)
        if(TARGET ${library})
            target_link_libraries(${target} PUBLIC ${library})
        endif()
    endforeach()
endfunction()

sentrel_read_layers()

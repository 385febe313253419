# SPDX-License-Identifier: GPL-3.0-or-later

# add_layer(<folder> TARGET <name> SOURCES <files> [LINKS <public>] [PRIVATE_LINKS <private>])
#
# Adds a static library for one folder of the source tree. Its headers are included as
# "<folder>/file.h", and that path resolves only for targets that link the layer: each layer's
# include directory holds nothing but a symbolic link to its own sources. Who may include whom is
# therefore decided by the LINKS lines, and the compiler enforces it.
function(add_layer folder)
    cmake_parse_arguments(ARG "" "TARGET" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
    set(view ${CMAKE_BINARY_DIR}/layers/${ARG_TARGET})
    file(MAKE_DIRECTORY ${view})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${folder} SYMBOLIC)
    # Forms are sources as well. If the build does not know them, a changed form reaches the program
    # only with the build after the next.
    file(GLOB forms CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.ui)
    add_library(${ARG_TARGET} STATIC ${ARG_SOURCES} ${forms})
    target_include_directories(${ARG_TARGET} PUBLIC ${view})
    target_link_libraries(${ARG_TARGET} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_PRIVATE_LINKS} xcu_warnings)
endfunction()

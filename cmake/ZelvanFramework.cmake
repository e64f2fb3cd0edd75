# The framework as installed below ZELVAN_FRAMEWORK, under the names its targets have in this project.

if(ZELVAN_OPENSG STREQUAL "bundled")
    message(FATAL_ERROR "ZELVAN_FRAMEWORK=${ZELVAN_FRAMEWORK} was built against some OpenSG: "
        "set ZELVAN_OPENSG to the prefix of that one (an installed stand-in carries its own: the same prefix)")
endif()

find_path(ZELVAN_FRAMEWORK_INCLUDE base/NodeType.h
    PATHS ${ZELVAN_FRAMEWORK} PATH_SUFFIXES include include/zelvan NO_DEFAULT_PATH NO_CACHE)
if(NOT ZELVAN_FRAMEWORK_INCLUDE)
    message(FATAL_ERROR "ZELVAN_FRAMEWORK=${ZELVAN_FRAMEWORK}: no base/NodeType.h in its include folder")
endif()
foreach(name zelvanBase zelvanCoreNodePool)
    find_library(ZELVAN_FRAMEWORK_${name} ${name} PATHS ${ZELVAN_FRAMEWORK}
        PATH_SUFFIXES lib lib64 lib/${CMAKE_LIBRARY_ARCHITECTURE} NO_DEFAULT_PATH NO_CACHE)
    if(NOT ZELVAN_FRAMEWORK_${name})
        message(FATAL_ERROR "ZELVAN_FRAMEWORK=${ZELVAN_FRAMEWORK}: no lib${name} in its library folder")
    endif()
    add_library(${name} UNKNOWN IMPORTED)
    set_target_properties(${name} PROPERTIES
        IMPORTED_LOCATION ${ZELVAN_FRAMEWORK_${name}}
        # OpenSG first: the framework's folder may hold another one.
        INTERFACE_INCLUDE_DIRECTORIES "${ZELVAN_OPENSG_INCLUDE};${ZELVAN_FRAMEWORK_INCLUDE}")
endforeach()
target_link_libraries(zelvanBase INTERFACE zelvanOpenSG)
target_link_libraries(zelvanCoreNodePool INTERFACE zelvanBase)

# What every target of this project has in common.

# Counting what tests reach needs the sources where they are; else no file tells where it was built.
set(prefixMap -ffile-prefix-map)
if(CMAKE_CXX_FLAGS MATCHES -fcoverage-mapping)
    set(prefixMap -fmacro-prefix-map)
endif()

# One interface target carries the flags, so that none of them is set twice.
add_library(zelvanOptions INTERFACE)
target_compile_features(zelvanOptions INTERFACE cxx_std_20)
target_compile_options(zelvanOptions INTERFACE
    # A fused multiply-add rounds once where the formulas round twice: without this flag
    # the results would depend on the instruction set the compiler was allowed to use.
    -ffp-contract=off
    # Log lines name sources relative to src/, whatever folder this was checked out into.
    ${prefixMap}=${PROJECT_SOURCE_DIR}/=
    ${prefixMap}=${PROJECT_SOURCE_DIR}/src/=
    -Wall -Wextra -Wpedantic -Wshadow
    # g++ 12 sees an overlap in every "text" + std::to_string(n) that it inlines (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<BOOL:${ZELVAN_WERROR}>:-Werror>)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ${ZELVAN_TESTS})
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

# Programs and libraries find their neighbours wherever the tree is moved to, and what came from elsewhere
# (an installed framework or OpenSG) where it was.
file(RELATIVE_PATH ZELVAN_LIBRARIES_FROM_PROGRAMS /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(CMAKE_INSTALL_RPATH_USE_LINK_PATH ON)
# What is linked does not depend on the folder that it is built in.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# zelvan_library(<name> <define that switches its export macro to "export"> <sources...>)
function(zelvan_library name exportDefine)
    add_library(${name} SHARED ${ARGN})
    add_library(Zelvan::${name} ALIAS ${name})
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:zelvanOptions>)
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_compile_definitions(${name} PRIVATE ${exportDefine})
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zelvan>)
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN")
    # Nobody replaces single functions of these libraries at run time: calls inside one are direct.
    target_compile_options(${name} PRIVATE -fno-semantic-interposition)
    target_link_options(${name} PRIVATE LINKER:-Bsymbolic-functions)
    # Visibility does not reach templates of the standard library; this list does.
    target_link_options(${name} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_property(TARGET ${name} PROPERTY LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    # Clang's sanitizers and fuzzer live in the program, and libraries find them there.
    if(NOT ZELVAN_FUZZ)
        target_link_options(${name} PRIVATE LINKER:--no-undefined)
    endif()
endfunction()

# zelvan_publish(<target> <include root> <header>...): installs a library and the headers that other projects
# may include. Each of these compiles alone: the target all_verify_interface_header_sets tries.
function(zelvan_publish target root)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${root} FILES ${ARGN})
    if(ZELVAN_INSTALL)
        install(TARGETS ${target} EXPORT ZelvanInterpolation
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
            FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zelvan COMPONENT Development)
    endif()
endfunction()

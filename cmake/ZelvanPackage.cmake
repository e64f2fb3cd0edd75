# What other projects find the libraries by, and the packages.
include(CMakePackageConfigHelpers)

# Beside a framework from elsewhere the pool is a plug-in to load: no package describes that framework.
if(ZELVAN_FRAMEWORK STREQUAL "bundled")
    set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/ZelvanInterpolation)
    install(EXPORT ZelvanInterpolation NAMESPACE Zelvan:: FILE ZelvanInterpolationTargets.cmake
        DESTINATION ${packageDir} COMPONENT Development)
    configure_package_config_file(cmake/ZelvanInterpolationConfig.cmake.in ZelvanInterpolationConfig.cmake
        INSTALL_DESTINATION ${packageDir} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(ZelvanInterpolationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES
            ${CMAKE_CURRENT_BINARY_DIR}/ZelvanInterpolationConfig.cmake
            ${CMAKE_CURRENT_BINARY_DIR}/ZelvanInterpolationConfigVersion.cmake
        DESTINATION ${packageDir} COMPONENT Development)

    # Paths start at the file itself, so that the tree can be moved.
    file(RELATIVE_PATH prefixFromPc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    configure_file(cmake/zelvan-interpolation.pc.in zelvan-interpolation.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelvan-interpolation.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endif()

# The newest entry of the changelog dates the packages: two builds of one commit give the same bytes.
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_PACKAGE_CONTACT "Zelvan maintainers <maintainers@zelvan.invalid>")
file(STRINGS CHANGELOG.md versions REGEX "^## [0-9.]+, [0-9-]+$")
if(NOT versions MATCHES "^## ${PROJECT_VERSION}, ([0-9-]+)")
    message(FATAL_ERROR "CHANGELOG.md: expected \"## ${PROJECT_VERSION}, <date>\" as its first entry")
endif()
execute_process(COMMAND date -u +%s -d ${CMAKE_MATCH_1} OUTPUT_VARIABLE CPACK_ZELVAN_EPOCH OUTPUT_STRIP_TRAILING_WHITESPACE)
set(debianChanges "")
foreach(line IN LISTS versions)
    string(REGEX MATCH "^## ([0-9.]+), ([0-9-]+)" line "${line}")
    set(version ${CMAKE_MATCH_1})
    execute_process(COMMAND date -u -R -d ${CMAKE_MATCH_2} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE)
    string(APPEND debianChanges "zelvan-interpolation (${version}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
        "  * Version ${version}; changelog.gz tells what is new.\n\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n\n")
endforeach()

# zelvan_gzip(<file> <compressed file>): the same bytes whenever it is done.
function(zelvan_gzip from to)
    execute_process(COMMAND gzip -9nc ${from} OUTPUT_FILE ${to} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${from})
endfunction()
set(packaging ${CMAKE_CURRENT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${packaging})
zelvan_gzip(${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md ${packaging}/changelog.gz)
file(CONFIGURE OUTPUT ${packaging}/changelog.Debian CONTENT "@debianChanges@" @ONLY)
zelvan_gzip(${packaging}/changelog.Debian ${packaging}/changelog.Debian.gz)

# Whose code is compiled into what, with the file of its notice: <name> <file>.
set(noticeOfEigen /usr/share/doc/libeigen3-dev/copyright)
set(noticeOfCLI11 /usr/share/doc/libcli11-dev/copyright)
set(noticeOfJson /usr/share/doc/nlohmann-json3-dev/copyright)
set(noticeOfToml++ /usr/share/doc/libtomlplusplus-dev/copyright)
set(noticeOfDygraphs ${ZELVAN_DYGRAPHS_LICENCE})
if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/build/scene-engine/x3dom.js) # then the program's package has it
    file(READ src/player/drawing/PictureHtml.cpp notice)
    string(REGEX MATCH "Copyright \\(c\\) 2009 X3DOM.*OTHER DEALINGS IN THE SOFTWARE\\." notice "${notice}")
    file(WRITE ${packaging}/X3DOM "${notice}\n")
    set(noticeOfX3DOM ${packaging}/X3DOM)
endif()
set(noticeOfPybind11 /usr/share/doc/pybind11-dev/copyright)

# zelvan_package(<component> <package> <section> <same, foreign or no> <sentence> <paragraph> <what is compiled in>...): one
# package per component. `same`: can be
# installed for several architectures at once; the Python module cannot, since its postinst compiles for one Python.
set(CPACK_COMPONENTS_ALL "")
macro(zelvan_package component package section multiArch summary description)
    string(TOUPPER ${component} upper)
    file(READ LICENSE copyright)
    foreach(part IN ITEMS ${ARGN})
        if(noticeOf${part} AND EXISTS ${noticeOf${part}})
            file(READ ${noticeOf${part}} notice)
            string(REGEX REPLACE "[ \t]+\n" "\n" notice "${notice}")
            string(REPLACE "\n" "\n    " notice "${notice}")
            string(APPEND copyright "\n\nParts of ${part} are compiled in. Its notice:\n\n    ${notice}")
        endif()
    endforeach()
    string(REGEX REPLACE "[ \t]+\n" "\n" copyright "${copyright}")
    file(CONFIGURE OUTPUT ${packaging}/${package}.copyright CONTENT "zelvan-interpolation\n\n@copyright@\n" @ONLY)
    install(FILES ${packaging}/${package}.copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} RENAME copyright
        COMPONENT ${component})
    install(FILES ${packaging}/changelog.gz ${packaging}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/packaging/overrides/${package})
        install(FILES packaging/overrides/${package} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${component})
    endif()
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
    list(APPEND CPACK_ZELVAN_MULTI_ARCH ${package}=${multiArch})
endmacro()
set(what "X3D interpolator nodes for the Zelvan scene framework")
zelvan_package(Runtime libzelvan-interpolation${PROJECT_VERSION_MAJOR} libs same "${what} - libraries"
    "The node types of X3D's Interpolation component, and others, as a library\nthat a scene framework loads, with a stand-in of that framework and of\nOpenSG's value types." Eigen)
zelvan_package(Development libzelvan-interpolation-dev libdevel same "${what} - development files"
    "Headers, a CMake package and a pkg-config file for programs that use the\nlibraries.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
if(ZELVAN_PLAYER)
    zelvan_package(Player zelvan-play graphics foreign "plays, checks and exports the animation of X3D scenes"
        "A program for scene authors: it plays scenes (X3D, ClassicVRML, VRML97)\nwithout a window, shows the curves, finds what is wrong with keys, values and\nroutes, and reduces, bakes and compares them."
        CLI11 Json Toml++ Dygraphs X3DOM)
    set(CPACK_COMPONENT_PLAYER_DEPENDS Runtime)
    set(CPACK_DEBIAN_PLAYER_PACKAGE_RECOMMENDS "librsvg2-2, libcairo2") # loaded by the first picture in pixels
endif()
if(ZELVAN_PYTHON_RUNS)
    zelvan_package(Python python3-zelvan-interpolation python no "${what} - Python module"
        "Values of all interpolator types as numpy arrays, and the animation of X3D\nscenes: played, checked, reduced, baked and compared."
        Json Pybind11)
    set(CPACK_COMPONENT_PYTHON_DEPENDS Runtime)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
        ${CMAKE_CURRENT_SOURCE_DIR}/packaging/python/postinst ${CMAKE_CURRENT_SOURCE_DIR}/packaging/python/prerm)
endif()
if(ZELVAN_PLAYER)
    zelvan_package(Documentation libzelvan-interpolation-doc doc foreign "${what} - documents"
        "Documents of the libraries, the node types and the program, with example\nscenes, a first program and a Python script.")
    set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
    set(docsDir ${CMAKE_INSTALL_DATADIR}/doc/libzelvan-interpolation-doc)
    file(GLOB documents CONFIGURE_DEPENDS docs/*.md)
    install(FILES README.md ${documents} DESTINATION ${docsDir} COMPONENT Documentation)
    install(DIRECTORY examples DESTINATION ${docsDir} COMPONENT Documentation
        FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ PATTERN __pycache__ EXCLUDE)
    if(ZELVAN_DOCS_FOLDER)
        install(DIRECTORY ${ZELVAN_DOCS_FOLDER} DESTINATION ${docsDir} COMPONENT Documentation)
    endif()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Where CPack looks for programs it asks file(1) about every single file: not in hundreds of documents.
foreach(component IN ITEMS RUNTIME PLAYER PYTHON)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
endforeach()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(shlibs "")
foreach(library IN ITEMS zelvanBase zelvanCoreNodePool zelvanInterpolationNodePool)
    string(APPEND shlibs "lib${library} ${PROJECT_VERSION_MAJOR} libzelvan-interpolation${PROJECT_VERSION_MAJOR} "
        "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})\n")
endforeach()
file(CONFIGURE OUTPUT ${packaging}/shlibs CONTENT "@shlibs@" @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${packaging}/shlibs)
set(CPACK_ZELVAN_SOURCE ${CMAKE_CURRENT_SOURCE_DIR})
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/FinishPackages.cmake)
include(CPack)

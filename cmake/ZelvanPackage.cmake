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

# One package per component: <component> <package> <section> <sentence>
set(CPACK_COMPONENTS_ALL "")
function(zelvan_package component package section summary)
    string(TOUPPER ${component} upper)
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} RENAME copyright
        COMPONENT ${component})
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_COMPONENT_${upper}_DESCRIPTION ${summary} PARENT_SCOPE)
endfunction()
zelvan_package(Runtime libzelvan-interpolation${PROJECT_VERSION_MAJOR} libs
    "X3D interpolator nodes for the Zelvan scene framework: libraries")
zelvan_package(Development libzelvan-interpolation-dev libdevel
    "X3D interpolator nodes for the Zelvan scene framework: development files")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
if(ZELVAN_PLAYER)
    zelvan_package(Player zelvan-play graphics "Plays, checks and exports the animation of X3D scenes")
    set(CPACK_COMPONENT_PLAYER_DEPENDS Runtime)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Zelvan maintainers <maintainers@zelvan.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)

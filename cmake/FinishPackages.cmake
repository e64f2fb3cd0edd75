# Run by CPack when it has made the packages: what it cannot say by itself.
foreach(file IN LISTS CPACK_PACKAGE_FILES)
    get_filename_component(package ${file} NAME)
    string(REGEX REPLACE "_.*" "" package ${package})
    if(NOT CPACK_ZELVAN_MULTI_ARCH MATCHES "(^|;)${package}=([a-z]+)")
        message(FATAL_ERROR "${file}: no such package is known")
    endif()
    execute_process(COMMAND bash ${CPACK_ZELVAN_SOURCE}/packaging/finish-deb ${file} ${CMAKE_MATCH_2} ${CPACK_ZELVAN_EPOCH}
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()

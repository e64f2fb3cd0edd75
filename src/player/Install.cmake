if(ZELVAN_INSTALL)
    set_target_properties(zelvan-play PROPERTIES INSTALL_RPATH "$ORIGIN/${ZELVAN_LIBRARIES_FROM_PROGRAMS}")
    install(TARGETS zelvan-play RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Player)
    execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/packaging/zelvan-play.1
        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/zelvan-play.1.gz COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/packaging/zelvan-play.1)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelvan-play.1.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Player)
    # What draws scenes in pages, where scripts/scene-engine has fetched it.
    install(FILES ${PROJECT_SOURCE_DIR}/build/scene-engine/x3dom.js
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zelvan-play COMPONENT Player OPTIONAL)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/zelvan-play.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zelvan-play COMPONENT Player)
    # What draws scenes in pages, when scripts/scene-engine has fetched it. Its notice is in the pages.
    install(FILES ${PROJECT_SOURCE_DIR}/build/scene-engine/x3dom.js
        DESTINATION share/zelvan-play COMPONENT Player OPTIONAL)
endif()

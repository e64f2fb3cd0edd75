if(ZELVAN_INSTALL)
    set_target_properties(zelvan-play PROPERTIES INSTALL_RPATH "$ORIGIN/${ZELVAN_LIBRARIES_FROM_PROGRAMS}")
    install(TARGETS zelvan-play RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Player)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/zelvan-play.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Player)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/zelvan-play.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zelvan-play COMPONENT Player)
endif()

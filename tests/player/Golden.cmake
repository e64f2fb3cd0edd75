add_test(NAME player.golden COMMAND ${CMAKE_CURRENT_LIST_DIR}/golden_test.sh $<TARGET_FILE:zelvan-play>)
set_tests_properties(player.golden PROPERTIES TIMEOUT 300)

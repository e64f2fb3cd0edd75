find_package(pugixml REQUIRED)
zelvan_test(pictureTests SOURCES PicturesTest.cpp LIBRARIES zelvanPlay pugixml::pugixml)
add_test(NAME Page.DrawsInABrowser COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/page_test.sh $<TARGET_FILE:zelvan-play>)
set_tests_properties(Page.DrawsInABrowser PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300)

# Sources of the pictures, and the texts they carry: pictureSources is for the target that draws.
set(pictureSources Derived.cpp Drawing.cpp PictureHtml.cpp PictureSvg.cpp PictureText.cpp
    ${CMAKE_CURRENT_BINARY_DIR}/PictureAssets.cpp)
# The charting library is one long line; every compiler there is takes it.
set_source_files_properties(PictureAssets.cpp PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)

find_path(ZELVAN_DYGRAPHS dygraph.min.js PATHS /usr/share/javascript/dygraphs
    DOC "Folder of the dygraphs charting library (dygraph.min.js, dygraph.min.css)")
find_file(ZELVAN_DYGRAPHS_LICENCE copyright PATHS /usr/share/doc/libjs-dygraphs NO_DEFAULT_PATH
    DOC "Licence notice of dygraphs, for the pages that carry it")
if(NOT ZELVAN_DYGRAPHS OR NOT ZELVAN_DYGRAPHS_LICENCE)
    message(FATAL_ERROR "zelvan-play draws its pages with dygraphs, which is not here: install the package "
        "libjs-dygraphs, or set ZELVAN_DYGRAPHS (a folder) and ZELVAN_DYGRAPHS_LICENCE (a file)")
endif()

# zelvan_text(<name> <file>): the file's text as a C++ constant, appended to pictureTexts.
function(zelvan_text name file)
    file(READ ${file} text)
    # A map that no page can load.
    string(REGEX REPLACE "(//|/\\*)# sourceMappingURL=[^\n]*" "" text "${text}")
    # What would end the text's place in the page too early; the licence stands in a comment.
    if(text MATCHES "</(script|style)|\\)zelvan\"" OR (name STREQUAL "chartLicence" AND text MATCHES "\\*/"))
        message(FATAL_ERROR "${file} cannot be put into a page")
    endif()
    string(APPEND pictureTexts "extern std::string_view const ${name} = R\"zelvan(${text})zelvan\"sv;\n")
    set(pictureTexts "${pictureTexts}" PARENT_SCOPE)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()

set(pictureTexts "")
zelvan_text(pictureStyle ${CMAKE_CURRENT_LIST_DIR}/picture.css)
zelvan_text(pageStyle ${CMAKE_CURRENT_LIST_DIR}/page.css)
zelvan_text(pageScript ${CMAKE_CURRENT_LIST_DIR}/page.js)
zelvan_text(chartScript ${ZELVAN_DYGRAPHS}/dygraph.min.js)
zelvan_text(chartStyle ${ZELVAN_DYGRAPHS}/dygraph.min.css)
zelvan_text(chartLicence ${ZELVAN_DYGRAPHS_LICENCE})
file(CONFIGURE OUTPUT PictureAssets.cpp @ONLY CONTENT [[
#include "player/PictureAssets.h"

namespace Zelvan::play::asset {

using namespace std::literals;

@pictureTexts@
} // namespace Zelvan::play::asset
]])

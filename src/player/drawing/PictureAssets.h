#pragma once

#include <cstddef>
#include <string_view>

/// Texts that the build puts into the program.
namespace Zelvan::play::asset {

extern std::string_view const pictureStyle; ///< picture.css
extern std::string_view const pageStyle;    ///< page.css
extern std::string_view const pageScript;   ///< views.js, card.js, scene.js, page.js
// The charting library as it is installed on the machine that builds, with its licence.
extern std::string_view const chartScript, chartStyle;
// What draws scenes.
extern std::string_view const engineVersion;
extern std::size_t const engineSize;
// SHA-256 of scripts, in base 64: a page runs these and no others.
extern std::string_view const chartScriptHash, pageScriptHash, engineHash;

} // namespace Zelvan::play::asset

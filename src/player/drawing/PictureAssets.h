#pragma once

#include <string_view>

/// Texts that the build puts into the program.
namespace Zelvan::play::asset {

extern std::string_view const pictureStyle; ///< picture.css
extern std::string_view const pageStyle;    ///< page.css
extern std::string_view const viewsScript;  ///< views.js
extern std::string_view const pageScript;   ///< page.js
// The charting library as it is installed on the machine that builds.
extern std::string_view const chartScript, chartStyle, chartLicence;

} // namespace Zelvan::play::asset

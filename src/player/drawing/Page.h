#pragma once

#include "player/drawing/Drawing.h"
#include "player/drawing/Samples.h"

// Parts of the page that its scripts read.
namespace Zelvan::play {

/// Samples of the elements of a block: of a large one every n-th element, of a long one every n-th sample.
struct Elements {
    std::size_t count = 0, stride = 1;
    unsigned width = 0; ///< numbers of an element
    std::vector<double> times;
    std::vector<float> numbers; ///< sample by sample, element by element; NaN where a block is shorter
};
/// At most about so many numbers; empty for what is no block of numbers or colours.
Elements elementsOf(Samples const& samples, std::size_t most);

/// What the page shows beside the curves, at the play head.
enum class Shape : unsigned char {
    none,
    path,    ///< positions in space
    cloud,   ///< elements in space
    outline, ///< elements in a plane
    turned   ///< a rotation
};
Shape shapeOf(NodePartDataType type, Drawing const& drawing, Elements const& elements);

/// Appends a JSON object with the curves, the marks and the elements of a drawing.
/// `sharedTimes` are those that the page has once for all: lines over the same ones leave them out.
void appendPageData(std::string& json, Drawing const& drawing, std::vector<double> const& sharedTimes, Elements const& elements,
                    Shape shape, double pathSize);
/// The place of the scene in the page with what its script reads, and the notice of who draws it.
void appendScene(std::string& html, SceneInPage const& scene);
/// Floats as a page reads them: the bytes of each, least first.
std::string packed(std::vector<float> const& numbers);
/// Appends numbers as a JSON list; null for what cannot be drawn.
void appendNumbers(std::string& json, std::vector<double> const& numbers, int digits = 10);

} // namespace Zelvan::play

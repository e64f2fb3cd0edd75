#pragma once

#include "player/checking/Check.h"
#include "player/editing/Bake.h"
#include "player/editing/Compare.h"
#include "player/playing/Clock.h"
#include "player/playing/Recording.h"
#include "player/reading/SceneReader.h"
#include "python/Drive.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Zelvan::python {

/// A scene that has been read, with what reading it reported. Throws Failure where it cannot be read.
struct ReadScene {
    ReadScene(std::string const& file, std::string const& root);
    play::ReadLimits limits;
    std::vector<play::Finding> findings;
    std::unique_ptr<play::Scene> scene;
};

/// What is wrong with a scene; where it cannot be read, that alone.
std::vector<play::Finding> check(std::string const& file, std::string const& root, play::CheckOptions const& options);

/// When to play, and what happens meanwhile.
struct PlayOptions {
    std::optional<double> duration; ///< one cycle
    double from = 0, fps = 60;
    std::vector<double> at; ///< frames of their own; the run ends with the last one
    std::vector<std::pair<std::string, double>> start;
    bool startAll = false;
    std::vector<play::Injection> inject;
    std::optional<double> now;
};
std::vector<play::Track> playScene(ReadScene& read, PlayOptions const& options, Patience& patience);

/// What an interpolator gives for fractions, with nothing before or behind it.
struct SweptTrack {
    play::SceneNode const* node;
    std::vector<float> fractions;
    DrivenValues values;
};
/// Of each interpolator: at `fractions`; where there are none, at its keys, or evenly over their range.
std::vector<SweptTrack> sweepScene(ReadScene& read, std::vector<float> const& fractions, unsigned steps, bool atKeys,
                                   Patience& patience);

/// A scene's text after an edit, and what became of each interpolator.
struct EditedScene {
    std::string text;
    play::BakeResult result;
};
EditedScene reduce(ReadScene& read, std::vector<std::string> const& maxError, bool free, Patience& patience);
EditedScene bake(ReadScene& read, play::BakeOptions const& options, Patience& patience);

/// How the tracks of two scenes differ, played alike.
std::vector<play::TrackDifference> diff(ReadScene& first, ReadScene& second, std::vector<std::string> const& maxError,
                                        PlayOptions const& options, Patience& patience);

} // namespace Zelvan::python

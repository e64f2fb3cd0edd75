#include "python/Scenes.h"

#include "player/checking/Suppressions.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <tuple>

namespace Zelvan::python {

using namespace play;

namespace {

/// While it lives, whatever is played in this thread can be interrupted.
class Interruptible : private SendObserver {
public:
    explicit Interruptible(Patience& patience) : _patience(patience), _before(Field::observe(this)) {}
    ~Interruptible() { Field::observe(_before); }
    Interruptible(Interruptible const&) = delete;

private:
    void sent(Field&, TimeStamp const&) override
    {
        if (++_events % 4096 == 0)
            _patience();
    }
    Patience& _patience;
    SendObserver* _before;
    unsigned _events = 0;
};

void read(ReadScene& into, std::string const& file)
{
    Diagnostics diagnostics(std::cerr);
    diagnostics.onMessage = [&](Severity severity, Place const& place, std::string_view kind, std::string const& text) {
        into.findings.push_back({severity, std::string(kind), place, "", text, ""});
    };
    into.scene = readScene(file, into.limits, diagnostics);
}

void requireInterpolators(Scene& scene, Tolerance const& tolerance)
{
    for (std::string const& name : tolerance.nodes())
        if (SceneNode const* const node = scene.find(name); node == nullptr || !isInterpolator(*node))
            throw Failure(exitUsage, "max_error: no interpolator is named \"" + name + '"');
}

std::vector<float> evenly(std::vector<float> const& keys, unsigned steps)
{
    float low = 0, high = 1;
    if (!keys.empty() && std::isfinite(keys.front()) && std::isfinite(keys.back()))
        std::tie(low, high) = std::minmax(keys.front(), keys.back());
    std::vector<float> fractions;
    for (unsigned k = 0; k < steps; ++k)
        fractions.push_back(static_cast<float>(low + (double(high) - low) * k / steps));
    fractions.push_back(high);
    return fractions;
}

} // namespace

ReadScene::ReadScene(std::string const& file, std::string const& root)
{
    limits.root = root;
    read(*this, file);
}

std::vector<Finding> check(std::string const& file, std::string const& root, CheckOptions const& options)
{
    for (std::set<std::string> const* const codes : {&options.only, &options.ignore})
        for (std::string const& code : *codes)
            if (codeNamed(code).code != code)
                throw Failure(exitUsage, "no finding has the code \"" + code + '"');
    ReadScene const read(file, root);
    return checkWithSuppressions(*read.scene, read.findings, options);
}

std::vector<Track> playScene(ReadScene& read, PlayOptions const& options, Patience& patience)
{
    Recorder recorder(*read.scene, {.keepSamples = true, .mostKept = read.limits.values});
    Clock clock(*read.scene, options.now);
    for (auto const& [name, time] : options.start)
        clock.startSensor(name, time);
    if (options.startAll)
        clock.startAll(options.from);
    for (Injection const& injection : options.inject)
        clock.inject(injection);
    Timing const timing{options.from,
                        options.duration ? options.from + *options.duration : std::max(options.from, clock.cycleEnd()),
                        options.fps, options.at};
    std::vector<Timing::Frame> const frames = timing.frames();
    clock.limitTo(frames.size(), read.limits.values);
    for (Timing::Frame const& frame : frames) {
        recorder.paused = !frame.recorded && options.at.empty();
        clock.advance(frame.time, [&recorder] { recorder.beginFrame(); });
        patience();
    }
    recorder.finish();
    return recorder.allTracks();
}

std::vector<SweptTrack> sweepScene(ReadScene& read, std::vector<float> const& fractions, unsigned steps, bool atKeys,
                                   Patience& patience)
{
    // Each curve is by itself, and what one interpolator sends must not change another one.
    for (SceneRoute const& route : read.scene->routes)
        if (route.route != nullptr)
            Route::remove(*route.route);
    read.scene->goLive();
    std::vector<SweptTrack> tracks;
    for (SceneNode const& node : read.scene->sceneNodes)
        if (Field* const output = outputOf(node)) {
            auto const& keys = static_cast<MFFloat*>(fieldOf(node, "key"))->_value;
            std::vector<float> const own = !fractions.empty() ? fractions : atKeys ? keys : evenly(keys, steps);
            tracks.push_back({&node, own, drive(*node.node, *output, own, patience)});
        }
    return tracks;
}

EditedScene reduce(ReadScene& read, std::vector<std::string> const& maxError, bool free, Patience& patience)
{
    Tolerance const tolerance(maxError);
    requireInterpolators(*read.scene, tolerance);
    SceneEdits edits(*read.scene, false, read.limits.bytes);
    Interruptible const interruptible(patience);
    BakeResult result{reduceScene(*read.scene, edits, tolerance, free), {}};
    return {edits.main().editedText(), std::move(result)};
}

EditedScene bake(ReadScene& read, BakeOptions const& options, Patience& patience)
{
    if (options.rate && !(*options.rate > 0 && std::isfinite(*options.rate)))
        throw Failure(exitUsage, "rate: expected a number above 0");
    requireInterpolators(*read.scene, options.tolerance);
    SceneEdits edits(*read.scene, false, read.limits.bytes);
    Interruptible const interruptible(patience);
    BakeResult result = bakeScene(*read.scene, edits, options);
    return {edits.main().editedText(), std::move(result)};
}

std::vector<TrackDifference> diff(ReadScene& first, ReadScene& second, std::vector<std::string> const& maxError,
                                  PlayOptions const& options, Patience& patience)
{
    Tolerance const tolerance(maxError);
    PlayedScene const a{*first.scene, playScene(first, options, patience)};
    PlayedScene const b{*second.scene, playScene(second, options, patience)};
    Interruptible const interruptible(patience);
    std::vector<TrackDifference> differences = compareScenes(a, b, tolerance);
    for (TrackDifference& difference : differences) // the tracks go with this call
        difference.first = difference.second = nullptr;
    return differences;
}

} // namespace Zelvan::python

#include "player/playing/Recording.h"

#include "player/playing/Derived.h"

#include <algorithm>
#include <cmath>
#include <fnmatch.h>
#include <limits>

namespace Zelvan::play {

void Range::add(double value)
{
    if (std::isnan(value))
        return;
    if (!any) {
        low = high = value;
        any = true;
    } else if (value < low) {
        low = value;
    } else if (value > high) {
        high = value;
    }
}

namespace {

std::size_t derivedCount(NodePartDataType type)
{
    return type == SFColorType ? 1 : type == SFRotationType ? 4 : type == SFMatrix4fType ? 5 : 0;
}

void addTurn(Track& track, UnitQuaternion const& rotation)
{
    double quantity[4];
    track.turning->next(rotation, quantity);
    for (std::size_t q = 0; q < 4; ++q) // degrees first
        track.derived[(q + 1) % 4].add(quantity[q]);
}

void addDerived(Track& track, std::vector<double> const& n)
{
    if (track.type == SFColorType) {
        if (Hsv const hsv = hsvOf(n.data()); hsv.saturation > 0)
            track.derived[0].add(hsv.hue);
    } else if (track.type == SFRotationType) {
        addTurn(track, UnitQuaternion::ofAxisAngle(n.data()));
    } else if (track.type == SFMatrix4fType) {
        MatrixParts const parts = partsOf(n.data());
        addTurn(track, parts.rotation);
        for (double const factor : parts.factors)
            track.derived[4].add(factor);
    }
}

} // namespace

Recorder::Recorder(Scene& scene, Options options) : _options(options), _mostInFrame(1000 + 10 * scene.routes.size())
{
    unsigned leaves = 0, arrivals = 0;
    auto const wanted = [&](SceneNode const& node) {
        return options.nodes.empty()
            || std::any_of(options.nodes.begin(), options.nodes.end(),
                           [&](std::string const& pattern) { return ::fnmatch(pattern.c_str(), node.name.c_str(), 0) == 0; });
    };
    for (SceneNode const& node : scene.sceneNodes)
        if (Field* const output = wanted(node) ? outputOf(node) : nullptr)
            add(node, *output, true, leaves++ < options.statistics);
        else if (node.known) // a sensor sends of itself
            _mostInFrame += 20;
    if (options.arrivals)
        for (SceneNode const& node : scene.sceneNodes)
            for (Field* const input : wanted(node) ? Scene::inputsOf(node) : std::vector<Field*>())
                add(node, *input, false, arrivals++ < options.statistics);
    if (_tracks.empty() && !options.nodes.empty())
        throw Failure(exitUsage, "--nodes: no node that sends or takes values has such a name");
    _wanted = _tracks.size();
    addBeside(scene);
    for (Track const& track : _tracks)
        _counts.push_back({0, track.detailed});
    Field::observe(this);
}

Recorder::~Recorder()
{
    Field::observe(nullptr);
    for (Track const& track : _tracks)
        track.source->setTag(0);
}

void Recorder::addBeside(Scene const& scene)
{
    if (_options.beside == Options::nothing)
        return;
    for (SceneNode const& node : scene.sceneNodes) {
        Field* const output = outputOf(node);
        if (output != nullptr && output->tag() == 0 && (_options.beside == Options::all || output->dataType() == SFFloatType))
            add(node, *output, true, false);
        if (_options.beside == Options::all)
            for (Field* const input : Scene::inputsOf(node))
                if (input->tag() == 0)
                    add(node, *input, false, false);
    }
}

void Recorder::add(SceneNode const& node, Field& field, bool leaves, bool statistics)
{
    Track& track = _tracks.emplace_back();
    track.node = &node;
    track.field = field.findName();
    track.type = field.dataType();
    track.leaves = leaves;
    track.source = &field;
    track.detailed = statistics || _options.keepSamples;
    if (isList(track.type))
        track.starts.push_back(0);
    if (track.detailed) {
        track.ranges.resize(componentsOf(track.type).count);
        track.derived.resize(derivedCount(track.type));
        if (track.derived.size() > 1)
            track.turning = &_turning.emplace_back();
        track.outline.resize(_options.outlineSteps * track.ranges.size(), std::numeric_limits<float>::quiet_NaN());
    }
    field.setTag(static_cast<unsigned>(_tracks.size()));
}

Track* Recorder::trackOf(SceneNode const& node)
{
    Field const* const output = outputOf(node);
    return output != nullptr && output->tag() != 0 ? &_tracks[output->tag() - 1] : nullptr;
}

void Recorder::finish()
{
    for (std::size_t i = 0; i < _tracks.size(); ++i)
        _tracks[i].events = _counts[i].events;
}

void Recorder::sent(Field& field, TimeStamp const& timeStamp)
{
    if (++_sentInFrame > _mostInFrame)
        throw Failure(exitScene,
                      "error: more than " + std::to_string(_mostInFrame)
                          + " events in one frame: routes fan "
                            "out and in again too often");
    constexpr std::size_t large = 64;
    if (std::size_t const size = field.size(); size > large) [[unlikely]]
        countMoved(field, size);
    unsigned const tag = field.tag();
    if (tag == 0 || paused)
        return;
    if (only != nullptr && only != _tracks[tag - 1].node)
        return;
    bool const wanted = tag <= _wanted;
    _events += wanted;
    Count& count = _counts[tag - 1];
    ++count.events;
    if (!count.detailed && !(onEvent && wanted))
        return;
    Track& track = _tracks[tag - 1];
    if (count.detailed) {
        _scratch.clear();
        appendNumbers(field, _scratch);
        std::size_t const width = track.ranges.size();
        if (width != 0 && _scratch.size() >= width) {
            for (std::size_t i = 0; i + width <= _scratch.size(); i += width)
                for (std::size_t c = 0; c < width; ++c)
                    track.ranges[c].add(_scratch[i + c]);
            track.largestBlock = std::max(track.largestBlock, _scratch.size() / width);
            addDerived(track, _scratch);
            if (!track.outline.empty()) {
                double const length = _options.axisEnd - _options.axisBegin;
                double const share = length > 0 ? (timeStamp - _options.axisBegin) / length : 0;
                auto const step =
                    static_cast<std::size_t>(std::clamp(share * _options.outlineSteps, 0.0, _options.outlineSteps - 1.0));
                auto const outline =
                    std::copy_n(_scratch.begin(), width, track.outline.begin() + static_cast<std::ptrdiff_t>(step * width));
                if (track.type == SFRotationType)
                    outline[-1] = static_cast<float>(track.turning->degrees());
            }
        }
        if (_options.keepSamples) {
            requireRoomFor(_scratch.size() + 2);
            track.times.push_back(timeStamp);
            track.numbers.insert(track.numbers.end(), _scratch.begin(), _scratch.end());
            if (!track.starts.empty())
                track.starts.push_back(track.numbers.size());
        }
    }
    if (onEvent && wanted) {
        requireRoomFor(field.size() * componentsOf(track.type).count + 2);
        onEvent(track, timeStamp, field);
    }
}

void Recorder::requireRoomFor(std::size_t numbers)
{
    _kept += numbers;
    if (_kept > _options.mostKept)
        throw Failure(exitScene,
                      "error: more than " + std::to_string(_options.mostKept)
                          + " values recorded: fewer frames or "
                            "a shorter time are less (--max-values raises the limit)");
}

// Every route copies a block to where it leads.
void Recorder::countMoved(Field const& field, std::size_t size)
{
    constexpr std::size_t perValue = 40;
    std::size_t moved = size;
    for (Route const* route = field._routesOut; route != nullptr; route = route->nextOut())
        moved += size;
    _moved += moved;
    if (moved / 2 > _options.mostKept || _moved / perValue > _options.mostKept)
        throw Failure(exitScene,
                      "error: routes move more elements of blocks than a run has time for: fewer frames, routes or "
                      "blocks are less (--max-values raises the limit)");
}

} // namespace Zelvan::play

#include "player/commands/Curves.h"

#include "base/Fields.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace Zelvan::play {

namespace {

constexpr std::size_t mostMarks = 2000; // more would be a wall
constexpr int mostLinks = 8;            // of a chain of interpolators

/// The only node that gives an interpolator its fraction; null when there is none, or more than one.
SceneNode const* onlyDriver(Scene const& scene, SceneNode const& node)
{
    Field const* const fraction = fieldOf(node, "set_fraction");
    Route const* const in = fraction ? fraction->_routesIn : nullptr;
    return in == nullptr || in->nextIn() != nullptr ? nullptr : scene.sceneNode(*in->from()._node);
}

std::string driverText(SceneNode const& node)
{
    std::string text = node.name + " (" + node.typeName;
    auto const* const cycle = static_cast<SFTime const*>(fieldOf(node, "cycleInterval"));
    auto const* const loop = static_cast<SFBool const*>(fieldOf(node, "loop"));
    if (cycle != nullptr && loop != nullptr)
        text += ", cycle " + shortNumber(cycle->_value) + (loop->_value ? " s, loops" : " s, once");
    return text + ')';
}

std::vector<std::string> driversOf(Scene const& scene, SceneNode const& node)
{
    std::vector<std::string> texts;
    SceneNode const* last = &node;
    for (SceneNode const* from = &node; (from = onlyDriver(scene, *from)) != nullptr && texts.size() < mostLinks; last = from)
        texts.push_back(driverText(*from));
    // Where the chain begins with several, or with none.
    Field const* const fraction = fieldOf(*last, "set_fraction");
    if (Route const* route = fraction ? fraction->_routesIn : nullptr; texts.empty() || (route && route->nextIn()))
        for (; route != nullptr && texts.size() < mostLinks; route = route->nextIn())
            if (SceneNode const* const from = scene.sceneNode(*route->from()._node))
                texts.push_back(driverText(*from));
    if (texts.empty())
        texts.emplace_back("nothing");
    return texts;
}

std::vector<std::string> movedBy(Scene const& scene, SceneNode const& node)
{
    constexpr std::size_t most = 12;
    std::vector<std::string> texts;
    Field const* const output = outputOf(node);
    std::size_t more = 0;
    for (Route const* route = output ? output->_routesOut : nullptr; route != nullptr; route = route->nextOut())
        if (SceneNode const* const to = scene.sceneNode(*route->to()._node)) {
            if (texts.size() < most)
                texts.push_back(to->name + '.' + route->to().findName() + " (" + to->typeName + ')');
            else
                ++more;
        }
    if (more > 0)
        texts.push_back("and " + std::to_string(more) + " more");
    return texts;
}

/// When a chain of interpolators that ends at `node` passes fractions.
class Passing {
public:
    Passing(Scene const& scene, Recorder const& recorder, Clock const& clock) : _scene(scene), _clock(clock)
    {
        for (Track const& track : recorder.allTracks())
            if (track.leaves)
                _tracks[track.node] = &track;
    }

    /// The sensor at the beginning of the chain; null when there is none.
    Clock::Sensor const* sensorOf(SceneNode const& node) const
    {
        SceneNode const* at = &node;
        for (int link = 0; at != nullptr && link < mostLinks; ++link, at = onlyDriver(_scene, *at))
            if (Clock::Sensor const* const sensor = _clock.sensorOf(*at))
                return sensor;
        return nullptr;
    }

    std::vector<double> times(SceneNode const& node, std::vector<float> fractions) const
    {
        if (Clock::Sensor const* const sensor = _clock.sensorOf(node))
            return Clock::timesOf(*sensor, std::move(fractions), mostMarks).value_or(std::vector<double>());
        SceneNode const* const driver = onlyDriver(_scene, node);
        auto const found = driver ? _tracks.find(driver) : _tracks.end();
        Clock::Sensor const* const sensor = sensorOf(node);
        if (found == _tracks.end() || found->second->type != SFFloatType || sensor == nullptr)
            return {};
        return crossings(*found->second, std::move(fractions), Clock::seamsOf(*sensor, mostMarks));
    }

private:
    /// Where a recorded curve has one of `levels`: straight between samples, but not over a seam.
    static std::vector<double> crossings(Track const& track, std::vector<float> levels, std::vector<double> const& seams)
    {
        std::sort(levels.begin(), levels.end());
        levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
        std::vector<double> times;
        for (std::size_t s = 0; s < track.times.size() && times.size() < mostMarks; ++s) {
            double const at = track.times[s], value = track.numbers[s];
            auto const seam = std::lower_bound(seams.begin(), seams.end(), s ? track.times[s - 1] : at);
            bool const first = s == 0 || (seam != seams.end() && *seam < at); // at the seam itself a cycle ends
            double const beforeAt = first ? at : track.times[s - 1], before = first ? value : track.numbers[s - 1];
            double const low = std::min(before, value), high = std::max(before, value);
            for (auto level = std::lower_bound(levels.begin(), levels.end(), float(low));
                 level != levels.end() && *level <= high; ++level)
                if (first || *level != before) // which the interval before has counted
                    times.push_back(value == before ? at : std::lerp(beforeAt, at, (*level - before) / (value - before)));
        }
        return times;
    }

    Scene const& _scene;
    Clock const& _clock;
    std::map<SceneNode const*, Track const*> _tracks;
};

std::vector<CurveRemark> remarksOn(SceneNode const& node, std::vector<float> const& keys, std::vector<Finding> const& findings,
                                   Passing const& passing)
{
    std::vector<CurveRemark> remarks;
    for (Finding const& finding : findings) {
        if (finding.subject != &node)
            continue;
        CurveRemark& remark = remarks.emplace_back(
            CurveRemark{severityName(finding.severity), finding.code, finding.message, finding.advice, {}});
        if (finding.more > 0)
            remark.message += " (and " + std::to_string(finding.more) + " more)";
        if (finding.key && *finding.key < keys.size())
            remark.places = passing.times(node, {keys[*finding.key]});
    }
    return remarks;
}

} // namespace

std::vector<Curve> curvesOf(Scene const& scene, Recorder const& recorder, Clock const& clock,
                            std::vector<Finding> const& findings)
{
    Passing const passing(scene, recorder, clock);
    std::vector<Curve> curves;
    for (Track const& track : recorder.tracks())
        if (track.leaves && track.events > 0) {
            Curve& curve = curves.emplace_back(Curve{&track, {}, {}});
            if (curves.size() > drawnCurves)
                continue;
            SceneNode const& node = *track.node;
            auto const* const key = static_cast<MFFloat const*>(fieldOf(node, "key"));
            std::vector<float> const keys = key ? key->_value : std::vector<float>();
            curve.keys = passing.times(node, keys);
            if (Clock::Sensor const* const sensor = passing.sensorOf(node))
                curve.seams = Clock::seamsOf(*sensor, mostMarks);
            curve.drivers = driversOf(scene, node);
            curve.moves = movedBy(scene, node);
            curve.place = scene.place(node).text();
            curve.place.erase(0, curve.place.rfind('/') + 1);
            curve.remarks = remarksOn(node, keys, findings, passing);
        }
    return curves;
}

std::vector<std::string> waitingSensors(Clock const& clock)
{
    std::vector<std::string> texts;
    for (Clock::Sensor const& sensor : clock.sensors())
        if (std::string const waits = clock.waitsFor(sensor); !waits.empty() && sensor.runs.empty())
            texts.push_back("TimeSensor " + sensor.node->name + ' ' + waits);
    return texts;
}

std::string shownCycles(Clock const& clock, double from, double to)
{
    Clock::Sensor const* longest = nullptr;
    for (Clock::Sensor const& sensor : clock.sensors())
        if (!sensor.runs.empty() && (longest == nullptr || sensor.runs.back().cycle > longest->runs.back().cycle))
            longest = &sensor;
    if (longest == nullptr || !(to > from))
        return "";
    Clock::Run const& run = longest->runs.back();
    double const cycle = run.cycle, cycles = (to - from) / cycle;
    std::string const time = roundNumber(from) + " to " + roundNumber(to) + " s";
    if (run.start > from || (run.end < to && !longest->active)) // it does not run all the time
        return time + "; a cycle of " + longest->node->name + " lasts " + roundNumber(cycle) + " s";
    std::string const part = cycles < 1 ? roundNumber(cycles * 100, 3) + " % of a cycle"
        : std::abs(cycles - 1) < 1e-9   ? "one cycle"
                                        : roundNumber(cycles, 3) + " cycles";
    return time + ": " + part + " of " + longest->node->name + " (" + roundNumber(cycle) + " s)";
}

} // namespace Zelvan::play

#include "player/editing/Sampling.h"

#include "base/Fields.h"
#include "player/scene/Scene.h"
#include "player/scene/Values.h"

#include <algorithm>
#include <cmath>

namespace Zelvan::play {

namespace {

constexpr unsigned mostSteps = 4096; // between two breaks
constexpr double jumps = 20;         // from one float to the next, in tolerances: what is no slope any more

std::vector<double> numbersOf(Field const& field)
{
    std::vector<double> numbers;
    appendNumbers(field, numbers);
    return numbers;
}

// Of the two values of a chain at two fractions.
double changeOf(Playable& chain, float from, float to)
{
    Field const& field = chain.play(from);
    auto const before = makeField(field.dataType());
    before->assignValue(field);
    return differenceOf(*before, chain.play(to));
}

float between(float from, float to, unsigned step, unsigned steps)
{
    return static_cast<float>(from + (double(to) - from) * step / steps);
}

} // namespace

PlayedChain::PlayedChain(std::vector<KeyTrack> tracks) : _tracks(std::move(tracks))
{
    constexpr unsigned steps = 256;
    for (KeyTrack const& track : _tracks)
        _stages.push_back(std::make_unique<PlayedTrack>(track));
    _breaks = merged(_tracks[0].keys, {});
    for (std::size_t stage = 1; stage < _tracks.size(); ++stage) {
        std::vector<float> passes;
        auto const eased = [&](float fraction) { return static_cast<SFFloat const&>(playStages(fraction, stage))._value; };
        std::vector<float> const& keys = _tracks[stage].keys;
        // Whether what a step ends with is seen in the next one; at the very end where no key stands twice.
        auto const goesOn = [&](std::size_t i, unsigned step, bool twice) {
            if (++step == steps && (step = 0, ++i + 1 == _breaks.size()))
                return !twice;
            float const from = between(_breaks[i], _breaks[i + 1], step, steps);
            float const to = between(_breaks[i], _breaks[i + 1], step + 1, steps);
            return eased(from) != eased(std::nextafter(to, from));
        };
        for (std::size_t i = 0; i + 1 < _breaks.size(); ++i)
            for (unsigned step = 0; step < steps; ++step) {
                float const from = between(_breaks[i], _breaks[i + 1], step, steps);
                float const to = between(_breaks[i], _breaks[i + 1], step + 1, steps);
                float const first = eased(from), last = eased(std::nextafter(to, from));
                auto const [low, high] = std::minmax(first, last);
                for (auto key = std::ranges::lower_bound(keys, low); low < high && key != keys.end() && *key <= high; ++key) {
                    bool const twice = key + 1 != keys.end() && key[1] == *key;
                    if (*key == last && eased(to) == last && goesOn(i, step, twice))
                        continue; // the next step begins with it
                    float a = from, b = to;
                    bool const rises = first < *key;
                    for (float middle = a + (b - a) / 2; middle > a && middle < b; middle = a + (b - a) / 2)
                        (eased(middle) < *key) == rises ? a = middle : b = middle;
                    passes.push_back(*key == first ? from : b);
                }
            }
        std::ranges::sort(passes);
        _breaks = merged(_breaks, passes);
    }
}

Field const& PlayedChain::playStages(float fraction, std::size_t count)
{
    for (std::size_t stage = 0; stage + 1 < count; ++stage)
        fraction = static_cast<SFFloat const&>(_stages[stage]->play(fraction))._value;
    return _stages[count - 1]->play(fraction);
}

Field const& PlayedChain::play(float fraction)
{
    return playStages(fraction, _stages.size());
}

void PlayedChain::add(KeyTrack& track, float key, float at)
{
    track.keys.push_back(key);
    for (double const number : numbersOf(play(at)))
        track.values.push_back(static_cast<float>(number));
}

KeyTrack PlayedChain::sampled(NodeType& type, std::vector<float> const& fractions, double jump)
{
    KeyTrack track{&type, last().motion, last().width, last().components, {}, {}};
    for (std::size_t i = 0; i < fractions.size(); ++i) {
        float const at = fractions[i];
        if (std::ranges::binary_search(_breaks, at)) {
            if (float const before = std::nextafter(at, -INFINITY); i > 0 && changeOf(*this, before, at) > jump)
                add(track, at, before);
            add(track, at, at);
            if (float const after = std::nextafter(at, INFINITY); i + 1 < fractions.size() && changeOf(*this, at, after) > jump)
                add(track, at, after);
        } else {
            add(track, at, at);
        }
    }
    return track;
}

unsigned PlayedChain::cubicSteps(float from, float to, double tolerance)
{
    // A cubic is known by four of its points, and its second derivative is greatest at one of the ends.
    std::vector<double> points[4];
    for (unsigned i = 0; i < 4; ++i)
        points[i] = numbersOf(play(i == 3 ? std::nextafter(to, from) : between(from, to, i, 3)));
    double second = 0;
    for (std::size_t c = 0; c < points[0].size(); ++c) {
        auto const p = [&](unsigned i) { return points[i][c]; };
        second = std::max({second, std::abs(9 * (2 * p(0) - 5 * p(1) + 4 * p(2) - p(3))),
                           std::abs(9 * (2 * p(3) - 5 * p(2) + 4 * p(1) - p(0)))});
    }
    double const steps = std::ceil(std::sqrt(second / 8 / tolerance));
    return steps >= 1 ? static_cast<unsigned>(std::min(steps, double(mostSteps))) : 1;
}

KeyTrack PlayedChain::sampled(NodeType& type, double tolerance)
{
    std::vector<unsigned> steps;
    bool const cubic = _tracks.size() == 1 && last().motion == Motion::linear;
    for (std::size_t i = 0; i + 1 < _breaks.size(); ++i)
        steps.push_back(cubic ? cubicSteps(_breaks[i], _breaks[i + 1], tolerance) : 8);
    for (;;) {
        std::vector<float> fractions;
        for (std::size_t i = 0; i + 1 < _breaks.size(); ++i)
            for (unsigned step = 0; step < steps[i]; ++step)
                fractions.push_back(between(_breaks[i], _breaks[i + 1], step, steps[i]));
        fractions.push_back(_breaks.back());
        fractions = merged(fractions, {});
        KeyTrack track = sampled(type, fractions, jumps * tolerance);
        PlayedTrack played(track);
        bool enough = true;
        for (std::size_t i = 0; i + 1 < _breaks.size(); ++i) {
            double worst = 0;
            for (unsigned step = 0; step < 2 * steps[i]; ++step) {
                float const at = between(_breaks[i], _breaks[i + 1], 2 * step + 1, 4 * steps[i]);
                worst = std::max(worst, differenceOf(play(at), played.play(at)));
            }
            if (worst > tolerance && std::isfinite(worst) && steps[i] < mostSteps) {
                steps[i] *= 2;
                enough = false;
            }
        }
        if (enough)
            return track;
    }
}

} // namespace Zelvan::play

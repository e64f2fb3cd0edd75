#include "player/editing/Tolerance.h"

#include "player/scene/Diagnostics.h"
#include "player/scene/Scene.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace Zelvan::play {

Tolerance::Tolerance(std::vector<std::string> texts, std::vector<std::string> const& usual)
{
    if (std::ranges::all_of(texts, [](std::string const& text) { return text.find('=') != std::string::npos; }))
        texts.insert(texts.begin(), usual.begin(), usual.end());
    for (std::string const& text : texts) {
        auto const equal = text.rfind('=');
        std::string const amount = equal == std::string::npos ? text : text.substr(equal + 1);
        double number = 0;
        auto const [end, error] = std::from_chars(amount.data(), amount.data() + amount.size(), number);
        std::string_view const unit(end, static_cast<std::size_t>(amount.data() + amount.size() - end));
        if (error != std::errc() || !(unit.empty() || unit == "%" || unit == "deg") || !std::isfinite(number) || number < 0)
            throw Failure(exitUsage,
                          "--max-error " + text
                              + ": expected a number that is not negative, such as 0.01, 0.1% or "
                                "1deg, for one node Ball=0.01");
        _amounts.push_back({equal == std::string::npos ? "" : text.substr(0, equal), number,
                            unit == "%"         ? Unit::percent
                                : unit == "deg" ? Unit::degrees
                                                : Unit::value});
    }
}

std::optional<double> Tolerance::of(KeyTrack const& track, std::string const& node) const
{
    // The value's units and degrees suit rotations better than a share of their range.
    std::optional<double> general, named;
    bool degrees = false, isNamed = false;
    for (Amount const& amount : _amounts) {
        if (!amount.node.empty() && amount.node != node)
            continue;
        isNamed |= !amount.node.empty();
        bool const rotation = track.motion == Motion::rotation;
        if (amount.unit == Unit::degrees && !rotation)
            continue;
        double const value = amount.unit == Unit::percent ? amount.number / 100 * track.range()
            : amount.unit == Unit::degrees                ? amount.number * std::numbers::pi / 180
                                                          : amount.number;
        if (!amount.node.empty())
            named = value;
        else if (!(rotation && degrees && amount.unit == Unit::percent))
            general = value;
        degrees |= amount.unit == Unit::degrees;
    }
    return isNamed ? named : general;
}

std::optional<double> Tolerance::of(KeyTrack const& track, std::vector<SceneNode const*> const& nodes) const
{
    std::optional<double> strictest;
    for (SceneNode const* const node : nodes) {
        auto const allowed = of(track, node->name);
        if (!allowed)
            return {};
        strictest = std::min(*allowed, strictest.value_or(*allowed));
    }
    return strictest;
}

std::vector<std::string> Tolerance::nodes() const
{
    std::vector<std::string> names;
    for (Amount const& amount : _amounts)
        if (!amount.node.empty())
            names.push_back(amount.node);
    return names;
}

} // namespace Zelvan::play

#include "base/Fields.h"
#include "player/drawing/Page.h"
#include "player/drawing/PictureAssets.h"
#include "player/reading/Staging.h"
#include "player/scene/Escape.h"
#include "player/scene/SceneParts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace Zelvan::play {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostNumbers = 3'000'000; // of all moved fields together: 16 MB in the page

std::string place(std::uint32_t at)
{
    return at == Staging::root ? "-1" : std::to_string(at);
}

/// [type, parent, field, use, name, value, ...]; a value that is a number is a picture.
void appendNode(std::string& json, Staging::Drawn const& node)
{
    json += '[' + jsonStringInPage(node.type) + ',' + (node.parent == Staging::nowhere ? "-2" : place(node.parent)) + ','
        + jsonStringInPage(node.field) + ',' + (node.use == Staging::nowhere ? "-1" : place(node.use));
    for (Staging::Attribute const& attribute : node.attributes)
        json += ',' + jsonStringInPage(attribute.name) + ','
            + (attribute.picture == Staging::nowhere ? jsonStringInPage(attribute.value) : std::to_string(attribute.picture));
    json += ']';
}

/// What arrives at a node that is drawn, every `step`th time.
void appendMoved(std::string& json, Track const& track, std::uint32_t node, std::size_t step, std::vector<double>& lastTimes)
{
    std::vector<double> times, starts;
    std::vector<float> numbers;
    for (std::size_t s = 0; s < track.times.size(); s += step) {
        times.push_back(track.times[s]);
        starts.push_back(double(numbers.size()));
        for (double const number : track.sample(s))
            numbers.push_back(float(number));
    }
    json += "{\"node\":" + std::to_string(node) + ",\"name\":" + jsonStringInPage(track.name())
        + ",\"field\":" + jsonStringInPage(baseName(track.field)) + ",\"type\":\"" + dataTypeName(track.type)
        + "\",\"width\":" + std::to_string(track.ranges.size());
    if (times != lastTimes) { // else those of the one before
        json += ",\"times\":";
        appendNumbers(json, times, 17);
        lastTimes = std::move(times);
    }
    if (isList(track.type)) {
        json += ",\"starts\":";
        appendNumbers(json, starts);
    }
    json += ",\"numbers\":\"" + packed(numbers) + "\"}";
}

template <class List, class Append>
void appendList(std::string& json, List const& list, Append append)
{
    json += '[';
    bool first = true;
    for (auto const& one : list) {
        json += first ? "\n" : ",\n";
        first = false;
        append(one);
    }
    json += ']';
}

} // namespace

std::string sceneEngine()
{
    std::error_code error;
    fs::path const bin = fs::read_symlink("/proc/self/exe", error).parent_path();
    // Of an installation; beside the build folder.
    for (char const* const folder : {"../share/zelvan-play", "../../scene-engine"}) {
        std::ifstream file(bin / folder / "x3dom.js", std::ios::binary);
        std::string script{std::istreambuf_iterator<char>(file), {}};
        if (file.bad() || script.empty())
            continue;
        if (script.size() != asset::engineSize)
            throw Failure(exitMachine,
                          "error: --scene: " + (bin / folder).lexically_normal().string() + "/x3dom.js is not the X3DOM "
                              + std::string(asset::engineVersion) + " that scripts/scene-engine fetches");
        return script;
    }
    throw Failure(exitMachine, "error: --scene: X3DOM, which draws the scene, is not here; scripts/scene-engine fetches it");
}

void appendScene(std::string& html, SceneInPage const& scene)
{
    Staging const& staging = scene.staging;
    std::vector<std::pair<Track const*, std::uint32_t>> moved;
    std::size_t numbers = 0;
    for (Track const& track : scene.tracks) {
        std::uint32_t const node = track.ranges.empty() ? Staging::nowhere : staging.of(track.node);
        if (node == Staging::nowhere || track.times.empty())
            continue;
        moved.emplace_back(&track, node);
        numbers += track.numbers.size();
    }
    std::size_t const step = 1 + numbers / mostNumbers;
    html +=
        "<section id=\"scene\" aria-labelledby=\"sceneName\">\n<h2 id=\"sceneName\">The scene</h2>\n<div id=\"stage\"></div>\n"
        "<ul id=\"left\">";
    if (step > 1)
        html += "<li>It moves at one event in " + std::to_string(step) + " only: the values take too much room.</li>";
    for (std::string const& sentence : staging.left)
        html += "<li><bdi>" + escapedMarkup(sentence) + "</bdi></li>";
    if (staging.leftBesides > 0)
        html += "<li>And " + std::to_string(staging.leftBesides) + " more.</li>";
    html += "</ul>\n<p class=\"help\">Drawn by X3DOM " + std::string(asset::engineVersion)
        + " (MIT licence), moved by the values of the curves.</p>\n<script type=\"application/json\" id=\"staged\">{\"nodes\":";
    appendList(html, staging.nodes, [&](Staging::Drawn const& node) { appendNode(html, node); });
    html += ",\"pictures\":";
    appendList(html, staging.pictures, [&](std::string const& picture) { html += jsonStringInPage(picture); });
    html += ",\"moved\":";
    std::vector<double> lastTimes;
    appendList(html, moved, [&](auto const& one) { appendMoved(html, *one.first, one.second, step, lastTimes); });
    html += "}</script>\n</section>\n";
}

} // namespace Zelvan::play

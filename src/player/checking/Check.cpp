#include "player/checking/CheckRules.h"

#include "base/Fields.h"
#include "player/reading/SceneReader.h"
#include "player/scene/Utf8.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <ostream>

namespace Zelvan::play {

namespace {

CheckCode const& codeNamed(std::string const& code)
{
    auto const& codes = checkCodes();
    auto const found = std::find_if(codes.begin(), codes.end(), [&](CheckCode const& c) { return code == c.code; });
    return found != codes.end() ? *found : codes.back();
}

auto order(Finding const& finding)
{
    return std::tie(finding.place.file, finding.place.line, finding.place.column);
}

} // namespace

bool FindingCollector::wants(std::string const& code) const
{
    return (_options.only.empty() || _options.only.contains(code)) && !_options.ignore.contains(code);
}

Severity FindingCollector::severityOf(std::string const& code, Severity otherwise) const
{
    auto const found = _options.severities.find(code);
    return found == _options.severities.end() ? otherwise : found->second;
}

FindingCollector::Slot* FindingCollector::open(char const* code, SceneNode const& node)
{
    if (!wants(code))
        return nullptr;
    Slot& slot = _slots[{code, node.where.file, node.where.offset}];
    if (_options.perNode == 0 || slot.kept.size() < _options.perNode)
        return &slot;
    ++_findings[slot.last].more;
    return nullptr;
}

void FindingCollector::keep(Slot& slot, char const* code, SceneNode const& node, Field const* field,
                            std::string const& text, std::string_view advice, std::optional<Severity> severity)
{
    auto const [same, added] = slot.kept.try_emplace(text, _findings.size());
    if (!added) {
        ++_findings[same->second].more;
        return;
    }
    slot.last = _findings.size();
    _findings.push_back({severityOf(code, severity.value_or(codeNamed(code).severity)), code,
                         field ? _scene.place(node, *field) : _scene.place(node), node.name, node.name + text,
                         std::string(advice)});
}

void FindingCollector::add(char const* code, SceneRoute const& route, std::string message, std::string_view advice)
{
    if (wants(code))
        _findings.push_back({severityOf(code, codeNamed(code).severity), code, _scene.place(route.where),
                             route.to->name, std::move(message), std::string(advice)});
}

void FindingCollector::add(Finding finding)
{
    if (!wants(finding.code))
        return;
    finding.severity = severityOf(finding.code, finding.severity);
    _findings.push_back(std::move(finding));
}

std::vector<Finding> FindingCollector::take()
{
    std::stable_sort(_findings.begin(), _findings.end(),
                     [](Finding const& a, Finding const& b) { return order(a) < order(b); });
    _slots.clear();
    return std::move(_findings);
}

KeyedValues::KeyedValues(SceneNode const& sceneNode)
    : node(sceneNode),
      keyField(fieldOf(node, "key")),
      valueField(fieldOf(node, eases() ? "easeInEaseOut" : "keyValue")),
      keys(static_cast<MFFloat const*>(keyField)->_value),
      size(valueField->size()),
      blocks(isList(outputOf(node)->dataType())),
      count(std::min(keys.size(), size)),
      perKey(blocks && count > 0 ? size / count : 1),
      width(componentsOf(valueField->dataType()).count)
{
    appendNumbers(*valueField, numbers);
}

std::string KeyedValues::valueName(std::size_t i) const
{
    return '.' + std::string(valueField->findName()) + '[' + std::to_string(i) + ']';
}

std::vector<Finding> checkScene(Scene& scene, std::vector<Finding> readerFindings, CheckOptions const& options)
{
    FindingCollector findings(scene, options);
    // "Mover.keyValue" where a text was refused: that the field is empty is no news then.
    std::unordered_set<std::string> refusedFields;
    for (Finding& finding : readerFindings) {
        if (finding.code == kinds::badValue)
            refusedFields.insert(finding.message.substr(0, finding.message.find(" (")));
        findings.add(std::move(finding));
    }
    FailedEnds failed;
    for (SceneRoute const& route : scene.routes)
        if (route.route == nullptr)
            failed.insert({route.from, route.to});
    for (SceneNode const& node : scene.sceneNodes) {
        if (!isInterpolator(node))
            continue;
        KeyedValues values(node);
        Drive const drive = driveOf(scene, node);
        auto const usable = std::span(values.keys).first(values.count);
        values.ordered = std::is_sorted(usable.begin(), usable.end());
        auto const finite = [](auto number) { return std::isfinite(number); };
        values.finite = std::all_of(usable.begin(), usable.end(), finite)
            && std::all_of(values.numbers.begin(),
                           values.numbers.begin()
                               + static_cast<std::ptrdiff_t>(values.count * values.perKey * values.width), finite);
        checkKeys(values, drive, refusedFields, findings);
        checkValues(values, findings);
        checkLoop(values, drive, findings);
        checkRoutesOf(scene, node, drive, failed, findings);
    }
    checkRouteLoops(scene, findings);
    checkSensors(scene, findings);
    return findings.take();
}

std::vector<Finding> checkUnread(std::vector<Finding> readerFindings, CheckOptions const& options)
{
    Scene const none;
    FindingCollector findings(none, options);
    for (Finding& finding : readerFindings)
        findings.add(std::move(finding));
    return findings.take();
}

void writeFindings(std::ostream& out, std::vector<Finding> const& findings, CheckOptions const& options, bool styled)
{
    constexpr char const* styles[] = {"\033[36m", "\033[33m", "\033[31m"}; // cyan, yellow, red
    std::map<std::string, std::pair<unsigned, std::size_t>> written; // lines, and how many were held back
    for (Finding const& finding : findings) {
        auto& [lines, heldBack] = written[finding.code];
        if (options.perCode != 0 && lines >= options.perCode) {
            heldBack += 1 + finding.more;
            continue;
        }
        ++lines;
        std::string const place = printable(finding.place.text());
        out << place << ": " << (styled ? styles[static_cast<unsigned>(finding.severity)] : "")
            << severityName(finding.severity) << (styled ? "\033[0m" : "") << ' ' << finding.code << ' '
            << printable(finding.message);
        if (!finding.advice.empty())
            out << " (" << printable(finding.advice) << ')';
        out << '\n';
        if (finding.more > 0)
            out << place << ": ... and " << finding.more << " more " << finding.code
                << (finding.node.empty() ? "" : " at ") << printable(finding.node) << '\n';
    }
    for (auto const& [code, count] : written)
        if (count.second > 0)
            out << "... and " << count.second << " more " << code << '\n';
}

void writeFindingsJson(std::ostream& out, std::vector<Finding> const& findings)
{
    // One at a time: a document of them all takes many times the memory.
    out << "{\n  \"findings\": [";
    for (std::size_t i = 0; i < findings.size(); ++i) {
        Finding const& finding = findings[i];
        nlohmann::ordered_json entry = {
            {"file", finding.place.file}, {"line", finding.place.line},  {"column", finding.place.column},
            {"severity", severityName(finding.severity)}, {"code", finding.code}, {"node", finding.node},
            {"message", finding.message}, {"advice", finding.advice}};
        if (finding.more > 0)
            entry["more"] = finding.more;
        out << (i == 0 ? "" : ",") << "\n    " << entry.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    out << (findings.empty() ? "],\n" : "\n  ],\n");
    out << "  \"errors\": " << countFindings(findings, Severity::error) << ",\n  \"warnings\": "
        << countFindings(findings, Severity::warning) << ",\n  \"notes\": " << countFindings(findings, Severity::note) << "\n}\n";
}

std::size_t countFindings(std::vector<Finding> const& findings, Severity severity)
{
    std::size_t count = 0;
    for (Finding const& finding : findings)
        if (finding.severity == severity)
            count += 1 + finding.more;
    return count;
}

std::string countOf(std::size_t count, char const* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string listed(std::span<double const> numbers)
{
    constexpr std::size_t most = 4;
    std::string text;
    for (std::size_t i = 0; i < std::min(numbers.size(), most); ++i)
        text += (i ? " " : "") + roundNumber(numbers[i], 4);
    return numbers.size() == 1 ? text : '(' + text + (numbers.size() > most ? " ...)" : ")");
}

std::string degrees(double radians)
{
    return roundNumber(std::abs(radians) * (180 / std::numbers::pi), 4);
}

} // namespace Zelvan::play

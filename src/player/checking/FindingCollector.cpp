#include "player/checking/CheckRules.h"

#include <algorithm>

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

} // namespace Zelvan::play

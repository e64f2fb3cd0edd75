#include "player/checking/CheckRules.h"

#include <algorithm>
#include <charconv>

namespace Zelvan::play {

namespace {

auto order(Finding const& finding)
{
    return std::tie(finding.place.file, finding.place.line, finding.place.column);
}

// Of the list that a text begins with: 3 of ".key[3] is ...".
std::optional<std::size_t> elementIn(std::string_view text)
{
    auto const bracket = text.find_first_of("[ :");
    if (bracket == text.npos || text[bracket] != '[')
        return {};
    std::size_t element = 0;
    auto const [end, error] = std::from_chars(text.data() + bracket + 1, text.data() + text.size(), element);
    return error == std::errc() && *end == ']' ? std::optional(element) : std::nullopt;
}

// The key of an interpolator that an element of one of its lists belongs to.
std::size_t keyOf(SceneNode const& node, Field const& field, std::size_t element)
{
    Field const* const keys = fieldOf(node, "key");
    bool const blocks = keys != nullptr && &field != keys && !keys->empty() && isList(outputOf(node)->dataType());
    return blocks ? element / std::max<std::size_t>(1, field.size() / keys->size()) : element;
}

} // namespace

std::optional<Severity> FindingCollector::wanted(std::string const& code, Severity usual) const
{
    bool const asked = _options.only.contains(code);
    if ((!_options.only.empty() && !asked) || _options.ignore.contains(code))
        return {};
    auto const changed = _options.severities.find(code);
    Severity const severity = changed == _options.severities.end() ? usual : changed->second;
    return severity == Severity::hint && !_options.hints && !asked ? std::optional<Severity>() : severity;
}

FindingCollector::Slot* FindingCollector::open(char const* code, SceneNode const& node)
{
    Slot& slot = _slots[{code, node.where.file, node.where.offset}];
    if (_options.perNode == 0 || slot.kept < _options.perNode)
        return &slot;
    ++_findings[slot.last].more;
    return nullptr;
}

void FindingCollector::keep(Slot& slot, char const* code, SceneNode const& node, Field const* field, std::string const& text,
                            std::string_view advice, Severity severity, bool mendable)
{
    std::string const what = text + '\n' + code + std::to_string(node.where.file) + ' ' + std::to_string(node.where.offset);
    auto const [same, added] = _byText.try_emplace(std::hash<std::string>()(what), _findings.size());
    if (!added) {
        ++_findings[same->second].more;
        return;
    }
    ++slot.kept;
    slot.last = _findings.size();
    auto const element = elementIn(text);
    Place const place = field == nullptr ? _scene.place(node)
        : element                        ? _scene.place(node, *field, *element)
                                         : _scene.place(node, *field);
    Finding& finding = _findings.emplace_back(Finding{severity, code, place, node.name, node.name + text, std::string(advice)});
    finding.mendable = mendable;
    finding.subject = &node;
    if (element && isInterpolator(node))
        finding.key = keyOf(node, *field, *element);
}

void FindingCollector::add(char const* code, SceneRoute const& route, std::string message, std::string_view advice,
                           Severity usual)
{
    Finding finding{usual, code, _scene.place(route.where), route.to->name, std::move(message), std::string(advice)};
    finding.subject = route.to;
    add(std::move(finding));
}

void FindingCollector::add(Finding finding)
{
    if (auto const severity = wanted(finding.code, finding.severity)) {
        finding.severity = *severity;
        _findings.push_back(std::move(finding));
    }
}

std::vector<Finding> FindingCollector::take()
{
    std::stable_sort(_findings.begin(), _findings.end(),
                     [](Finding const& a, Finding const& b) { return order(a) < order(b); });
    _slots.clear();
    _byText.clear();
    return std::move(_findings);
}

} // namespace Zelvan::play

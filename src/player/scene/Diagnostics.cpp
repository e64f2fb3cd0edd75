#include "player/scene/Diagnostics.h"

#include "player/scene/Utf8.h"

#include <algorithm>
#include <ostream>

namespace Zelvan::play {

namespace {

constexpr unsigned shownPerKind = 10;

} // namespace

std::string_view withoutInstance(std::string_view message)
{
    std::size_t const end = message.substr(0, message.find_first_of(" :")).rfind('/');
    return end == message.npos ? message : message.substr(end + 1);
}

std::string Place::text() const
{
    std::string text = file;
    if (line != 0)
        text += ':' + std::to_string(line) + ':' + std::to_string(column);
    return text;
}

char const* severityName(Severity severity)
{
    constexpr char const* names[] = {"hint", "note", "warning", "error"};
    return names[static_cast<unsigned>(severity)];
}

void Diagnostics::report(Severity severity, Place const& place, std::string_view kind, std::string const& message)
{
    if (severity == Severity::warning && _strict)
        severity = Severity::error;
    std::string const where = place.text();
    if (place.line != 0 && !_said.insert(std::hash<std::string>()(where + ' ' + std::string(withoutInstance(message)))).second)
        return;
    if (onMessage)
        return onMessage(severity, place, kind, message);
    if (severity == Severity::error)
        ++_errors;
    auto found = std::find_if(_kinds.begin(), _kinds.end(), [&](Kind const& k) { return k._name == kind; });
    if (found == _kinds.end())
        found = _kinds.insert(_kinds.end(), {std::string(kind), 0});
    if (++found->_count <= shownPerKind)
        _out << printable(where) << ": " << severityName(severity) << ": " << printable(message) << " [" << kind << "]\n";
}

void Diagnostics::warning(Place const& place, std::string_view kind, std::string const& message)
{
    report(Severity::warning, place, kind, message);
}

void Diagnostics::error(Place const& place, std::string_view kind, std::string const& message)
{
    report(Severity::error, place, kind, message);
}

void Diagnostics::finish()
{
    for (Kind& kind : _kinds) {
        if (kind._count > shownPerKind)
            _out << "... and " << kind._count - shownPerKind << " more of the kind: " << kind._name << '\n';
        kind._count = 0;
    }
}

} // namespace Zelvan::play

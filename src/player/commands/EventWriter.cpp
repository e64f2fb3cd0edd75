#include "player/commands/EventWriter.h"

#include "player/scene/Escape.h"
#include "player/scene/Values.h"

namespace Zelvan::play {

EventWriter::EventWriter(std::string const& path, Format format, char const* axis) : _file(path), _format(format), _axis(axis)
{
    if (_format == csv)
        _file.stream() << _axis << ",node,field,value\n";
}

std::string EventWriter::axisText(double place) const
{
    return _axis == "fraction" ? shortNumber(static_cast<float>(place)) : shortNumber(place);
}

void EventWriter::write(Track const& track, double time, Field const& field)
{
    if (_format == csv)
        _file.stream() << axisText(time) << ',' << csvCell(track.node->name) << ',' << csvCell(track.field) << ','
                       << csvCell(field.getValueAsStr()) << '\n';
    else
        writeJson(track, time, field);
    _file.check();
}

void EventWriter::writeJson(Track const& track, double time, Field const& field)
{
    std::ostream& out = _file.stream();
    _numbers.clear();
    appendNumbers(field, _numbers);
    std::size_t const width = componentsOf(track.type).count;
    bool const doubles = track.type == SFTimeType;
    auto const number = [&](double v) {
        return v - v != 0 ? "null" : doubles ? shortNumber(v) : shortNumber(static_cast<float>(v));
    };
    out << "{\"" << _axis << "\":" << axisText(time) << ",\"node\":" << jsonString(track.node->name)
        << ",\"field\":" << jsonString(track.field) << ",\"type\":\"" << dataTypeName(track.type) << "\",\"value\":";
    auto const element = [&](std::size_t first) {
        out << (width > 1 ? "[" : "");
        for (std::size_t c = 0; c < width; ++c)
            out << (c ? "," : "") << number(_numbers[first + c]);
        out << (width > 1 ? "]" : "");
    };
    if (width == 0) {
        out << jsonString(field.getValueAsStr());
    } else if (track.type == SFBoolType) {
        out << (_numbers[0] != 0 ? "true" : "false");
    } else if (isList(track.type)) {
        out << '[';
        for (std::size_t i = 0; i < _numbers.size(); i += width) {
            out << (i ? "," : "");
            element(i);
        }
        out << ']';
    } else {
        element(0);
    }
    out << "}\n";
}

std::string csvCell(std::string const& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (char const c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + '"';
}

} // namespace Zelvan::play

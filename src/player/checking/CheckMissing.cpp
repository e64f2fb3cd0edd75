#include "player/checking/CheckRules.h"

#include "base/Fields.h"

namespace Zelvan::play {

bool isOffered(SceneNode const& node)
{
    return node.exported || node.name.find('/') != std::string::npos;
}

bool checkMissing(KeyedValues const& values, Drive const& drive, FailedEnds const& failed,
                  std::unordered_set<std::string> const& refusedFields, FindingCollector& findings)
{
    SceneNode const& node = values.node;
    Field const& output = *outputOf(node);
    bool const complete = !values.keys.empty() && values.size != 0;
    auto const missing = [&](Field const& field, std::size_t size) {
        std::string const name = node.name + '.' + field.findName();
        return size == 0 && field._routesIn == nullptr && !refusedFields.contains(std::string(withoutInstance(name)));
    };
    bool const noKeys = missing(*values.keyField, values.keys.size());
    bool const noValues = missing(*values.valueField, values.size);
    bool const used = output._routesOut != nullptr;
    bool const tried = failed.contains(&node);
    bool const elsewhere = tried || node.exported; // a ROUTE of the file that inlines this one
    bool const undriven = !drive.any && !elsewhere, unrouted = !used && !elsewhere;
    if (node.holder != nullptr) {
        if (noKeys || noValues || undriven || unrouted)
            findings.add(
                "foreign-driver", node, nullptr,
                [&] {
                    return " is held by the " + node.holder->typeName + ' ' + node.holder->name
                        + ", which is not run here and may fill and drive it";
                },
                "--inject plays its part");
        return complete;
    }
    std::string const name = values.valueField->findName();
    // Without a driver it may be a place that a program fills.
    std::optional<Severity> const empty = drive.any ? std::optional<Severity>() : Severity::note;
    if (noKeys)
        findings.add(
            "no-keys", node, values.keyField,
            [&] {
                return (noValues ? " has neither key nor " + name : std::string(" has no key")) + ": it never sends a value";
            },
            "write the lists, or route something to them", empty);
    else if (noValues)
        findings.add(
            "no-values", node, values.valueField, [&] { return " has no " + name + ": it never sends a value"; },
            "write one value for each key", empty);
    // What nobody uses is no harm; the user of a PROTO or a file may leave alone what it offers.
    std::optional<Severity> const inner = isOffered(node) ? Severity::note : std::optional<Severity>();
    if (undriven)
        findings.add(
            "undriven", node, nullptr,
            [&] {
                return std::string(" gets no fraction")
                    + (used ? ": no ROUTE leads to its set_fraction" : ", and its output goes nowhere");
            },
            "ROUTE a TimeSensor's fraction_changed to its set_fraction", used ? inner : Severity::note);
    else if (unrouted)
        findings.add(
            "unrouted", node, nullptr, [&] { return '.' + std::string(output.findName()) + " goes nowhere"; },
            "ROUTE it to the field that it shall move", inner);
    return complete;
}

} // namespace Zelvan::play
